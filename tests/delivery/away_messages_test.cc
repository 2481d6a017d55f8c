/// NAME
///   away_messages_test - who gets an answer when a mailbox has a responder

#include <filesystem>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/delivery/mail_host.h"
#include "tests/delivery/smtp_session.h"
#include "tests/support/command.h"
#include "tests/support/temp_folder.h"
#include "zebmail/answer/ascii.h"

namespace test_support {
namespace {

using testing::HasSubstr;
using zebmail::answer::ToLower;

/// Both are users of the machine, so that mail to them ends in a mailbox that a test can look at.
const char* const kMailbox = "games@example.org";
const char* const kStranger = "daemon@mail.test";

/// What a command of the aliases gets, as the log names it.
const char* const kCommandRecipient = "games+example.org@mail.test";

std::size_t Count(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t place = 0; (place = text.find(part, place)) != std::string::npos; ++count)
    place += part.size();
  return count;
}

/// The text without what differs from one message to the next: where and when it was received.
std::string WithoutStamps(const std::string& mailbox) {
  std::istringstream stream(mailbox);
  std::string text;
  for (std::string line; std::getline(stream, line);) {
    const bool is_stamp = line.starts_with("From ") || line.starts_with("Received: ") ||
                          line.starts_with("\tid ") || line.starts_with("Message-Id: ") ||
                          line.starts_with("Date: ");
    if (!is_stamp) text += line + "\n";
  }
  return text;
}

/// A mailbox with a responder.
class AwayMessages : public MailHost {
 protected:
  AwayMessages() {
    CreateDomain("example.org");
    Zebmail({"mailbox", "create", kMailbox});
    folder_.WriteText("away.txt", "I am away. $SUBJECT\n");
    Zebmail({"responder", "on", kMailbox, "--subject", "Away ($SUBJECT)", "--text-file",
             folder_.Path("away.txt")});
  }

  /// Sends a message and waits until the program that answers has run.
  void SendToMailbox(const std::string& sender, const std::string& fields = "") const {
    AwaitProgram(SendMessage(postfix_.port(), sender, kMailbox, fields));
  }

  void AwaitProgram(const std::string& queue_id) const {
    EXPECT_THAT(postfix_.Outcome(queue_id, kCommandRecipient),
                HasSubstr("status=sent (delivered to command: "));
  }

  /// How many answers have come to a local user.
  std::size_t AnswersTo(const std::string& user) const {
    return Count(postfix_.Mailbox(user), "\nAuto-Submitted: auto-replied\n");
  }

  void AwaitAnswerTo(const std::string& user) const {
    postfix_.WaitUntil("an answer to " + user, [&] { return AnswersTo(user) > 0; });
  }

