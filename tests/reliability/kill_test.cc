/// NAME
///   kill_test - operations that are killed at any moment
///
/// PURPOSE
///   Kills zebmail (SIGKILL) while it works, at a random moment or while one of its tools runs,
///   alone or with the tool. Then the next operation runs, which may be killed as well before it is
///   let through: the same once more, another one, or `check --fix`. Whatever the moment, what is
///   found then must be the whole panel as it was before the killed operation, or the whole as it
///   is behind it.
///
/// WHAT IS LOOKED AT
///   At once: every file is in its old or its new state. Behind the next operation: all files and
///   the database are of one of the two states, byte by byte, which leaves no room for a torn, a
///   missing or a double line; each map says what one says that is built anew; there is no file
///   that does not belong there; `check` finds nothing wrong and `sync` nothing to do.

#include <algorithm>
#include <chrono>
#include <csignal>
#include <fstream>
#include <iostream>
#include <map>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "tests/reliability/busy_panel.h"
#include "tests/reliability/operations.h"
#include "tests/reliability/settings.h"

namespace reliability {
namespace {

using Clock = std::chrono::steady_clock;
using Time = std::chrono::microseconds;

constexpr int kKills = 90;  ///< in both tests
constexpr int kKilled = 128 + SIGKILL;

/// A domain that no operation knows of is created after some kills.
const Words kProbe = {"domain", "create", "probe.example"};

/// How an operation goes when nobody kills it, and what may be found when somebody does.
struct Course {
  State before;
  State after;
  State before_and_probe;
  State after_and_probe;
  Time duration{0};
  int tools = 0;
};

/// What the kills were, and what they did.
struct Tally {
  int kills = 0;
  int in_tool = 0;
  int with_tool = 0;
  int of_next = 0;
  int too_late = 0;
  int found_before = 0;
  int found_after = 0;
  int found_apart = 0;  ///< tables and database, or two tables, did not say the same
  std::map<std::string, int> by_operation;
};

/// Random numbers of one attempt, which so can be repeated.
class Chance {
 public:
  Chance(unsigned seed, int attempt) {
    std::seed_seq seeds{seed, static_cast<unsigned>(attempt)};
    random_.seed(seeds);
  }

  /// From 0 to `last`.
  Time::rep UpTo(Time::rep last) {
    return std::uniform_int_distribution<Time::rep>(0, last)(random_);
  }
  Time TimeUpTo(Time last) { return Time(UpTo(last.count())); }
  bool OneIn(int times) { return UpTo(times - 1) == 0; }

  template <class T>
  const T& Of(const std::vector<T>& all) {
    return all[static_cast<std::size_t>(UpTo(static_cast<Time::rep>(all.size()) - 1))];
  }

 private:
  std::mt19937 random_;
};

void SleepFor(Time time) {
  const auto end = Clock::now() + time;
  while (Clock::now() < end) usleep(50);
}

/// A tool of the panel, held by a handle that no other process can come to have.
class RunningTool {
 public:
  RunningTool(pid_t process, const std::string& folder)
      : handle_(static_cast<int>(syscall(SYS_pidfd_open, process, 0))) {
    is_ours_ = handle_ && CommandLineOf(process).find(folder) != std::string::npos && IsRunning();
  }

  bool IsRunning() const {
    pollfd ended{handle_.get(), POLLIN, 0};
    return handle_ && poll(&ended, 1, 0) == 0;
  }

  void Kill() const {
    if (is_ours_) syscall(SYS_pidfd_send_signal, handle_.get(), SIGKILL, nullptr, 0);
  }

