/// NAME
///   failing_calls - system calls that fail when a test wants it
///
/// PURPOSE
///   Loaded into a program before its libraries (LD_PRELOAD), it has chosen calls fail, as on a
///   disk that is full or breaks. What fails is said by the environment:
///
///     FAILING_CALLS   "CALL:FIRST:ERRNO:HOW", several with "," between them. CALL is rename,
///                     renameat2, link, unlink, fsync, fdatasync, write, pwrite or open, which
///                     stands for one that makes or writes a file; FIRST is the number of the first
///                     call that fails, from 1; HOW is once, always, or given, which is always
///                     and is not reported
///     FAILING_PATH    calls count whose path, or the path of whose file, begins like this
///     FAILING_REPORT  a file that is made when a call has failed
///
///   A write that fails for the first time has written half of its bytes before, as one that comes
///   to the end of a disk has.

#include <array>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/types.h>
#include <unistd.h>

namespace {

struct Failure {
  std::string call;
  long first = 0;
  int error = 0;
  bool is_lasting = false;
  bool is_given = false;  ///< always, and not reported
  long calls = 0;
  bool is_short = false;  ///< the call before was a write that wrote a part
};

std::string Setting(const char* name) {
  const char* const value = std::getenv(name);
  return value == nullptr ? "" : value;
}

/// Takes what stands before the next `end` off `text`.
std::string Take(std::string& text, char end) {
  const std::size_t at = text.find(end);
  std::string taken = text.substr(0, at);
  text.erase(0, at == std::string::npos ? text.size() : at + 1);
  return taken;
}

std::vector<Failure> ReadFailures() {
  std::vector<Failure> failures;
  for (std::string all = Setting("FAILING_CALLS"); !all.empty();) {
    std::string one = Take(all, ',');
    Failure failure;
    failure.call = Take(one, ':');
    failure.first = std::stol(Take(one, ':'));
    failure.error = std::stoi(Take(one, ':'));
    failure.is_given = one == "given";
    failure.is_lasting = failure.is_given || one == "always";
    failures.push_back(failure);
  }
  return failures;
}

Failure* FailureOf(const char* call) {
  static auto* const failures = new std::vector<Failure>(ReadFailures());
  for (Failure& failure : *failures) {
    if (failure.call == call) return &failure;
  }
  return nullptr;
}

bool Counts(const char* path) {
  static const auto* const begin = new std::string(Setting("FAILING_PATH"));
  return path != nullptr && std::strncmp(path, begin->c_str(), begin->size()) == 0;
}

bool Counts(int file) {
  std::array<char, PATH_MAX> path{};
  const std::string link = "/proc/self/fd/" + std::to_string(file);
  return syscall(SYS_readlink, link.c_str(), path.data(), path.size() - 1) > 0 &&
         Counts(path.data());
}

void Report() {
  const std::string report = Setting("FAILING_REPORT");
  const long file = syscall(SYS_openat, AT_FDCWD, report.c_str(), O_WRONLY | O_CREAT, 0600);
  if (file >= 0) syscall(SYS_close, file);
}

/// Whether this call on `object`, a path or an open file, is to fail; errno is set then.
template <class Object>
bool IsToFail(const char* call, Object object) {
  const int error = errno;
  Failure* const failure = FailureOf(call);
  const bool fails = failure != nullptr && Counts(object) && ++failure->calls >= failure->first &&
                     (failure->calls == failure->first || failure->is_lasting);
  if (fails && !failure->is_given) Report();
  errno = fails ? failure->error : error;
  return fails;
}

/// The first write that fails writes half; the one behind it gets the error.
bool IsToBeShort(const char* call, std::size_t size) {
  Failure* const failure = FailureOf(call);
  if (failure->is_short || size < 2) return false;
  failure->is_short = true;
  --failure->calls;
  return true;
}

template <class Write>
ssize_t WriteOrFail(const char* call, int file, std::size_t size, const Write& really) {
  if (!IsToFail(call, file)) return really(size);
  return IsToBeShort(call, size) ? really(size / 2) : -1;
}

}  // namespace

extern "C" {

int rename(const char* from, const char* to) {
  if (IsToFail("rename", to)) return -1;
  return static_cast<int>(syscall(SYS_rename, from, to));
}

int renameat2(int from_folder, const char* from, int to_folder, const char* to,
              unsigned int flags) {
  if (IsToFail("renameat2", to)) return -1;
  return static_cast<int>(syscall(SYS_renameat2, from_folder, from, to_folder, to, flags));
}

int link(const char* from, const char* to) {
  if (IsToFail("link", to)) return -1;
  return static_cast<int>(syscall(SYS_link, from, to));
}

int unlink(const char* path) {
  if (IsToFail("unlink", path)) return -1;
  return static_cast<int>(syscall(SYS_unlink, path));
}

int fsync(int file) {
  if (IsToFail("fsync", file)) return -1;
  return static_cast<int>(syscall(SYS_fsync, file));
}

int fdatasync(int file) {
  if (IsToFail("fdatasync", file)) return -1;
  return static_cast<int>(syscall(SYS_fdatasync, file));
}

ssize_t write(int file, const void* bytes, std::size_t size) {
  return WriteOrFail("write", file, size, [file, bytes](std::size_t part) {
    return static_cast<ssize_t>(syscall(SYS_write, file, bytes, part));
  });
}

ssize_t pwrite64(int file, const void* bytes, std::size_t size, off64_t place) {
  return WriteOrFail("pwrite", file, size, [file, bytes, place](std::size_t part) {
    return static_cast<ssize_t>(syscall(SYS_pwrite64, file, bytes, part, place));
  });
}

ssize_t pwrite(int file, const void* bytes, std::size_t size, off_t place) {
  return pwrite64(file, bytes, size, place);
}

/// The mode is read where there is none too; nobody looks at it then.
int open(const char* path, int flags, ...) {
  std::va_list arguments;
  va_start(arguments, flags);
  const mode_t mode = va_arg(arguments, mode_t);
  va_end(arguments);
  const bool writes = (flags & (O_CREAT | O_WRONLY | O_RDWR)) != 0;
  if (writes && IsToFail("open", path)) return -1;
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

int open64(const char* path, int flags, ...) __attribute__((alias("open")));

}  // extern "C"
