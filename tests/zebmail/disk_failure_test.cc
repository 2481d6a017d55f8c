/// NAME
///   disk_failure_test - changes on a disk that is full or read-only, and files that are in the way

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/small_disk.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using test_support::SmallDisk;
using testing::HasSubstr;

namespace fs = std::filesystem;

constexpr std::size_t kRoom = std::size_t{1} << 20;
constexpr std::size_t kPage = 4096;

/// What SQLite needs to open a database: the file of its index, and a page for the log.
constexpr std::size_t kRoomToOpen = 9 * kPage;

struct Change {
  std::vector<std::string> words;
  std::string input;
};

/// One of each kind, in an order in which each can be made behind the others. The table that the
/// first is about is the first that it saves.
const std::vector<Change> kChanges = {
    {{"domain", "create", "example.net"}, ""},
    {{"domain", "update", "example.net", "--default-action", "ignore"}, ""},
    {{"domain", "update", "example.net", "--ip", "127.0.0.2"}, ""},
    {{"domain", "suspend", "example.net"}, ""},
    {{"domain", "resume", "example.net"}, ""},
    {{"domain", "delete", "example.net"}, ""},
    {{"mailbox", "create", "new@example.org"}, ""},
    {{"mailbox", "update", "new@example.org", "--drop-mail", "on"}, ""},
    {{"mailbox", "suspend", "new@example.org"}, ""},
    {{"mailbox", "resume", "new@example.org"}, ""},
    {{"mailbox", "delete", "new@example.org"}, ""},
    {{"alias", "add", "info@example.org", "sales"}, ""},
    {{"forward", "add", "info@example.org", "boss@example.net"}, ""},
    {{"responder", "on", "info@example.org"}, ""},
    {{"whitelist", "add", "friend.example"}, ""},
    {{"blacklist", "add", "192.0.2.66"}, ""},
    {{"import", "-"}, "{\"type\":\"domain\",\"name\":\"imported.example\"}\n"},
};

/// All that a change may change, but for the log and the maps, which are built of the tables.
struct Everything {
  std::map<std::string, std::string> tables;
  std::string database;
  std::string master_cf;

  bool operator==(const Everything&) const = default;
};

class FailingDisk : public testing::Test {
 protected:
  Everything Look() const {
    Everything all{Snapshot(panel_.Path("panel/mail")), panel_.Do({"export"}),
                   panel_.folder().ReadText("config/master.cf")};
    std::erase_if(all.tables, [](const auto& file) {
      return file.first == "ballast" || file.first.ends_with(".db");
    });
    return all;
  }

  /// Makes each change between `fail` and `mend`: first it must change nothing and say `what`, then
  /// it must work.
  void TryEach(const std::function<void()>& fail, const std::function<void()>& mend,
               const std::string& what) const {
    for (const Change& change : kChanges) {
      SCOPED_TRACE(testing::PrintToString(change.words));
      const Everything before = Look();
      fail();
      const CommandRun run = panel_.Run(change.words, change.input);
      const auto tables = Snapshot(panel_.Path("panel/mail"));
      mend();

      EXPECT_EQ(run.status, 1);
      EXPECT_EQ(run.output, "");
      EXPECT_THAT(run.errors, testing::MatchesRegex(what));
      EXPECT_EQ(Look(), before);
      EXPECT_THAT(tables, testing::Not(testing::Contains(testing::Key(HasSubstr(".zebmail")))));
      panel_.Do(change.words, change.input);
      EXPECT_FALSE(Look() == before);
    }
    EXPECT_EQ(panel_.Do({"check"}), "nothing is wrong\n");
  }

  const MailboxPanel panel_;
};

TEST_F(FailingDisk, ThatIsFullOfTheTables) {
  const SmallDisk disk(panel_.Path("panel/mail"), kRoom);
  TryEach([&disk] { disk.FillUp(); }, [&disk] { disk.Empty(); },
          "zebmail: file: " + panel_.Path("panel/mail/") +
              "\\.[a-z-]+\\.zebmail: cannot be written: No space left on device\n"
              "next: make room on that file system, then run the command again\n");
}

TEST_F(FailingDisk, ThatIsReadOnlyOfTheTables) {
  const SmallDisk disk(panel_.Path("panel/mail"), kRoom);
  TryEach([&disk] { disk.SetReadOnly(true); }, [&disk] { disk.SetReadOnly(false); },
          "zebmail: file: " + panel_.Path("panel/mail/") +
              "\\.[a-z-]+\\.zebmail: cannot be created: Read-only file system\n"
              "next: make that file system one that can be written, then run the command again\n");
}

