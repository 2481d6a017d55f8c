/// NAME
///   concurrency_test - several zebmail at a time

#include <algorithm>
#include <array>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

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

/// zebmail on a terminal of its own.
class OnTerminal {
 public:
  OnTerminal(const std::string& config, const std::vector<std::string>& words) {
    std::vector<std::string> all = {ZEBMAIL_BINARY, "--config", config};
    all.insert(all.end(), words.begin(), words.end());
    std::vector<char*> arguments;
    for (std::string& word : all) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    child_ = forkpty(&terminal_, nullptr, nullptr, nullptr);
    if (child_ < 0) throw std::runtime_error("forkpty failed");
    if (child_ == 0) {
      execv(arguments.front(), arguments.data());
      _exit(127);
    }
  }
  ~OnTerminal() { close(terminal_); }
  OnTerminal(const OnTerminal&) = delete;
  OnTerminal& operator=(const OnTerminal&) = delete;

  /// Reads until `text` has been printed, or until the program has closed the terminal.
  std::string ReadUntil(const std::string& text) {
    std::array<char, 4096> part{};
    while (printed_.find(text) == std::string::npos) {
      const ssize_t count = read(terminal_, part.data(), part.size());
      if (count <= 0) break;
      printed_.append(part.data(), static_cast<std::size_t>(count));
    }
    return printed_;
  }

  int Wait() const {
    int status = 0;
    waitpid(child_, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

 private:
  int terminal_ = -1;
  pid_t child_ = -1;
  std::string printed_;
};

TEST(Concurrency, SaysOnATerminalThatItWaits) {
  const OwnPanel panel;
  const int lock = open(panel.Path("panel/state/lock").c_str(), O_RDWR | O_CLOEXEC);
  ASSERT_GE(lock, 0);
  ASSERT_EQ(flock(lock, LOCK_EX), 0);

  OnTerminal zebmail(panel.config(), {"domain", "create", "example.org"});
  const std::string waiting = "zebmail: waiting for another zebmail to finish\r\n";
  EXPECT_EQ(zebmail.ReadUntil("\n"), waiting);
  EXPECT_EQ(panel.Table("virtusertable"), "");
  close(lock);

  EXPECT_EQ(zebmail.ReadUntil("created\r\n"), waiting + "example.org: created\r\n");
  EXPECT_EQ(zebmail.Wait(), 0);
}

}  // namespace
}  // namespace zebmail_test
