/// NAME
///   lock_test - one panel operation at a time

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/fen_err.h"
#include "panel/process/file_handle.h"
#include "panel/process/panel_lock.h"
#include "panel/process/tools.h"
#include "tests/support/temp_folder.h"

namespace {

using test_support::TempFolder;

const std::function<void()> kSilent;

std::string MessageOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const fen_err::Error& error) {
    return error.what();
  }
  return "no error";
}

/// Another process, which takes the lock and holds it until it is told to end.
class OtherProcess {
 public:
  explicit OtherProcess(const std::filesystem::path& state_dir) {
    int ready[2];
    if (pipe(ready) != 0) throw std::runtime_error("pipe");
    process_ = fork();
    if (process_ == 0) {
      const panel::PanelLock lock(state_dir, kSilent);
      if (write(ready[1], "x", 1) != 1) _exit(1);
      for (;;) pause();
    }
    char byte = 0;
    const bool is_ready = read(ready[0], &byte, 1) == 1;
    close(ready[0]);
    close(ready[1]);
    if (!is_ready) throw std::runtime_error("the other process has no lock");
  }
  ~OtherProcess() { Kill(); }

  OtherProcess(const OtherProcess&) = delete;
  OtherProcess& operator=(const OtherProcess&) = delete;

  void Kill() {
    if (process_ == 0) return;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    process_ = 0;
  }

 private:
  pid_t process_;
};

/// Whether another process could take the lock now.
bool IsFree(const std::filesystem::path& state_dir) {
  const panel::FileHandle file(open((state_dir / "lock").c_str(), O_RDWR));
  return flock(file.get(), LOCK_EX | LOCK_NB) == 0;
}

TEST(PanelLock, IsHeldForItsLife) {
  const TempFolder folder;
  {
    const panel::PanelLock lock(folder.path(), kSilent);
    EXPECT_FALSE(IsFree(folder.path()));
  }
  EXPECT_TRUE(IsFree(folder.path()));
}

TEST(PanelLock, LeavesItsFileForTheOwnerOnly) {
  const TempFolder folder;
  { const panel::PanelLock lock(folder.path(), kSilent); }

  EXPECT_EQ(test_support::ModeOf(folder.Path("lock")), 0600U);
  EXPECT_EQ(folder.ReadText("lock"), "");
}

TEST(PanelLock, CanBeTakenAgainAndAgain) {
  const TempFolder folder;
  bool has_waited = false;
  for (int round = 0; round < 100; ++round) {
    const panel::PanelLock lock(folder.path(), [&has_waited] { has_waited = true; });
  }
  EXPECT_FALSE(has_waited);
}

TEST(PanelLock, WaitsForAnotherProcessAndSaysSoOnce) {
  const TempFolder folder;
  OtherProcess other(folder.path());
  int told = 0;
  const panel::PanelLock lock(folder.path(), [&] {
    ++told;
    EXPECT_FALSE(IsFree(folder.path()));
    other.Kill();
  });

  EXPECT_EQ(told, 1);
  EXPECT_FALSE(IsFree(folder.path()));
}

TEST(PanelLock, WaitsForAnotherThreadAndSaysSoOnce) {
  const TempFolder folder;
  std::atomic<int> told = 0;
  std::atomic<bool> is_held = true;
  std::atomic<bool> was_held = false;
  std::optional<panel::PanelLock> lock(std::in_place, folder.path(), kSilent);
  std::thread other([&] {
    const panel::PanelLock own(folder.path(), [&told] { ++told; });
    was_held = is_held.load();
  });
  while (told == 0) std::this_thread::yield();
  is_held = false;
  lock.reset();
  other.join();

  EXPECT_EQ(told, 1);
  EXPECT_FALSE(was_held);
}

