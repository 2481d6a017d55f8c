/// NAME
///   sync_report_test - what a synchronisation tells, what it shows without doing it, and when it
///   refuses

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/zeb_db.h"
#include "tests/zebmail/hand_kept_panel.h"
#include "tests/zebmail/next_step.h"

namespace zebmail_test {
namespace {

using testing::HasSubstr;
using testing::Not;

/// One whose tables were read and then edited: of each kind of thing one is new, one is gone and,
/// where that can be, one has changed.
class EditedPanel : public HandKeptPanel {
 public:
  EditedPanel() : HandKeptPanel({"a.example", "b.example", "c.example", "d.example"}) {
    SetTable("virtusertable",
             "@a.example\tdevnull\n"
             "info@a.example\tinfo@a.example info+a.example\n"
             "drop@a.example\tdrop@a.example\n"
             "gone@a.example\tgone@a.example\n"
             "sales@a.example\tinfo@a.example\n"
             "@b.example\tdevnull\n"
             "@c.example\tdevnull\n");
    SetEntries("info+a.example: x@z.example\n");
    SetTable("access", "friend.example OK\nfoe.example REJECT\n");
    Do({"sync"});
    SetTable("virtusertable",
             "@a.example\tpostfix_err_nouser\n"
             "info@a.example\tinfo@a.example info+a.example\n"
             "drop@a.example\tdevnull\n"
             "new@a.example\tnew@a.example\n"
             "shop@a.example\tinfo@a.example\n"
             "@b.example\tdevnull\n"
             "@d.example\tdevnull\n");
    SetEntries("info+a.example: y@z.example\n");
    SetTable("access", "friend2.example OK\nfoe2.example REJECT\nconnect:192.0.2.1 REJECT\n");
  }
};

const std::vector<std::string> kEdits = {"1 1 1", "1 1 1", "1 0 1", "1 0 1", "1 0 1", "2 0 1"};

TEST(SyncSummary, CountsWhatWasAddedChangedAndRemoved) {
  const EditedPanel panel;

  EXPECT_EQ(panel.Do({"sync"}),
            "domains: 1 added, 1 changed, 1 removed\n"
            "mailboxes: 1 added, 1 changed, 1 removed\n"
            "aliases: 1 added, 0 changed, 1 removed\n"
            "forwards: 1 added, 0 changed, 1 removed\n"
            "whitelist: 1 added, 0 changed, 1 removed\n"
            "blacklist: 2 added, 0 changed, 1 removed\n");
  EXPECT_EQ(panel.Do({"sync"}), NothingNew());
}

TEST(SyncSummary, IsAJsonDocumentWhenAskedForOne) {
  const EditedPanel panel;

  EXPECT_EQ(panel.Do({"sync", "--json"}),
            "{\n"
            "  \"domains\": {\n"
            "    \"added\": 1,\n"
            "    \"changed\": 1,\n"
            "    \"removed\": 1\n"
            "  },\n"
            "  \"mailboxes\": {\n"
            "    \"added\": 1,\n"
            "    \"changed\": 1,\n"
            "    \"removed\": 1\n"
            "  },\n"
            "  \"aliases\": {\n"
            "    \"added\": 1,\n"
            "    \"changed\": 0,\n"
            "    \"removed\": 1\n"
            "  },\n"
            "  \"forwards\": {\n"
            "    \"added\": 1,\n"
            "    \"changed\": 0,\n"
            "    \"removed\": 1\n"
            "  },\n"
            "  \"whitelist\": {\n"
            "    \"added\": 1,\n"
            "    \"changed\": 0,\n"
            "    \"removed\": 1\n"
            "  },\n"
            "  \"blacklist\": {\n"
            "    \"added\": 2,\n"
            "    \"changed\": 0,\n"
            "    \"removed\": 1\n"
            "  }\n"
            "}\n");
}

TEST(SyncSummary, IsLeftOutWhenQuiet) {
  const EditedPanel panel;

  EXPECT_EQ(panel.Do({"--quiet", "sync"}), "");

  EXPECT_EQ(panel.Do({"sync"}), NothingNew());
}

TEST(SyncDryRun, ShowsCountsNamesAndTableChanges) {
  const EditedPanel panel;
  const std::string names = panel.Path("panel/mail/local-host-names");

  EXPECT_EQ(panel.Do({"--dry-run", "sync"}),
            "domains: 1 added, 1 changed, 1 removed\n"
            "  added d.example\n"
            "  changed a.example\n"
            "  removed c.example\n"
            "mailboxes: 1 added, 1 changed, 1 removed\n"
            "  added new@a.example\n"
            "  changed drop@a.example\n"
            "  removed gone@a.example\n"
            "aliases: 1 added, 0 changed, 1 removed\n"
            "  added shop@a.example of info@a.example\n"
            "  removed sales@a.example of info@a.example\n"
            "forwards: 1 added, 0 changed, 1 removed\n"
            "  added y@z.example of info@a.example\n"
            "  removed x@z.example of info@a.example\n"
            "whitelist: 1 added, 0 changed, 1 removed\n"
            "  added friend2.example\n"
            "  removed friend.example\n"
            "blacklist: 2 added, 0 changed, 1 removed\n"
            "  added foe2.example\n"
            "  added 192.0.2.1\n"
            "  removed foe.example\n"
            "--- " +
                names + "\n+++ " + names +
                "\n"
                "@@ -1,3 +1,4 @@\n"
                " a.example\n"
                " b.example\n"
                " c.example\n"
                "+d.example\n"
                "tool: " +
                panel.postfix().path() + " reload\n");
}

TEST(SyncDryRun, ChangesNothing) {
  const EditedPanel panel;
  const auto files = Snapshot(panel.folder().path());
  const std::string state = panel.State();

  panel.Do({"--dry-run", "sync"});
  panel.Do({"--dry-run", "--json", "sync"});

  EXPECT_EQ(Snapshot(panel.folder().path()), files);
  EXPECT_EQ(panel.State(), state);
  EXPECT_EQ(panel.Do({"sync"}), Summary(kEdits));
}

TEST(SyncDryRun, ShowsTheFirstNamesOfMany) {
  const HandKeptPanel panel;
  std::string lines = "@a.example\tdevnull\n";
  for (int i = 10; i < 25; ++i) {
    const std::string address = "user" + std::to_string(i) + "@a.example";
    lines.append(address).append("\t").append(address).append("\n");
  }
  panel.SetTable("virtusertable", lines);

  const std::string shown = panel.Do({"--dry-run", "sync"});

  EXPECT_THAT(shown, HasSubstr("mailboxes: 15 added, 0 changed, 0 removed\n"
                               "  added user10@a.example\n"));
  EXPECT_THAT(shown, HasSubstr("  added user19@a.example\n  ...\naliases: "));
  EXPECT_THAT(shown, Not(HasSubstr("user20")));
}

TEST(SyncDryRun, HasTheCountsInItsJsonDocumentToo) {
  const EditedPanel panel;

  const std::string shown = panel.Do({"--dry-run", "--json", "sync"});

  EXPECT_THAT(shown, HasSubstr("\"diff\": \"--- " + panel.Path("panel/mail/local-host-names")));
  EXPECT_THAT(shown, HasSubstr("\"mailboxes\": {"));
}

TEST(SyncDryRun, ShowsNoBytesThatATerminalWouldObey) {
  const HandKeptPanel panel;
  panel.SetTable("virtusertable", "@a.example\tdevnull\n\x1b[2Jinfo@a.example\tx@c.example\n");

  const CommandRun run = panel.Run({"--dry-run", "sync"});

  EXPECT_EQ(run.output.find('\x1b'), std::string::npos) << run.output;
}

/// A panel with so many domains or mailboxes, of which the tables have only some left.
class GuardedPanel : public HandKeptPanel {
 public:
  GuardedPanel() : HandKeptPanel(std::vector<std::string>{}) {
    ChangeDatabase([] {
      for (int i = 0; i < 30; ++i) {
        zeb_db::GetCache().Query("INSERT INTO domain (name, users) VALUES ('" + Domain(i) +
                                 "', 1)");
      }
    });
  }

