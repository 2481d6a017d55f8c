/// NAME
///   tools - running other programs
///
/// HOW
///   The tool is the first process of a group of its own. Its output comes through a pipe, of which
///   only the end is kept; its input lies in a file in memory, so neither side can wait for the
///   other for ever. A process handle tells when the tool itself has ended: a process that it left
///   in the background may hold the pipe open, and must not be waited for. A sandbox may have no
///   such handles; the tool is looked at every few milliseconds there.
///
/// WHEN THE PANEL IS KILLED
///   The tool goes on. A map that postmap has written to the half is one that Postfix reads, and
///   mail would bounce until somebody makes up for it; a tool that is let alone finishes its map
///   within moments. What it needs for that it carries with it: the panel's lock, so that the next
///   operation waits and no second tool works on the same map with a newer text; and a clock, which
///   ends it when it hangs and nobody is left to see to that. SIGPIPE is ignored, so that a warning
///   that nobody reads is not the end of it. Other processes that it has started keep the lock, but
///   have no clock.

#include "panel/process/tools.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/fen_err.h"
#include "panel/module/config.h"
#include "panel/module/path_names.h"
#include "panel/process/file_handle.h"
#include "panel/process/panel_lock.h"
#include "panel/text/control_characters.h"
#include "panel/text/words.h"

namespace panel {
namespace {

using Clock = std::chrono::steady_clock;
using Words = std::vector<std::string>;

constexpr std::size_t kKeptOutput = std::size_t{64} * 1024;
constexpr int kNotStarted = 127;
constexpr int kSignal = 128;

[[noreturn]] void Fail(const std::string& program, int error) {
  throw fen_err::Error("process", program, std::generic_category().message(error));
}

/// The end of what was put in, all of which is shown to a reader.
class Tail {
 public:
  explicit Tail(const std::function<void(std::string_view)>& read) : read_(read) {}

  void Append(std::string_view text) {
    if (read_) read_(text);
    text_ += text;
    if (text_.size() > 2 * kKeptOutput) Cut();
  }

  std::string Take() {
    if (text_.size() > kKeptOutput) Cut();
    return std::move(text_);
  }

 private:
  void Cut() { text_.erase(0, text_.size() - kKeptOutput); }

  const std::function<void(std::string_view)>& read_;
  std::string text_;
};

void AppendLine(std::string& text, const std::string& line) {
  if (!text.empty() && !text.ends_with('\n')) text += '\n';
  text += line + "\n";
}

/// An open file that is to become one of the tool's standard files. It is moved away from their
/// three places: a panel that was started without standard input, say, opens its first file there.
FileHandle Own(const std::string& program, FileHandle file) {
  if (file && file.get() <= STDERR_FILENO) {
    file = FileHandle(fcntl(file.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1));
  }
  if (!file) Fail(program, errno);
  return file;
}

FileHandle OpenInput(const std::string& program, const std::string& input) {
  if (input.empty()) return Own(program, FileHandle(open("/dev/null", O_RDONLY | O_CLOEXEC)));
  FileHandle file = Own(program, FileHandle(memfd_create("input", MFD_CLOEXEC)));
  for (std::size_t done = 0; done < input.size();) {
    const ssize_t count = write(file.get(), input.data() + done, input.size() - done);
    if (count >= 0) {
      done += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      Fail(program, errno);
    }
  }
  if (lseek(file.get(), 0, SEEK_SET) != 0) Fail(program, errno);
  return file;
}

struct Pipe {
  FileHandle read_end;
  FileHandle write_end;
};

Pipe OpenPipe(const std::string& program) {
  std::array<int, 2> ends{-1, -1};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) Fail(program, errno);
  FileHandle read_end(ends[0]);
  FileHandle write_end(ends[1]);
  return {Own(program, std::move(read_end)), Own(program, std::move(write_end))};
}

/// The lock that this thread holds, for the tool to hold it too; none when it holds none.
FileHandle OpenLock(const std::string& program) {
  const int held = HeldPanelLock();
  return held < 0 ? FileHandle() : Own(program, FileHandle(fcntl(held, F_DUPFD_CLOEXEC, 0)));
}

/// The tool's own clock goes off when the panel's has, and did nothing.
unsigned ClockOf(std::chrono::seconds timeout) {
  return static_cast<unsigned>(std::clamp<std::int64_t>(timeout.count(), 0, INT_MAX - 1)) + 1;
}

/// Holds signals off, so that no handler of the caller's runs in a new process.
class HeldOffSignals {
 public:
  HeldOffSignals() {
    sigset_t all;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before_);
  }
  ~HeldOffSignals() { pthread_sigmask(SIG_SETMASK, &before_, nullptr); }

  HeldOffSignals(const HeldOffSignals&) = delete;
  HeldOffSignals& operator=(const HeldOffSignals&) = delete;

 private:
  sigset_t before_{};
};

/// What a new process needs to become the tool. All of it is made before there is one: in a copy of
/// a process with threads nothing can be allocated.
struct Errand {
  char* const* words;
  char* const* environment;
  int input;
  int output;
  int lock;        ///< negative when there is none
  int failure;     ///< where the reason goes when it cannot become the tool
  unsigned clock;  ///< seconds
};

