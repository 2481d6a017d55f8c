/// NAME
///   conf - the panel's configuration-file cache
///
/// PURPOSE
///   Reads other people's text tables, lets a plug-in change single field values of single records,
///   and writes the file back with every other byte in place. A plug-in describes a table once,
///   with tokenizer rules, record classes and an after-save action, all under the table's name;
///   from then on it opens files of that table and works on their records through cursors.
///
/// WHEN A FILE IS SAVED
///   When the last cursor on it is released, once, if anything changed; then the table's after-save
///   action runs. A failure of either leaves the release as the exception it is, unless another
///   exception is already on its way: then the file is saved all the same and a second failure is
///   only logged. An operation therefore releases each cursor before it opens the next table.
///
/// HOW IT FAILS
///   With fen_err::Error: "file" (path, why it cannot be read or written), "missing" (path, key),
///   "value" (field, text that the file could not hold as given), "changed" (path that somebody
///   else changed between reading and saving), and whatever the after-save action throws.

#pragma once

#include <cstddef>
#include <exception>
#include <memory>
#include <string>
#include <utility>

#include "host/dd.h"
#include "host/fen_file.h"
#include "host/fen_thread.h"
#include "host/fen_token.h"

class BaseCachedConfigEvent;
class Cf;
class ConfDataSet;
class HeadDataSet;

namespace panel::conf {
class File;
class Cache;
class LineId;
class ParsedRecord;
class RecordSet;
}  // namespace panel::conf

/// A shared handle on a record set. Releasing the last one gives the record set up, which may save
/// the file and hence may throw; that is why it is not a std::shared_ptr.
template <class T>
class SmartPtr {
 public:
  SmartPtr() = default;
  explicit SmartPtr(T* set) : set_(set) { Acquire(); }
  SmartPtr(const SmartPtr& other) : set_(other.set_) { Acquire(); }
  SmartPtr(SmartPtr&& other) noexcept : set_(std::exchange(other.set_, nullptr)) {}
  SmartPtr& operator=(SmartPtr other) {
    std::swap(set_, other.set_);
    return *this;
  }

  /// May throw what saving the file throws.
  ~SmartPtr() noexcept(false) {
    if (set_ != nullptr && set_->Release()) set_->Drop();
  }

  T* get() const noexcept { return set_; }
  T* operator->() const noexcept { return set_; }
  T& operator*() const noexcept { return *set_; }

 private:
  void Acquire() {
    if (set_ != nullptr) set_->Acquire();
  }

  T* set_ = nullptr;
};

/// A cursor: the handle on the records of type `R` of one open file, standing on one of them.
template <class R>
using Cursor = SmartPtr<R>;

/// An open file of a table. The file stays in the cache while a reference or a cursor is held.
class ConfRef {
 public:
  explicit ConfRef(std::shared_ptr<panel::conf::File> file);
  ~ConfRef();
  ConfRef(const ConfRef&);
  ConfRef& operator=(const ConfRef&) = delete;

  /// A new record set of the registered type `record_type` over the file, at its end.
  SmartPtr<HeadDataSet> _Get(const std::string& record_type);

  /// The file's path, as it was opened.
  std::string FileName() const;

 private:
  std::shared_ptr<panel::conf::File> file_;
};

/// The cache: the tables that plug-ins have described, and the files that are open or were lately.
class ConfCache {
 public:
  /// Why a file was saved, as bits: kOperation, an operation saved it; kQuiet, no tool is to run;
  /// kMadeUp, the after-save action is made up for after a crash or a failed tool.
  enum SaveReason : unsigned { kOperation = 0, kQuiet = 1, kMadeUp = 2 };

  using AfterSaveHook = void (BaseCachedConfigEvent::*)(ConfRef&, SaveReason&);

  /// `files` is how many files stay parsed: the most recently used ones, open ones aside.
  explicit ConfCache(int files);

  ConfCache(const ConfCache&) = delete;
  ConfCache& operator=(const ConfCache&) = delete;

  /// A new record set of the class `R`; the cache owns it from then on.
  template <class R>
  static HeadDataSet* Create() {
    return new R;
  }

  /// After every save of a file of the table `name`, `hook` is called on `object`, which must live
  /// as long as the process.
  void _AfterSave(const std::string& name, BaseCachedConfigEvent* object, AfterSaveHook hook);

  /// Adds the record type `record_type` to the table `name`. `label` names it in messages;
  /// `factory` makes its record sets. A line belongs to the first type, in the order of adding,
  /// that takes it.
  void Add(const std::string& name, const std::string& record_type, const char* label,
           HeadDataSet* (*factory)());

  /// Opens the file at `path`, relative to `folder`, as table `name`. A missing file reads as an
  /// empty one when `create` is set, and comes into being with the first record; else it is an
  /// error. A file that is already parsed and unchanged on disk is not read again.
  ConfRef Config(const std::string& name, const fen_file::safe::Folder& folder,
                 const std::string& path, bool create);

 protected:
  ~ConfCache();

  /// Stores the tokenizer rules of the table `name`.
  void RegisterRules(const std::string& name, const std::shared_ptr<fen_token::Params>& params);

