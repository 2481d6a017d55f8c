/// NAME
///   failure_test - tools that fail, processes that are killed, and how the work is made up for

#include <cstdlib>
#include <filesystem>
#include <string>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/file.h>

#include "panel/process/file_handle.h"
#include "tests/zebmail/next_step.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using test_support::RecordingTool;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

/// A panel whose postmap is a stand-in that fails.
class FailingPostmap : public testing::Test {
 protected:
  FailingPostmap()
      : postmap_(panel_.folder(), "postmap", "fatal: no space left\nsecond line\n", 1),
        postconf_(panel_.folder(), "postconf", "hash\n") {
    panel_.Configure("postfix-postmap", postmap_.path());
  }

  std::string Virtusertable() const { return panel_.Path("panel/mail/virtusertable"); }

  std::string FixCommand() const { return "zebmail --config " + panel_.config() + " check --fix"; }

  /// What is said of a table whose map could not be built.
  std::string Outstanding(const std::string& table) const {
    const std::string path = panel_.Path("panel/mail/" + table);
    return "outstanding: " + path + " was saved, but " + postmap_.path() + " " + path +
           " has not succeeded since\n";
  }

  OwnPanel panel_;
  RecordingTool postmap_;
  RecordingTool postconf_;
};

/// The folder that a Postfix has for its queue, whose lock tells whether it runs.
class QueueFolder {
 public:
  explicit QueueFolder(const OwnPanel& panel) : pid_file_(panel.Path("queue/pid/master.pid")) {
    std::filesystem::create_directories(pid_file_.parent_path());
  }

  /// Holds the lock as a running Postfix does.
  void Lock() {
    lock_ = panel::FileHandle(open(pid_file_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644));
    ASSERT_EQ(flock(lock_.get(), LOCK_EX | LOCK_NB), 0);
  }

 private:
  std::filesystem::path pid_file_;
  panel::FileHandle lock_;
};

TEST_F(FailingPostmap, IsReportedWithItsOutputAndWhatIsOutstanding) {
  const CommandRun run = panel_.Run({"domain", "create", "example.org"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.errors,
            "zebmail: email: postmap\n"
            "fatal: no space left\n"
            "second line\n"
            "the database and the table files hold the change\n" +
                Outstanding("virtusertable") +
                "the next change makes up for it, and so does: " + FixCommand() + "\n");
}

TEST_F(FailingPostmap, LeavesAllTablesSavedAndTheDatabaseInStep) {
  panel_.Run({"domain", "create", "example.org"});

  EXPECT_EQ(panel_.Tables(),
            "-- virtusertable\n"
            "@example.org\tpostfix_err_nouser\n"
            "-- local-host-names\n"
            "example.org\n"
            "-- access\n"
            "-- domainips\n");
  EXPECT_THAT(panel_.postfix().Runs(), ElementsAre("reload"));
  EXPECT_EQ(panel_.Do({"domain", "show", "example.org"}),
            "name: example.org\nactive: true\ndefaction: error\nredirect: \nip: \n");
}

TEST_F(FailingPostmap, IsMadeUpForByTheNextChange) {
  panel_.Run({"domain", "create", "example.org"});
  postmap_.SetStatus(0);

  EXPECT_EQ(panel_.Do({"domain", "suspend", "example.org"}), "example.org: suspended\n");

  EXPECT_THAT(postmap_.Runs(),
              ElementsAre(Virtusertable(), Virtusertable(), panel_.Path("panel/mail/access")));
  EXPECT_TRUE(std::filesystem::is_empty(panel_.Path("panel/state/pending")));
}

TEST_F(FailingPostmap, IsMadeUpForEvenByAChangeOfAnotherTable) {
  panel_.Run({"domain", "create", "example.org"});
  postmap_.SetStatus(0);

  panel_.Do({"domain", "update", "example.org", "--owner", "7"});

  EXPECT_THAT(postmap_.Runs(), ElementsAre(Virtusertable(), Virtusertable()));
}

/// Somebody whose deletion was killed deletes once more.
TEST_F(FailingPostmap, IsMadeUpForEvenByADeletionOfWhatIsGone) {
  panel_.Run({"domain", "create", "example.org"});
  postmap_.SetStatus(0);

  const CommandRun domain = panel_.Run({"domain", "delete", "gone.example"});

  EXPECT_EQ(domain.status, 1);
  EXPECT_EQ(WithoutNextStep(domain.errors), "zebmail: missing: domain: gone.example\n");
  EXPECT_THAT(postmap_.Runs(), ElementsAre(Virtusertable(), Virtusertable()));
}

TEST_F(FailingPostmap, LeavesNoHalfWrittenNoteBehindTheNextChange) {
  panel_.Run({"domain", "create", "example.org"});
  postmap_.SetStatus(0);
  panel_.folder().WriteText("panel/state/pending/.123.access.zebmail", "email::Acc");

  panel_.Do({"domain", "suspend", "example.org"});

  EXPECT_TRUE(std::filesystem::is_empty(panel_.Path("panel/state/pending")));
}

TEST_F(FailingPostmap, IsWarnedOfByAChangeThatDoesNotNeedIt) {
  panel_.Run({"domain", "create", "example.org"});
  postmap_.SetOutput("still no space\n");

  const CommandRun run = panel_.Run({"domain", "update", "example.org", "--owner", "7"});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "example.org: updated\n");
  EXPECT_EQ(run.errors, "zebmail: outstanding work failed again: email: postmap: still no space\n" +
                            Outstanding("virtusertable") +
                            "mend the cause, then run: " + FixCommand() + "\n");
}

