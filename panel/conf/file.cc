/// NAME
///   file - an open table file

#include "panel/conf/file.h"

#include <exception>
#include <utility>

#include "host/fen_err.h"
#include "panel/conf/cache.h"
#include "panel/conf/operation.h"
#include "panel/conf/pending.h"
#include "panel/module/log.h"

namespace panel::conf {

namespace {

FileContents Read(const std::string& path, bool create) {
  FileContents contents = ReadWholeFile(path);
  if (!contents.stamp && !create) throw fen_err::Error("file", path, "does not exist");
  return contents;
}

}  // namespace

File::File(const Table& table, const std::string& path, bool create)
    : File(table, path, Read(path, create)) {}

File::File(const Table& table, std::string path, FileContents contents)
    : table_(table),
      path_(std::move(path)),
      read_stamp_(contents.stamp),
      stamp_(contents.stamp),
      text_(std::move(contents.bytes)),
      words_(text_) {
  indexes_.reserve(table.types());
  for (std::size_t type = 0; type < table.types(); ++type) {
    indexes_.emplace_back(table, type, text_);
  }
}

std::string File::Whole() const {
  std::string whole;
  text_.Write([&whole](std::string_view piece) { whole += piece; });
  return whole;
}

bool File::IsCurrent() {
  const std::uint64_t operation = Operation::NumberOfOneText();
  if (operation != 0 && operation == current_in_) return true;
  if (!IsAsStamped()) return false;
  current_in_ = operation;
  return true;
}

LineId File::Find(std::size_t type, std::string_view key) {
  return indexes_[type].Find(key);
}

void File::Replace(std::size_t type, LineId line, std::string text) {
  indexes_[type].Forget(line);
  text_.Replace(line, std::move(text));
  indexes_[type].Learn(line);
  changed_ = true;
}

void File::Remove(std::size_t type, LineId line) {
  indexes_[type].Forget(line);
  text_.RemoveWithContinuations(line);
  changed_ = true;
}

LineId File::InsertBelow(std::size_t type, LineId line, std::string text) {
  const LineId inserted = text_.InsertBelow(text_.LastOf(line), std::move(text));
  indexes_[type].Learn(inserted);
  changed_ = true;
  return inserted;
}

LineId File::Append(std::size_t type, std::string text) {
  const LineId appended = text_.Append(std::move(text));
  indexes_[type].Learn(appended);
  changed_ = true;
  return appended;
}

void File::Released(bool unwinding) {
  if (--cursors_ != 0 || !changed_) return;
  try {
    Leave();
  } catch (const std::exception& error) {
    if (!unwinding) throw;
    LogError("panel", error);
  }
}

void File::FinishSave() {
  RunAfterSave(ConfCache::kOperation);
  ForgetPendingWork({table_.name(), path_});
}

void File::RunAfterSave(ConfCache::SaveReason reason) {
  ConfRef ref(shared_from_this());
  table_.AfterSave(ref, reason);
}

void File::Leave() {
  Operation* operation = Operation::Current();
  if (operation != nullptr && operation->Take(shared_from_this())) return;
  Write();
  FinishSave();
}

void File::Write() {
  Prepare();
  try {
    PutInPlace();
  } catch (...) {
    Abandon();
    throw;
  }
  Settle();
  DropOld();
}

void File::RequireCurrent() const {
  if (!IsAsStamped()) throw fen_err::Error("changed", path_, "");
}

void File::Prepare() {
  const PendingWork work{table_.name(), path_};
  noted_ = IsNoted(work);
  if (!noted_) NotePendingWork(work);
  try {
    replacement_ = std::make_unique<Replacement>(
        path_, stamp_, [this](const PieceWriter& write) { text_.Write(write); });
  } catch (...) {
    Abandon();
    throw;
  }
}

void File::PutInPlace() {
  is_touched_ = true;
  stamp_ = replacement_->PutInPlace();
  changed_ = false;
  written_ = true;
  if (Operation* operation = Operation::Current()) operation->CountSaved();
}

bool File::TakeBack() {
  bool is_back = true;
  noted_ = noted_ || is_touched_;
  try {
    if (is_touched_) is_back = conf::TakeBack(replacement_->replaced());
  } catch (...) {
    Abandon();
    throw;
  }
  Abandon();
  return is_back;
}

void File::DropOld() {
  conf::DropOld(replacement_->replaced());
  replacement_.reset();
  is_touched_ = false;
}

void File::Settle() {
  SyncFolderOf(path_);
}

/// Nobody works on the text in memory again.
void File::Abandon() {
  replacement_.reset();
  is_touched_ = false;
  Cache::Known()->Forget(*this);
  if (!noted_) ForgetPendingWork({table_.name(), path_});
}

}  // namespace panel::conf