 private:
  static std::string CommandLineOf(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/cmdline", std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }

  panel::FileHandle handle_;
  bool is_ours_ = false;
};

std::set<std::string> NamesOf(const std::vector<const State*>& states) {
  std::set<std::string> names;
  for (const State* state : states) {
    for (const auto& [name, text] : state->files) names.insert(name);
  }
  return names;
}

/// The files of `state` that are like those of none of the others.
std::string StrangeFiles(const State& state, const std::vector<const State*>& others) {
  std::vector<const State*> all = others;
  all.push_back(&state);
  std::string strange;
  for (const std::string& name : NamesOf(all)) {
    const std::string text = TextOr(state.files, name);
    bool is_known = false;
    for (const State* other : others) is_known = is_known || TextOr(other->files, name) == text;
    if (!is_known) strange += "--- " + name + "\n" + text + "\n";
  }
  return strange;
}

/// Whether each file and the database are those of one of the states, though not all of the same.
bool IsOfParts(const State& found, const std::vector<const State*>& states) {
  const bool is_database_known = std::any_of(states.begin(), states.end(), [&](const State* state) {
    return state->database == found.database;
  });
  return is_database_known && StrangeFiles(found, states).empty();
}

/// Which lines of `found` and `expected` are in one of them alone.
std::string Difference(const std::string& found, const std::string& expected) {
  std::multiset<std::string> left;
  std::string text;
  std::istringstream expected_lines(expected);
  for (std::string line; std::getline(expected_lines, line);) left.insert(line);
  std::istringstream lines(found);
  for (std::string line; std::getline(lines, line);) {
    const auto same = left.find(line);
    if (same == left.end()) {
      text += "+ " + line + "\n";
    } else {
      left.erase(same);
    }
  }
  for (const std::string& line : left) text += "- " + line + "\n";
  return text;
}

std::string Difference(const State& found, const State& expected) {
  std::string text;
  for (const std::string& name : NamesOf({&found, &expected})) {
    const std::string part = Difference(TextOr(found.files, name), TextOr(expected.files, name));
    if (!part.empty()) text += name + ":\n" + part;
  }
  const std::string part = Difference(found.database, expected.database);
  return part.empty() ? text : text + "database:\n" + part;
}

std::string AsLines(const std::set<std::string>& names) {
  std::string lines;
  for (const std::string& name : names) lines += name + "\n";
  return lines;
}

class Kill : public testing::Test {
 protected:
  void PrintTally(const Settings& settings) const {
    std::cout << "seed " << settings.seed << ": " << tally_.kills << " kills, of these "
              << tally_.in_tool << " while a tool ran (" << tally_.with_tool << " with the tool), "
              << tally_.of_next << " of the operation after a kill; " << tally_.too_late
              << " came too late\nfound: before " << tally_.found_before << ", after "
              << tally_.found_after << ", apart " << tally_.found_apart << "\n";
    for (const auto& [operation, kills] : tally_.by_operation) {
      std::cout << "  " << kills << "\t" << operation << "\n";
    }
  }

  /// Kills until there were enough, or until so many kills came too late that something is wrong.
  template <class Attempt>
  void KillMany(const std::vector<Operation>& operations, const Attempt& attempt) {
    const Settings settings = ChosenSettings(kKills);
    const int kills = (settings.count + 1) / 2;
    for (int number = 0; tally_.kills < kills && number < 5 * kills; ++number) {
      Chance chance(settings.seed, number);
      const Operation& operation = chance.Of(operations);
      SCOPED_TRACE("seed " + std::to_string(settings.seed) + ", attempt " + std::to_string(number) +
                   ": " + AsText(operation.words));
      attempt(operation, chance);
      if (HasFatalFailure()) break;
    }
    PrintTally(settings);
    EXPECT_GE(tally_.kills, kills);
    EXPECT_EQ(tally_.found_apart, 0) << "times tables and database did not say the same";
  }

  void Begin(const Operation& operation) const {
    panel_.PutBack();
    if (operation.prepare) operation.prepare(panel_);
    panel_.ForgetTools();
  }

  State Look(const State& before) const {
    State state = panel_.Look();
    LeaveOutCopies(state, TextOr(before.files, "config/main.cf"));
    return state;
  }