  void KeepDomains(int count) const {
    std::string lines;
    for (int i = 0; i < count; ++i) lines += "@" + Domain(i) + "\tdevnull\n";
    SetTable("virtusertable", lines);
  }

  void KeepMailboxes(int count) const {
    std::string lines = "@" + Domain(0) + "\tdevnull\n";
    for (int i = 0; i < count; ++i) {
      const std::string address = "user" + std::to_string(i) + "@" + Domain(0);
      lines.append(address).append("\t").append(address).append("\n");
    }
    SetTable("virtusertable", lines);
  }

  std::string CountOf(const std::string& table) const {
    return Query("SELECT count(*) FROM " + table);
  }

 private:
  static std::string Domain(int number) { return "d" + std::to_string(number) + ".example"; }
};

std::string Refusal(const std::string& kind, const std::string& count) {
  return "zebmail: mass_delete: " + kind + ": " + count +
         " would be deleted; if that is right, use --allow-mass-delete\n";
}

TEST(SyncGuard, StopsWhereMoreThanHalfOfTheMailboxesAndMoreThanTenWouldGo) {
  const GuardedPanel panel;
  panel.KeepMailboxes(21);
  panel.Do({"sync"});
  const std::string rows = panel.Rows();
  panel.KeepMailboxes(10);
  const auto files = panel.TableFiles();

  for (int attempt = 0; attempt < 2; ++attempt) {
    const CommandRun run = panel.Run({"sync"});

    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, Refusal("mailboxes", "11 of 21"));
    EXPECT_EQ(panel.Rows(), rows);
    EXPECT_EQ(panel.TableFiles(), files);
  }
  EXPECT_EQ(panel.Do({"sync", "--allow-mass-delete"}),
            Summary({"0 0 0", "0 0 11", "0 0 0", "0 0 0", "0 0 0", "0 0 0"}));
}

TEST(SyncGuard, StopsWhereMoreThanHalfOfTheDomainsAndMoreThanTenWouldGo) {
  const GuardedPanel panel;
  panel.KeepDomains(21);
  panel.Do({"sync"});
  const std::string rows = panel.Rows();
  panel.KeepDomains(10);

  EXPECT_EQ(panel.Run({"sync"}).errors, Refusal("domains", "11 of 21"));

  EXPECT_EQ(panel.Rows(), rows);
  EXPECT_EQ(panel.Do({"sync", "--allow-mass-delete"}),
            Summary({"0 0 11", "0 0 0", "0 0 0", "0 0 0", "0 0 0", "0 0 0"}));
}

TEST(SyncGuard, LetsHalfOfThemGo) {
  const GuardedPanel mailboxes;
  mailboxes.KeepMailboxes(22);
  mailboxes.Do({"sync"});
  mailboxes.KeepMailboxes(11);
  mailboxes.Do({"sync"});
  EXPECT_EQ(mailboxes.CountOf("email"), "11\n");

  const GuardedPanel domains;
  domains.KeepDomains(22);
  domains.Do({"sync"});
  domains.KeepDomains(11);
  domains.Do({"sync"});
  EXPECT_EQ(domains.CountOf("email_domain"), "11\n");
}

TEST(SyncGuard, LetsTenGoEvenIfTheyAreAll) {
  const GuardedPanel mailboxes;
  mailboxes.KeepMailboxes(10);
  mailboxes.Do({"sync"});
  mailboxes.KeepMailboxes(0);
  mailboxes.Do({"sync"});
  EXPECT_EQ(mailboxes.CountOf("email"), "0\n");

  const GuardedPanel domains;
  domains.KeepDomains(10);
  domains.Do({"sync"});
  domains.KeepDomains(0);
  domains.Do({"sync"});
  EXPECT_EQ(domains.CountOf("email_domain"), "0\n");
}

TEST(SyncGuard, StopsBeforeAnEmptyTableEmptiesThePanel) {
  const GuardedPanel panel;
  panel.KeepMailboxes(11);
  panel.Do({"sync"});
  const std::string rows = panel.Rows();
  panel.SetTable("virtusertable", "");

  EXPECT_EQ(panel.Run({"sync"}).errors, Refusal("mailboxes", "11 of 11"));
  EXPECT_EQ(panel.Rows(), rows);

  EXPECT_EQ(panel.Do({"sync", "--allow-mass-delete"}),
            Summary({"0 0 1", "0 0 11", "0 0 0", "0 0 0", "0 0 0", "0 0 0"}));
  EXPECT_EQ(panel.Rows(), "");
}

TEST(SyncGuard, StopsARehearsalToo) {
  const GuardedPanel panel;
  panel.KeepMailboxes(11);
  panel.Do({"sync"});
  panel.KeepMailboxes(0);

  const CommandRun run = panel.Run({"--dry-run", "sync"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, Refusal("mailboxes", "11 of 11"));

  EXPECT_THAT(panel.Do({"--dry-run", "sync", "--allow-mass-delete"}),
              HasSubstr("mailboxes: 0 added, 0 changed, 11 removed\n"));
  EXPECT_EQ(panel.CountOf("email"), "11\n");
}

/// A pass that stops at a domain whose service master.cf does not have.
class SyncFailure : public testing::Test {
 protected:
  SyncFailure() {
    panel_.SetTable("virtusertable", "@a.example\tdevnull\ninfo@a.example\tinfo@a.example\n");
    panel_.SetTable("access", "foe.example REJECT\n");
    panel_.Do({"sync"});
    rows_ = panel_.Rows();
    panel_.SetTable("virtusertable",
                    "@b.example\tdevnull\ninfo@b.example\tinfo@b.example\n@a.example\tdevnull\n");
    panel_.SetTable("domainips", "/@a\\.example$/\tsmtp_a\n");
    files_ = panel_.TableFiles();
  }

  void ExpectFailure() const {
    const CommandRun run = panel_.Run({"sync"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(WithoutNextStep(run.errors),
              "zebmail: missing: " + panel_.Path("config/master.cf") + ": smtp_a\n");
    EXPECT_EQ(panel_.Rows(), rows_);
    EXPECT_EQ(panel_.TableFiles(), files_);
  }

  const HandKeptPanel panel_;
  std::string rows_;
  std::map<std::string, std::string> files_;
};

TEST_F(SyncFailure, LeavesDatabaseAndTablesAsBefore) {
  ExpectFailure();
}

TEST_F(SyncFailure, IsRepeatedByTheNextRun) {
  ExpectFailure();
  ExpectFailure();
  panel_.folder().WriteText("config/master.cf",
                            "smtp_a\tunix - - n - - smtp -o smtp_bind_address=127.0.0.10\n");

  EXPECT_EQ(panel_.Do({"sync"}), Summary({"1 1 0", "1 0 1", "0 0 0", "0 0 0", "0 0 0", "0 0 0"}));

  EXPECT_EQ(panel_.Do({"mailbox", "list"}),
            "ADDRESS         STATE   MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "info@b.example  active  kept  off        -        -\n");
}

}  // namespace
}  // namespace zebmail_test