TEST_F(FailingDisk, ThatIsFullOfTheNotes) {
  const SmallDisk disk(panel_.Path("panel/state"), kRoom);
  TryEach([&disk] { disk.FillUp(); }, [&disk] { disk.Empty(); },
          "zebmail: file: " + panel_.Path("panel/state/") +
              ".*: cannot be written: No space left on device\n"
              "next: make room on that file system, then run the command again\n");
}

TEST_F(FailingDisk, ThatIsReadOnlyOfTheNotes) {
  const SmallDisk disk(panel_.Path("panel/state"), kRoom);
  TryEach([&disk] { disk.SetReadOnly(true); }, [&disk] { disk.SetReadOnly(false); },
          "zebmail: lock: " + panel_.Path("panel/state/lock") +
              ": Read-only file system\n"
              "next: make that file system one that can be written, then run the command again\n");
}

class SqliteOnFailingDisk : public FailingDisk {};

/// The tables are in place already when the database finds that it has no room.
TEST_F(SqliteOnFailingDisk, ThatIsFull) {
  fs::create_directory(panel_.Path("panel/database"));
  fs::rename(panel_.Path("panel/panel.db"), panel_.Path("panel/database/panel.db"));
  panel_.Configure("database", "sqlite3://" + panel_.Path("panel/database/panel.db"));
  const SmallDisk disk(panel_.Path("panel/database"), kRoom);
  TryEach([&disk] { disk.FillUp(kRoomToOpen); }, [&disk] { disk.Empty(); },
          "zebmail: database: COMMIT: database or disk is full\n"
          "next: make room on that file system, then run the command again\n");
}

/// As a quota of the user's does.
TEST(FileSizeLimit, KeepsTheTablesAsTheyWere) {
  const MailboxPanel panel;
  panel.SetTable("virtusertable", panel.Table("virtusertable") + std::string(60000, '#') + "\n");
  const std::string before = panel.MailboxTables();

  const CommandRun run =
      test_support::RunCommand({"/usr/bin/prlimit", "--fsize=50000", ZEBMAIL_BINARY, "--config",
                                panel.config(), "mailbox", "create", "new@example.org"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(
      run.errors,
      "zebmail: file: " + panel.Path("panel/mail/.virtusertable.zebmail") +
          ": cannot be written: File too large\n"
          "next: raise the limit on the size of files (ulimit -f), then run the command again\n");
  EXPECT_EQ(panel.MailboxTables(), before);
  EXPECT_FALSE(fs::exists(panel.Path("panel/mail/.virtusertable.zebmail")));
  panel.Do({"mailbox", "create", "new@example.org"});
}

/// A file system that knows no such files has the read-only disk above for it.
TEST(ImmutableTable, StaysAsItIs) {
  const MailboxPanel panel;
  const std::string table = panel.Path("panel/mail/virtusertable");
  const std::string before = panel.MailboxTables();
  const bool is_immutable = test_support::RunCommand({"/usr/bin/chattr", "+i", table}).status == 0;

  const CommandRun run = panel.Run({"mailbox", "create", "new@example.org"});
  test_support::RunCommand({"/usr/bin/chattr", "-i", table});

  if (!is_immutable) return;
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zebmail: file: " + table +
                            ": cannot be replaced: Operation not permitted\n"
                            "next: see whether the file may not be changed by anybody (lsattr), "
                            "then run the command again\n");
  EXPECT_EQ(panel.MailboxTables(), before);
  EXPECT_FALSE(fs::exists(panel.Path("panel/mail/.virtusertable.zebmail")));
  panel.Do({"mailbox", "create", "new@example.org"});
}

TEST(TablePath, ThatIsADanglingLinkFailsTheChangeAsAWhole) {
  const MailboxPanel panel;
  const std::string table = panel.Path("panel/mail/aliases");
  fs::rename(table, table + ".away");
  fs::create_symlink(panel.Path("nowhere"), table);
  const std::string before = panel.Table("virtusertable");

  const CommandRun run = panel.Run({"forward", "add", "info@example.org", "boss@example.net"});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, testing::StartsWith("zebmail: missing: " + table + ": "));
  EXPECT_FALSE(fs::exists(panel.Path("nowhere")));
  fs::rename(table + ".away", table);
  EXPECT_EQ(panel.Table("virtusertable"), before);
  panel.Do({"forward", "add", "info@example.org", "boss@example.net"});
}

}  // namespace
}  // namespace zebmail_test
