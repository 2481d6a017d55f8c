/// NAME
///   sender_lists_test - what the white and the black list make the server answer

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/delivery/mail_host.h"
#include "tests/delivery/smtp_session.h"

namespace test_support {
namespace {

using testing::HasSubstr;

const char* const kRecipient = "info@example.org";

const char* const kDisabled =
    "550 5.7.1 <info@example.org>: Recipient address rejected: Account disabled";

std::string SenderRejected(const std::string& sender) {
  return "554 5.7.1 <" + sender + ">: Sender address rejected: Access denied";
}

class SenderListDelivery : public MailHost {
 protected:
  SenderListDelivery() { CreateDomain("example.org", {"--default-action", "ignore"}); }

  /// What Postfix answers to mail of the sender.
  SmtpReply AskFor(const std::string& sender, const std::string& recipient = kRecipient) const {
    return AskForRecipient(postfix_.port(), sender, recipient);
  }

  /// Lets the test say that it is another client than it is. Postfix reads the settings with the
  /// reload that the new domain brings.
  void AllowOtherClients() const {
    postfix_.Set("smtpd_authorized_xclient_hosts=127.0.0.1");
    postfix_.Set("inet_protocols=all");
    CreateDomain("reloads.example");
  }

  /// What Postfix answers to a client of this address, written as XCLIENT wants it.
  SmtpReply AskAs(const std::string& client) const {
    SmtpSession session(postfix_.port());
    EXPECT_EQ(session.Say("XCLIENT NAME=[UNAVAILABLE] ADDR=" + client).code, 220);
    EXPECT_EQ(session.Say("HELO client.test").code, 250);
    EXPECT_EQ(session.MailFrom("stranger@sender.test").code, 250);
    return session.RcptTo(kRecipient);
  }
};

INSTANTIATE_TEST_SUITE_P(MapTypes, SenderListDelivery, testing::Values("hash", "lmdb"),
                         [](const auto& type) { return type.param; });

TEST_P(SenderListDelivery, RefusesBlacklistedSender) {
  Zebmail({"blacklist", "add", "Foe@sender.test"});

  EXPECT_EQ(AskFor("foe@sender.test").text, SenderRejected("foe@sender.test"));
  EXPECT_EQ(AskFor("FOE@Sender.TEST").text, SenderRejected("FOE@Sender.TEST"));
  EXPECT_EQ(AskFor("friend@sender.test").code, 250);
}

TEST_P(SenderListDelivery, RefusesSendersOfBlacklistedDomainOnly) {
  Zebmail({"blacklist", "add", "sender.test", "bücher.example"});

  EXPECT_EQ(AskFor("anybody@sender.test").text, SenderRejected("anybody@sender.test"));
  EXPECT_EQ(AskFor("a@xn--bcher-kva.example").text, SenderRejected("a@xn--bcher-kva.example"));
  EXPECT_EQ(AskFor("anybody@sub.sender.test").code, 250);
  EXPECT_EQ(AskFor("anybody@other.test").code, 250);
  EXPECT_EQ(AskFor("").code, 250);
}

TEST_P(SenderListDelivery, TakesWhitelistedSenderOfBlacklistedDomain) {
  Zebmail({"blacklist", "add", "sender.test"});
  Zebmail({"whitelist", "add", "friend@sender.test"});

  EXPECT_EQ(AskFor("friend@sender.test").code, 250);
  EXPECT_EQ(AskFor("foe@sender.test").code, 554);
}

TEST_P(SenderListDelivery, RefusesBlacklistedClient) {
  Zebmail({"blacklist", "add", "127.0.0.1"});

  EXPECT_EQ(AskFor("friend@sender.test").text,
            "554 5.7.1 <unknown[127.0.0.1]>: Client host rejected: Access denied");
}

TEST_P(SenderListDelivery, TakesMailOfOtherClientsThanTheBlacklistedOne) {
  Zebmail({"blacklist", "add", "127.0.0.10", "127.0.0.2"});

  EXPECT_EQ(AskFor("friend@sender.test").code, 250);
}

TEST_P(SenderListDelivery, RefusesBlacklistedClientOfIp6) {
  AllowOtherClients();
  Zebmail({"blacklist", "add", "2001:DB8:0:0::7"});

  EXPECT_EQ(AskAs("IPV6:2001:db8::7").text,
            "554 5.7.1 <unknown[2001:db8::7]>: Client host rejected: Access denied");
  EXPECT_EQ(AskAs("IPV6:2001:db8::8").code, 250);
  EXPECT_EQ(AskAs("192.0.2.7").code, 250);
}

TEST_P(SenderListDelivery, RefusesNoRecipientForBeingABlacklistedClient) {
  Zebmail({"blacklist", "add", "192.0.2.7", "2001:db8::7"});

  EXPECT_EQ(AskFor("friend@sender.test").code, 250);
  EXPECT_EQ(AskFor("friend@sender.test", "connect:192.0.2.7@example.org").code, 250);
}

TEST_P(SenderListDelivery, DoesNotRelayForWhomIsWhitelisted) {
  Zebmail({"whitelist", "add", "friend@sender.test", "sender.test", "127.0.0.1", "elsewhere.test"});

  EXPECT_EQ(AskFor("friend@sender.test", "boss@elsewhere.test").text,
            "554 5.7.1 <boss@elsewhere.test>: Relay access denied");
  EXPECT_EQ(AskFor("friend@sender.test", "boss@elsewhere.test@example.org").code, 554);
  EXPECT_EQ(AskFor("friend@sender.test").code, 250);
}

TEST_P(SenderListDelivery, TakesMailAgainAfterRemovalOrAMoveToTheWhitelist) {
  Zebmail({"blacklist", "add", "one@sender.test", "two@sender.test"});
  ASSERT_EQ(AskFor("one@sender.test").code, 554);
  ASSERT_EQ(AskFor("two@sender.test").code, 554);

  Zebmail({"blacklist", "remove", "one@sender.test"});
  EXPECT_EQ(AskFor("one@sender.test").code, 250);
  EXPECT_EQ(AskFor("two@sender.test").code, 554);

  Zebmail({"whitelist", "add", "two@sender.test"});
  EXPECT_EQ(AskFor("two@sender.test").code, 250);
}

TEST_P(SenderListDelivery, TakesMailOfAClientAgainAfterRemoval) {
  Zebmail({"blacklist", "add", "127.0.0.1"});
  ASSERT_EQ(AskFor("friend@sender.test").code, 554);

  Zebmail({"blacklist", "remove", "127.0.0.1"});

  EXPECT_EQ(AskFor("friend@sender.test").code, 250);
}

TEST_P(SenderListDelivery, RefusesSuspendedDomainThoughItIsWhitelisted) {
  Zebmail({"whitelist", "add", "example.org"});

  Zebmail({"domain", "suspend", "example.org"});
  EXPECT_EQ(Ask(kRecipient).text, kDisabled);

  Zebmail({"domain", "resume", "example.org"});
  EXPECT_EQ(Ask(kRecipient).code, 250);
}

TEST_P(SenderListDelivery, RefusesSuspendedMailboxThoughItOrItsDomainIsWhitelisted) {
  Zebmail({"mailbox", "create", kRecipient});
  Zebmail({"whitelist", "add", "example.org", kRecipient});

  Zebmail({"mailbox", "suspend", kRecipient});

  EXPECT_EQ(Ask(kRecipient).text, kDisabled);
  EXPECT_EQ(Ask("other@example.org").code, 250);
}

/// The server looks an address up before its domain.
TEST_P(SenderListDelivery, RefusesWhitelistedAddressOfSuspendedDomain) {
  Zebmail({"mailbox", "create", kRecipient});
  Zebmail({"whitelist", "add", kRecipient});

  Zebmail({"domain", "suspend", "example.org"});

  EXPECT_EQ(Ask(kRecipient).text, kDisabled);
  EXPECT_EQ(AskFor(kRecipient, "daemon@mail.test").text,
            "550 5.7.1 <info@example.org>: Sender address rejected: Account disabled");

  Zebmail({"domain", "resume", "example.org"});
  EXPECT_EQ(Ask(kRecipient).code, 250);
}

TEST_P(SenderListDelivery, RefusesBlacklistedSenderAgainOnceItsSuspensionEnds) {
  Zebmail({"mailbox", "create", kRecipient});
  Zebmail({"blacklist", "add", kRecipient});
  Zebmail({"mailbox", "suspend", kRecipient});

  Zebmail({"mailbox", "resume", kRecipient});

  EXPECT_EQ(AskFor(kRecipient, "daemon@mail.test").text, SenderRejected(kRecipient));
}

}  // namespace
}  // namespace test_support
