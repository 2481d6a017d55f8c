/// NAME
///   saving_test - when and how a table file is saved

#include <algorithm>
#include <filesystem>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "host/fen_err.h"
#include "host/fen_proc.h"
#include "panel/conf/cache.h"
#include "panel/conf/operation.h"
#include "panel/conf/pending.h"
#include "panel/conf/saving_journal.h"
#include "panel/module/log.h"
#include "tests/panel/sample_table.h"
#include "tests/support/recording_tool.h"
#include "tests/support/test_panel.h"

namespace {

namespace fs = std::filesystem;

using panel::conf::ListPendingWork;
using panel::conf::MakeUpPendingWork;
using panel::conf::Operation;
using panel::conf::SettleJournal;
using panel_test::ErrorOf;
using panel_test::Pair;
using panel_test::SampleTable;
using test_support::ReadText;
using test_support::WriteText;
using testing::ElementsAre;

class Saving : public testing::Test {
 protected:
  Saving() {
    SampleTable::Instance().saves.clear();
    SampleTable::Instance().action = nullptr;
  }

  static void Set(const Cursor<Pair>& pair, const std::string& key, const std::string& value) {
    pair->Create(key);
    pair->value.Set(value);
    pair->Post("");
  }

  static void SetIn(const fs::path& file, const std::string& key, const std::string& value) {
    Set(SampleTable::Get<Pair>(file), key, value);
  }

  std::string Text() const { return ReadText(path); }

  std::vector<std::string> FilesBeside() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder))
      names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
  }

  /// Does the work in a process that is gone then, as if it were killed.
  static void BatchInAnotherProcess(const std::function<void(Operation&)>& work) {
    const pid_t process = fork();
    if (process == 0) {
      Operation batch(Operation::Mode::kBatch);
      work(batch);
      _exit(0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(process, &status, 0), process);
    ASSERT_EQ(status, 0);
  }

  using Saves = std::vector<SampleTable::Save>;

  test_support::TestPanel panel;
  fs::path folder = panel.folder().Path("tables");
  fs::path path = folder / "table";
  SampleTable& table = SampleTable::Instance();

  void SetUp() override { fs::create_directory(folder); }
};

TEST_F(Saving, HappensWhenTheLastCursorIsReleasedOnceAndThenTheActionRuns) {
  {
    auto one = SampleTable::Get<Pair>(path);
    Set(one, "a", "1");
    {
      auto other = SampleTable::Get<Pair>(path);
      Set(other, "b", "2");
    }
    EXPECT_FALSE(fs::exists(path));
    Set(one, "c", "3");
  }

  EXPECT_EQ(Text(), "a\t1\nb\t2\nc\t3\n");
  EXPECT_EQ(table.saves, (Saves{{path, ConfCache::kOperation}}));
}

TEST_F(Saving, WaitsForTheLastCopyOfACursor) {
  auto copy = SampleTable::Get<Pair>(path);
  {
    auto one = copy;
    Set(one, "a", "1");
  }
  EXPECT_FALSE(fs::exists(path));

  copy = Cursor<Pair>();

  EXPECT_EQ(Text(), "a\t1\n");
}

TEST_F(Saving, DoesNotHappenWithoutAChange) {
  WriteText(path, "a 1\n");
  const auto before = fs::last_write_time(path);

  SetIn(path, "a", "1");
  SampleTable::Get<Pair>(path)->Delete("b");

  EXPECT_TRUE(table.saves.empty());
  EXPECT_EQ(fs::last_write_time(path), before);
}

TEST_F(Saving, AFailingActionLeavesTheReleaseAsTheErrorItIsAndTheFileStaysSaved) {
  table.action = [] { throw fen_err::Error("email", "postmap", "no space"); };

  EXPECT_EQ(ErrorOf([&] { SetIn(path, "a", "1"); }), "email: postmap: no space");

  EXPECT_EQ(Text(), "a\t1\n");
}