  /// The state behind the operation; how long it took goes to `duration`.
  State Behind(const Operation& operation, Time* duration, const State& before) const {
    const auto start = Clock::now();
    const CommandRun run = panel_.Run(operation.words, operation.input);
    if (duration != nullptr) *duration = std::chrono::ceil<Time>(Clock::now() - start);
    EXPECT_EQ(run.status, 0) << AsText(operation.words) << "\n" << run.output << run.errors;
    return Look(before);
  }

  const Course& CourseOf(const Operation& operation) {
    const auto known = courses_.find(AsText(operation.words));
    if (known != courses_.end()) return known->second;
    Course course;
    const Operation probe{kProbe, "", Operation::Before::kTogether, {}};
    Begin(operation);
    course.before = panel_.Look();
    course.before_and_probe = Behind(probe, nullptr, course.before);
    Begin(operation);
    course.after = Behind(operation, &course.duration, course.before);
    course.tools = panel_.ForgetTools();
    course.after_and_probe = Behind(probe, nullptr, course.before);
    return courses_[AsText(operation.words)] = course;
  }

  /// Counts a kill that came in time; returns whether it did.
  bool Count(const Operation& operation, const CommandRun& run) {
    const bool is_killed = run.status == kKilled;
    EXPECT_TRUE(is_killed || run.status == 0) << run.status << "\n" << run.output << run.errors;
    tally_.kills += is_killed ? 1 : 0;
    tally_.too_late += is_killed ? 0 : 1;
    if (is_killed) ++tally_.by_operation[operation.words[0] + " " + Kind(operation)];
    return is_killed;
  }

  static std::string Kind(const Operation& operation) {
    return operation.words.size() > 2 || operation.words.back() == "--fix" ? operation.words[1]
                                                                           : "";
  }

  /// Kills the operation some time after it was started.
  bool KillAnywhere(const Operation& operation, Chance& chance) {
    const Time after = chance.TimeUpTo(CourseOf(operation).duration);
    Begin(operation);
    return Count(operation, test_support::KillCommand(panel_.CommandLine(operation.words), after,
                                                      operation.input));
  }

  /// Kills the operation some time after one of its tools was started, alone or with the tool.
  bool KillInTool(const Operation& operation, Chance& chance) {
    const int tools = CourseOf(operation).tools;
    if (tools == 0) return false;
    const auto wanted = chance.UpTo(tools - 1);
    const bool with_tool = chance.OneIn(2);
    const Time after = chance.TimeUpTo(kToolTime);
    bool was_running = false;
    Begin(operation);
    const CommandRun run = test_support::RunCommand(
        panel_.CommandLine(operation.words), operation.input, [&](pid_t zebmail) {
          std::optional<pid_t> process;
          for (Time::rep number = 0; number <= wanted; ++number) {
            process = panel_.NextTool(std::chrono::seconds(20));
          }
          ASSERT_TRUE(process) << "no tool has run";
          const RunningTool tool(*process, panel_.panel().folder().path());
          SleepFor(after);
          was_running = tool.IsRunning();
          kill(zebmail, SIGKILL);
          if (with_tool) tool.Kill();
        });
    if (!Count(operation, run)) return false;
    tally_.in_tool += was_running ? 1 : 0;
    tally_.with_tool += was_running && with_tool ? 1 : 0;
    return true;
  }

  /// What is to be seen before anything has been made up for.
  void ExpectWholeFiles(const Operation& operation) {
    const Course& course = CourseOf(operation);
    State found{panel_.ReadFiles(), "", {}};
    LeaveOutCopies(found, TextOr(course.before.files, "config/main.cf"));
    EXPECT_EQ(StrangeFiles(found, {&course.before, &course.after}), "") << "right after the kill";
  }

