/// NAME
///   command - run a program and keep what it said

#include "tests/support/command.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <functional>
#include <system_error>
#include <thread>

#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test_support {
namespace {

[[noreturn]] void Fail(int error, const std::string& what) {
  throw std::system_error(error, std::generic_category(), what);
}

/// A file in memory. Unlike a pipe it cannot fill up, and nobody has to read it to its end: a
/// daemon that the program leaves behind may keep it open.
class MemoryFile {
 public:
  explicit MemoryFile(const std::string& text = "") : file_(memfd_create("test", MFD_CLOEXEC)) {
    if (file_ < 0) Fail(errno, "memfd_create");
    for (std::size_t done = 0; done < text.size();) {
      const ssize_t written = write(file_, text.data() + done, text.size() - done);
      if (written < 0) Fail(errno, "write");
      done += static_cast<std::size_t>(written);
    }
    lseek(file_, 0, SEEK_SET);
  }
  ~MemoryFile() { close(file_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  int file() const noexcept { return file_; }

  std::string Text() const {
    std::string text;
    std::array<char, 4096> part{};
    for (;;) {
      const ssize_t count = pread(file_, part.data(), part.size(), static_cast<off_t>(text.size()));
      if (count < 0) Fail(errno, "read");
      if (count == 0) return text;
      text.append(part.data(), static_cast<std::size_t>(count));
    }
  }

 private:
  int file_;
};

class SpawnActions {
 public:
  SpawnActions() { posix_spawn_file_actions_init(&actions_); }
  ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;

  void Connect(const MemoryFile& from, int to) {
    posix_spawn_file_actions_adddup2(&actions_, from.file(), to);
  }
  const posix_spawn_file_actions_t* get() const noexcept { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

int Wait(pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0) {
    if (errno != EINTR) Fail(errno, "waitpid");
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

/// A process that has ended keeps its number until it is waited for, so none but it is killed.
void KillAfter(pid_t process, std::chrono::microseconds time) {
  const auto end = std::chrono::steady_clock::now() + time;
  siginfo_t ended{};
  while (std::chrono::steady_clock::now() < end) {
    if (waitid(P_PID, static_cast<id_t>(process), &ended, WEXITED | WNOHANG | WNOWAIT) < 0) {
      Fail(errno, "waitid");
    }
    if (ended.si_pid == process) return;
    std::this_thread::sleep_for(std::chrono::microseconds(100));
  }
  if (kill(process, SIGKILL) < 0) Fail(errno, "kill");
}

}  // namespace

CommandRun RunCommand(const std::vector<std::string>& words, const std::string& input) {
  return RunCommand(words, input, [](pid_t) {});
}

CommandRun RunCommand(const std::vector<std::string>& words, const std::string& input,
                      const std::function<void(pid_t process)>& meanwhile) {
  const MemoryFile in(input);
  const MemoryFile out;
  const MemoryFile err;
  SpawnActions actions;
  actions.Connect(in, STDIN_FILENO);
  actions.Connect(out, STDOUT_FILENO);
  actions.Connect(err, STDERR_FILENO);

  std::vector<std::string> copies = words;  // posix_spawn wants them writable
  std::vector<char*> arguments;
  for (std::string& word : copies) arguments.push_back(word.data());
  arguments.push_back(nullptr);

  pid_t process = 0;
  const int error =
      posix_spawnp(&process, arguments[0], actions.get(), nullptr, arguments.data(), environ);
  if (error != 0) Fail(error, words[0]);
  meanwhile(process);
  const int status = Wait(process);
  return {status, out.Text(), err.Text()};
}

CommandRun KillCommand(const std::vector<std::string>& words, std::chrono::microseconds after,
                       const std::string& input) {
  return RunCommand(words, input, [after](pid_t process) { KillAfter(process, after); });
}

}  // namespace test_support