TEST_F(FailingPostmap, IsMadeUpForByCheckFix) {
  panel_.Run({"domain", "create", "example.org"});
  panel_.Configure("postfix-postmap", "/usr/sbin/postmap -c " + panel_.Path("config"));
  EXPECT_EQ(panel_.Lookup("virtusertable", "@example.org"), "");

  EXPECT_EQ(panel_.Do({"check", "--fix"}), "mended: " + Virtusertable() +
                                               ": the outstanding tool has run\n"
                                               "nothing is wrong\n");

  EXPECT_EQ(panel_.Lookup("virtusertable", "@example.org"), "postfix_err_nouser");
  EXPECT_EQ(panel_.Do({"check"}), "nothing is wrong\n");
}

TEST_F(FailingPostmap, IsStillReportedByCheckFixThatCannotHelp) {
  panel_.Run({"domain", "create", "example.org"});

  const CommandRun run = panel_.Run({"check", "--fix"});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.output, HasSubstr(Virtusertable() + " was saved, but " + postmap_.path()));
  EXPECT_THAT(run.errors, HasSubstr("fatal: no space left\nsecond line\n"));
  EXPECT_THAT(run.output, Not(HasSubstr("mended")));
}

TEST_F(FailingPostmap, IsShownByADryRunThatDoesNotMakeUpForIt) {
  panel_.Run({"domain", "create", "example.org"});
  const auto before = Snapshot(panel_.folder().path());

  const CommandRun run = panel_.Run({"--dry-run", "domain", "suspend", "example.org"});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors,
            "zebmail: " + Outstanding("virtusertable") + "the change would make up for it first\n");
  EXPECT_EQ(Snapshot(panel_.folder().path()), before);
}

TEST_F(FailingPostmap, ShowsControlCharactersEscaped) {
  postmap_.SetOutput("\x1b[2Jfatal\tone\nline two\r\n");

  const CommandRun run = panel_.Run({"domain", "create", "example.org"});

  EXPECT_THAT(run.errors, testing::StartsWith("zebmail: email: postmap\n"
                                              "\\x1b[2Jfatal\\tone\n"
                                              "line two\n"));
}

TEST(FailingReload, WithoutConfiguredCommandNamesThePath) {
  const OwnPanel panel;
  panel.Unconfigure("postfix-bin");

  const CommandRun run = panel.Run({"domain", "create", "example.org"});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, testing::StartsWith("zebmail: email: postfix_reload\n"));
  EXPECT_THAT(run.errors, HasSubstr("\"postfix-bin\""));
  EXPECT_THAT(run.errors, HasSubstr(panel.config()));
  EXPECT_EQ(panel.Table("local-host-names"), "example.org\n");
}

TEST(FailingReload, IsNoFailureWherePostfixDoesNotRun) {
  const OwnPanel panel;
  const QueueFolder queue(panel);
  panel.postfix().SetStatus(1);

  const CommandRun run = panel.Run({"domain", "create", "example.org"});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "example.org: created\n");
  EXPECT_EQ(run.errors, "zebmail: Postfix does not run; it reads the change when it starts\n");
  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