  /// Asserts that one answer has been sent in all, after a message that gets one for certain.
  void ExpectTheNextAnswerToBeTheFirst() const {
    SendToMailbox(kStranger);
    AwaitAnswerTo("daemon");

    EXPECT_EQ(AnswersTo("daemon"), 1U);
    EXPECT_EQ(Count(postfix_.Log(), " uid="), 1U);  // what commands send, to whomever
  }
};

INSTANTIATE_TEST_SUITE_P(MapTypes, AwayMessages, testing::Values("hash", "lmdb"),
                         [](const auto& type) { return type.param; });

TEST_P(AwayMessages, ReachTheSender) {
  AwaitProgram(SendText(postfix_.port(), kStranger, kMailbox,
                        "From: <daemon@mail.test>\n"
                        "To: The games <games@example.org>\n"
                        "Subject: A secret\n"
                        "\n"
                        "Another secret\n"));
  AwaitAnswerTo("daemon");

  EXPECT_EQ(WithoutStamps(postfix_.Mailbox("daemon")),
            "Return-Path: <>\n"
            "X-Original-To: daemon@mail.test\n"
            "Delivered-To: daemon@mail.test\n"
            "To: daemon@mail.test\n"
            "From: games@example.org\n"
            "Subject: Away ($SUBJECT)\n"
            "Auto-Submitted: auto-replied\n"
            "MIME-Version: 1.0\n"
            "Content-Type: text/plain; charset=us-ascii\n"
            "Content-Transfer-Encoding: base64\n"
            "\n"
            "SSBhbSBhd2F5LiAkU1VCSkVDVA0K\n"
            "\n");
}

TEST_P(AwayMessages, LeaveTheMessageInTheMailbox) {
  SendToMailbox(kStranger);

  postfix_.WaitUntil("the message", [&] { return !postfix_.Mailbox("games").empty(); });
  EXPECT_THAT(postfix_.Mailbox("games"), HasSubstr("\nHello\n"));
  AwaitAnswerTo("daemon");
}

TEST_P(AwayMessages, ReachEachSenderOnce) {
  SendToMailbox(kStranger);
  AwaitAnswerTo("daemon");
  SendToMailbox(kStranger);
  SendToMailbox("daemon@Mail.Test");

  SendToMailbox("man@mail.test");
  AwaitAnswerTo("man");

  EXPECT_EQ(AnswersTo("daemon"), 1U);
  EXPECT_EQ(AnswersTo("man"), 1U);
}

TEST_P(AwayMessages, ReachWhoWroteToAnAliasOfTheMailbox) {
  Zebmail({"alias", "add", kMailbox, "sales"});

  AwaitProgram(SendMessage(postfix_.port(), kStranger, "sales@example.org"));

  AwaitAnswerTo("daemon");
}

TEST_P(AwayMessages, ReachAnAddressThatTheEnvironmentDoesNotShow) {
  SendToMailbox("o'brien@elsewhere.test");

  postfix_.WaitUntil("the answer", [&] {
    return postfix_.Log().find("to=<o'brien@elsewhere.test>, relay=none") != std::string::npos;
  });
}

TEST_P(AwayMessages, ReachNoList) {
  SendToMailbox(kStranger, "List-Id: <cooks.mail.test>\n");
  SendToMailbox(kStranger, "Precedence: bulk\n");
  SendToMailbox("cooks-owner@mail.test");

  ExpectTheNextAnswerToBeTheFirst();
}

TEST_P(AwayMessages, AnswerNoBounce) {
  SendToMailbox("");

  ExpectTheNextAnswerToBeTheFirst();
}

TEST_P(AwayMessages, AnswerNoAutoReply) {
  SendToMailbox(kStranger, "Auto-Submitted: auto-replied\n");

  ExpectTheNextAnswerToBeTheFirst();
}

TEST_P(AwayMessages, AnswerNoMessageThatDoesNotNameTheMailbox) {
  AwaitProgram(SendText(postfix_.port(), kStranger, kMailbox,
                        "From: <daemon@mail.test>\nTo: xgames@example.org\n\nHello\n"));

  ExpectTheNextAnswerToBeTheFirst();
}

TEST_P(AwayMessages, RunNothingThatASenderNames) {
  const std::string owned = folder_.Path("spool/owned");
  SendToMailbox("\"|touch " + owned + "\"@elsewhere.test");
  SendToMailbox("\"|touch " + owned + "\"@mail.test");
  SendToMailbox("\"`touch " + owned + "`\"@mail.test");
  EXPECT_EQ(AskForRecipient(postfix_.port(), "-Cfoo@mail.test", kMailbox).code, 501);

  ExpectTheNextAnswerToBeTheFirst();
  EXPECT_FALSE(std::filesystem::exists(owned));
}

/// Words that would mean something to a shell, to sendmail(1) or in the file of a mailbox.
TEST_P(AwayMessages, SayWhatTheUserWroteAndRunNoneOfIt) {
  const std::string owned = folder_.Path("spool/owned");
  const std::string touch = "touch " + owned;
  const std::string subject = "`id` $(id) | \"/bin/sh\" $SUBJECT; <>";
  const std::string text = "$(" + touch + ")\n`" + touch + "`\n|" + touch + "\n\"|" + touch +
                           "\"\n~!" + touch +
                           "\n.\nFrom root@mail.test Thu Jan  1 00:00:00 1970\n"
                           "From: root@mail.test\nTo: man@mail.test\nBcc: man@mail.test\n"
                           "\n..\n.\n:include:/etc/passwd\n$SUBJECT\nno line end";
  Zebmail({"responder", "on", kMailbox, "--subject", subject, "--text-file",
           folder_.WriteText("hostile.txt", text)});

  ExpectTheNextAnswerToBeTheFirst();

  const std::string answer = postfix_.Mailbox("daemon");
  EXPECT_THAT(answer, HasSubstr("\nSubject: " + subject + "\n"));
  const CommandRun body =
      RunCommand({"/usr/bin/base64", "-d"}, answer.substr(answer.find("\n\n") + 2));
  EXPECT_EQ(body.errors, "");
  EXPECT_EQ(body.output, std::regex_replace(text, std::regex("\n"), "\r\n"));
  EXPECT_EQ(postfix_.Mailbox("man"), "");
  EXPECT_FALSE(std::filesystem::exists(owned));
}

/// Names that would be commands, if they stood in one.
TEST_P(AwayMessages, ComeFromMailboxesWhoseNamesMeanSomethingElsewhere) {
  const std::string owned = folder_.Path("spool/owned");
  const std::vector<std::string> names = {"`touch$IFS" + owned + "`", "$HOME'&*?={x}|b"};
  for (const std::string& name : names) {
    const std::string mailbox = name + "@example.org";
    Zebmail({"mailbox", "create", mailbox, "--drop-mail"});
    Zebmail({"responder", "on", mailbox});

    const std::string queue_id = SendMessage(postfix_.port(), kStranger, mailbox);

    postfix_.WaitUntil("the end of the message", [&] {
      return postfix_.Log().find(" " + queue_id + ": removed") != std::string::npos;
    });
    postfix_.WaitUntil("an answer of " + mailbox, [&] {
      return Count(postfix_.Mailbox("daemon"), "\nFrom: " + ToLower(mailbox) + "\n") == 1;
    });
  }

  EXPECT_EQ(AnswersTo("daemon"), names.size());
  EXPECT_EQ(Count(postfix_.Log(), "(delivered to command: "), names.size());
  EXPECT_FALSE(std::filesystem::exists(owned));
}

TEST_P(AwayMessages, EndWhenTheResponderIsSwitchedOff) {
  Zebmail({"responder", "off", kMailbox});
  SendMessage(postfix_.port(), kStranger, kMailbox);
  postfix_.WaitUntil("the message", [&] { return !postfix_.Mailbox("games").empty(); });

  Zebmail({"responder", "on", kMailbox});

  ExpectTheNextAnswerToBeTheFirst();
}

TEST_P(AwayMessages, HoldUpNoForwardWhenTheyFail) {
  Zebmail({"forward", "add", kMailbox, "man@mail.test"});
  for (const auto& responder : std::filesystem::directory_iterator(folder_.Path("state/responder")))
    std::filesystem::remove(responder.path() / "answered.db");

  SendToMailbox(kStranger);

  postfix_.WaitUntil("the forward", [&] { return !postfix_.Mailbox("man").empty(); });
  EXPECT_THAT(postfix_.Mailbox("man"), HasSubstr("\nHello\n"));
  EXPECT_EQ(postfix_.Mailbox("daemon"), "");
}

}  // namespace
}  // namespace test_support
