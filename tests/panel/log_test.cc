/// NAME
///   log_test - the panel's log

#include "panel/module/log.h"

#include <ctime>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "host/fen_log.h"
#include "tests/support/temp_folder.h"

namespace {

using test_support::TempFolder;
using testing::ElementsAre;

class LogFile : public testing::Test {
 protected:
  LogFile() { panel::OpenLog(file_); }

  /// The entries without their times, each of which is checked here.
  std::vector<std::string> Entries() const {
    std::istringstream text(test_support::ReadText(file_));
    std::vector<std::string> entries;
    for (std::string line; std::getline(text, line);) {
      std::tm time{};
      const char* rest = strptime(line.c_str(), "%Y-%m-%dT%H:%M:%S%z", &time);
      EXPECT_NE(rest, nullptr) << line;
      entries.emplace_back(rest == nullptr ? "" : rest + 1);
    }
    return entries;
  }

  TempFolder folder_;
  std::filesystem::path file_ = folder_.Path("zebfen.log");
};

fen_err::Error Reported(const std::string& type, const std::string& object,
                        const std::string& value) {
  fen_err::Error error(type, object, value);
  error.set_report();
  return error;
}

TEST_F(LogFile, HoldsOneLineForEachEntry) {
  panel::Log("panel", "first");
  panel::LogError("panel", std::runtime_error("second"));

  EXPECT_THAT(Entries(), ElementsAre("[panel] info first", "[panel] error second"));
}

TEST_F(LogFile, ShowsControlCharacters) {
  panel::Log("panel", "a\nb\x1b[2Jc\r\n");
  panel::Log("pa\nnel", std::string("x\0y", 3));

  EXPECT_THAT(Entries(),
              ElementsAre("[panel] info a\\nb\\x1b[2Jc\\r\\n", "[pa\\nnel] info x\\x00y"));
}

TEST_F(LogFile, TakesATextForNoPattern) {
  panel::Log("{}", "100% {} {0} %v %n");

  EXPECT_THAT(Entries(), ElementsAre("[{}] info 100% {} {0} %v %n"));
}

TEST_F(LogFile, CanBeReadByOwnerAndGroupOnly) {
  EXPECT_EQ(test_support::ModeOf(file_), 0640U);
}

TEST_F(LogFile, IsContinued) {
  panel::Log("panel", "first");
  panel::OpenLog(file_);
  panel::Log("panel", "second");

  EXPECT_THAT(Entries(), ElementsAre("[panel] info first", "[panel] info second"));
}

TEST_F(LogFile, TakesAReportedErrorInTheChannelOfItsType) {
  const fen_log::Module channel("email", "zebfen");
  panel::LogError("panel", Reported("email", "postmap", "fatal: open\n"));

  EXPECT_THAT(Entries(), ElementsAre("[email] error email: postmap: fatal: open\\n"));
}

TEST_F(LogFile, TakesOtherErrorsInTheCallersChannel) {
  const fen_log::Module channel("email", "zebfen");
  const fen_log::Module other_log("web", "other");
  panel::LogError("panel", fen_err::Error("email", "postmap", "not marked"));
  panel::LogError("panel", Reported("missing", "/etc/mail/access", "x"));
  panel::LogError("panel", Reported("web", "x", ""));
  panel::LogError("panel", std::runtime_error("email"));

  EXPECT_THAT(Entries(), ElementsAre("[panel] error email: postmap: not marked",
                                     "[panel] error missing: /etc/mail/access: x",
                                     "[panel] error web: x", "[panel] error email"));
}

TEST_F(LogFile, LosesAChannelWithItsLastDeclaration) {
  {
    const fen_log::Module first("email", "zebfen");
    { const fen_log::Module second("email", "zebfen"); }
    panel::LogError("panel", Reported("email", "one", ""));
  }
  panel::LogError("panel", Reported("email", "two", ""));

  EXPECT_THAT(Entries(), ElementsAre("[email] error email: one", "[panel] error email: two"));
}

TEST_F(LogFile, TakesAToolsWholeOutput) {
  const std::string output(64 * 1024, '\x01');
  panel::Log("panel", output);

  const std::vector<std::string> entries = Entries();
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0].size(), std::string("[panel] info ").size() + 4 * output.size());
}

TEST_F(LogFile, TakesEntriesOfSeveralThreads) {
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([] {
      const fen_log::Module channel("email", "zebfen");
      for (int round = 0; round < 100; ++round) {
        panel::LogError("panel", Reported("email", std::string(5000, 'x'), ""));
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  const std::vector<std::string> entries = Entries();
  EXPECT_EQ(entries.size(), 400U);
  EXPECT_THAT(entries, testing::Each("[email] error email: " + std::string(5000, 'x')));
}

TEST(Log, SaysWhyItCannotBeOpened) {
  const TempFolder folder;
  const std::filesystem::path file = folder.Path("missing/zebfen.log");

  try {
    panel::OpenLog(file);
    FAIL() << "opened";
  } catch (const fen_err::Error& error) {
    EXPECT_EQ(error.what(), "log: " + file.string() + ": No such file or directory");
  }
  EXPECT_FALSE(std::filesystem::exists(folder.Path("missing")));
}

TEST(Log, SpeaksToStandardErrorBeforeItIsOpen) {
  testing::internal::CaptureStderr();
  panel::Log("panel", "one\ntwo");

  EXPECT_EQ(testing::internal::GetCapturedStderr(), "[panel] one\\ntwo\n");
}

TEST(Log, SpeaksToStandardErrorWhenTheDiskIsFull) {
  panel::OpenLog("/dev/full");
  testing::internal::CaptureStderr();
  panel::Log("panel", "text");

  EXPECT_THAT(testing::internal::GetCapturedStderr(),
              testing::StartsWith("[panel] text (not logged: "));
}

}  // namespace
