/// NAME
///   hands_test - operations while others change the tables, for as long as somebody wants
///
/// PURPOSE
///   A tenant's operations, and somebody who adds lines to the tables of them: at a chosen moment
///   of an operation, or at any moment while zebmail runs. Each line must be there in the end, and
///   so must all that the tenant has done. An operation that says that a table was changed is run
///   again.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <functional>
#include <iostream>
#include <map>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/fen_err.h"
#include "panel/mail/panel.h"
#include "panel/module/config.h"
#include "panel/process/file_handle.h"
#include "tests/reliability/settings.h"
#include "tests/support/hand.h"
#include "tests/support/lines.h"
#include "tests/support/tenant.h"
#include "tests/zebmail/own_panel.h"

namespace reliability {
namespace {

using test_support::CommandRun;
using test_support::Tenant;
using Words = std::vector<std::string>;

constexpr int kOperations = 200;  ///< in both tests
constexpr int kTries = 1000;
const std::vector<std::string> kTables = {"virtusertable", "local-host-names", "access", "aliases"};

class Hands : public testing::Test {
 protected:
  Hands() : settings_(ChosenSettings(kOperations)), tenant_(0, settings_.seed) {
    random_.seed(settings_.seed);
    panel_.folder().WriteText("mapping", "#!/bin/sh\nif [ -e '" + panel_.Path("hand") +
                                             "' ]; then sh '" + panel_.Path("hand") +
                                             "'; fi\nexec /usr/sbin/postmap \"$@\"\n");
    test_support::SetMode(panel_.Path("mapping"), 0755);
  }

  int operations() const { return (settings_.count + 1) / 2; }

  template <class T>
  const T& OneOf(const std::vector<T>& all) {
    return all[std::uniform_int_distribution<std::size_t>(0, all.size() - 1)(random_)];
  }

  std::string Path(const std::string& table) const { return panel_.Path("panel/mail/" + table); }

  /// A line that is like no other.
  std::string NewLine() { return "# by hand " + std::to_string(++lines_) + "\n"; }

  /// Those of the lines that their tables have not, or have more than once.
  std::string MissingLines(const std::multimap<std::string, std::string>& added) const {
    std::string missing;
    for (const std::string& table : kTables) {
      const std::vector<std::string> lines = test_support::SortedLines(panel_.Table(table));
      const auto [begin, end] = added.equal_range(table);
      for (auto line = begin; line != end; ++line) {
        const std::string text = line->second.substr(0, line->second.size() - 1);
        const auto [first, last] = std::equal_range(lines.begin(), lines.end(), text);
        if (last - first != 1) missing += table + ": " + line->second;
      }
    }
    return missing;
  }

  /// Brings the maps in step with what was written by hand, and looks at everything.
  void ExpectAllThere(const std::multimap<std::string, std::string>& added) const {
    EXPECT_EQ(MissingLines(added), "");
    std::vector<std::string> expected = tenant_.Lines();
    std::sort(expected.begin(), expected.end());
    EXPECT_EQ(test_support::SortedLines(panel_.Do({"export"})), expected);
    panel_.Run({"check", "--fix"});
    EXPECT_EQ(panel_.Do({"check"}), "nothing is wrong\n");
  }

  void PrintTally(const char* what, int refused, std::size_t added) const {
    std::cout << "seed " << settings_.seed << ": " << operations() << " operations, " << added
              << " lines added " << what << "; " << refused
              << " times an operation found a table changed and was run again\n";
  }

  zebmail_test::OwnPanel panel_;
  Settings settings_;
  Tenant tenant_;
  std::mt19937 random_;
  int lines_ = 0;
};

/// When a line is added: while nobody works, before the tables are read, when they are read and
/// nothing is saved, or when all is saved and a tool runs.
enum class Moment { kBefore, kNotYetRead, kRead, kInTool };

class ChosenMoment : public Hands {
 protected:
  ChosenMoment() {
    panel_.Configure("postfix-postmap", panel_.Path("mapping") + " -c " + panel_.Path("config"));
  }

  void Change(const Words& words, const std::function<void(Moment)>& reached) const {
    reached(Moment::kBefore);
    panel::mail::Panel opened(panel::ReadConfig(panel_.config()));
    opened.Change([&] {
      reached(Moment::kNotYetRead);
      panel::mail::MailModule mail;
      test_support::Perform(mail, words);
      reached(Moment::kRead);
    });
  }