TEST_F(Saving, WithAnExceptionOnItsWayStillHappensAndASecondFailureIsLoggedNotThrown) {
  const fs::path log = panel.folder().Path("log");
  panel::OpenLog(log);
  table.action = [] { throw fen_err::Error("email", "postmap", "second failure"); };

  try {
    auto pair = SampleTable::Get<Pair>(path);
    Set(pair, "a", "1");
    throw std::runtime_error("first failure");
  } catch (const std::exception& error) {
    EXPECT_STREQ(error.what(), "first failure");
  }

  EXPECT_EQ(Text(), "a\t1\n");
  EXPECT_NE(ReadText(log).find("email: postmap: second failure"), std::string::npos);
}

TEST_F(Saving, WhatWasNotPostedIsNotSaved) {
  {
    auto pair = SampleTable::Get<Pair>(path);
    Set(pair, "a", "1");
    pair->New();
    pair->key.Set("b");
  }

  EXPECT_EQ(Text(), "a\t1\n");
}

TEST_F(Saving, ACursorThatIsReleasedBeforeTheNextIsOpenedSavesInThatOrder) {
  SetIn(folder / "one", "a", "1");
  SetIn(folder / "two", "a", "1");

  EXPECT_EQ(table.saves, (Saves{{folder / "one", ConfCache::kOperation},
                                {folder / "two", ConfCache::kOperation}}));
}

// A batch

TEST_F(Saving, ABatchSavesEachFileOnceAtItsEndInTheOrderOfTheFirstChange) {
  Operation batch(Operation::Mode::kBatch);
  for (const char* key : {"a", "b"}) {
    SetIn(folder / "two", key, "1");
    SetIn(folder / "one", key, "1");
  }
  EXPECT_FALSE(fs::exists(folder / "one"));
  EXPECT_EQ(batch.saved(), 0U);

  batch.Save("1");
  EXPECT_EQ(ReadText(folder / "one"), "a\t1\nb\t1\n");
  EXPECT_EQ(ReadText(folder / "two"), "a\t1\nb\t1\n");
  EXPECT_TRUE(table.saves.empty());
  EXPECT_EQ(ListPendingWork().size(), 2U);
  batch.Keep();
  batch.RunActions();

  EXPECT_EQ(table.saves, (Saves{{folder / "two", ConfCache::kOperation},
                                {folder / "one", ConfCache::kOperation}}));
  EXPECT_EQ(batch.saved(), 2U);
}

TEST_F(Saving, ABatchThatIsNotFinishedChangesNothingAndIsForgotten) {
  WriteText(path, "a 1\n");
  {
    const Operation batch(Operation::Mode::kBatch);
    SetIn(path, "a", "2");
  }

  EXPECT_EQ(SampleTable::Get<Pair>(path)->Find("a"), true);
  auto pair = SampleTable::Get<Pair>(path);
  pair->Assert("a");
  EXPECT_EQ(pair->value.Str(), "1");
  EXPECT_EQ(Text(), "a 1\n");
}

TEST_F(Saving, ABatchWhoseActionFailsStillSavesTheOtherFiles) {
  Operation batch(Operation::Mode::kBatch);
  SetIn(folder / "one", "a", "1");
  SetIn(folder / "two", "a", "1");
  table.action = [this] {
    if (table.saves.size() == 1) throw fen_err::Error("email", "postmap", "no space");
  };

  batch.Save("1");
  batch.Keep();
  EXPECT_EQ(ErrorOf([&] { batch.RunActions(); }), "email: postmap: no space");

  EXPECT_EQ(ReadText(folder / "one"), "a\t1\n");
  EXPECT_EQ(ReadText(folder / "two"), "a\t1\n");
  ASSERT_EQ(ListPendingWork().size(), 1U);
  EXPECT_EQ(ListPendingWork()[0].path, folder / "one");
}

TEST_F(Saving, ABatchOneOfWhoseFilesCannotBeSavedSavesNone) {
  for (const char* other : {"one", "two"}) {
    SCOPED_TRACE(other);
    Operation batch(Operation::Mode::kBatch);
    SetIn(folder / "one", "a", "1");
    SetIn(folder / "two", "a", "1");
    fs::create_directory(folder / other);

    EXPECT_THROW(batch.Save("1"), fen_err::Error);

    EXPECT_EQ(batch.saved(), 0U);
    EXPECT_THAT(FilesBeside(), ElementsAre(other));
    EXPECT_TRUE(ListPendingWork().empty());
    fs::remove(folder / other);
  }
}

