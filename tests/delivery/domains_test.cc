/// NAME
///   domains_test - what becomes of mail for the domains of a panel
///
/// PURPOSE
///   The panel's changes reach Postfix through tables, maps and reloads. These tests look at the
///   other end: what the server answers and what it does with a message.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/delivery/mail_host.h"
#include "tests/support/temp_folder.h"

namespace test_support {
namespace {

using testing::HasSubstr;

class DomainDelivery : public MailHost {};

INSTANTIATE_TEST_SUITE_P(MapTypes, DomainDelivery, testing::Values("hash", "lmdb"),
                         [](const auto& type) { return type.param; });

TEST_P(DomainDelivery, RefusesDomainThatThePanelDoesNotHave) {
  const SmtpReply reply = Ask("info@example.org");

  EXPECT_EQ(reply.text, "554 5.7.1 <info@example.org>: Relay access denied");
}

TEST_P(DomainDelivery, BouncesUnknownAddressByDefault) {
  CreateDomain("example.org");

  const std::string outcome = Send("nobody.here@example.org");

  EXPECT_THAT(outcome, HasSubstr("dsn=5.1.1, status=bounced (user unknown)"));
}

TEST_P(DomainDelivery, DiscardsMailWhenTheDefaultActionIsIgnore) {
  CreateDomain("example.org", {"--default-action", "ignore"});

  const std::string outcome = Send("nobody.here@example.org");

  EXPECT_THAT(outcome, HasSubstr("status=sent (delivered to file: /dev/null)"));
}

TEST_P(DomainDelivery, RedirectsMailToOneAddress) {
  CreateDomain("example.org",
               {"--default-action", "redir_email", "--redirect", "boss@elsewhere.test"});

  const std::string outcome = Send("nobody.here@example.org");

  EXPECT_THAT(outcome, HasSubstr("to=<boss@elsewhere.test>, orig_to=<nobody.here@example.org>"));
}

TEST_P(DomainDelivery, RedirectedMailReachesTheMailboxOfALocalUser) {
  CreateDomain("example.org",
               {"--default-action", "redir_email", "--redirect", "daemon@mail.test"});

  const std::string outcome = Send("nobody.here@example.org");

  EXPECT_THAT(outcome, HasSubstr("status=sent (delivered to mailbox)"));
  EXPECT_THAT(postfix_.Mailbox("daemon"), HasSubstr("X-Original-To: nobody.here@example.org\n"));
}

TEST_P(DomainDelivery, RedirectsMailToTheSameNameInAnotherDomain) {
  CreateDomain("example.org", {"--default-action", "redir_domain", "--redirect", "elsewhere.test"});

  const std::string outcome = Send("nobody.here@example.org");

  EXPECT_THAT(outcome,
              HasSubstr("to=<nobody.here@elsewhere.test>, orig_to=<nobody.here@example.org>"));
}

TEST_P(DomainDelivery, FollowsAnUpdateOfTheDefaultAction) {
  CreateDomain("example.org");
  Send("nobody.here@example.org");

  Zebmail({"domain", "update", "example.org", "--default-action", "ignore"});

  EXPECT_THAT(Send("nobody.here@example.org"), HasSubstr("(delivered to file: /dev/null)"));
}

TEST_P(DomainDelivery, RefusesMailForSuspendedDomain) {
  CreateDomain("example.org");

  Zebmail({"domain", "suspend", "example.org"});

  EXPECT_EQ(Ask("info@example.org").text,
            "550 5.7.1 <info@example.org>: Recipient address rejected: Account disabled");
}

TEST_P(DomainDelivery, RefusesMailFromSuspendedDomain) {
  CreateDomain("example.org");

  Zebmail({"domain", "suspend", "example.org"});

  EXPECT_EQ(AskForRecipient(postfix_.port(), "info@example.org", "daemon@mail.test").text,
            "550 5.7.1 <info@example.org>: Sender address rejected: Account disabled");
}

TEST_P(DomainDelivery, SuspensionLeavesOtherDomainsAlone) {
  CreateDomain("example.org");
  CreateDomain("example.net");

  Zebmail({"domain", "suspend", "example.org"});

  EXPECT_EQ(Ask("info@example.net").code, 250);
}

TEST_P(DomainDelivery, AcceptsMailAgainAfterResumption) {
  CreateDomain("example.org",
               {"--default-action", "redir_email", "--redirect", "boss@elsewhere.test"});
  Zebmail({"domain", "suspend", "example.org"});
  ASSERT_EQ(Ask("info@example.org").code, 550);

  Zebmail({"domain", "resume", "example.org"});

  EXPECT_THAT(Send("info@example.org"), HasSubstr("to=<boss@elsewhere.test>"));
}

TEST_P(DomainDelivery, OneResumptionEndsTwoSuspensions) {
  CreateDomain("example.org");
  Zebmail({"domain", "suspend", "example.org"});
  Zebmail({"domain", "suspend", "example.org"});

  Zebmail({"domain", "resume", "example.org"});

  EXPECT_EQ(Ask("info@example.org").code, 250);
}

TEST_P(DomainDelivery, RefusesMailForDeletedDomain) {
  CreateDomain("example.org");

  Zebmail({"domain", "delete", "example.org"});

  EXPECT_EQ(AskUntil(554, "info@example.org").text,
            "554 5.7.1 <info@example.org>: Relay access denied");
}

TEST_P(DomainDelivery, DeletedDomainCanBeCreatedAgain) {
  CreateDomain("example.org", {"--default-action", "ignore"});
  Zebmail({"domain", "suspend", "example.org"});
  Zebmail({"domain", "delete", "example.org"});

  CreateDomain("example.org");

  EXPECT_THAT(Send("info@example.org"), HasSubstr("status=bounced (user unknown)"));
}

TEST_P(DomainDelivery, AcceptanceInTheAccessTableOpensNoRelay) {
  folder_.WriteText("mail/access", "sender.test OK\nelsewhere.test OK\nconnect:127.0.0.1 OK\n");
  Zebmail({"sync"});
  ASSERT_THAT(Zebmail({"check", "--fix"}), HasSubstr("mended"));

  EXPECT_EQ(Ask("boss@elsewhere.test").code, 554);
}

TEST_P(DomainDelivery, RefusesClientByItsAddressInTheAccessTable) {
  CreateDomain("example.org");

  folder_.WriteText("mail/access", "connect:127.0.0.1 550 Not you\n");
  Zebmail({"check", "--fix"});

  EXPECT_THAT(Ask("info@example.org").text, HasSubstr("Client host rejected: Not you"));
}

}  // namespace
}  // namespace test_support
