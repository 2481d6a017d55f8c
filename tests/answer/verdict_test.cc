/// NAME
///   verdict_test - whether a message is one to answer

#include "zebmail/answer/verdict.h"

#include <gtest/gtest.h>

namespace zebmail::answer {
namespace {

const char* const kSender = "bob@x.test";
const char* const kMailbox = "info@example.org";
const char* const kNotAddressed = "no To or Cc names the mailbox";
const char* const kProgram = "its sender is a program or a list";
const char* const kNotPlain = "its sender is not a plain address";
const char* const kList = "it came through a list: it has a List-* field";
const char* const kSuppressed = "it asks for no answer: X-Auto-Response-Suppress";

struct Case {
  const char* name;
  const char* given;
  const char* objection;
};

void PrintTo(const Case& one, std::ostream* stream) {
  *stream << one.given;
}

const auto kNameOfCase = [](const auto& info) { return info.param.name; };

std::string ObjectionTo(const std::string& sender, const std::string& header) {
  return FindObjection({sender, kMailbox}, MessageHeader(header));
}

/// A message that nothing is wrong with but, perhaps, its sender.
class Sender : public testing::TestWithParam<Case> {};

TEST_P(Sender, DecidesAboutTheAnswer) {
  EXPECT_EQ(ObjectionTo(GetParam().given, "To: info@example.org\n"), GetParam().objection);
}

INSTANTIATE_TEST_SUITE_P(
    Answered, Sender,
    testing::Values(Case{"Person", "bob@x.test", ""}, Case{"Apostrophe", "o'brien@x.test", ""},
                    Case{"UpperCase", "Bob@X.TEST", ""}, Case{"Subaddress", "bob+shop@x.test", ""},
                    Case{"Daemon", "daemon@x.test", ""}, Case{"Owner", "owner@x.test", ""},
                    Case{"NameThatBeginsLikeAMachine", "mailerson@x.test", ""},
                    Case{"NameThatHoldsAMachine", "bob.postmaster@x.test", ""},
                    Case{"MachineInTheDomain", "bob@noreply.test", ""},
                    Case{"SameNameElsewhere", "info@x.test", ""}),
    kNameOfCase);

INSTANTIATE_TEST_SUITE_P(
    NotAnswered, Sender,
    testing::Values(Case{"Empty", "", "it is a bounce: its sender is empty"},
                    Case{"NoDomain", "MAILER-DAEMON", kNotPlain},
                    Case{"Quoted", "\"|touch /tmp/owned\"@x.test", kNotPlain},
                    Case{"Command", "|touch@x.test", kNotPlain},
                    Case{"Option", "-Cfoo@x.test", kNotPlain},
                    Case{"Unicode", "j\xc3\xb6rg@x.test", kNotPlain},
                    Case{"TwoLines", "bob@x.test\nBcc: eve@x.test", kNotPlain},
                    Case{"Itself", "Info@Example.org", "its sender is the mailbox itself"},
                    Case{"MailerDaemon", "MAILER-DAEMON@x.test", kProgram},
                    Case{"DoubleBounce", "double-bounce@x.test", kProgram},
                    Case{"Postmaster", "Postmaster@x.test", kProgram},
                    Case{"NoReply", "noreply@x.test", kProgram},
                    Case{"NoReplyWithDash", "No-Reply@x.test", kProgram},
                    Case{"NoReplyOfAService", "calendar-noreply@x.test", kProgram},
                    Case{"NoReplyWithSubaddress", "noreply+3f@x.test", kProgram},
                    Case{"DoNotReply", "do-not-reply@x.test", kProgram},
                    Case{"Bounces", "bounces@x.test", kProgram},
                    Case{"ListOwner", "owner-cooks@x.test", kProgram},
                    Case{"OwnerOfList", "cooks-owner@x.test", kProgram},
                    Case{"ListRequest", "cooks-request@x.test", kProgram},
                    Case{"ListBounces", "cooks-bounces@x.test", kProgram},
                    Case{"ListBouncesOfOneCopy", "cooks-bounces+info=example.org@x.test", kProgram},
                    Case{"BouncesOfOneCopy", "bounce-17-info=example.org@x.test", kProgram},
                    Case{"ReturnsOfOneCopy", "cooks-return-17-info=example.org@x.test", kProgram},
                    Case{"Listserv", "LISTSERV@x.test", kProgram},
                    Case{"Majordomo", "majordomo@x.test", kProgram}),
    kNameOfCase);

/// A message of a person to the mailbox, with one more field.
class Field : public testing::TestWithParam<Case> {};

TEST_P(Field, DecidesAboutTheAnswer) {
  const std::string header = "From: Bob <bob@x.test>\nTo: info@example.org\nSubject: hello\n";

  EXPECT_EQ(ObjectionTo(kSender, header + GetParam().given + "\n"), GetParam().objection);
}

INSTANTIATE_TEST_SUITE_P(
    Answered, Field,
    testing::Values(Case{"NotAutoSubmitted", "Auto-Submitted: no", ""},
                    Case{"NotAutoSubmittedWithComment", "Auto-Submitted: NO (a person)", ""},
                    Case{"UrgentPrecedence", "Precedence: first-class", ""},
                    Case{"NoReceiptSuppressed", "X-Auto-Response-Suppress: DR, RN, NRN", ""},
                    Case{"Text", "Content-Type: text/plain; x=\"multipart/report\"", ""},
                    Case{"Attachments", "Content-Type: multipart/mixed; boundary=a", ""},
                    Case{"NoSpam", "X-Spam-Flag: NO", ""},
                    Case{"NameThatBeginsLikeAList", "Listing: a", ""},
                    Case{"SubjectThatLooksLikeAField", "Comments: x\n List-Id: a", ""}),
    kNameOfCase);

INSTANTIATE_TEST_SUITE_P(
    NotAnswered, Field,
    testing::Values(
        Case{"AutoReplied", "Auto-Submitted: auto-replied", "it is Auto-Submitted"},
        Case{"AutoGenerated", "auto-submitted: Auto-Generated; x=no", "it is Auto-Submitted"},
        Case{"AutoSubmittedWithoutValue", "Auto-Submitted:", "it is Auto-Submitted"},
        Case{"AutoSubmittedTwice", "Auto-Submitted: no\nAuto-Submitted: auto-replied",
             "it is Auto-Submitted"},
        Case{"AutoSubmittedFolded", "Auto-Submitted:\n auto-notified", "it is Auto-Submitted"},
        Case{"ListId", "List-Id: Cooks <cooks.x.test>", kList},
        Case{"ListUnsubscribe", "LIST-UNSUBSCRIBE: <mailto:a@x.test>", kList},
        Case{"ListPost", "List-Post: NO", kList}, Case{"ListHelp", "List-Help:", kList},
        Case{"MailingList", "Mailing-List: cooks", "it has the field mailing-list"},
        Case{"XMailingList", "X-Mailing-List: cooks", "it has the field x-mailing-list"},
        Case{"BeenThere", "X-BeenThere: cooks", "it has the field x-beenthere"},
        Case{"Loop", "X-Loop: cooks", "it has the field x-loop"},
        Case{"AutoReply", "X-Autoreply: yes", "it has the field x-autoreply"},
        Case{"AutoRespond", "X-Autorespond: hello", "it has the field x-autorespond"},
        Case{"Bulk", "Precedence: Bulk", "its Precedence is bulk"},
        Case{"ListPrecedence", "Precedence: list", "its Precedence is list"},
        Case{"Junk", "Precedence: junk (really)", "its Precedence is junk"},
        Case{"AutoReplyPrecedence", "Precedence: auto_reply", "its Precedence is auto_reply"},
        Case{"SuppressAll", "X-Auto-Response-Suppress: All", kSuppressed},
        Case{"SuppressOof", "X-Auto-Response-Suppress: DR, OOF", kSuppressed},
        Case{"SuppressAutoReply", "X-Auto-Response-Suppress: OOF2,AutoReply ,x", kSuppressed},
        Case{"Report", "Content-Type: Multipart/Report; report-type=delivery-status",
             "it is a report"},
        Case{"Spam", "X-Spam-Flag: YES", "it is marked as spam"}),
    kNameOfCase);

/// A message of a person without any field that names whom it is for, but the given ones.
class Addressees : public testing::TestWithParam<Case> {};

TEST_P(Addressees, DecideAboutTheAnswer) {
  const std::string header = "From: Bob <bob@x.test>\n";

  EXPECT_EQ(ObjectionTo(kSender, header + GetParam().given + "\n"), GetParam().objection);
}

INSTANTIATE_TEST_SUITE_P(
    Answered, Addressees,
    testing::Values(Case{"To", "To: info@example.org", ""}, Case{"Cc", "Cc: info@example.org", ""},
                    Case{"ResentTo", "Resent-To: info@example.org", ""},
                    Case{"ResentCc", "Resent-Cc: info@example.org", ""},
                    Case{"UpperCase", "TO: INFO@Example.ORG", ""},
                    Case{"DisplayName", "To: \"Info, please\" <info@example.org>", ""},
                    Case{"Comment", "To: info@example.org (The info desk)", ""},
                    Case{"AmongOthers",
                         "To: a@x.test\nCc: b@x.test,\n <info@example.org>, c@x.test", ""},
                    Case{"SecondField", "To: a@x.test\nTo: info@example.org", ""},
                    Case{"Folded", "To:\n\tinfo\n @example.org", ""},
                    Case{"Group", "To: Team: a@x.test, info@example.org;", ""}),
    kNameOfCase);

INSTANTIATE_TEST_SUITE_P(
    NotAnswered, Addressees,
    testing::Values(Case{"None", "Subject: hello", kNotAddressed},
                    Case{"Others", "To: a@x.test, b@x.test", kNotAddressed},
                    Case{"Undisclosed", "To: undisclosed-recipients:;", kNotAddressed},
                    Case{"LongerLocalPart", "To: xinfo@example.org", kNotAddressed},
                    Case{"LongerDomain", "To: info@example.org.evil", kNotAddressed},
                    Case{"SubaddressOfMailbox", "To: info+x@example.org", kNotAddressed},
                    Case{"InDisplayName", "To: \"info@example.org\" <a@x.test>", kNotAddressed},
                    Case{"InComment", "To: a@x.test (info@example.org)", kNotAddressed},
                    Case{"Bcc", "Bcc: info@example.org", kNotAddressed},
                    Case{"ReplyTo", "Reply-To: info@example.org", kNotAddressed},
                    Case{"InText", "\nTo: info@example.org", kNotAddressed}),
    kNameOfCase);

TEST(Verdict, AnswersNothingThatWasSentToNobody) {
  EXPECT_EQ(FindObjection({kSender, ""}, MessageHeader("To:\nCc: <>\n")), kNotAddressed);
}

TEST(Verdict, AnswersMailToTheAddressThatWasWrittenTo) {
  const MessageHeader header("To: sales@example.org\n");

  EXPECT_EQ(FindObjection({kSender, "sales@example.org"}, header), "");
  EXPECT_EQ(FindObjection({kSender, kMailbox}, header), kNotAddressed);
}

}  // namespace
}  // namespace zebmail::answer