TEST_F(Saving, ABatchThatIsTakenBackLeavesTheFilesThatWereThere) {
  WriteText(folder / "one", "a 1\n");
  test_support::SetMode(folder / "one", 0600);
  Operation batch(Operation::Mode::kBatch);
  SetIn(folder / "one", "a", "2");
  SetIn(folder / "two", "a", "1");
  batch.Save("1");

  batch.TakeBack();

  EXPECT_EQ(ReadText(folder / "one"), "a 1\n");
  EXPECT_EQ(test_support::ModeOf(folder / "one"), 0600U);
  EXPECT_THAT(FilesBeside(), ElementsAre("one"));
  EXPECT_EQ(batch.saved(), 0U);
  auto pair = SampleTable::Get<Pair>(folder / "one");
  pair->Assert("a");
  EXPECT_EQ(pair->value.Str(), "1");
}

/// The map of the old text is older than the file now.
TEST_F(Saving, ABatchThatIsTakenBackHasItsActionsOutstanding) {
  WriteText(path, "a 1\n");
  Operation batch(Operation::Mode::kBatch);
  SetIn(path, "a", "2");
  batch.Save("1");

  batch.TakeBack();

  ASSERT_EQ(ListPendingWork().size(), 1U);
  EXPECT_EQ(ListPendingWork()[0].path, path);
}

TEST_F(Saving, ABatchThatIsKeptLeavesNothingBeside) {
  WriteText(folder / "one", "a 1\n");
  Operation batch(Operation::Mode::kBatch);
  SetIn(folder / "one", "a", "2");
  SetIn(folder / "two", "a", "1");
  batch.Save("1");

  batch.Keep();

  EXPECT_THAT(FilesBeside(), ElementsAre("one", "two"));
  EXPECT_FALSE(SettleJournal([](const std::string&) { return false; }).came_back);
  EXPECT_EQ(ReadText(folder / "one"), "a 2\n");
}

// What a killed batch leaves

TEST_F(Saving, AKilledBatchIsTakenBackWhenTheDatabaseDoesNotHaveIt) {
  WriteText(folder / "one", "a 1\n");
  BatchInAnotherProcess([this](Operation& batch) {
    SetIn(folder / "one", "a", "2");
    SetIn(folder / "two", "a", "1");
    batch.Save("the change");
  });
  EXPECT_EQ(ReadText(folder / "one"), "a 2\n");

  std::string asked;
  const auto settled = SettleJournal([&asked](const std::string& change) {
    asked = change;
    return false;
  });

  EXPECT_TRUE(settled.came_back);
  EXPECT_THAT(settled.edited, testing::IsEmpty());
  EXPECT_EQ(asked, "the change");
  EXPECT_EQ(ReadText(folder / "one"), "a 1\n");
  EXPECT_THAT(FilesBeside(), ElementsAre("one"));
  EXPECT_FALSE(SettleJournal([](const std::string&) { return false; }).came_back);
}

TEST_F(Saving, AKilledBatchStaysWhenTheDatabaseHasIt) {
  WriteText(folder / "one", "a 1\n");
  BatchInAnotherProcess([this](Operation& batch) {
    SetIn(folder / "one", "a", "2");
    SetIn(folder / "two", "a", "1");
    batch.Save("the change");
  });

  EXPECT_FALSE(SettleJournal([](const std::string&) { return true; }).came_back);

  EXPECT_EQ(ReadText(folder / "one"), "a 2\n");
  EXPECT_THAT(FilesBeside(), ElementsAre("one", "two"));
}

TEST_F(Saving, WhatSomebodyElseHasWrittenSinceStaysWhenAKilledBatchIsTakenBack) {
  WriteText(folder / "one", "a 1\n");
  BatchInAnotherProcess([this](Operation& batch) {
    SetIn(folder / "one", "a", "2");
    batch.Save("the change");
  });
  WriteText(folder / "other", "a 3\n");
  fs::rename(folder / "other", folder / "one");

  SettleJournal([](const std::string&) { return false; });

  EXPECT_EQ(ReadText(folder / "one"), "a 3\n");
  EXPECT_THAT(FilesBeside(), ElementsAre("one"));
}