bool TakeFiles(const Errand& errand) noexcept {
  return dup2(errand.input, STDIN_FILENO) >= 0 && dup2(errand.output, STDOUT_FILENO) >= 0 &&
         dup2(errand.output, STDERR_FILENO) >= 0 &&
         close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC) == 0 &&
         (errand.lock < 0 || fcntl(errand.lock, F_SETFD, 0) == 0);
}

/// Those signals that cannot be set are as they should be.
void ResetSignals() noexcept {
  struct sigaction action {};
  action.sa_handler = SIG_DFL;
  for (int signal = 1; signal < NSIG; ++signal) sigaction(signal, &action, nullptr);
  action.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &action, nullptr);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

/// Makes the new process the tool.
[[noreturn]] void Become(const Errand& errand) noexcept {
  if (setpgid(0, 0) == 0 && TakeFiles(errand) && chdir("/") == 0) {
    ResetSignals();
    alarm(errand.clock);
    execve(errand.words[0], errand.words, errand.environment);
  }
  const int reason = errno;
  const ssize_t told = write(errand.failure, &reason, sizeof reason);
  _exit(told == sizeof reason ? kNotStarted : kSignal);
}

/// A tool that was started and has not been waited for; killed when it is given up.
class RunningTool {
 public:
  RunningTool(const std::string& program, pid_t process)
      : program_(program),
        process_(process),
        handle_(static_cast<int>(syscall(SYS_pidfd_open, process, 0))) {
    if (handle_ || errno == ENOSYS) return;
    const int error = errno;
    End();
    Fail(program_, error);
  }
  ~RunningTool() { End(); }

  RunningTool(const RunningTool&) = delete;
  RunningTool& operator=(const RunningTool&) = delete;

  /// Readable as soon as the tool has ended; negative where the system has no such handles.
  int handle() const noexcept { return handle_.get(); }

  bool HasEnded() const {
    siginfo_t end{};
    if (waitid(P_PID, static_cast<id_t>(process_), &end, WEXITED | WNOHANG | WNOWAIT) != 0) {
      Fail(program_, errno);
    }
    return end.si_pid != 0;
  }

  void Kill() const { kill(-process_, SIGKILL); }

  /// Waits for the end; returns what waitpid tells.
  int Wait() {
    int status = 0;
    while (waitpid(process_, &status, 0) < 0) {
      if (errno != EINTR) {
        process_ = 0;
        Fail(program_, errno);
      }
    }
    process_ = 0;
    return status;
  }

 private:
  void End() const noexcept {
    if (process_ == 0) return;
    Kill();
    while (waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
  }

  const std::string& program_;
  pid_t process_;
  FileHandle handle_;
};

std::vector<char*> ToPointers(Words& words) {
  std::vector<char*> pointers;
  for (std::string& word : words) pointers.push_back(word.data());
  pointers.push_back(nullptr);
  return pointers;
}

Words Environment() {
  Words environment = {"PATH=/usr/sbin:/usr/bin:/sbin:/bin", "LANG=C"};
  if (const char* folder = std::getenv("MAIL_CONFIG")) {
    environment.push_back(std::string("MAIL_CONFIG=") + folder);
  }
  return environment;
}

/// The reason that the new process gives; 0 when it has become the tool.
int ReadReason(const std::string& program, const FileHandle& failure) {
  int reason = 0;
  while (read(failure.get(), &reason, sizeof reason) < 0) {
    if (errno != EINTR) Fail(program, errno);
  }
  return reason;
}

/// Starts the tool; returns the system's reason where it cannot be.
int Start(Words words, const FileHandle& input, const FileHandle& output,
          std::chrono::seconds timeout, pid_t& process) {
  const std::string program = words.front();
  Words environment = Environment();
  const std::vector<char*> word_pointers = ToPointers(words);
  const std::vector<char*> environment_pointers = ToPointers(environment);
  const FileHandle lock = OpenLock(program);
  Pipe failure = OpenPipe(program);
  const Errand errand{
      word_pointers.data(), environment_pointers.data(), input.get(),     output.get(),
      lock.get(),           failure.write_end.get(),     ClockOf(timeout)};
  {
    const HeldOffSignals held_off;
    process = fork();
    if (process == 0) Become(errand);
  }
  if (process < 0) return errno;
  failure.write_end = FileHandle();
  const int reason = ReadReason(program, failure.read_end);
  while (reason != 0 && waitpid(process, nullptr, 0) < 0 && errno == EINTR) {
  }
  return reason;
}

/// Whether the reason lies in the system, not in the command.
bool IsShortage(int error) {
  return error == EAGAIN || error == ENOMEM || error == EMFILE || error == ENFILE;
}

/// Reads what is in the pipe, at most `size` bytes; returns how many that were, 0 at its end.
std::size_t ReadOutput(const std::string& program, const FileHandle& pipe, std::size_t size,
                       Tail& output) {
  std::array<char, kKeptOutput> part{};
  for (;;) {
    const ssize_t count = read(pipe.get(), part.data(), std::min(size, part.size()));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) Fail(program, errno);
    output.Append({part.data(), static_cast<std::size_t>(count)});
    return static_cast<std::size_t>(count);
  }
}