TEST(PanelLock, LetsOneThreadInAtATime) {
  const TempFolder folder;
  int inside = 0;
  int most = 0;
  int turns = 0;
  std::vector<std::thread> threads;
  for (int number = 0; number < 4; ++number) {
    threads.emplace_back([&] {
      for (int round = 0; round < 50; ++round) {
        const panel::PanelLock lock(folder.path(), kSilent);
        most = std::max(most, ++inside);
        std::this_thread::yield();
        --inside;
        ++turns;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(most, 1);
  EXPECT_EQ(turns, 200);
}

TEST(PanelLock, LetsOneProcessInAtATime) {
  const TempFolder folder;
  folder.WriteText("counter", "0");
  std::vector<pid_t> processes;
  for (int number = 0; number < 4; ++number) {
    const pid_t process = fork();
    if (process == 0) {
      for (int round = 0; round < 50; ++round) {
        const panel::PanelLock lock(folder.path(), kSilent);
        folder.WriteText("counter", std::to_string(std::stoi(folder.ReadText("counter")) + 1));
      }
      _exit(0);
    }
    processes.push_back(process);
  }
  for (const pid_t process : processes) {
    int status = -1;
    waitpid(process, &status, 0);
    EXPECT_EQ(status, 0);
  }

  EXPECT_EQ(folder.ReadText("counter"), "200");
}

TEST(PanelLock, SurvivesSignals) {
  const TempFolder folder;
  OtherProcess other(folder.path());
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  itimerval often{{0, 5000}, {0, 5000}};
  setitimer(ITIMER_REAL, &often, nullptr);
  std::thread release;
  {
    const panel::PanelLock lock(folder.path(), [&] {
      release = std::thread([&other] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        other.Kill();
      });
    });
    EXPECT_FALSE(IsFree(folder.path()));
  }
  often = {};
  setitimer(ITIMER_REAL, &often, nullptr);
  release.join();
}

TEST(PanelLock, IsNotHeldByATool) {
  const TempFolder folder;
  panel::ToolRun run;
  {
    const panel::PanelLock lock(folder.path(), kSilent);
    run = panel::RunTool({"/bin/sh", "-c", "sleep 1000 & echo $!"}, "");
  }

  EXPECT_TRUE(IsFree(folder.path()));
  kill(std::stoi(run.output), SIGKILL);
}

/// It may be writing a map that the next operation must not write too.
TEST(PanelLock, IsHeldByAToolWhoseOperationWasKilled) {
  const TempFolder folder;
  const std::string go = folder.Path("go");
  ASSERT_EQ(mkfifo(go.c_str(), 0600), 0);
  const pid_t operation = fork();
  if (operation == 0) {
    const panel::PanelLock lock(folder.path(), kSilent);
    panel::RunTool({"/bin/sh", "-c", "echo > " + go + "; read line < " + go}, "");
    _exit(0);
  }
  std::ifstream(go).get();  // the tool runs
  kill(operation, SIGKILL);
  waitpid(operation, nullptr, 0);

  int told = 0;
  {
    const panel::PanelLock lock(folder.path(), [&] {
      ++told;
      EXPECT_FALSE(IsFree(folder.path()));
      std::ofstream(go) << "go\n";
    });
  }

  EXPECT_EQ(told, 1);
  EXPECT_TRUE(IsFree(folder.path()));
}

TEST(PanelLock, IsGivenUpWhenTheWaitingIsEnded) {
  const TempFolder folder;
  {
    const OtherProcess other(folder.path());
    EXPECT_THROW(panel::PanelLock(folder.path(), [] { throw std::runtime_error("enough"); }),
                 std::runtime_error);
  }
  EXPECT_TRUE(IsFree(folder.path()));
  const panel::PanelLock lock(folder.path(), kSilent);
}

TEST(PanelLock, CannotBeTakenTwiceByOneThread) {
  const TempFolder folder;
  const panel::PanelLock lock(folder.path(), kSilent);

  EXPECT_EQ(MessageOf([&] { panel::PanelLock(folder.path(), kSilent); }),
            "lock: " + folder.Path("lock").string() + ": this thread holds the lock already");
  EXPECT_FALSE(IsFree(folder.path()));
}

TEST(PanelLock, NeedsItsFolder) {
  const TempFolder folder;

  EXPECT_EQ(MessageOf([&] { panel::PanelLock(folder.Path("missing"), kSilent); }),
            "lock: " + folder.Path("missing/lock").string() +
                ": its folder is missing: run `zebmail init`, or set \"state_dir\" to the panel's "
                "own");
  const panel::PanelLock lock(folder.path(), kSilent);
}

TEST(PanelLock, FollowsNoLink) {
  const TempFolder folder;
  folder.WriteText("victim", "text");
  std::filesystem::create_symlink(folder.Path("victim"), folder.Path("lock"));

  EXPECT_EQ(MessageOf([&] { panel::PanelLock(folder.path(), kSilent); }),
            "lock: " + folder.Path("lock").string() + ": Too many levels of symbolic links");
}

}  // namespace