  /// Runs the operation; returns whether it found `table` changed.
  bool IsRefused(const Words& words, const std::string& table,
                 const std::function<void(Moment)>& reached) const {
    try {
      Change(words, reached);
    } catch (const fen_err::Error& error) {
      EXPECT_EQ(std::string(error.what()), "changed: " + Path(table));
      return true;
    }
    return false;
  }
};

TEST_F(ChosenMoment, KeepsWhatOthersWriteAtAnyStepOfAnOperation) {
  SCOPED_TRACE("seed " + std::to_string(settings_.seed));
  std::multimap<std::string, std::string> added;
  int refused = 0;
  for (int number = 0; number < operations() && !HasFailure(); ++number) {
    const Words words = tenant_.Next();
    const std::string table = OneOf(kTables);
    const std::string line = NewLine();
    const auto manner = OneOf(test_support::AllManners());
    const auto moment =
        OneOf<Moment>({Moment::kBefore, Moment::kNotYetRead, Moment::kRead, Moment::kInTool});
    SCOPED_TRACE(words[0] + " " + words[1] + ", " + table + ", " + NameOf(manner));
    if (moment == Moment::kInTool) {
      panel_.folder().WriteText("hand", "printf '" + line.substr(0, line.size() - 1) + "\\n' >> '" +
                                            Path(table) + "'\nrm \"$0\"\n");
    } else {
      added.emplace(table, line);
    }

    const bool is_refused = IsRefused(words, table, [&](Moment reached) {
      if (reached == moment) AddLine(Path(table), line, manner);
    });
    EXPECT_EQ(MissingLines(added), "");
    if (is_refused) {
      ++refused;
      EXPECT_EQ(moment, Moment::kRead);
      Change(words, [](Moment) {});
    }
    if (moment == Moment::kInTool && !std::filesystem::remove(panel_.Path("hand"))) {
      added.emplace(table, line);
    }
  }
  ExpectAllThere(added);
  PrintTally("at a step of an operation", refused, added.size());
}

/// Adds lines while others may put new files in the place of the old ones. A line that went into a
/// file that nobody will see any more is not counted: who appends to a file does so at his own
/// risk.
class Appender {
 public:
  explicit Appender(unsigned seed) : random_(seed) {}

  /// Whether the line is in the file that is at `path`.
  bool Add(const std::string& path, const std::string& line) {
    const panel::FileHandle file(open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    if (!file || write(file.get(), line.data(), line.size()) < 0) return false;
    struct stat written {};
    struct stat now {};
    return fstat(file.get(), &written) == 0 && stat(path.c_str(), &now) == 0 &&
           written.st_ino == now.st_ino;
  }

  void Pause() {
    const auto most = std::uniform_int_distribution<int>(0, 1)(random_) == 0 ? 500 : 60000;
    std::this_thread::sleep_for(
        std::chrono::microseconds(std::uniform_int_distribution<int>(0, most)(random_)));
  }

 private:
  std::mt19937 random_;
};

class AnyMoment : public Hands {
 protected:
  /// Adds lines and builds maps by hand until it is told to end.
  void Meddle(const std::atomic<bool>& is_over, std::multimap<std::string, std::string>& added) {
    Appender appender(settings_.seed);
    for (int number = 0; !is_over; ++number) {
      const std::string& table = kTables[static_cast<std::size_t>(number) % kTables.size()];
      const std::string line = NewLine();
      if (appender.Add(Path(table), line)) added.emplace(table, line);
      if (number % 20 == 0) {
        test_support::RunCommand(
            {"/usr/sbin/postmap", "-c", panel_.Path("config"), "hash:" + Path("virtusertable")});
      }
      appender.Pause();
    }
  }
};

TEST_F(AnyMoment, KeepsWhatOthersAppendWhileZebmailRuns) {
  SCOPED_TRACE("seed " + std::to_string(settings_.seed));
  std::multimap<std::string, std::string> added;
  std::atomic<bool> is_over = false;
  std::thread meddler([&] { Meddle(is_over, added); });
  int refused = 0;
  for (int number = 0; number < operations() && !HasFailure(); ++number) {
    const Words words = tenant_.Next();
    CommandRun run = panel_.Run(words);
    for (int tries = 1;
         run.status == 1 && run.errors.starts_with("zebmail: changed: ") && tries < kTries;
         ++tries) {
      ++refused;
      run = panel_.Run(words);
    }
    EXPECT_EQ(run.status, 0) << words[0] << " " << words[1] << ": " << run.errors;
  }
  is_over = true;
  meddler.join();
  ExpectAllThere(added);
  PrintTally("while zebmail ran", refused, added.size());
}

}  // namespace
}  // namespace reliability