TEST(FailingReload, IsReportedWherePostfixRuns) {
  const OwnPanel panel;
  panel.postfix().SetOutput("fatal: bad string length 0\n");
  panel.postfix().SetStatus(1);
  QueueFolder queue(panel);
  queue.Lock();

  const CommandRun run = panel.Run({"domain", "create", "example.org"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "zebmail: email: postfix_reload: fatal: bad string length 0\n"
            "the database and the table files hold the change\n"
            "outstanding: " +
                panel.Path("panel/mail/local-host-names") + " was saved, but " +
                panel.postfix().path() +
                " reload has not succeeded since\n"
                "the next change makes up for it, and so does: zebmail --config " +
                panel.config() + " check --fix\n");
}

TEST(KilledChange, IsMadeUpForByTheNextOne) {
  const OwnPanel panel;
  panel.folder().WriteText("killing", "#!/bin/sh\nkill -9 $PPID\n");
  test_support::SetMode(panel.Path("killing"), 0755);
  panel.Do({"domain", "create", "example.org"});
  const std::string postmap = "/usr/sbin/postmap -c " + panel.Path("config");
  panel.Configure("postfix-postmap", panel.Path("killing"));

  const CommandRun killed =
      panel.Run({"domain", "update", "example.org", "--default-action", "ignore"});
  EXPECT_EQ(killed.status, 128 + 9);
  EXPECT_EQ(panel.Lookup("virtusertable", "@example.org"), "postfix_err_nouser");
  EXPECT_EQ(panel.Table("virtusertable"), "@example.org\tdevnull\n");
  EXPECT_EQ(panel.Do({"domain", "show", "example.org"}),
            "name: example.org\nactive: true\ndefaction: ignore\nredirect: \nip: \n");

  panel.Configure("postfix-postmap", postmap);
  const CommandRun check = panel.Run({"check"});
  EXPECT_EQ(check.status, 1);
  EXPECT_THAT(check.output, HasSubstr(panel.Path("panel/mail/virtusertable") + " was saved, but"));
  panel.Do({"domain", "create", "example.net"});
  EXPECT_EQ(panel.Lookup("virtusertable", "@example.org"), "devnull");
  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

TEST(SqliteDatabase, ThatIsGoneDoesNotComeBackEmpty) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  std::filesystem::remove(panel.Path("panel/panel.db"));

  for (const char* command : {"list", "create"}) {
    std::vector<std::string> words = {"domain", command};
    if (std::string(command) == "create") words.push_back("example.net");
    const CommandRun run = panel.Run(words);
    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.errors,
                testing::StartsWith("zebmail: missing: " + panel.Path("panel/panel.db") + ": "));
  }
  EXPECT_FALSE(std::filesystem::exists(panel.Path("panel/panel.db")));
}

TEST(TableFile, ThatCannotBeReadFailsTheChangeAsAWhole) {
  const OwnPanel panel;
  std::filesystem::remove(panel.Path("panel/mail/local-host-names"));
  std::filesystem::create_directory(panel.Path("panel/mail/local-host-names"));

  const CommandRun run = panel.Run({"domain", "create", "example.org"});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(
      run.errors,
      testing::StartsWith("zebmail: file: " + panel.Path("panel/mail/local-host-names") + ": "));
  EXPECT_EQ(panel.Table("virtusertable"), "");
  EXPECT_EQ(panel.Do({"domain", "list"}), "");
}

/// A change would make it anew with its own line alone, and the mail of all others would be lost.
TEST(MissingTable, IsNotMadeAnewWhileThePanelHasDomains) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  for (const std::string table : {"virtusertable", "local-host-names", "access", "aliases"}) {
    SCOPED_TRACE(table);
    const std::string path = panel.Path("panel/mail/" + table);
    std::filesystem::rename(path, path + ".away");

    const CommandRun run = panel.Run({"domain", "create", "a.example"});

    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "zebmail: missing: " + path +
                              ": put the table back in place; if it is to be begun anew, make an "
                              "empty file, run zebmail sync and create what is missing\n");
    EXPECT_FALSE(std::filesystem::exists(path));
    std::filesystem::rename(path + ".away", path);
  }
  EXPECT_EQ(panel.Do({"domain", "create", "a.example"}), "a.example: created\n");
}

}  // namespace
}  // namespace zebmail_test
