/// NAME
///   diff - what would change in a file, as people read it
///
/// HOW IT WORKS
///   diff(1) reads the two texts from files that exist in memory only, as its standard input and as
///   descriptor 3, and writes to a pipe, which is read to its end.

#include "zebmail/diff.h"

#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/fen_err.h"
#include "panel/process/file_handle.h"

namespace zebmail {
namespace {

using panel::FileHandle;

class Diff {
 public:
  explicit Diff(const std::string& path) : path_(path) {}

  std::string Run(const std::string& before, const std::string& after) {
    const FileHandle old_text = InMemory(before);
    const FileHandle new_text = InMemory(after);
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) Fail(errno);
    const FileHandle reading(ends[0]);
    FileHandle writing(ends[1]);

    const pid_t child = Start(old_text, new_text, writing);
    writing = FileHandle();
    std::string output = ReadAll(reading);
    const int status = Wait(child);
    if (!WIFEXITED(status) || WEXITSTATUS(status) > 1) {
      throw fen_err::Error("diff", path_, "diff did not succeed: " + output);
    }
    return output;
  }

 private:
  [[noreturn]] void Fail(int error) const {
    throw fen_err::Error("diff", path_, std::generic_category().message(error));
  }

  FileHandle InMemory(std::string_view text) const {
    FileHandle file(memfd_create("text", MFD_CLOEXEC));
    if (!file) Fail(errno);
    while (!text.empty()) {
      const ssize_t written = write(file.get(), text.data(), text.size());
      if (written < 0 && errno != EINTR) Fail(errno);
      if (written > 0) text.remove_prefix(static_cast<std::size_t>(written));
    }
    if (lseek(file.get(), 0, SEEK_SET) != 0) Fail(errno);
    return file;
  }

  /// The descriptors are moved in an order in which none is overwritten before it is moved: 3 and
  /// above are taken by the files here, since 0, 1 and 2 are open in every process of zebmail.
  pid_t Start(const FileHandle& old_text, const FileHandle& new_text,
              const FileHandle& output) const {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, new_text.get(), STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output.get(), STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&actions, STDOUT_FILENO, STDERR_FILENO);
    posix_spawn_file_actions_adddup2(&actions, old_text.get(), 3);

    std::array<std::string, 9> words = {"diff",    "--text", "-u",        "--label", path_,
                                        "--label", path_,    "/dev/fd/3", "-"};
    std::array<char*, 10> arguments{};
    for (std::size_t word = 0; word < words.size(); ++word) arguments[word] = words[word].data();
    std::array<char*, 1> environment{};
    pid_t child = 0;
    const int error = posix_spawn(&child, "/usr/bin/diff", &actions, nullptr, arguments.data(),
                                  environment.data());
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) Fail(error);
    return child;
  }

  std::string ReadAll(const FileHandle& file) const {
    std::string text;
    std::array<char, 65536> part{};
    for (;;) {
      const ssize_t count = read(file.get(), part.data(), part.size());
      if (count == 0) return text;
      if (count < 0 && errno != EINTR) Fail(errno);
      if (count > 0) text.append(part.data(), static_cast<std::size_t>(count));
    }
  }

  int Wait(pid_t child) const {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
      if (errno != EINTR) Fail(errno);
    }
    return status;
  }

  const std::string& path_;
};

}  // namespace

std::string UnifiedDiff(const std::string& path, const std::string& before,
                        const std::string& after) {
  return Diff(path).Run(before, after);
}

}  // namespace zebmail
