/// NAME
///   sync_progress - how far a synchronisation is

#include "panel/mail/sync_progress.h"

#include <algorithm>

namespace panel::mail {
namespace {

thread_local SyncProgress* current = nullptr;

/// Seldom enough to cost nothing.
constexpr std::size_t kStepsBetweenShows = 4096;

}  // namespace

SyncProgress::SyncProgress(Show show, std::size_t all) : show_(std::move(show)), all_(all) {
  current = this;
}

SyncProgress::~SyncProgress() {
  current = nullptr;
}

void SyncProgress::Tick() {
  if (current == nullptr) return;
  if (++current->done_ % kStepsBetweenShows != 0 || !current->show_) return;
  current->show_(std::min(current->done_, current->all_), current->all_);
}

}  // namespace panel::mail