TEST_F(Saving, WhatSomebodyElseHasAddedSinceStaysWhenAKilledBatchIsTakenBack) {
  WriteText(folder / "one", "a 1\n");
  WriteText(folder / "two", "a 1\n");
  BatchInAnotherProcess([this](Operation& batch) {
    SetIn(folder / "one", "a", "2");
    SetIn(folder / "two", "a", "2");
    batch.Save("the change");
  });
  WriteText(folder / "one", "a 2\nb 1\n");

  const auto settled = SettleJournal([](const std::string&) { return false; });

  EXPECT_THAT(settled.edited, ElementsAre((folder / "one").string()));
  EXPECT_EQ(ReadText(folder / "one"), "a 2\nb 1\n");
  EXPECT_EQ(ReadText(folder / "two"), "a 1\n");
  EXPECT_THAT(FilesBeside(), ElementsAre("one", "two"));
}

TEST_F(Saving, WhatSomebodyElseHasAddedMeanwhileStaysWhenABatchIsTakenBack) {
  WriteText(folder / "one", "a 1\n");
  Operation batch(Operation::Mode::kBatch);
  SetIn(folder / "one", "a", "2");
  batch.Save("the change");
  WriteText(folder / "one", "a 2\nb 1\n");

  EXPECT_EQ(ErrorOf([&batch] { batch.TakeBack(); }),
            "changed: " + (folder / "one").string() +
                ": somebody has edited it while it was saved, so it keeps what the database does "
                "not have; zebmail check tells what that is");

  EXPECT_EQ(ReadText(folder / "one"), "a 2\nb 1\n");
}

TEST_F(Saving, AJournalThatAKilledProcessHasNotFinishedIsNoneAndIsRemoved) {
  const fs::path half = panel.folder().WriteText("state/.saving.zebmail", "123");

  EXPECT_FALSE(SettleJournal([](const std::string&) { return true; }).came_back);

  EXPECT_FALSE(fs::exists(half));
}

TEST_F(Saving, NotesAndJournalAreForTheOwnerAloneWhateverTheUmask) {
  for (const mode_t mask : {0000U, 0077U}) {
    const mode_t before = umask(mask);
    panel::conf::NotePendingWork({"sample::Table", panel.Table("virtusertable")});
    panel::conf::WriteJournal("change", {});
    umask(before);

    EXPECT_EQ(test_support::ModeOf(panel.state_dir() / "saving"), 0600U);
    EXPECT_EQ(test_support::ModeOf(panel.state_dir() / "pending"), 0700U);
    for (const auto& note : std::filesystem::directory_iterator(panel.state_dir() / "pending")) {
      EXPECT_EQ(test_support::ModeOf(note.path()), 0600U);
    }
    panel::conf::RemoveJournal();
    std::filesystem::remove_all(panel.state_dir() / "pending");
  }
}

TEST_F(Saving, AJournalThatIsNoneIsAnErrorThatNamesIt) {
  const std::string journal = panel.folder().WriteText("state/saving", "rubbish");

  EXPECT_THAT(ErrorOf([] { SettleJournal([](const std::string&) { return false; }); }),
              testing::MatchesRegex("saving: " + journal + ": .*: file: " + journal +
                                    ": is no journal of a change; .* remove this file: .*"));
}

// A rehearsal

TEST_F(Saving, ARehearsalSavesNothingShowsTheChangesAndNotesTheTools) {
  WriteText(path, "a 1\n");
  const test_support::RecordingTool tool(panel.folder(), "tool");
  table.action = [&tool] { fen_proc::Execute(tool.path() + " arg", 2); };
  {
    Operation rehearsal(Operation::Mode::kRehearsal);
    SetIn(path, "a", "2");
    SetIn(path, "b", "3");

    rehearsal.RunActions();

    ASSERT_EQ(rehearsal.changes().size(), 1U);
    EXPECT_EQ(rehearsal.changes()[0].path, path);
    EXPECT_EQ(rehearsal.changes()[0].before, "a 1\n");
    EXPECT_EQ(rehearsal.changes()[0].after, "a 2\nb\t3\n");
    EXPECT_EQ(rehearsal.tools(), std::vector<std::string>{tool.path() + " arg"});
    EXPECT_EQ(rehearsal.saved(), 0U);
  }

  EXPECT_EQ(Text(), "a 1\n");
  EXPECT_TRUE(tool.Runs().empty());
  EXPECT_TRUE(ListPendingWork().empty());
  EXPECT_FALSE(SampleTable::Get<Pair>(path)->Find("b"));
}

