/// NAME
///   panel_lock - one panel operation at a time
///
/// HOW
///   Threads of one process wait for each other at a mutex, processes at a lock on the file. The
///   file stays when the lock is given up: a process that waits for the lock of a removed file
///   would not see the one who locks a new file of the same name. The lock is given up by word, not
///   by closing the file: what a tool has left in the background may have it open still.

#include "panel/process/panel_lock.h"

#include <cerrno>
#include <chrono>
#include <mutex>
#include <string>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>

#include "host/fen_err.h"
#include "panel/process/file_handle.h"

namespace panel {
namespace {

[[noreturn]] void Fail(const std::filesystem::path& path, const std::string& why) {
  throw fen_err::Error("lock", path.string(), why);
}

/// A wait that is told about when it has taken a second.
class Patience {
 public:
  explicit Patience(const std::function<void()>& waiting) : waiting_(waiting) {}

  /// Tries `take` now and then; when the second is over, tells about the wait and does `wait`.
  template <class Take, class Wait>
  void Get(Take take, Wait wait) {
    while (!take()) {
      if (std::chrono::steady_clock::now() >= end_) {
        Tell();
        wait();
        return;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
  }

 private:
  /// Tells only once, though there may be two things to wait for.
  void Tell() {
    if (!is_told_ && waiting_) waiting_();
    is_told_ = true;
  }

  const std::function<void()>& waiting_;
  std::chrono::steady_clock::time_point end_ =
      std::chrono::steady_clock::now() + std::chrono::seconds(1);
  bool is_told_ = false;
};

/// This thread's turn among those of the process.
class Turn {
 public:
  Turn(const std::filesystem::path& path, Patience& patience) {
    if (has_turn) Fail(path, "this thread holds the lock already");
    patience.Get([] { return mutex.try_lock(); }, [] { mutex.lock(); });
    has_turn = true;
  }
  ~Turn() {
    has_turn = false;
    mutex.unlock();
  }

  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  static inline std::mutex mutex;
  static inline thread_local bool has_turn = false;
};

FileHandle OpenFile(const std::filesystem::path& path) {
  FileHandle file(open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file && errno == ENOENT) {
    Fail(path,
         "its folder is missing: run `zebmail init`, or set \"state_dir\" to the panel's own");
  }
  if (!file) Fail(path, std::generic_category().message(errno));
  return file;
}

bool TryLock(const std::filesystem::path& path, const FileHandle& file) {
  if (flock(file.get(), LOCK_EX | LOCK_NB) == 0) return true;
  if (errno != EWOULDBLOCK && errno != EINTR) Fail(path, std::generic_category().message(errno));
  return false;
}

void WaitForLock(const std::filesystem::path& path, const FileHandle& file) {
  while (flock(file.get(), LOCK_EX) != 0) {
    if (errno != EINTR) Fail(path, std::generic_category().message(errno));
  }
}

thread_local int held_file = -1;

}  // namespace

int HeldPanelLock() noexcept {
  return held_file;
}

/// The file is unlocked before the next thread has its turn.
struct PanelLock::Hold {
  Hold(const std::filesystem::path& path, Patience patience)
      : turn(path, patience), file(OpenFile(path)) {
    patience.Get([this, &path] { return TryLock(path, file); },
                 [this, &path] { WaitForLock(path, file); });
    held_file = file.get();
  }
  ~Hold() {
    held_file = -1;
    flock(file.get(), LOCK_UN);
  }

  Hold(const Hold&) = delete;
  Hold& operator=(const Hold&) = delete;

  Turn turn;
  FileHandle file;
};

PanelLock::PanelLock(const std::filesystem::path& state_dir, const std::function<void()>& waiting)
    : hold_(std::make_unique<Hold>(state_dir / "lock", Patience(waiting))) {}

PanelLock::~PanelLock() = default;

}  // namespace panel
