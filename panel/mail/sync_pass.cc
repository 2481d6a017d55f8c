/// NAME
///   sync_pass - what is known while a pass goes over the mailboxes

#include "panel/mail/sync_pass.h"

#include <algorithm>
#include <utility>

#include "host/zeb_db.h"

namespace panel::mail {
namespace {

thread_local SyncPass* current = nullptr;

/// Seldom enough to cost nothing.
constexpr std::size_t kStepsBetweenShows = 4096;

std::uint64_t Hash(std::int64_t domain, std::string_view local_part) {
  constexpr std::uint64_t kSpread = 0x9e3779b97f4a7c15;
  return ProbableSet::Hash(local_part) ^ (static_cast<std::uint64_t>(domain) * kSpread);
}

}  // namespace

SyncPass::SyncPass(ShowProgress show, std::size_t all)
    : show_(std::move(show)), all_(all), known_(all) {
  fen_db::Result rows = zeb_db::GetCache().Query("SELECT domain, name FROM email");
  for (; !rows.Eof(); rows.Next()) known_.Insert(Hash(rows.Int(0), rows.Str(1)));
  current = this;
}

SyncPass::~SyncPass() {
  current = nullptr;
}

SyncPass* SyncPass::Current() {
  return current;
}

void SyncPass::Step() {
  if (++done_ % kStepsBetweenShows != 0 || !show_) return;
  show_(std::min(done_, all_), all_);
}

bool SyncPass::IsNew(std::int64_t domain, std::string_view local_part) {
  return !known_.Insert(Hash(domain, local_part));
}

}  // namespace panel::mail
