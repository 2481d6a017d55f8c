/// NAME
///   panel_lock - one panel operation at a time
///
/// PURPOSE
///   Operations on one state folder follow each other, whichever thread or process they come from:
///   each takes the lock, the file "lock" in that folder, for as long as it works. A tool that it
///   runs holds the lock with it: when the operation is killed, the next one waits for that tool.
///
/// HOW IT FAILS
///   With fen_err::Error("lock", path, why): the folder is missing, the file cannot be opened, or
///   this thread holds the lock already and would wait for itself.

#pragma once

#include <filesystem>
#include <functional>
#include <memory>

namespace panel {

/// Taken and given up by the same thread, which can hold only one at a time.
class PanelLock {
 public:
  /// Waits until nobody else holds the lock of `state_dir`, then holds it. `waiting` is called
  /// once, when that has taken a second; it may be empty. What it throws ends the waiting.
  PanelLock(const std::filesystem::path& state_dir, const std::function<void()>& waiting);
  ~PanelLock();

  PanelLock(const PanelLock&) = delete;
  PanelLock& operator=(const PanelLock&) = delete;

 private:
  struct Hold;

  std::unique_ptr<Hold> hold_;
};

/// The open file by which this thread holds the lock; negative when it holds none. Whoever is given
/// a copy of it holds the lock too, until the PanelLock gives it up for all.
int HeldPanelLock() noexcept;

}  // namespace panel