 private:
  std::unique_ptr<panel::conf::Cache> cache_;
};

/// The cache for tables that are described by tokenizer rules.
class FenConfCache : public ConfCache {
 public:
  using ConfCache::ConfCache;

  /// Registers the table `name` with its rules.
  void Register(const std::string& name, const std::shared_ptr<fen_token::Params>& params) {
    RegisterRules(name, params);
  }
};

/// What a table is to the cache: somebody to be called after a save.
class BaseCachedConfigEvent {
 public:
  virtual ~BaseCachedConfigEvent();

  /// The table's after-save action; nothing unless a table says otherwise.
  virtual void AfterSave(ConfRef& ref, ConfCache::SaveReason& reason);

  /// The hook for ConfCache::_AfterSave: calls the virtual AfterSave.
  void _AfterSave(ConfRef& ref, ConfCache::SaveReason& reason);

  /// The process-wide lock under which tables are constructed.
  static fen_thread::Lock& GetInitLock();
};

/// A record set of one open file.
class ConfDataSet : public dd::Record {
 public:
  ConfDataSet();
  ~ConfDataSet() override;

  void First() override;
  void Next() override;
  bool Eof() const override;
  bool Find(const std::string& key) override;
  void Assert(const std::string& key) override;
  void New() override;
  void Create(const std::string& key) override;

  /// Stores the current record. A changed one keeps its place and all bytes outside the changed
  /// values. A new one is written with its NewRecordTemplate(), directly below the record whose key
  /// is `beside`, or at the end of the file when there is no such record or `beside` is empty; it
  /// never comes between a record and its continuation lines.
  ///
  /// Throws fen_err::Error("value", field, text), with nothing changed, when the written line would
  /// not read back as exactly these values.
  virtual void Post(const std::string& beside);

  /// Stores the current record; a new one directly below the current record of `beside`, a cursor
  /// on the same file, or at the end of the file when `beside` stands on none.
  void Post(ConfDataSet& beside);

  /// Deletes the current record, with its continuation lines.
  virtual void Delete();

  /// Deletes the record with `key`, if there is one, and returns whether there was.
  bool Delete(const std::string& key);

  /// Deletes the current record. `with_hooks` tells whether onBeforeDelete and onAfterDelete run.
  void _Delete(bool with_hooks);

  /// Reads the line at the tokenizer's place. Returns true when it was recognised and stored as one
  /// record of this class, false when it is something else.
  virtual bool Parse(Cf cf) = 0;

  /// The text of one new line, ending in a line feed: either the finished line with the current
  /// values, or a pattern in which "__" name "__" stands for the value of the field of that name.
  virtual std::string NewRecordTemplate() = 0;

 protected:
  virtual void onBeforeNew() {}
  virtual void onAfterNew() {}
  virtual void onBeforePost() {}
  virtual void onAfterPost() {}
  virtual void onBeforeDelete() {}
  virtual void onAfterDelete() {}

  std::string FieldValue(std::size_t field) const override;
  void Modify(std::size_t field, const std::string& value) override;

 private:
  friend class ConfRef;
  friend class HeadDataSet;

  void Open(std::unique_ptr<panel::conf::RecordSet> records);
  void PostBelow(panel::conf::LineId line);

  std::unique_ptr<panel::conf::RecordSet> records_;
};

/// A record set as plug-ins derive it and the cache owns it.
class HeadDataSet : public virtual ConfDataSet {
 public:
  HeadDataSet();
  ~HeadDataSet() override;

  /// Gives the record set up: destroys it and, when it was the last one on its file, saves the
  /// file.
  virtual void Drop();

  /// The record set as the cache sees it.
  virtual ConfDataSet& Base();

 private:
  template <class T>
  friend class SmartPtr;

  void Acquire() noexcept { ++holders_; }
  bool Release() noexcept { return --holders_ == 0; }

  int holders_ = 0;
};

/// The context in which a record's grammar reads one line: the tokenizer, and where the fields go.
class Cf {
 public:
  Cf(fen_token::Tokenizer& tokenizer, panel::conf::ParsedRecord& record);

  fen_token::Tokenizer* operator->() const noexcept { return tokenizer_; }

  /// Opens a record of `set`. With `afresh`, what an earlier attempt at this line stored is gone.
  void CacheStart(ConfDataSet* set, bool afresh);

  /// Stores the tokenizer's current token as the field's value.
  void CacheField(const dd::Field& field);

  /// Stores the value of the field with the index `field`. `raw` is the value's text in the file,
  /// beginning `pos` bytes behind the start of the line, or with the current token when `pos` is
  /// -1; `value` is `raw` without its first `prefix` and last `suffix` bytes.
  void CacheField(unsigned long field, const std::string& value, const std::string& raw, int pos,
                  int prefix, int suffix);

  /// Closes the record. With `skip_rest`, whatever follows the last field on the line is not part
  /// of the grammar; without, the grammar has read the line to its end.
  void CacheDone(ConfDataSet* set, bool skip_rest);

 private:
  fen_token::Tokenizer* tokenizer_;
  panel::conf::ParsedRecord* record_;
};