TEST_F(Saving, OnlyOneOperationLivesAtATime) {
  const Operation operation(Operation::Mode::kEach);

  EXPECT_EQ(ErrorOf([] { Operation(Operation::Mode::kEach); }),
            "operation: panel: another operation is not finished");
}

// Atomic

TEST_F(Saving, KeepsModeOwnerAndExtendedAttributes) {
  WriteText(path, "a 1\n");
  test_support::SetMode(path, 0640);
  test_support::SetOwner(path, {12345, 23456});
  ASSERT_EQ(setxattr(path.c_str(), "user.note", "kept", 4, 0), 0);

  SetIn(path, "a", "2");

  EXPECT_EQ(Text(), "a 2\n");
  EXPECT_EQ(test_support::ModeOf(path), 0640U);
  EXPECT_EQ(test_support::OwnerOf(path), (test_support::Owner{12345, 23456}));
  char value[8] = {};
  EXPECT_EQ(getxattr(path.c_str(), "user.note", value, sizeof value), 4);
  EXPECT_STREQ(value, "kept");
}

TEST_F(Saving, FollowsASymbolicLink) {
  WriteText(folder / "real/table", "a 1\n");
  fs::create_symlink("real/table", path);

  SetIn(path, "a", "2");

  EXPECT_TRUE(fs::is_symlink(path));
  EXPECT_EQ(ReadText(folder / "real/table"), "a 2\n");
}

TEST_F(Saving, RefusesADanglingLinkAFolderAndAMissingFolder) {
  fs::create_symlink("nowhere", path);
  EXPECT_EQ(ErrorOf([&] { SetIn(path, "a", "1"); }),
            "file: " + path.string() + ": is a symbolic link to a file that does not exist");
  EXPECT_EQ(ErrorOf([&] { SetIn(folder, "a", "1"); }),
            "file: " + folder.string() + ": is not a regular file");
  const std::string missing = folder / "no/table";
  EXPECT_EQ(ErrorOf([&] { SetIn(missing, "a", "1"); }),
            "file: " + folder.string() +
                "/no/.table.zebmail: cannot be created: No such file or directory");
  EXPECT_TRUE(ListPendingWork().empty());
}

TEST_F(Saving, ReplacesTheFileInsteadOfWritingIntoIt) {
  WriteText(path, "a 1\n");
  const int old = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  ASSERT_GE(old, 0);

  SetIn(path, "a", "2");

  char bytes[8] = {};
  EXPECT_EQ(pread(old, bytes, sizeof bytes, 0), 4);
  EXPECT_STREQ(bytes, "a 1\n");
  close(old);
}

TEST_F(Saving, LeavesNothingBesideTheFileAndRemovesWhatAKilledOneLeft) {
  WriteText(path, "a 1\n");
  WriteText(folder / ".table.zebmail", "half a te");

  SetIn(path, "a", "2");

  EXPECT_EQ(FilesBeside(), std::vector<std::string>{"table"});
}

TEST_F(Saving, DoesNotWriteThroughALinkThatStandsWhereTheNewTextIsWritten) {
  WriteText(path, "a 1\n");
  WriteText(folder / "victim", "precious\n");
  fs::create_symlink("victim", folder / ".table.zebmail");

  SetIn(path, "a", "2");

  EXPECT_EQ(Text(), "a 2\n");
  EXPECT_EQ(ReadText(folder / "victim"), "precious\n");
}

// Pending work

TEST_F(Saving, IsNotedBeforeAndTheNoteGoesWithTheSuccessOfTheAction) {
  std::vector<panel::conf::PendingWork> during;
  table.action = [&during] { during = ListPendingWork(); };

  SetIn(path, "a", "1");

  ASSERT_EQ(during.size(), 1U);
  EXPECT_EQ(during[0].table, "SampleTable");
  EXPECT_EQ(during[0].path, path);
  EXPECT_TRUE(ListPendingWork().empty());
}

