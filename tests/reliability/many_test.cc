/// NAME
///   many_test - operations of many processes and threads on one panel
///
/// PURPOSE
///   Eight tenants run zebmail, each one operation behind the other; eight more are served by the
///   threads of this process, as by a panel's. All of it goes on at once and on the same tables.
///   What each has in the end is known, so nothing can be lost or doubled unnoticed.

#include <algorithm>
#include <chrono>
#include <iostream>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "panel/mail/panel.h"
#include "panel/module/config.h"
#include "tests/reliability/settings.h"
#include "tests/support/lines.h"
#include "tests/support/tenant.h"
#include "tests/zebmail/own_panel.h"

namespace reliability {
namespace {

using Clock = std::chrono::steady_clock;
using test_support::CommandRun;
using test_support::SortedLines;
using test_support::Tenant;

constexpr int kOperations = 320;
constexpr int kProcesses = 8;
constexpr int kThreads = 8;

/// What went wrong in threads of which gtest knows nothing.
class Failures {
 public:
  void Add(const std::string& text) {
    const std::lock_guard guard(mutex_);
    text_ += text + "\n";
  }
  const std::string& text() const { return text_; }

 private:
  std::mutex mutex_;
  std::string text_;
};

class Many : public testing::Test {
 protected:
  void RunCommands(Tenant& tenant, int operations, Failures& failures) {
    for (int number = 0; number < operations; ++number) {
      const auto words = tenant.Next();
      const auto start = Clock::now();
      const CommandRun run = panel_.Run(words);
      Took(Clock::now() - start);
      if (run.status != 0) failures.Add(words[0] + " " + words[1] + ": " + run.errors);
    }
  }

  void CallModule(Tenant& tenant, int operations, Failures& failures) {
    for (int number = 0; number < operations; ++number) {
      const auto words = tenant.Next();
      const auto start = Clock::now();
      try {
        panel::mail::Panel opened(panel::ReadConfig(panel_.config()));
        opened.Change([&words] {
          panel::mail::MailModule mail;
          test_support::Perform(mail, words);
        });
      } catch (const std::exception& error) {
        failures.Add(words[0] + " " + words[1] + ": " + error.what());
      }
      Took(Clock::now() - start);
    }
  }

  void Took(Clock::duration time) {
    const std::lock_guard guard(mutex_);
    longest_ = std::max(longest_, std::chrono::duration<double>(time));
  }

  /// A key that a table has twice.
  std::string DoubleKeys() const {
    std::string twice;
    for (const char* table : {"virtusertable", "local-host-names", "access", "aliases"}) {
      std::set<std::string> keys;
      for (const std::string& line : SortedLines(panel_.Table(table))) {
        const std::string key = line.substr(0, line.find_first_of(" \t"));
        if (!keys.insert(key).second) twice += std::string(table) + ": " + key + "\n";
      }
    }
    return twice;
  }

  zebmail_test::OwnPanel panel_;
  std::mutex mutex_;
  std::chrono::duration<double> longest_{0};
};

TEST_F(Many, OperationsOfProcessesAndThreadsAreNeitherLostNorDoubled) {
  const Settings settings = ChosenSettings(kOperations);
  SCOPED_TRACE("seed " + std::to_string(settings.seed));
  const int each = std::max(1, settings.count / (kProcesses + kThreads));
  std::vector<Tenant> tenants;
  for (int number = 0; number < kProcesses + kThreads; ++number) {
    tenants.emplace_back(number, settings.seed);
  }

  Failures failures;
  std::vector<std::thread> threads;
  const auto start = Clock::now();
  for (int number = 0; number < kProcesses + kThreads; ++number) {
    threads.emplace_back([&, number] {
      Tenant& tenant = tenants[static_cast<std::size_t>(number)];
      number < kProcesses ? RunCommands(tenant, each, failures)
                          : CallModule(tenant, each, failures);
    });
  }
  for (std::thread& thread : threads) thread.join();
  const std::chrono::duration<double> taken = Clock::now() - start;

  std::string expected;
  for (const Tenant& tenant : tenants) {
    for (const std::string& line : tenant.Lines()) expected += line + "\n";
  }
  EXPECT_EQ(failures.text(), "");
  EXPECT_EQ(SortedLines(panel_.Do({"export"})), SortedLines(expected));
  EXPECT_EQ(DoubleKeys(), "");
  EXPECT_EQ(panel_.Do({"check"}), "nothing is wrong\n");
  std::cout << "seed " << settings.seed << ": " << each * (kProcesses + kThreads)
            << " operations of " << kProcesses << " processes and " << kThreads << " threads in "
            << taken.count() << " s; the longest, with its waiting, took " << longest_.count()
            << " s\n";
}

}  // namespace
}  // namespace reliability
