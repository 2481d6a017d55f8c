/// NAME
///   reply - the answer to one sender, at most once a week

#include "zebmail/answer/reply.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/file.h>
#include <sys/wait.h>
#include <unistd.h>

#include "panel/process/file_handle.h"
#include "zebmail/answer/address.h"

namespace zebmail::answer {
namespace {

namespace fs = std::filesystem;
using panel::FileHandle;

const char* const kVacation = "/usr/bin/vacation";
const char* const kDaysBetween = "7";
const char* const kMend = "run `zebmail check --fix`";

[[noreturn]] void Fail(const fs::path& path, const std::string& cause, const std::string& advice) {
  throw std::runtime_error(path.string() + ": " + cause + "; " + advice);
}

[[noreturn]] void Fail(const fs::path& path, int error, const std::string& advice) {
  Fail(path, std::generic_category().message(error), advice);
}

void CheckStart(int error) {
  if (error != 0) Fail(kVacation, error, "see that the package vacation is installed");
}

std::string Login() {
  const passwd* const user = getpwuid(getuid());
  if (user != nullptr) return user->pw_name;
  Fail("user " + std::to_string(getuid()), "has no name",
       "set default_privs in main.cf to a user who has one");
}

/// Nothing when the folder is gone.
FileHandle OpenRecord(const fs::path& folder) {
  const fs::path path = folder / "answered.db";
  FileHandle record(open(path.c_str(), O_RDWR | O_CLOEXEC));
  const int error = errno;
  if (!record && (error != ENOENT || fs::exists(folder))) Fail(path, error, kMend);
  return record;
}

/// Two messages may come at once, and vacation would answer both.
void Lock(const FileHandle& record, const fs::path& folder) {
  while (flock(record.get(), LOCK_EX) != 0) {
    if (errno != EINTR) Fail(folder / "answered.db", errno, kMend);
  }
}

void RequireMessage(const fs::path& path) {
  if (access(path.c_str(), R_OK) != 0) Fail(path, errno, kMend);
}

/// What vacation is told about the message. It puts the subject in place of the word $SUBJECT in
/// our own text; this subject leaves the text as it is.
std::string Notice(const std::string& sender) {
  return "Return-Path: <" + WithLowerCaseDomain(sender) + ">\nSubject: $SUBJECT\n\n";
}

/// A pipe that holds the whole text, which is shorter than what every pipe has room for.
FileHandle PipeWith(const std::string& text) {
  std::array<int, 2> ends{-1, -1};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) Fail("pipe", errno, "see `ulimit -n`");
  FileHandle read_end(ends[0]);
  const FileHandle write_end(ends[1]);
  if (write(write_end.get(), text.data(), text.size()) != static_cast<ssize_t>(text.size()))
    Fail("pipe", errno, "see `ulimit -p`");
  return read_end;
}

/// Nothing that the sender had a hand in. MAIL_CONFIG tells sendmail(1) which of several Postfix
/// instances is to send the answer.
std::vector<std::string> Environment() {
  std::vector<std::string> environment = {"PATH=/usr/bin:/bin", "LANG=C"};
  for (const std::string name : {"MAIL_CONFIG", "TZ"}) {
    const char* const value = std::getenv(name.c_str());
    if (value != nullptr) environment.push_back(name + "=" + value);
  }
  return environment;
}

std::vector<char*> Pointers(std::vector<std::string>& words) {
  std::vector<char*> pointers;
  pointers.reserve(words.size() + 1);
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

/// The standard files of the new process.
class StandardFiles {
 public:
  explicit StandardFiles(const FileHandle& input) {
    CheckStart(posix_spawn_file_actions_init(&actions_));
    CheckStart(posix_spawn_file_actions_adddup2(&actions_, input.get(), STDIN_FILENO));
    // The library that keeps the record complains there about one that is still empty.
    for (const int output : {STDOUT_FILENO, STDERR_FILENO})
      CheckStart(posix_spawn_file_actions_addopen(&actions_, output, "/dev/null", O_WRONLY, 0));
  }
  ~StandardFiles() { posix_spawn_file_actions_destroy(&actions_); }

  StandardFiles(const StandardFiles&) = delete;
  StandardFiles& operator=(const StandardFiles&) = delete;

  const posix_spawn_file_actions_t* actions() const noexcept { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

pid_t StartVacation(std::vector<std::string> words, const FileHandle& input) {
  std::vector<std::string> environment = Environment();
  const StandardFiles files(input);
  pid_t process = 0;
  CheckStart(posix_spawn(&process, kVacation, files.actions(), nullptr, Pointers(words).data(),
                         Pointers(environment).data()));
  return process;
}

void AwaitVacation(pid_t process, const fs::path& folder) {
  int status = 0;
  while (waitpid(process, &status, 0) < 0) {
    if (errno != EINTR) Fail(kVacation, errno, "whether it has answered is not known");
  }
  if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return;
  Fail(folder, std::string(kVacation) + " has failed",
       "look for its own message in the mail log; if answered.db is damaged, empty it");
}

}  // namespace

void Reply(const fs::path& folder, const std::string& sender) {
  const FileHandle record = OpenRecord(folder);
  if (!record) return;
  RequireMessage(folder / "message");
  Lock(record, folder);
  // -j: whom the message names has been looked at; vacation takes parts of addresses for addresses.
  // -z: an answer has no sender, so that nothing answers it.
  const pid_t process = StartVacation({"vacation", "-j", "-z", "-r", kDaysBetween, "-f",
                                       folder / "answered.db", "-m", folder / "message", Login()},
                                      PipeWith(Notice(sender)));
  AwaitVacation(process, folder);
}

}  // namespace zebmail::answer
