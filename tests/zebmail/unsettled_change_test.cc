/// NAME
///   unsettled_change_test - a killed change that can be neither kept nor taken back

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

namespace fs = std::filesystem;

/// A panel on which a change was killed that had put a new file into a folder that is gone since.
class UnsettledChange : public testing::Test {
 protected:
  UnsettledChange() {
    std::string text = "a change" + std::string(1, '\0') + panel_.Path("gone/table") + '\0';
    for (int number = 0; number < 6; ++number) text += std::string("1") + '\0';
    test_support::WriteText(journal_, text);
    test_support::SetMode(journal_, 0600);
  }

  const MailboxPanel panel_;
  const std::string journal_ = panel_.Path("panel/state/saving");
  const std::string what_ = "zebmail: saving: " + journal_ +
                            ": a change was killed while it was saved, and its table files can be "
                            "neither kept nor put back: file: " +
                            panel_.Path("gone") +
                            ": cannot be synchronised: No such file or directory; mend that and "
                            "run the command again, or remove this file: ";
};

TEST_F(UnsettledChange, KeepsChangesFromBeingMadeAndSaysWhatToDo) {
  const std::string tables = panel_.MailboxTables();
  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{"domain", "create", "example.net"},
                                             {"blacklist", "add", "friend.example"},
                                             {"sync"},
                                             {"postfix-config", "--apply"}}) {
    const CommandRun run = panel_.Run(words);

    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, StartsWith(what_));
    EXPECT_EQ(panel_.MailboxTables(), tables);
  }
  EXPECT_TRUE(fs::exists(journal_));
}

TEST_F(UnsettledChange, LetsThePanelBeLookedAtWithAWarning) {
  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{"domain", "list"},
                                             {"domain", "show", "example.org"},
                                             {"mailbox", "list"},
                                             {"alias", "list", "info@example.org"},
                                             {"whitelist", "list"},
                                             {"webdomain", "list"},
                                             {"export"},
                                             {"postfix-config"},
                                             {"--dry-run", "sync"},
                                             {"--dry-run", "domain", "create", "example.net"}}) {
    SCOPED_TRACE(testing::PrintToString(words));
    const CommandRun run = panel_.Run(words);
    fs::rename(journal_, journal_ + ".away");
    const CommandRun settled = panel_.Run(words);
    fs::rename(journal_ + ".away", journal_);

    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, settled.output);
    EXPECT_THAT(run.errors, StartsWith(what_));
    EXPECT_EQ(settled.errors, "");
  }
}

TEST_F(UnsettledChange, IsANoteOfATrace) {
  EXPECT_THAT(panel_.Do({"trace", "info@example.org"}),
              HasSubstr("\nnote: a change is being saved, or was killed while it was: "));
}

TEST_F(UnsettledChange, IsAFindingOfCheckWhichMendsNothingThen) {
  const std::string tables = panel_.MailboxTables();
  fs::remove(panel_.Path("panel/mail/virtusertable.db"));
  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{"--json", "check"}, {"--json", "check", "--fix"}}) {
    const CommandRun run = panel_.Run(words);

    EXPECT_EQ(run.status, 1);
    const auto report = nlohmann::json::parse(run.output);
    EXPECT_EQ(report["findings"][0]["check"], "saving");
    EXPECT_EQ(report["findings"][0]["object"], journal_);
    EXPECT_EQ(report["findings"][1]["check"], "map");
    EXPECT_EQ(report["findings"].size(), 2U);
    EXPECT_TRUE(report["mended"].empty());
    EXPECT_FALSE(fs::exists(panel_.Path("panel/mail/virtusertable.db")));
    EXPECT_EQ(panel_.MailboxTables(), tables);
  }
}

TEST_F(UnsettledChange, IsSettledWhenTheCauseIsMended) {
  fs::create_directory(panel_.Path("gone"));
  panel_.Do({"domain", "create", "example.net"});
  EXPECT_FALSE(fs::exists(journal_));
}

TEST_F(UnsettledChange, IsForgottenWithTheJournal) {
  fs::remove(journal_);
  panel_.Do({"domain", "create", "example.net"});
  EXPECT_EQ(panel_.Do({"check"}), "nothing is wrong\n");
}

}  // namespace
}  // namespace zebmail_test
