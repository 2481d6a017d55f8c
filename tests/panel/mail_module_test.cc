/// NAME
///   mail_module_test - what the mail module asks of its back-end, and what it checks before

#include "panel/mail/mail_module.h"

#include <filesystem>
#include <functional>
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

/// A panel with the mailbox info@example.org, whose back-end has forgotten how it came to be.
class MailboxModuleTest : public MailModuleTest {
 protected:
  MailboxModuleTest() {
    panel_.folder().WriteText("zebmail-answer", "#!/bin/sh\nexit 0\n");
    test_support::SetMode(panel_.folder().Path("zebmail-answer"), 0755);
    test_support::SetMode(panel_.state_dir(), 0711);
    panel_.SetPath("zebmail-answer", panel_.folder().Path("zebmail-answer"));
    Change([] {
      MailModule mail;
      mail.CreateDomain("example.org", {});
      mail.CreateMailbox("info@example.org", false);
    });
    back_end_->calls.clear();
  }

  /// All rows about mailboxes, a line each.
  std::vector<std::string> Rows() const {
    const Panel opened(panel_.config());
    std::vector<std::string> lines;
    for (const char* query :
         {"SELECT 'mailbox', name, cast(active AS integer) || ' ' || cast(dropmail AS integer)"
          " FROM email ORDER BY id",
          "SELECT 'alias', name, email FROM email_alias ORDER BY id",
          "SELECT 'forward', name, email FROM email_forward ORDER BY id",
          "SELECT 'responder', active, email FROM email_responder ORDER BY id",
          "SELECT 'text', subject, mailbox FROM responder_text ORDER BY id"}) {
      for (auto rows = zeb_db::GetCache().Query(query); !rows.Eof(); rows.Next()) {
        lines.push_back(rows.Str(0) + " " + rows.Str(1) + " " + rows.Str(2));
      }
    }
    return lines;
  }

  /// Puts two rows there that only a table made by hand leads to: an alias with an empty name and a
  /// responder that is off.
  void AddUnwritableRows() const {
    Change([] {
      const auto alias = zeb_db::GetCache().Get<zeb_db::EmailAliasTable>();
      alias->New();
      alias->email = std::int64_t{1};
      alias->Post();
      const auto responder = zeb_db::GetCache().Get<zeb_db::EmailResponderTable>();
      responder->New();
      responder->email = std::int64_t{1};
      responder->active = false;
      responder->Post();
    });
  }
};

TEST_F(MailboxModuleTest, CarriesEachChangeToTheBackEnd) {
  Change([] {
    MailModule mail;
    mail.CreateMailbox("New@Example.org", true);
    mail.UpdateMailbox("new@example.org", false);
    mail.AddAliases("new@example.org", {"a", "b"});
    mail.RemoveAliases("new@example.org", {"B", "a"});
    mail.AddForwards("new@example.org", {"x@example.net", "y@example.net"});
    mail.RemoveForwards("new@example.org", {"x@example.net"});
    mail.SwitchResponderOn("new@example.org", {});
    mail.SwitchResponderOff("new@example.org");
    mail.SuspendMailbox("new@example.org");
    mail.UpdateMailbox("new@example.org", true);
    mail.ResumeMailbox("new@example.org");
    mail.DeleteMailbox("new@example.org");
  });

  EXPECT_THAT(back_end_->calls,
              ElementsAre("CreateEmail new", "UpdateEmail new", "SetAliases new", "SetAliases new",
                          "SetAliases new -b -a", "SetAliases new", "SetAliases new",
                          "SetResponder new on", "SetAliases new", "SuspendEmail new",
                          "UpdateEmail new", "ResumeEmail new", "DeleteEmail new"));
  EXPECT_THAT(Rows(), ElementsAre("mailbox info 1 0"));
}

TEST_F(MailboxModuleTest, WritesTheRowsBeforeItCallsTheBackEnd) {
  std::vector<std::string> seen;
  back_end_->then = [&seen] {
    auto rows = zeb_db::GetCache().Query(
        "SELECT (SELECT count(*) FROM email WHERE active AND dropmail),"
        " (SELECT count(*) FROM email_alias), (SELECT count(*) FROM email_forward),"
        " (SELECT count(*) FROM email_responder)");
    seen.push_back(rows.Str(0) + rows.Str(1) + rows.Str(2) + rows.Str(3));
  };

  Change([] {
    MailModule mail;
    mail.UpdateMailbox("info@example.org", true);
    mail.AddAliases("info@example.org", {"a", "b"});
    mail.AddForwards("info@example.org", {"x@example.net"});
    mail.SwitchResponderOn("info@example.org", {});
    mail.SwitchResponderOff("info@example.org");
    mail.SuspendMailbox("info@example.org");
    mail.ResumeMailbox("info@example.org");
    mail.DeleteMailbox("info@example.org");
  });

  EXPECT_THAT(seen,
              ElementsAre("1000", "1000", "1200", "1210", "1211", "1210", "0210", "1210", "1210"));
}

