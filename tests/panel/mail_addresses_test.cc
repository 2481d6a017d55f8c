/// NAME
///   mail_addresses_test - from a mailbox to its address and back

#include <memory>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "host/email.h"
#include "host/fen_err.h"
#include "panel/mail/panel.h"
#include "tests/support/test_panel.h"

namespace panel_test {
namespace {

using Domain = std::shared_ptr<zeb_db::EmailDomainTable>;
using Mailbox = std::shared_ptr<zeb_db::EmailTable>;

/// A panel with the mailbox info@bücher.example.
class MailAddresses : public testing::Test {
 protected:
  MailAddresses() : opened_(panel_.config()) {
    const Domain domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
    domain->New();
    domain->name = "bücher.example";
    domain->Post();
    const Mailbox mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>();
    mailbox->New();
    mailbox->name = "info";
    mailbox->domain = domain->id;
    mailbox->Post();
  }

  test_support::TestPanel panel_;
  panel::mail::Panel opened_;
};

TEST_F(MailAddresses, FindMailboxAndItsDomain) {
  Mailbox mailbox;
  Domain domain;

  EXPECT_TRUE(email::FindByEmailName("info@xn--bcher-kva.example", mailbox, domain));

  EXPECT_EQ(mailbox->name.Str(), "info");
  EXPECT_EQ(domain->name.Str(), "xn--bcher-kva.example");
  EXPECT_EQ(email::GetEmailName(mailbox), "info@xn--bcher-kva.example");
}

TEST_F(MailAddresses, FindMailboxByDomainInUnicode) {
  Mailbox mailbox;
  Domain domain;

  EXPECT_TRUE(email::FindByEmailName("info@bücher.example", mailbox, domain));
}

TEST_F(MailAddresses, StandOnTheDomainOfMissingMailbox) {
  Mailbox mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>();
  mailbox->DbFind("name = 'info'");
  Domain domain;

  EXPECT_FALSE(email::FindByEmailName("other@bücher.example", mailbox, domain));

  EXPECT_TRUE(mailbox->Eof());
  EXPECT_FALSE(domain->Eof());
}

TEST_F(MailAddresses, StandOnNothingForMissingDomain) {
  Mailbox mailbox;
  Domain domain;
  ASSERT_TRUE(email::FindByEmailName("info@bücher.example", mailbox, domain));

  for (const char* address : {"info@example.org", "info", "", "@", "info@"}) {
    EXPECT_FALSE(email::FindByEmailName(address, mailbox, domain)) << address;
    EXPECT_TRUE(mailbox->Eof()) << address;
    EXPECT_TRUE(domain->Eof()) << address;
  }
}

TEST_F(MailAddresses, AreNoWayIntoTheStatement) {
  Mailbox mailbox;
  Domain domain;

  EXPECT_FALSE(email::FindByEmailName("x' OR '1'='1@bücher.example", mailbox, domain));
  EXPECT_FALSE(email::FindByEmailName("info@x' OR '1'='1", mailbox, domain));
}

TEST_F(MailAddresses, OfMailboxWithoutDomainAreAnError) {
  Mailbox mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>();
  mailbox->New();
  mailbox->name = "info";
  mailbox->domain = 4711;

  try {
    email::GetEmailName(mailbox);
    FAIL() << "gave an address";
  } catch (const fen_err::Error& error) {
    EXPECT_EQ(error.type(), "missing");
  }
}

TEST_F(MailAddresses, GetTheSameResponderWhateverTheyAreCalled) {
  Mailbox mailbox;
  Domain domain;
  ASSERT_TRUE(email::FindByEmailName("info@bücher.example", mailbox, domain));

  const std::string target = email::GetResponderAction(mailbox);

  EXPECT_EQ(target, "\"|" + (panel_.config().module_dir.parent_path() / "zebmail-answer").string() +
                        " " + panel_.state_dir().string() + "/responder/" + mailbox->id.Str() +
                        "\"");
  mailbox->name = "other; touch owned";
  EXPECT_EQ(email::GetResponderAction(mailbox), target);
}

TEST_F(MailAddresses, GetNoResponderWhereTheAliasesCouldNotHoldItsPath) {
  Mailbox mailbox;
  Domain domain;
  ASSERT_TRUE(email::FindByEmailName("info@bücher.example", mailbox, domain));
  panel_.SetPath("zebmail-answer", "/opt/my mail/answer");

  try {
    email::GetResponderAction(mailbox);
    FAIL() << "gave a target";
  } catch (const fen_err::Error& error) {
    EXPECT_STREQ(error.what(),
                 "config: /opt/my mail/answer: is part of a command in the aliases, so that only "
                 "letters, digits and / . _ + - can be in it; move it, or set another state_dir or "
                 "module_dir");
  }
}

}  // namespace
}  // namespace panel_test
