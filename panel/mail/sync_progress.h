/// NAME
///   sync_progress - how far a synchronisation is
///
/// PURPOSE
///   The longest part of a synchronisation is a pass of the back-end over the mailboxes, which asks
///   the panel for the rows of each address. Each question is a step.

#pragma once

#include <cstddef>
#include <functional>
#include <utility>

namespace panel::mail {

class SyncProgress {
 public:
  /// Called now and then with the steps taken and all steps.
  using Show = std::function<void(std::size_t done, std::size_t all)>;

  /// While it lives, steps of this thread count.
  SyncProgress(Show show, std::size_t all);
  ~SyncProgress();

  SyncProgress(const SyncProgress&) = delete;
  SyncProgress& operator=(const SyncProgress&) = delete;

  /// Takes a step; does nothing when no synchronisation is in progress.
  static void Tick();

 private:
  Show show_;
  std::size_t all_;
  std::size_t done_ = 0;
};

}  // namespace panel::mail
