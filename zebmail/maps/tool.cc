/// NAME
///   tool - running Postfix's own programs
///
/// HOW
///   Its input lies in a file in memory and its output comes through a pipe, so neither side can
///   wait for the other for ever.

#include "zebmail/maps/tool.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "panel/process/file_handle.h"
#include "zebmail/maps/file.h"

namespace zebmail::maps {
namespace {

using panel::FileHandle;

constexpr int kSignal = 128;
constexpr int kNotStarted = 127;
const char* const kLater = "run this again";
const char* const kInstall = "install Postfix, or name its program with --tool";

std::vector<char*> ToPointers(Words& words) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

FileHandle OpenInput(const std::string& program, std::string_view input) {
  FileHandle file(memfd_create("input", MFD_CLOEXEC));
  if (!file) FailOn(program, errno, kLater);
  WriteEnd(file.get(), program, input, 0);
  return file;
}

struct Pipe {
  FileHandle read_end;
  FileHandle write_end;
};

Pipe OpenPipe(const std::string& program) {
  std::array<int, 2> ends{-1, -1};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) FailOn(program, errno, kLater);
  return {FileHandle(ends[0]), FileHandle(ends[1])};
}

/// What a new process does; nothing in it may fail by an exception.
[[noreturn]] void Become(char* const* words, int input, int output, const std::vector<int>& locks,
                         unsigned clock) {
  bool is_good = dup2(input, STDIN_FILENO) >= 0 && dup2(output, STDOUT_FILENO) >= 0 &&
                 dup2(output, STDERR_FILENO) >= 0;
  for (const int lock : locks) is_good = is_good && fcntl(lock, F_SETFD, 0) == 0;
  if (is_good) {
    alarm(clock);
    execv(words[0], words);
  }
  _exit(kNotStarted);
}

/// How long this process may still run; 0 when there is no limit.
unsigned ReadClock() {
  const unsigned left = alarm(0);
  alarm(left);
  return left;
}

void ReadOutput(const std::string& program, const FileHandle& pipe,
                const std::function<void(std::string_view)>& print) {
  std::array<char, 4096> part{};
  for (;;) {
    const ssize_t count = read(pipe.get(), part.data(), part.size());
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) FailOn(program, errno, kLater);
    if (count == 0) return;
    print({part.data(), static_cast<std::size_t>(count)});
  }
}

int Wait(const std::string& program, pid_t process) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0) {
    if (errno != EINTR) FailOn(program, errno, kLater);
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : kSignal + WTERMSIG(status);
}

}  // namespace

int RunTool(const Words& words, std::string_view input, const std::vector<int>& locks,
            const std::function<void(std::string_view)>& print) {
  Words writable = words;
  const std::string& program = words.front();
  if (access(program.c_str(), X_OK) != 0) FailOn(program, errno, kInstall);
  const std::vector<char*> pointers = ToPointers(writable);
  const FileHandle input_file = OpenInput(program, input);
  if (lseek(input_file.get(), 0, SEEK_SET) != 0) FailOn(program, errno, kLater);
  Pipe pipe = OpenPipe(program);
  const unsigned clock = ReadClock();
  const pid_t process = fork();
  if (process < 0) FailOn(program, errno, kLater);
  if (process == 0) {
    Become(pointers.data(), input_file.get(), pipe.write_end.get(), locks, clock);
  }
  pipe.write_end = FileHandle();  // or its end would never come
  ReadOutput(program, pipe.read_end, print);
  return Wait(program, process);
}

void BecomeTool(const Words& words) {
  Words writable = words;
  execv(words.front().c_str(), ToPointers(writable).data());
  FailOn(words.front(), errno, kInstall);
}

}  // namespace zebmail::maps
