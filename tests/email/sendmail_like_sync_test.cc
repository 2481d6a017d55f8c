/// NAME
///   sendmail_like_sync_test - reading the tables into the panel database

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "tests/email/plain_back_end.h"
#include "tests/email/rows.h"
#include "tests/support/test_panel.h"

namespace {

using test_support::DomainPtr;
using test_support::MailboxPtr;
using test_support::PlainBackEnd;
using test_support::Rows;
using test_support::TestPanel;

using Lines = std::vector<std::string>;

struct Sync : testing::Test {
  void AddWebDomain(const std::string& name) {
    rows.Query("INSERT INTO users (name) VALUES ('owner of " + name + "')");
    rows.Query("INSERT INTO domain (name, users) VALUES ('" + name +
               "', (SELECT MAX(id) FROM users))");
  }

  Lines DomainNames() { return rows.Query("SELECT name FROM email_domain ORDER BY name"); }

  Lines Column(const std::string& column, const std::string& domain) {
    return rows.Query("SELECT " + column + " FROM email_domain WHERE name = '" + domain + "'");
  }

  Lines ActiveDomains() { return ActiveOf("email_domain"); }
  Lines ActiveMailboxes() { return ActiveOf("email"); }

  Lines ActiveOf(const std::string& table) {
    zeb_db::EmailTable sample;
    sample.active = true;
    return rows.Query("SELECT name FROM " + table + " WHERE active = " + sample.active.AsString() +
                      " ORDER BY name");
  }

  TestPanel panel;
  Rows rows{panel};
  PlainBackEnd back_end;
};

using CacheDomains = Sync;
using CacheEmails = Sync;

}  // namespace

TEST_F(CacheDomains, TakesOverADomainOfWhichThePanelHasAWebDomain) {
  AddWebDomain("a.example");
  panel.SetText("virtusertable", "@a.example\tdevnull\n");
  back_end.CacheDomains();
  EXPECT_EQ(DomainNames(), Lines{"a.example"});
  EXPECT_EQ(Column("users", "a.example"), rows.Query("SELECT MAX(id) FROM users"));
  EXPECT_EQ(Column("defaction", "a.example"), Lines{"devnull"});
  EXPECT_EQ(ActiveDomains(), Lines{"a.example"});
  EXPECT_EQ(panel.Text("local-host-names"), "a.example\n");
  EXPECT_EQ(back_end.cached, Lines{"a.example"});
}

TEST_F(CacheDomains, PassesOverADomainThatIsNeitherKnownNorAWebDomain) {
  panel.SetText("virtusertable", "@a.example\tdevnull\n");
  back_end.CacheDomains();
  EXPECT_EQ(DomainNames(), Lines{});
  EXPECT_EQ(panel.Text("local-host-names"), "");
  EXPECT_EQ(panel.Text("access"), "");
  EXPECT_EQ(back_end.cached, Lines{});
}

TEST_F(CacheDomains, DeletesTheRowsThatTheTableNoLongerHas) {
  rows.AddDomain("a.example");
  rows.AddDomain("b.example");
  panel.SetText("virtusertable", "@b.example\tdevnull\n");
  back_end.CacheDomains();
  EXPECT_EQ(DomainNames(), Lines{"b.example"});
}

TEST_F(CacheDomains, DeletesEveryRowForAnEmptyTable) {
  rows.AddDomain("a.example");
  back_end.CacheDomains();
  EXPECT_EQ(DomainNames(), Lines{});
}

TEST_F(CacheDomains, TakesADisabledDomainForInactiveAndKeepsItsEntry) {
  rows.AddDomain("a.example");
  panel.SetText("virtusertable", "@a.example\tdevnull\n");
  panel.SetText("access", "a.example\t550 Account disabled\n");
  back_end.CacheDomains();
  EXPECT_EQ(ActiveDomains(), Lines{});
  EXPECT_EQ(Column("defaction", "a.example"), Lines{"error"});
  EXPECT_EQ(panel.Text("access"), "a.example\t550 Account disabled\n");
}

TEST_F(CacheDomains, TakesADomainWithAnyOtherEntryForActiveAndRemovesTheEntry) {
  const DomainPtr domain = rows.AddDomain("a.example");
  domain->active = false;
  domain->Post();
  panel.SetText("virtusertable", "@a.example\tdevnull\n");
  panel.SetText("access", "a.example\tREJECT\nb.example\tOK\n");
  back_end.CacheDomains();
  EXPECT_EQ(ActiveDomains(), Lines{"a.example"});
  EXPECT_EQ(Column("defaction", "a.example"), Lines{"devnull"});
  EXPECT_EQ(panel.Text("access"), "b.example\tOK\n");
}

