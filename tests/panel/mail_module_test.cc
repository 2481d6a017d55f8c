/// NAME
///   mail_module_test - what the mail module asks of its back-end, and what it checks before

#include "panel/mail/mail_module.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/email.h"
#include "host/fen_err.h"
#include "panel/mail/panel.h"
#include "tests/panel/recording_back_end.h"
#include "tests/support/test_panel.h"

namespace panel_test {
namespace {

using panel::mail::Domain;
using panel::mail::DomainSettings;
using panel::mail::MailModule;
using panel::mail::Panel;
using testing::ElementsAre;
using testing::IsEmpty;

/// A panel whose back-end only notes what it is asked for.
class MailModuleTest : public testing::Test {
 protected:
  MailModuleTest() {
    panel_.SetParam("MTA", "recording");
    auto back_end = std::make_unique<RecordingBackEnd>();
    back_end_ = back_end.get();
    email::RegisterMta(back_end.release());
  }

  void Change(const std::function<void()>& work) const { Panel(panel_.config()).Change(work); }

  std::string FailureOf(const std::function<void()>& work) const {
    try {
      Change(work);
    } catch (const std::exception& error) {
      return error.what();
    }
    return "";
  }

  std::vector<std::string> Names() const {
    const Panel opened(panel_.config());
    std::vector<std::string> names;
    for (const Domain& domain : MailModule().ListDomains()) names.push_back(domain.name);
    return names;
  }

  test_support::TestPanel panel_;
  RecordingBackEnd* back_end_ = nullptr;
};

TEST_F(MailModuleTest, CarriesEachChangeToTheBackEnd) {
  Change([] {
    MailModule mail;
    mail.CreateDomain("Example.ORG", {"redir_domain", "bücher.example", "192.0.2.10", 7});
    mail.UpdateDomain("example.org", {.redirect = "example.net"});
    mail.SuspendDomain("example.org");
    mail.UpdateDomain("example.org", {.default_action = "ignore"});
    mail.ResumeDomain("example.org");
    mail.DeleteDomain("example.org");
  });

  EXPECT_THAT(
      back_end_->calls,
      ElementsAre(
          "CreateDomain example.org active redir_domain <xn--bcher-kva.example> <192.0.2.10>",
          "UpdateDomain example.org active redir_domain <example.net> <192.0.2.10>",
          "UpdateDomain example.org suspended redir_domain <example.net> <192.0.2.10>",
          "UpdateDomain example.org suspended ignore <> <192.0.2.10>",
          "UpdateDomain example.org active ignore <> <192.0.2.10>",
          "DeleteDomain example.org active ignore <> <192.0.2.10>"));
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(MailModuleTest, KeepsTheOwner) {
  Change([] { MailModule().CreateDomain("example.org", {.owner = 7}); });
  Change([] { MailModule().UpdateDomain("example.org", {.default_action = "ignore"}); });

  const Panel opened(panel_.config());
  auto row = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  ASSERT_TRUE(row->name.Lookup("example.org"));
  EXPECT_EQ(row->users, 7);
}

TEST_F(MailModuleTest, DeletesMailboxesBeforeTheirDomain) {
  Change([] { MailModule().CreateDomain("example.org", {}); });
  Change([] {
    auto domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
    domain->name.Lookup("example.org");
    auto mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>();
    for (const char* name : {"info", "admin"}) {
      mailbox->New();
      mailbox->name = name;
      mailbox->domain = domain->id;
      mailbox->Post();
    }
  });
  back_end_->calls.clear();

  Change([] { MailModule().DeleteDomain("example.org"); });

  EXPECT_THAT(back_end_->calls, ElementsAre("DeleteEmail info", "DeleteEmail admin",
                                            "DeleteDomain example.org active error <> <>"));
  const Panel opened(panel_.config());
  EXPECT_TRUE(zeb_db::GetCache().Query("SELECT id FROM email").Eof());
}

TEST_F(MailModuleTest, LeavesTheDatabaseAsItWasWhenTheBackEndFails) {
  Change([] { MailModule().CreateDomain("example.org", {}); });
  back_end_->then = [] { throw fen_err::Error("file", "/somewhere", "is full"); };

  EXPECT_EQ(FailureOf([] { MailModule().CreateDomain("example.net", {}); }),
            "file: /somewhere: is full");
  EXPECT_EQ(FailureOf([] { MailModule().DeleteDomain("example.org"); }),
            "file: /somewhere: is full");
  EXPECT_EQ(FailureOf([] { MailModule().SuspendDomain("example.org"); }),
            "file: /somewhere: is full");

  EXPECT_THAT(Names(), ElementsAre("example.org"));
  const Panel opened(panel_.config());
  EXPECT_TRUE(MailModule().ShowDomain("example.org").active);
}

TEST_F(MailModuleTest, AsksTheBackEndForNothingWhenTheInputIsBad) {
  EXPECT_EQ(FailureOf([] { MailModule().CreateDomain("a b", {}); }),
            "value: domain: \"a b\" is not a domain name");
  EXPECT_EQ(FailureOf([] { MailModule().CreateDomain("example.org", {.default_action = "x"}); }),
            "value: default action: \"x\" is none of error, ignore, redir_email, redir_domain");
  EXPECT_EQ(FailureOf([] { MailModule().SuspendDomain("example.org"); }),
            "missing: domain: example.org");

  EXPECT_THAT(back_end_->calls, IsEmpty());
  EXPECT_THAT(Names(), IsEmpty());
}

TEST_F(MailModuleTest, RefusesAddressThatTheBackEndCannotBind) {
  back_end_->can_bind_to_ip = false;

  EXPECT_EQ(
      FailureOf([] { MailModule().CreateDomain("example.org", {.ip = "192.0.2.10"}); }),
      "value: ip: \"192.0.2.10\" cannot be used: the mail server sends from one address only");
  EXPECT_EQ(FailureOf([] { MailModule().CreateDomain("example.org", {.ip = ""}); }), "");
}

TEST_F(MailModuleTest, ListsDomainsByTheirAsciiNames) {
  Change([] {
    MailModule mail;
    for (const char* name : {"zoo.example", "bücher.example", "a.example"}) {
      mail.CreateDomain(name, {});
    }
  });

  EXPECT_THAT(Names(), ElementsAre("a.example", "bücher.example", "zoo.example"));
}

TEST_F(MailModuleTest, SeesDomainThatTheSameChangeHasCreated) {
  EXPECT_EQ(FailureOf([] {
              MailModule mail;
              mail.CreateDomain("example.org", {});
              mail.CreateDomain("EXAMPLE.org", {});
            }),
            "exists: domain: EXAMPLE.org");

  EXPECT_THAT(Names(), IsEmpty());
}

TEST(RegisterMta, RefusesSecondBackEnd) {
  email::RegisterMta(new RecordingBackEnd);

  try {
    email::RegisterMta(new RecordingBackEnd);
    FAIL() << "took a second back-end";
  } catch (const fen_err::Error& error) {
    EXPECT_EQ(error.type(), "module");
  }
}

}  // namespace
}  // namespace panel_test