TEST_F(MailboxModuleTest, LeavesTheDatabaseAsItWasWhenTheBackEndFails) {
  Change([] {
    MailModule mail;
    mail.AddAliases("info@example.org", {"sales"});
    mail.AddForwards("info@example.org", {"x@example.net"});
    mail.CreateMailbox("office@example.org", false);
    mail.SwitchResponderOn("office@example.org", {.subject = "Away"});
    mail.CreateMailbox("off@example.org", false);
    mail.SuspendMailbox("off@example.org");
  });
  AddUnwritableRows();
  const auto before = Rows();
  back_end_->then = [] { throw fen_err::Error("file", "/somewhere", "is full"); };
  const std::vector<std::function<void(MailModule & mail)>> changes = {
      [](MailModule& mail) { mail.CreateMailbox("new@example.org", false); },
      [](MailModule& mail) { mail.UpdateMailbox("info@example.org", true); },
      [](MailModule& mail) { mail.SuspendMailbox("info@example.org"); },
      [](MailModule& mail) { mail.ResumeMailbox("off@example.org"); },
      [](MailModule& mail) { mail.DeleteMailbox("info@example.org"); },
      [](MailModule& mail) { mail.AddAliases("info@example.org", {"help"}); },
      [](MailModule& mail) { mail.RemoveAliases("info@example.org", {"sales"}); },
      [](MailModule& mail) { mail.AddForwards("info@example.org", {"y@example.net"}); },
      [](MailModule& mail) { mail.RemoveForwards("info@example.org", {"x@example.net"}); },
      [](MailModule& mail) { mail.SwitchResponderOn("info@example.org", {}); },
      [](MailModule& mail) { mail.SwitchResponderOff("office@example.org"); },
      [](MailModule& mail) { mail.DeleteDomain("example.org"); },
  };

  for (std::size_t i = 0; i < changes.size(); ++i) {
    SCOPED_TRACE(i);
    EXPECT_EQ(FailureOf([&] {
                MailModule mail;
                changes[i](mail);
              }),
              "file: /somewhere: is full");
    EXPECT_EQ(Rows(), before);
  }
  EXPECT_FALSE(std::filesystem::exists(panel_.state_dir() / "responder/1"));
  EXPECT_TRUE(std::filesystem::exists(panel_.state_dir() / "responder/2/message"));
}

TEST_F(MailboxModuleTest, HasNoUnwritableRowWhenAliasesAreWritten) {
  const std::vector<std::function<void(MailModule & mail)>> changes = {
      [](MailModule& mail) { mail.UpdateMailbox("info@example.org", true); },
      [](MailModule& mail) { mail.AddAliases("info@example.org", {"help"}); },
      [](MailModule& mail) { mail.RemoveAliases("info@example.org", {"help"}); },
      [](MailModule& mail) { mail.AddForwards("info@example.org", {"y@example.net"}); },
      [](MailModule& mail) { mail.RemoveForwards("info@example.org", {"y@example.net"}); },
      [](MailModule& mail) { mail.SwitchResponderOff("info@example.org"); },
      [](MailModule& mail) {
        mail.SuspendMailbox("info@example.org");
        mail.ResumeMailbox("info@example.org");
      },
  };
  std::string unwritable;
  back_end_->then = [&] {
    const std::string& call = back_end_->calls.back();
    if (!call.starts_with("SetAliases") && !call.starts_with("ResumeEmail")) return;
    unwritable = zeb_db::GetCache()
                     .Query(
                         "SELECT (SELECT count(*) FROM email_alias WHERE name = '') +"
                         " (SELECT count(*) FROM email_responder WHERE NOT active)")
                     .Str();
  };

  for (std::size_t i = 0; i < changes.size(); ++i) {
    SCOPED_TRACE(i);
    AddUnwritableRows();
    unwritable = "not asked";

    Change([&] {
      MailModule mail;
      changes[i](mail);
    });

    EXPECT_EQ(unwritable, "0");
  }
}

TEST_F(MailboxModuleTest, AsksTheBackEndForNothingWhenTheInputIsBad) {
  Change([] { MailModule().SuspendMailbox("info@example.org"); });
  back_end_->calls.clear();

  EXPECT_EQ(FailureOf([] { MailModule().CreateMailbox("a b@example.org", false); }),
            "value: mailbox: \"a b@example.org\" is not a mail address");
  EXPECT_EQ(FailureOf([] { MailModule().CreateMailbox("info@example.org", false); }),
            "exists: mailbox: info@example.org is a mailbox");
  EXPECT_EQ(FailureOf([] { MailModule().CreateMailbox("info@example.net", false); }),
            "missing: domain: example.net");
  EXPECT_EQ(FailureOf([] { MailModule().DeleteMailbox("office@example.org"); }),
            "missing: mailbox: office@example.org");
  EXPECT_EQ(FailureOf([] { MailModule().AddAliases("info@example.org", {"a"}); }),
            "suspended: mailbox: info@example.org cannot be changed while it is suspended; resume "
            "it first");
  EXPECT_EQ(
      FailureOf([] { MailModule().SwitchResponderOn("info@example.org", {.subject = "\n"}); }),
      "value: subject: holds control characters");

  EXPECT_THAT(back_end_->calls, IsEmpty());
}

TEST_F(MailboxModuleTest, SeesWhatTheSameChangeHasDoneBefore) {
  EXPECT_EQ(FailureOf([] {
              MailModule mail;
              mail.AddAliases("info@example.org", {"sales"});
              mail.CreateMailbox("sales@example.org", false);
            }),
            "exists: mailbox: sales@example.org is an alias of info@example.org");
  EXPECT_EQ(FailureOf([] {
              MailModule mail;
              mail.AddAliases("info@example.org", {"sales"});
              mail.RemoveAliases("info@example.org", {"sales"});
              mail.CreateMailbox("sales@example.org", false);
            }),
            "");

  EXPECT_THAT(Rows(), ElementsAre("mailbox info 1 0", "mailbox sales 1 0"));
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