TEST_F(CacheDomains, GivesAnInactiveDomainWithoutEntryOneWithTheDisabledTarget) {
  const DomainPtr domain = rows.AddDomain("a.example");
  domain->active = false;
  domain->Post();
  panel.SetText("virtusertable", "@a.example\tdevnull\n");
  back_end.CacheDomains();
  EXPECT_EQ(ActiveDomains(), Lines{});
  EXPECT_EQ(panel.Text("access"), "a.example\tdisabled\n");
}

TEST_F(CacheDomains, AddsTheHostNamesThatAreMissingOnly) {
  rows.AddDomain("a.example");
  rows.AddDomain("b.example");
  panel.SetText("virtusertable", "@a.example\tx\n@b.example\ty\n");
  panel.SetText("local-host-names", "b.example # known\n");
  back_end.CacheDomains();
  EXPECT_EQ(panel.Text("local-host-names"), "b.example # known\na.example\n");
}

TEST_F(CacheDomains, KeepsTheOwnerOfAKnownDomain) {
  const DomainPtr domain = rows.AddDomain("a.example");
  AddWebDomain("a.example");
  panel.SetText("virtusertable", "@a.example\tx\n");
  const Lines owner = Column("users", "a.example");
  back_end.CacheDomains();
  EXPECT_EQ(Column("users", "a.example"), owner);
}

TEST_F(CacheDomains, DoesNothingWhileTheFileIsTheSame) {
  rows.AddDomain("a.example");
  panel.SetText("virtusertable", "@a.example\tx\n");
  rows.Operate([this] { back_end.CacheDomains(); });
  rows.AddDomain("b.example");
  rows.Operate([this] { back_end.CacheDomains(); });
  EXPECT_EQ(DomainNames(), (Lines{"a.example", "b.example"}));
  EXPECT_EQ(back_end.cached, Lines{"a.example"});
}

TEST_F(CacheDomains, TreatsAHostileNameAsText) {
  AddWebDomain("a.example");
  panel.SetText("virtusertable", "@x'OR'1'='1\tdevnull\n");
  back_end.CacheDomains();
  EXPECT_EQ(DomainNames(), Lines{});
}

TEST_F(CacheEmails, TakesOverTheMailboxesOfKnownDomains) {
  const DomainPtr domain = rows.AddDomain("a.example");
  panel.SetText("virtusertable", "j@a.example\tx\nk@b.example\ty\n");
  back_end.CacheEmails();
  EXPECT_EQ(rows.Query("SELECT name FROM email"), Lines{"j"});
  EXPECT_EQ(rows.Query("SELECT domain FROM email"), Lines{domain->id.Str()});
  EXPECT_EQ(ActiveMailboxes(), Lines{"j"});
}

TEST_F(CacheEmails, KeepsTheRowsOfKnownMailboxesAndDeletesTheOthers) {
  const DomainPtr domain = rows.AddDomain("a.example");
  const MailboxPtr known = rows.AddMailbox(domain, "j");
  rows.AddMailbox(domain, "gone");
  panel.SetText("virtusertable", "@a.example\tx\nj@a.example\ty\n");
  back_end.CacheEmails();
  EXPECT_EQ(rows.Query("SELECT name FROM email"), Lines{"j"});
  EXPECT_EQ(rows.Query("SELECT id FROM email"), Lines{known->id.Str()});
}

TEST_F(CacheEmails, TakesAMailboxForInactiveWhenItsOnlyTargetIsTheDisabledOne) {
  const DomainPtr domain = rows.AddDomain("a.example");
  rows.AddMailbox(domain, "j");
  panel.SetText("virtusertable", "j@a.example\tdisabled\nk@a.example\tdisabled k+a.example\n");
  back_end.CacheEmails();
  EXPECT_EQ(rows.Query("SELECT name FROM email ORDER BY name"), (Lines{"j", "k"}));
  EXPECT_EQ(ActiveMailboxes(), Lines{"k"});
}

TEST_F(CacheEmails, DeletesEveryRowForAnEmptyTable) {
  rows.AddMailbox(rows.AddDomain("a.example"), "j");
  back_end.CacheEmails();
  EXPECT_EQ(rows.Query("SELECT name FROM email"), Lines{});
}

TEST_F(CacheEmails, DoesNothingWhileTheFileIsTheSame) {
  const DomainPtr domain = rows.AddDomain("a.example");
  panel.SetText("virtusertable", "j@a.example\tx\n");
  rows.Operate([this] { back_end.CacheEmails(); });
  rows.AddMailbox(domain, "k");
  rows.Operate([this] { back_end.CacheEmails(); });
  EXPECT_EQ(rows.Query("SELECT name FROM email ORDER BY name"), (Lines{"j", "k"}));
}