TEST_F(Saving, AFailedActionStaysNotedUntilItIsMadeUpFor) {
  table.action = [] { throw fen_err::Error("email", "postmap", "no space"); };
  EXPECT_THROW(SetIn(path, "a", "1"), fen_err::Error);
  EXPECT_EQ(ErrorOf(MakeUpPendingWork), "email: postmap: no space");
  ASSERT_EQ(ListPendingWork().size(), 1U);
  table.action = nullptr;
  table.saves.clear();

  MakeUpPendingWork();

  EXPECT_EQ(table.saves, (Saves{{path, ConfCache::kMadeUp}}));
  EXPECT_TRUE(ListPendingWork().empty());
}

TEST_F(Saving, MakingUpRemovesWhatAKilledSaveLeftBesideTheFile) {
  table.action = [] { throw fen_err::Error("email", "postmap", "no space"); };
  EXPECT_THROW(SetIn(path, "a", "1"), fen_err::Error);
  WriteText(folder / ".table.zebmail", "half a te");
  table.action = nullptr;

  MakeUpPendingWork();

  EXPECT_EQ(FilesBeside(), std::vector<std::string>{"table"});
}

TEST_F(Saving, ANoteOfAFileThatIsGoneIsDropped) {
  table.action = [] { throw fen_err::Error("email", "postmap", "no space"); };
  EXPECT_THROW(SetIn(path, "a", "1"), fen_err::Error);
  fs::remove(path);
  table.saves.clear();

  MakeUpPendingWork();

  EXPECT_TRUE(table.saves.empty());
  EXPECT_TRUE(ListPendingWork().empty());
}

TEST_F(Saving, OfAFileWhoseNameBeginsWithADotIsNotedToo) {
  panel::conf::NotePendingWork({"SampleTable", folder / ".table"});

  ASSERT_EQ(ListPendingWork().size(), 1U);
  EXPECT_EQ(ListPendingWork()[0].path, folder / ".table");
}

TEST_F(Saving, ABatchOneOfWhoseFilesSomebodyElseHasChangedSavesNone) {
  Operation batch(Operation::Mode::kBatch);
  SetIn(folder / "one", "a", "1");
  SetIn(folder / "two", "a", "1");
  SetIn(folder / "three", "a", "1");
  WriteText(folder / "two", "by hand\n");

  EXPECT_EQ(ErrorOf([&] { batch.Save("1"); }), "changed: " + (folder / "two").string());
  batch.RunActions();

  EXPECT_EQ(ReadText(folder / "two"), "by hand\n");
  EXPECT_THAT(FilesBeside(), ElementsAre("two"));
  EXPECT_TRUE(table.saves.empty());
  EXPECT_TRUE(ListPendingWork().empty());
}

TEST_F(Saving, ANoteThatAKilledProcessHasNotFinishedIsNoNoteAndCanBeRemoved) {
  panel::conf::NotePendingWork({"SampleTable", path});
  const fs::path half = panel.state_dir() / "pending/.123.table.zebmail";
  WriteText(half, "SampleTa");
  ASSERT_EQ(ListPendingWork().size(), 1U);

  panel::conf::RemoveHalfWrittenNotes();

  EXPECT_FALSE(fs::exists(half));
  EXPECT_EQ(ListPendingWork().size(), 1U);
}

TEST_F(Saving, ANoteOfATableThatIsNotKnownIsLeftAlone) {
  panel::conf::NotePendingWork({"OtherTable", path});

  MakeUpPendingWork();

  ASSERT_EQ(ListPendingWork().size(), 1U);
  EXPECT_FALSE(panel::conf::IsTableKnown(ListPendingWork()[0]));
}

TEST_F(Saving, NotesOfOneFileInTwoTablesAreTwo) {
  panel::conf::NotePendingWork({"One", path});
  panel::conf::NotePendingWork({"Two", path});
  panel::conf::NotePendingWork({"One", path});

  ASSERT_EQ(ListPendingWork().size(), 2U);
  panel::conf::ForgetPendingWork({"One", path});

  ASSERT_EQ(ListPendingWork().size(), 1U);
  EXPECT_EQ(ListPendingWork()[0].table, "Two");
}

