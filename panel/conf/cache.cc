/// NAME
///   cache - the tables that plug-ins have described, and the files lately used

#include "panel/conf/cache.h"

#include <algorithm>
#include <utility>

#include "host/fen_err.h"

namespace panel::conf {

namespace {

Cache*& KnownCache() {
  static Cache* known = nullptr;
  return known;
}

}  // namespace

Cache::Cache(std::size_t files) : limit_(files) {
  KnownCache() = this;
}

Cache::~Cache() {
  if (KnownCache() == this) KnownCache() = nullptr;
}

Cache* Cache::Known() {
  return KnownCache();
}

void Cache::Register(const std::string& name, const std::shared_ptr<fen_token::Params>& params) {
  const std::lock_guard lock(mutex_);
  if (!tables_.try_emplace(name, name, params).second) {
    throw fen_err::Error("table", name, "is registered already");
  }
}

bool Cache::HasTable(const std::string& name) const {
  const std::lock_guard lock(mutex_);
  return tables_.contains(name);
}

Table& Cache::TableOf(const std::string& name) {
  const std::lock_guard lock(mutex_);
  const auto found = tables_.find(name);
  if (found == tables_.end()) throw fen_err::Error("table", name, "is not registered");
  return found->second;
}

std::shared_ptr<File> Cache::Open(const std::string& name, const std::string& path, bool create) {
  const std::lock_guard lock(mutex_);
  const Table& table = TableOf(name);
  const auto found = std::find_if(files_.begin(), files_.end(), [&](const auto& file) {
    return &file->table() == &table && file->path() == path;
  });
  if (found != files_.end()) {
    files_.splice(files_.begin(), files_, found);
    if (!files_.front()->IsIdle() || files_.front()->IsCurrent()) return files_.front();
    files_.pop_front();
  }
  files_.push_front(std::make_shared<File>(table, path, create));
  std::shared_ptr<File> file = files_.front();
  Trim();
  return file;
}

void Cache::Forget(const File& file) {
  const std::lock_guard lock(mutex_);
  files_.remove_if([&file](const auto& kept) { return kept.get() == &file; });
}

void Cache::MakeUp(const std::string& name, const std::string& path) {
  Open(name, path, true)->RunAfterSave(ConfCache::kMadeUp);
}

/// Lets the files go that were not used for the longest time.
void Cache::Trim() {
  std::size_t kept = 0;
  files_.remove_if([&](const auto& file) { return ++kept > limit_ && file->IsIdle(); });
}

}  // namespace panel::conf
