/// NAME
///   concurrency_test - several zebmail at a time

#include <algorithm>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <unistd.h>

#include "tests/support/terminal.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

TEST(Concurrency, LosesNoneOfTheChangesOfManyProcesses) {
  const OwnPanel panel;
  constexpr int kProcesses = 8;
  std::vector<CommandRun> runs(kProcesses);
  std::vector<std::thread> threads;
  for (int number = 0; number < kProcesses; ++number) {
    threads.emplace_back([&panel, &runs, number] {
      runs[static_cast<std::size_t>(number)] =
          panel.Run({"domain", "create", "d" + std::to_string(number) + ".example"});
    });
  }
  for (std::thread& thread : threads) thread.join();

  for (const CommandRun& run : runs) EXPECT_EQ(run.status, 0) << run.errors;
  std::istringstream table(panel.Table("virtusertable"));
  std::vector<std::string> lines;
  for (std::string line; std::getline(table, line);) lines.push_back(line);
  std::sort(lines.begin(), lines.end());
  std::vector<std::string> expected;
  for (int number = 0; number < kProcesses; ++number) {
    expected.push_back("@d" + std::to_string(number) + ".example\tpostfix_err_nouser");
    EXPECT_EQ(panel.Lookup("virtusertable", "@d" + std::to_string(number) + ".example"),
              "postfix_err_nouser");
  }
  EXPECT_EQ(lines, expected);
}

TEST(Concurrency, SaysOnATerminalThatItWaits) {
  const OwnPanel panel;
  const int lock = open(panel.Path("panel/state/lock").c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(lock, 0);
  ASSERT_EQ(flock(lock, LOCK_EX), 0);

  test_support::OnTerminal zebmail(
      {ZEBMAIL_BINARY, "--config", panel.config(), "domain", "create", "example.org"});
  const std::string waiting = "zebmail: waiting for another zebmail to finish\r\n";
  EXPECT_EQ(zebmail.ReadUntil("\n"), waiting);
  EXPECT_EQ(panel.Table("virtusertable"), "");
  close(lock);

  EXPECT_EQ(zebmail.ReadUntil("created\r\n"), waiting + "example.org: created\r\n");
  EXPECT_EQ(zebmail.Wait(), 0);
}

}  // namespace
}  // namespace zebmail_test
