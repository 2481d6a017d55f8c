/// NAME
///   operation - what happens to table files within one panel operation

#include "panel/conf/operation.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <iterator>
#include <map>
#include <utility>

#include "host/fen_err.h"
#include "panel/conf/cache.h"
#include "panel/conf/disk_file.h"
#include "panel/conf/file.h"
#include "panel/conf/saving_journal.h"
#include "panel/module/log.h"

namespace panel::conf {

namespace {

std::atomic<Operation*> current = nullptr;
std::atomic<std::uint64_t> operations = 0;

/// Two tables in one file would each take the other's text for somebody else's.
void RequireApart(const std::vector<std::shared_ptr<File>>& files) {
  std::map<std::pair<dev_t, ino_t>, std::string> seen;
  for (const std::shared_ptr<File>& file : files) {
    const std::optional<FileStamp> stamp = StampOf(file->path());
    if (!stamp) continue;
    const auto [first, is_new] = seen.emplace(std::pair(stamp->device, stamp->inode), file->path());
    if (is_new) continue;
    throw fen_err::Error(
        "file", file->path(),
        "is the same file as " + first->second + "; give each table a file of its own");
  }
}

}  // namespace

Operation::Operation(Mode mode) : mode_(mode), number_(++operations) {
  Operation* none = nullptr;
  if (!current.compare_exchange_strong(none, this)) {
    throw fen_err::Error("operation", "panel", "another operation is not finished");
  }
  if (mode == Mode::kRehearsal) tools_.emplace();
}

Operation::~Operation() {
  for (const std::shared_ptr<File>& file : changed_) {
    if (file->changed()) Cache::Known()->Forget(*file);
  }
  current = nullptr;
}

void Operation::Save(const std::string& change) {
  saving_ = Differing();
  if (saving_.empty()) return;
  RequireApart(saving_);
  std::size_t prepared = 0;
  try {
    std::vector<Replaced> files;
    for (; prepared < saving_.size(); ++prepared) {
      saving_[prepared]->Prepare();
      files.push_back(saving_[prepared]->replaced());
    }
    WriteJournal(change, files);
    // Nothing slow comes between the first and the last, so that hardly anybody sees half of it.
    for (const std::shared_ptr<File>& file : saving_) file->RequireCurrent();
    for (const std::shared_ptr<File>& file : saving_) file->PutInPlace();
    for (const std::shared_ptr<File>& file : saving_) file->Settle();
  } catch (...) {
    saving_.resize(prepared);
    TakeBack();
    throw;
  }
}

void Operation::Keep() {
  for (const std::shared_ptr<File>& file : saving_) file->DropOld();
  if (!saving_.empty()) RemoveJournal();
  saving_.clear();
}

void Operation::TakeBack() {
  std::string edited;
  const auto attempt = [this](const auto& step) {
    try {
      step();
    } catch (const std::exception& error) {
      LogError("panel", error);
      owes_files_ = true;
    }
  };
  for (const std::shared_ptr<File>& file : saving_) {
    attempt([&file, &edited] {
      if (!file->TakeBack()) edited = file->path();
    });
  }
  if (!owes_files_) attempt(&RemoveJournal);
  saving_.clear();
  changed_.clear();
  saved_ = 0;
  if (edited.empty()) return;
  throw fen_err::Error("changed", edited,
                       "somebody has edited it while it was saved, so it keeps what the database "
                       "does not have; zebmail check tells what that is");
}

void Operation::RunActions() {
  const bool rehearses = mode_ == Mode::kRehearsal;
  ForEach(
      [rehearses](File& file) {
        if (rehearses) {
          file.RunAfterSave(ConfCache::kOperation);
        } else if (!file.changed()) {
          file.FinishSave();
        }
      },
      [] { return true; });
}

std::vector<Operation::Change> Operation::changes() const {
  std::vector<Change> changes;
  for (const std::shared_ptr<File>& file : Differing()) {
    changes.push_back({file->path(), ReadWholeFile(file->path()).bytes, file->Whole()});
  }
  return changes;
}

std::vector<Operation::Change> Operation::ForgetChanges() {
  Operation* const operation = current;
  if (operation == nullptr) throw fen_err::Error("operation", "panel", "there is none in progress");
  std::vector<Change> changes = operation->changes();
  for (const std::shared_ptr<File>& file : operation->changed_) Cache::Known()->Forget(*file);
  operation->changed_.clear();
  return changes;
}

std::vector<std::string> Operation::tools() const {
  return tools_ ? tools_->commands() : std::vector<std::string>();
}

Operation* Operation::Current() noexcept {
  return current;
}

std::uint64_t Operation::NumberOfOneText() noexcept {
  const Operation* const operation = current;
  return operation == nullptr || operation->mode_ == Mode::kEach ? 0 : operation->number_;
}

bool Operation::Take(const std::shared_ptr<File>& file) {
  if (mode_ == Mode::kEach) return false;
  if (std::find(changed_.begin(), changed_.end(), file) == changed_.end()) changed_.push_back(file);
  return true;
}

std::vector<std::shared_ptr<File>> Operation::Differing() const {
  std::vector<std::shared_ptr<File>> files;
  std::copy_if(changed_.begin(), changed_.end(), std::back_inserter(files),
               [](const std::shared_ptr<File>& file) { return file->Differs(); });
  return files;
}

void Operation::ForEach(const std::function<void(File&)>& step,
                        const std::function<bool()>& goes_on) {
  std::exception_ptr first;
  for (const std::shared_ptr<File>& file : Differing()) {
    try {
      step(*file);
    } catch (const std::exception& error) {
      if (!goes_on()) throw;
      if (first != nullptr) LogError("panel", error);
      if (first == nullptr) first = std::current_exception();
    }
  }
  if (first != nullptr) std::rethrow_exception(first);
}

}  // namespace panel::conf
