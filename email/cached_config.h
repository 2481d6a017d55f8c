/// NAME
///   cached_config - the frame that all table files share
///
/// PURPOSE
///   A table class stands for one kind of file. It is made once, on first use, and then tells the
///   panel's configuration cache three things under its own name: the tokenizer rules of the file,
///   the record classes of its lines, and what to do after a save. From then on
///
///     Cursor<R> records = T::Get<R>(path, true);
///
///   opens any file of that kind and stands on its records of the class `R`.
///
/// HOW TO WRITE A TABLE
///   Derive FenCachedConfig<T>; in the constructor call Describe with the rules (characters first,
///   the comment last), then AddRecords for each record class, in the order in which they are to be
///   tried on a line. Override AfterSave if a save is to be followed by something.
///
/// HOW TO WRITE A RECORD
///   Derive HeadDataSet, with the fields as members in the order of the line, the key first.
///   Parse reads one line; it begins by refusing a token that does not start its line, because an
///   indented line continues the one above and is no record. NewRecordTemplate is a new line.

#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <typeinfo>
#include <utility>

#include "host/conf.h"
#include "host/fen_file.h"
#include "host/fen_thread.h"
#include "host/fen_token.h"

/// The name under which a table or record class is known to the cache: its run-time type name. A
/// leading "*" only tells the compiler how to compare such names and does not belong to it.
inline std::string RuntimeName(const std::type_info& type) {
  std::string_view name = type.name();
  if (name.starts_with('*')) name.remove_prefix(1);
  return std::string(name);
}

/// A table of the cache class `C`, with its name.
template <class C>
class BaseCachedConfig : public BaseCachedConfigEvent {
 public:
  /// The one cache of this class. It is never destroyed: cursors may outlive everything static.
  static C& Instance() {
    static C* const cache = new C(kParsedFiles);
    return *cache;
  }

 protected:
  explicit BaseCachedConfig(std::string name) : name_(std::move(name)) {}

  const std::string& name() const noexcept { return name_; }

 private:
  static constexpr int kParsedFiles = 20;

  std::string name_;
};

/// The table class `T` over the cache class `C`.
template <class T, class C>
class CachedConfig : protected BaseCachedConfig<C> {
 public:
  /// Opens the file at `path` and returns a cursor over its records of the class `R`, at its end.
  /// With `create`, a missing file reads as an empty one. Throws what the cache throws.
  template <class R>
  static Cursor<R> Get(const std::string& path, bool create) {
    const fen_file::safe::Folder folder;
    const CachedConfig& table = Table();
    ConfRef file = BaseCachedConfig<C>::Instance().Config(table.name(), folder, path, create);
    const SmartPtr<HeadDataSet> records = file._Get(RuntimeName(typeid(R)));
    return Cursor<R>(static_cast<R*>(records.get()));
  }

  void AfterSave(ConfRef&, ConfCache::SaveReason&) override {}

 protected:
  CachedConfig() : BaseCachedConfig<C>(RuntimeName(typeid(T))) {}

  /// Registers the rules and the after-save action, which is the AfterSave of `T`.
  void Describe(std::shared_ptr<fen_token::Params> rules) {
    C& cache = this->Instance();
    cache.Register(this->name(), std::move(rules));
    cache._AfterSave(this->name(), this, &BaseCachedConfigEvent::_AfterSave);
  }

  /// Adds the record class `R`.
  template <class R>
  void AddRecords() {
    const std::string type = RuntimeName(typeid(R));
    this->Instance().Add(this->name(), type, type.c_str(), &ConfCache::Create<R>);
  }

 private:
  /// The one instance of the table, for all its record classes. The lock is the panel's, because
  /// making a table enters it into a cache that tables of other plug-ins use as well.
  static const CachedConfig& Table() {
    const fen_thread::SafeSection section(BaseCachedConfigEvent::GetInitLock());
    static T table;
    return table;
  }
};

/// A table that is described by tokenizer rules.
template <class T>
class FenCachedConfig : public CachedConfig<T, FenConfCache> {};