TEST_F(Saving, WithoutAStateFolderFailsAndChangesNothing) {
  fs::remove_all(panel.state_dir());
  WriteText(path, "a 1\n");

  EXPECT_THROW(SetIn(path, "a", "2"), fen_err::Error);

  EXPECT_EQ(Text(), "a 1\n");
}

// Other hands

TEST_F(Saving, AFileThatChangedOnDiskIsReadAgainWhenItIsOpened) {
  SetIn(path, "a", "1");
  WriteText(path, "a 1\nb 2 # by hand\n");

  SetIn(path, "a", "3");

  EXPECT_EQ(Text(), "a 3\nb 2 # by hand\n");
}

TEST_F(Saving, AFileThatChangedBetweenReadingAndSavingIsNotOverwritten) {
  WriteText(path, "a 1\n");
  EXPECT_EQ(ErrorOf([&] {
              auto pair = SampleTable::Get<Pair>(path);
              Set(pair, "a", "2");
              WriteText(path, "a 1\nb by hand\n");
            }),
            "changed: " + path.string());
  EXPECT_EQ(Text(), "a 1\nb by hand\n");
  EXPECT_TRUE(ListPendingWork().empty());

  SetIn(path, "a", "2");

  EXPECT_EQ(Text(), "a 2\nb by hand\n");
}

TEST_F(Saving, AFileThatSomebodyReplacedOrRemovedMeanwhileIsNotOverwritten) {
  WriteText(path, "a 1\n");
  WriteText(folder / "other", "a 1\n");

  EXPECT_EQ(ErrorOf([&] {
              auto pair = SampleTable::Get<Pair>(path);
              Set(pair, "a", "2");
              fs::rename(folder / "other", path);
            }),
            "changed: " + path.string());
  EXPECT_EQ(Text(), "a 1\n");
  EXPECT_EQ(ErrorOf([&] {
              auto pair = SampleTable::Get<Pair>(path);
              Set(pair, "a", "2");
              fs::remove(path);
            }),
            "changed: " + path.string());
  EXPECT_FALSE(fs::exists(path));
}

TEST_F(Saving, AFileThatSomebodyMadeMeanwhileIsNotOverwritten) {
  EXPECT_EQ(ErrorOf([&] {
              auto pair = SampleTable::Get<Pair>(path);
              Set(pair, "a", "2");
              WriteText(path, "by hand\n");
            }),
            "changed: " + path.string());

  EXPECT_EQ(Text(), "by hand\n");
}

// The cache

class Caching : public Saving {
 protected:
  static std::weak_ptr<panel::conf::File> Open(const fs::path& file) {
    return panel::conf::Cache::Known()->Open("SampleTable", file, true);
  }

  void OpenOthers(int count) {
    for (int file = 0; file < count; ++file) Open(folder / std::to_string(file));
  }
};

TEST_F(Caching, AnUnchangedFileIsNotReadAgain) {
  SetIn(path, "a", "1");
  const auto first = Open(path);

  SetIn(path, "a", "2");

  EXPECT_EQ(Open(path).lock(), first.lock());
  EXPECT_NE(first.lock(), nullptr);
}

TEST_F(Caching, KeepsTheTwentyFilesThatWereUsedLast) {
  SetIn(path, "a", "1");
  const auto file = Open(path);

  OpenOthers(19);
  EXPECT_NE(file.lock(), nullptr);
  Open(path);
  OpenOthers(19);
  EXPECT_NE(file.lock(), nullptr);
  OpenOthers(20);

  EXPECT_EQ(file.lock(), nullptr);
}

TEST_F(Caching, KeepsAFileThatIsOpenHoweverManyOthersAreUsed) {
  auto pair = SampleTable::Get<Pair>(path);
  OpenOthers(25);
  Set(SampleTable::Get<Pair>(path), "a", "1");
  Set(pair, "b", "2");
  pair = Cursor<Pair>();

  EXPECT_EQ(Text(), "a\t1\nb\t2\n");
}

}  // namespace
