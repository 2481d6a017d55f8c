/// NAME
///   sync_kill_test - a synchronisation that is killed has done all or nothing

#include <chrono>
#include <csignal>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/zebmail/hand_kept_panel.h"

namespace zebmail_test {
namespace {

constexpr unsigned kSeed = 20240229;
constexpr int kKills = 12;
constexpr int kKillsBetweenRepeats = 4;
constexpr int kDomains = 50;
constexpr int kMailboxesOfOne = 15;

using Time = std::chrono::microseconds;

/// A table of fifteen hundred lines, half of which lead to the other half.
std::string TableOf(const std::string& name) {
  std::string lines;
  for (int domain = 0; domain < kDomains; ++domain) {
    const std::string at = "@d" + std::to_string(domain) + ".example";
    lines += at + "\tdevnull\n";
    for (int mailbox = 0; mailbox < kMailboxesOfOne; ++mailbox) {
      const std::string local = std::to_string(mailbox);
      const std::string address = name + local + at;
      lines += address + "\t" + address + "\nalias-" + name + local + at + "\t" + address + "\n";
    }
  }
  return lines;
}

/// All that the panel shows.
std::string Shown(const HandKeptPanel& panel) {
  return panel.Do({"domain", "list"}) + panel.Do({"mailbox", "list"});
}

/// Runs a synchronisation that is killed after some time, and returns whether it was.
bool KillSync(const HandKeptPanel& panel, Time after) {
  const CommandRun run = test_support::KillCommand(
      {ZEBMAIL_BINARY, "--config", panel.config(), "sync", "--allow-mass-delete"}, after);
  EXPECT_TRUE(run.status == 0 || run.status == 128 + SIGKILL) << run.status << run.errors;
  return run.status != 0;
}

TEST(SyncKill, LeavesThePanelAsBeforeOrAsAfter) {
  std::vector<std::string> names;
  for (int domain = 0; domain < kDomains; ++domain) {
    names.push_back("d" + std::to_string(domain) + ".example");
  }
  const HandKeptPanel panel(names);
  const std::vector<std::string> tables = {TableOf("one"), TableOf("two")};
  std::vector<std::string> states;
  Time whole_run{0};
  for (const std::string& table : tables) {
    panel.SetTable("virtusertable", table);
    const auto start = std::chrono::steady_clock::now();
    panel.Do({"sync", "--allow-mass-delete"});
    whole_run = std::chrono::duration_cast<Time>(std::chrono::steady_clock::now() - start);
    states.push_back(Shown(panel));
  }
  ASSERT_NE(states[0], states[1]);

  std::mt19937 random(kSeed);
  int killed = 0;
  for (int attempt = 0; attempt < kKills; ++attempt) {
    const std::size_t next = static_cast<std::size_t>(attempt) % 2;
    SCOPED_TRACE("seed " + std::to_string(kSeed) + ", attempt " + std::to_string(attempt));
    panel.SetTable("virtusertable", tables[next]);

    const Time::rep after =
        std::uniform_int_distribution<Time::rep>(1000, whole_run.count())(random);
    killed += KillSync(panel, Time(after));

    const std::string shown = Shown(panel);
    EXPECT_TRUE(shown == states[0] || shown == states[1]);
    if (attempt % kKillsBetweenRepeats != kKillsBetweenRepeats - 1) continue;
    panel.Do({"sync", "--allow-mass-delete"});
    EXPECT_TRUE(Shown(panel) == states[next]);
  }
  EXPECT_GT(killed, 0);
}

}  // namespace
}  // namespace zebmail_test
