/// NAME
///   synchronisation_test - reading Postfix's tables into the panel database

#include <string>
#include <vector>

#include "tests/postfix/back_end.h"

namespace {

using test_support::DomainPtr;
using test_support::MailboxPtr;

using Lines = std::vector<std::string>;

struct Synchronisation : test_support::BackEndTest {
  void Synchronise() {
    rows.Operate([this] {
      back_end.CacheDomains();
      back_end.CacheEmails();
    });
  }

  Lines Domains() { return rows.Query("SELECT name FROM email_domain ORDER BY name"); }
  Lines Mailboxes() { return rows.Query("SELECT name FROM email ORDER BY name"); }
};

}  // namespace

TEST_F(Synchronisation, SeesOneChangeOfTheFileInBothPasses) {
  rows.AddDomain("d.example");
  panel.SetText("virtusertable", "@d.example\tdevnull\nn@d.example\tn@d.example\n");
  Synchronise();
  EXPECT_EQ(Domains(), Lines{"d.example"});
  EXPECT_EQ(rows.Query("SELECT defaction FROM email_domain"), Lines{"ignore"});
  EXPECT_EQ(Mailboxes(), Lines{"n"});
}

TEST_F(Synchronisation, ReadsASuspendedDomainAndMailboxAsInactive) {
  const DomainPtr domain = rows.AddDomain("d.example");
  MailboxPtr mailbox = rows.AddMailbox(domain, "n");
  DomainPtr suspended = rows.AddDomain("e.example");
  back_end.CreateDomain(suspended);
  back_end.SuspendDomain(suspended);
  DomainPtr kept = domain;
  back_end.CreateDomain(kept);
  back_end.CreateEmail(mailbox);
  back_end.SuspendEmail(mailbox);
  Synchronise();
  EXPECT_EQ(rows.Query("SELECT name FROM email_domain WHERE NOT active"), Lines{"e.example"});
  EXPECT_EQ(rows.Query("SELECT name FROM email WHERE NOT active"), Lines{"n"});
}

TEST_F(Synchronisation, RepeatedWithoutAChangeDoesNothing) {
  rows.AddDomain("d.example");
  panel.SetText("virtusertable", "@d.example\tdevnull\n");
  Synchronise();
  rows.AddMailbox(rows.AddDomain("e.example"), "n");
  Synchronise();
  EXPECT_EQ(Domains(), (Lines{"d.example", "e.example"}));
  EXPECT_EQ(Mailboxes(), Lines{"n"});
}

TEST_F(Synchronisation, OfAnEmptyTableDeletesEverything) {
  rows.AddMailbox(rows.AddDomain("d.example"), "n");
  Synchronise();
  EXPECT_EQ(Domains(), Lines{});
  EXPECT_EQ(Mailboxes(), Lines{});
}