  /// Lets the next operation run, and looks at what is there then.
  void GoOn(const Operation& operation, Chance& chance) {
    panel_.MakeMainCfOld();
    ExpectWholeFiles(operation);
    const Course& course = CourseOf(operation);
    const Words fix = {"check", "--fix"};
    std::vector<Words> choice = {operation.words};
    if (operation.before == Operation::Before::kTogether) {
      choice.push_back(kProbe);
      choice.push_back(fix);
    }
    const Words next = chance.Of(choice);
    const std::string input = next == operation.words ? operation.input : "";
    SCOPED_TRACE("next: " + AsText(next));
    if (chance.OneIn(4)) KillNext(next, input, chance);

    const CommandRun run = panel_.Run(next, input);
    panel_.MakeMainCfOld();
    const bool says_why =
        run.errors.starts_with("zebmail: ") || (next == fix && !run.output.empty());
    EXPECT_TRUE(run.status == 0 || (run.status == 1 && says_why)) << run.status << "\n"
                                                                  << run.output << run.errors;
    if (next == kProbe) {
      ExpectOneOf({&course.before_and_probe, &course.after_and_probe}, course, run);
    } else if (next == operation.words) {
      ExpectOneOf({&course.after}, course, run);
    } else {
      ExpectOneOf({&course.before, &course.after}, course, run);
    }
  }

  void KillNext(const Words& next, const std::string& input, Chance& chance) {
    const Time after = chance.TimeUpTo(kNextTime);
    const CommandRun run = test_support::KillCommand(panel_.CommandLine(next), after, input);
    if (run.status != kKilled) return;
    ++tally_.kills;
    ++tally_.of_next;
  }

  void ExpectOneOf(const std::vector<const State*>& states, const Course& course,
                   const CommandRun& next) {
    const State found = Look(course.before);
    const State* same = nullptr;
    for (const State* state : states) {
      if (found.files == state->files && found.database == state->database) same = state;
    }
    EXPECT_EQ(panel_.FaultOfMaps(), "") << next.output << next.errors;
    if (same != nullptr) {
      ++(same == states.front() && states.size() > 1 ? tally_.found_before : tally_.found_after);
      EXPECT_EQ(Difference(AsLines(found.names), AsLines(same->names)), "") << "in the folders";
      ExpectNothingWrong();
    } else if (IsOfParts(found, {&course.before, &course.after, &course.before_and_probe,
                                 &course.after_and_probe})) {
      ++tally_.found_apart;
      std::cout << "apart: " << Difference(found, *states.back()) << "\n";
    } else {
      ADD_FAILURE() << "neither before nor after:\n"
                    << Difference(found, *states.back()) << next.output << next.errors;
    }
  }

  void ExpectNothingWrong() const {
    const CommandRun check = panel_.Run({"check"});
    EXPECT_EQ(check.status, 0) << check.errors;
    EXPECT_EQ(check.output, "nothing is wrong\n");
    const CommandRun sync = panel_.Run({"--dry-run", "sync"});
    EXPECT_EQ(sync.status, 0) << sync.errors;
    std::istringstream lines(sync.output);
    for (std::string line; std::getline(lines, line);) {
      EXPECT_TRUE(line.ends_with(": 0 added, 0 changed, 0 removed")) << sync.output;
    }
  }

  static constexpr Time kToolTime{12000};
  static constexpr Time kNextTime{60000};

  BusyPanel panel_;
  std::map<std::string, Course> courses_;
  Tally tally_;
};

TEST_F(Kill, AtAnyMomentLeavesThePanelAsBeforeOrAsAfter) {
  KillMany(AllOperations(), [this](const Operation& operation, Chance& chance) {
    if (KillAnywhere(operation, chance)) GoOn(operation, chance);
  });
}

TEST_F(Kill, WhileAToolRunsLeavesThePanelAsBeforeOrAsAfter) {
  KillMany(AllOperations(), [this](const Operation& operation, Chance& chance) {
    if (KillInTool(operation, chance)) GoOn(operation, chance);
  });
  EXPECT_GT(tally_.in_tool, 0);
}

}  // namespace
}  // namespace reliability
