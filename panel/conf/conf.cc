/// NAME
///   conf - what host/conf.h declares, on top of the cache, its files and record sets

#include "host/conf.h"

#include <utility>

#include "host/fen_err.h"
#include "panel/conf/cache.h"
#include "panel/conf/file.h"
#include "panel/conf/record_set.h"

using panel::conf::Cache;
using panel::conf::File;
using panel::conf::LineId;
using panel::conf::RecordSet;
using panel::conf::Table;

ConfRef::ConfRef(std::shared_ptr<File> file) : file_(std::move(file)) {}

ConfRef::~ConfRef() = default;

ConfRef::ConfRef(const ConfRef&) = default;

SmartPtr<HeadDataSet> ConfRef::_Get(const std::string& record_type) {
  const Table& table = file_->table();
  const std::size_t type = table.TypeOf(record_type);
  std::unique_ptr<HeadDataSet> set = table.Create(type);
  set->Base().Open(std::make_unique<RecordSet>(file_, type, set->Base()));
  return SmartPtr<HeadDataSet>(set.release());
}

std::string ConfRef::FileName() const {
  return file_->path();
}

ConfCache::ConfCache(int files)
    : cache_(std::make_unique<Cache>(static_cast<std::size_t>(files))) {}

ConfCache::~ConfCache() = default;

void ConfCache::_AfterSave(const std::string& name, BaseCachedConfigEvent* object,
                           AfterSaveHook hook) {
  cache_->TableOf(name).SetAfterSave(object, hook);
}

void ConfCache::Add(const std::string& name, const std::string& record_type, const char* label,
                    HeadDataSet* (*factory)()) {
  cache_->TableOf(name).Add(record_type, label, factory);
}

ConfRef ConfCache::Config(const std::string& name, const fen_file::safe::Folder& folder,
                          const std::string& path, bool create) {
  return ConfRef(cache_->Open(name, folder.Resolve(path), create));
}

void ConfCache::RegisterRules(const std::string& name,
                              const std::shared_ptr<fen_token::Params>& params) {
  cache_->Register(name, params);
}

BaseCachedConfigEvent::~BaseCachedConfigEvent() = default;

void BaseCachedConfigEvent::AfterSave(ConfRef& /*ref*/, ConfCache::SaveReason& /*reason*/) {}

void BaseCachedConfigEvent::_AfterSave(ConfRef& ref, ConfCache::SaveReason& reason) {
  AfterSave(ref, reason);
}

fen_thread::Lock& BaseCachedConfigEvent::GetInitLock() {
  static fen_thread::Lock lock;
  return lock;
}

ConfDataSet::ConfDataSet() = default;

ConfDataSet::~ConfDataSet() = default;

void ConfDataSet::Open(std::unique_ptr<RecordSet> records) {
  records->file()->Opened();
  records_ = std::move(records);
}

void ConfDataSet::First() {
  records_->First();
}

void ConfDataSet::Next() {
  records_->Next();
}

bool ConfDataSet::Eof() const {
  return records_->Eof();
}

bool ConfDataSet::Find(const std::string& key) {
  return records_->Find(key);
}

void ConfDataSet::Assert(const std::string& key) {
  if (!Find(key)) throw fen_err::Error("missing", records_->file()->path(), key);
}

void ConfDataSet::New() {
  onBeforeNew();
  records_->New();
  onAfterNew();
}

void ConfDataSet::Create(const std::string& key) {
  if (Find(key)) return;
  New();
  fields().front()->Set(key);
}

void ConfDataSet::Post(const std::string& beside) {
  PostBelow(beside.empty() ? LineId() : records_->LineOf(beside));
}

void ConfDataSet::Post(ConfDataSet& beside) {
  if (beside.records_->file() != records_->file()) {
    throw fen_err::Error("operation", records_->file()->path(),
                         "a record cannot be placed beside one of another file");
  }
  PostBelow(beside.records_->line());
}

void ConfDataSet::Delete() {
  _Delete(true);
}

bool ConfDataSet::Delete(const std::string& key) {
  if (!Find(key)) return false;
  _Delete(true);
  return true;
}

void ConfDataSet::_Delete(bool with_hooks) {
  if (with_hooks) onBeforeDelete();
  records_->Delete();
  if (with_hooks) onAfterDelete();
}

std::string ConfDataSet::FieldValue(std::size_t field) const {
  return records_->FieldValue(field);
}

void ConfDataSet::Modify(std::size_t field, const std::string& value) {
  records_->Modify(field, value);
}

void ConfDataSet::PostBelow(LineId line) {
  onBeforePost();
  records_->Post(line);
  onAfterPost();
}

HeadDataSet::HeadDataSet() = default;

HeadDataSet::~HeadDataSet() = default;

void HeadDataSet::Drop() {
  const RecordSet& records = *Base().records_;
  const std::shared_ptr<File> file = records.file();
  const bool unwinding = records.IsUnwinding();
  delete this;
  file->Released(unwinding);
}

ConfDataSet& HeadDataSet::Base() {
  return *this;
}