/// Reads what the tool left in the pipe, and no more of what others may still put there.
void ReadRest(const std::string& program, const FileHandle& pipe, Tail& output) {
  int rest = 0;
  if (ioctl(pipe.get(), FIONREAD, &rest) != 0) Fail(program, errno);
  while (rest > 0) {
    rest -= static_cast<int>(ReadOutput(program, pipe, static_cast<std::size_t>(rest), output));
  }
}

int MillisecondsTo(Clock::time_point deadline) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
  return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, INT_MAX));
}

/// How long to wait for an event: where no handle tells of the end, it is looked for often.
int Patience(const RunningTool& tool, Clock::time_point deadline) {
  constexpr int kOften = 10;
  const int left = MillisecondsTo(deadline);
  return tool.handle() < 0 ? std::min(left, kOften) : left;
}

/// Reads the output until the tool ends; returns false when it has not ended at the deadline.
bool Follow(const std::string& program, const RunningTool& tool, const FileHandle& pipe,
            Clock::time_point deadline, Tail& output) {
  pollfd ended{tool.handle(), POLLIN, 0};
  pollfd printed{pipe.get(), POLLIN, 0};
  for (;;) {
    std::array<pollfd, 2> events{ended, printed};
    const int count = poll(events.data(), events.size(), Patience(tool, deadline));
    if (count < 0 && errno != EINTR) Fail(program, errno);
    if (tool.HasEnded()) return true;
    if (Clock::now() >= deadline) return false;
    if (count > 0 && events[1].revents != 0 &&
        ReadOutput(program, pipe, kKeptOutput, output) == 0) {
      printed.fd = -1;  // the tool has closed its output and goes on without
    }
  }
}

ToolRun ToResult(const std::string& program, int status, std::string output) {
  if (WIFEXITED(status)) return {WEXITSTATUS(status), std::move(output)};
  const int signal = WTERMSIG(status);
  const char* description = sigdescr_np(signal);
  AppendLine(output, program + " was ended by signal " + std::to_string(signal) +
                         (description == nullptr ? "" : " (" + std::string(description) + ")"));
  return {kSignal + signal, std::move(output)};
}

ToolRun Killed(const std::string& program, std::chrono::seconds timeout, std::string output) {
  AppendLine(output,
             program + " ran longer than " + std::to_string(timeout.count()) + " s and was killed");
  return {kSignal + SIGKILL, std::move(output)};
}

std::string PathOf(const std::string& name) {
  return "the path \"" + EscapeControlCharacters(name) + "\"";
}

std::string InConfiguration() {
  const std::string file = CurrentConfig().file.string();
  return " in the section [path] of " + (file.empty() ? "the configuration" : file) + ".";
}

ToolRun NotStarted(const Words& words, const std::string& why) {
  const std::optional<std::string> name = FindPathName(words);
  return {kNotStarted, EscapeControlCharacters(words.front()) + " cannot be started: " + why +
                           "\nSet " + (name ? PathOf(*name) : "its path") + InConfiguration() +
                           "\n"};
}

/// `asked` is the path name whose value would have been the program.
ToolRun NoProgram(const Words& words, const std::optional<std::string>& asked) {
  const std::string command = EscapeControlCharacters(JoinWords(words));
  return {kNotStarted, "The command \"" + command + "\" cannot be started: it names no program.\n" +
                           (asked ? "Nothing is configured for " + PathOf(*asked) + ": set it"
                                  : "Set the path of its program") +
                           InConfiguration() + "\n"};
}

bool HasNul(const Words& words) {
  return std::any_of(words.begin(), words.end(),
                     [](const std::string& word) { return word.find('\0') != std::string::npos; });
}

}  // namespace

ToolRun RunTool(const Words& words, const std::string& input,
                const std::function<void(std::string_view)>& read) {
  const std::optional<std::string> asked = TakeUnsetPathName();
  if (words.empty() || words.front().empty()) return NoProgram(words, asked);
  if (!words.front().starts_with('/')) return NotStarted(words, "not an absolute path");
  if (HasNul(words)) return NotStarted(words, "a word of the command holds a NUL");

  const std::string& program = words.front();
  const std::chrono::seconds timeout = CurrentConfig().tool_timeout;
  const FileHandle input_file = OpenInput(program, input);
  Pipe pipe = OpenPipe(program);
  pid_t process = 0;
  const int error = Start(words, input_file, pipe.write_end, timeout, process);
  if (IsShortage(error)) Fail(program, error);
  if (error != 0) return NotStarted(words, std::generic_category().message(error));

  RunningTool tool(program, process);
  pipe.write_end = FileHandle();
  Tail output(read);
  const bool has_ended = Follow(program, tool, pipe.read_end, Clock::now() + timeout, output);
  if (!has_ended) tool.Kill();
  const int status = tool.Wait();
  ReadRest(program, pipe.read_end, output);
  return has_ended ? ToResult(program, status, output.Take())
                   : Killed(program, timeout, output.Take());
}

}  // namespace panel
