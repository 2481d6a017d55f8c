/// NAME
///   db_file_stamps_test - which files have changed since a pass over them

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

#include "tests/panel/db_fixture.h"

namespace {

using panel::db::Transaction;

class FileStamps : public db_test::OnEachDatabase {
 protected:
  void SetUp() override {
    db_test::OnEachDatabase::SetUp();
    folder_.WriteText("table", "one\n");
  }

  std::filesystem::path file() const { return folder_.Path("table"); }
  void Write(const std::string& text) const { folder_.WriteText("table", text); }

  bool IsChanged() const { return IsChanged(file()); }
  static bool IsChanged(const std::string& path) {
    std::string stamp;
    return zeb_db::FileIsChanged(path, stamp);
  }
  std::string Stamp() const {
    std::string stamp;
    zeb_db::FileIsChanged(file(), stamp);
    return stamp;
  }

  /// An operation that asks once, and is completed or not.
  bool IsChangedIn(bool committed) {
    Transaction transaction(database());
    const bool changed = IsChanged();
    if (committed) transaction.Commit();
    return changed;
  }

  const test_support::TempFolder& folder() const { return folder_; }

 private:
  test_support::TempFolder folder_;
};

INSTANTIATE_TEST_SUITE_P(On, FileStamps, db_test::EachDatabase(), db_test::NameOfKind);

TEST_P(FileStamps, TellAFileThatWasNeverRead) {
  EXPECT_TRUE(IsChangedIn(true));
}

TEST_P(FileStamps, TellNoChangeAfterACompletedPass) {
  IsChangedIn(true);
  EXPECT_FALSE(IsChangedIn(true));
  Reopen();
  EXPECT_FALSE(IsChangedIn(true));
}

TEST_P(FileStamps, TellAChangeAgainAfterAFailedPass) {
  EXPECT_TRUE(IsChangedIn(false));
  EXPECT_TRUE(IsChangedIn(true));
  EXPECT_FALSE(IsChangedIn(false));
}

TEST_P(FileStamps, TellEachPassOfAnOperationTheSame) {
  Transaction transaction(database());
  EXPECT_TRUE(IsChanged());
  const std::string stamp = Stamp();
  Write("two\n");
  EXPECT_TRUE(IsChanged());
  EXPECT_EQ(Stamp(), stamp);
}

TEST_P(FileStamps, TellNoChangeToEachPassOfAnOperation) {
  IsChangedIn(true);
  Transaction transaction(database());
  EXPECT_FALSE(IsChanged());
  Write("two\n");
  EXPECT_FALSE(IsChanged());
}

TEST_P(FileStamps, TellTheNextOperationWhatChangedDuringAPass) {
  {
    Transaction transaction(database());
    EXPECT_TRUE(IsChanged());
    Write("written meanwhile\n");
    transaction.Commit();
  }
  EXPECT_TRUE(IsChangedIn(true));
  EXPECT_FALSE(IsChangedIn(true));
}

TEST_P(FileStamps, TellAnotherSize) {
  IsChangedIn(true);
  const auto time = std::filesystem::last_write_time(file());
  Write("more than before\n");
  std::filesystem::last_write_time(file(), time);
  EXPECT_TRUE(IsChangedIn(true));
}

TEST_P(FileStamps, TellAnotherFileInTheSamePlace) {
  IsChangedIn(true);
  const auto time = std::filesystem::last_write_time(file());
  folder().WriteText("new", "two\n");
  std::filesystem::last_write_time(folder().Path("new"), time);
  std::filesystem::rename(folder().Path("new"), file());
  EXPECT_TRUE(IsChangedIn(true));
}

TEST_P(FileStamps, TellAnotherMode) {
  IsChangedIn(true);
  test_support::SetMode(file(), 0600);
  EXPECT_TRUE(IsChangedIn(true));
}

TEST_P(FileStamps, TellAFileThatIsGoneAndThatCame) {
  IsChangedIn(true);
  std::filesystem::remove(file());
  EXPECT_TRUE(IsChangedIn(true));
  EXPECT_FALSE(IsChangedIn(true));
  Write("one\n");
  EXPECT_TRUE(IsChangedIn(true));
}

TEST_P(FileStamps, FollowASymbolicLink) {
  std::filesystem::create_symlink(file(), folder().Path("link"));
  const auto is_changed = [&] {
    Transaction transaction(database());
    const bool changed = IsChanged(folder().Path("link"));
    transaction.Commit();
    return changed;
  };
  EXPECT_TRUE(is_changed());
  EXPECT_FALSE(is_changed());
  Write("something else\n");
  EXPECT_TRUE(is_changed());
}

TEST_P(FileStamps, AreKeptForEachPathByItself) {
  folder().WriteText("o'ther", "one\n");
  IsChangedIn(true);
  Transaction transaction(database());
  EXPECT_TRUE(IsChanged(folder().Path("o'ther")));
  EXPECT_FALSE(IsChanged());
  EXPECT_FALSE(IsChanged(folder().Path("./x/../table")));
}

TEST_P(FileStamps, AreNotKeptOutsideOfAnOperation) {
  EXPECT_TRUE(IsChanged());
  EXPECT_TRUE(IsChanged());
  IsChangedIn(true);
  EXPECT_FALSE(IsChanged());
}

TEST_P(FileStamps, AreNoChangeOfARow) {
  Transaction transaction(database());
  IsChanged();
  EXPECT_EQ(db_test::TextOf(transaction.changes()), "");
}

TEST_P(FileStamps, NameAFileThatCannotBeLookedAt) {
  const std::string path = file().string() + "/below";
  const std::string message = db_test::ErrorOf([&] { IsChanged(path); });
  EXPECT_EQ(message.find("file: " + path + ": "), 0U) << message;
}

}  // namespace
