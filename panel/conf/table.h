/// NAME
///   table - a kind of file, as a plug-in has described it
///
/// PURPOSE
///   The tokenizer rules, the record types and the after-save action that are registered under one
///   name, and the reading of single lines by them. A line is read by itself, never in the light of
///   the lines around it; that is what allows to read only the lines that matter.

#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/conf.h"
#include "panel/conf/parsed_record.h"

namespace panel::conf {

class Table {
 public:
  Table(std::string name, std::shared_ptr<fen_token::Params> params);

  const std::string& name() const { return name_; }
  const fen_token::Params& params() const { return *params_; }

  void Add(const std::string& record_type, const std::string& label, HeadDataSet* (*factory)());
  void SetAfterSave(BaseCachedConfigEvent* object, ConfCache::AfterSaveHook hook);

  /// The number of the record type. Throws fen_err::Error("record", table, record_type).
  std::size_t TypeOf(const std::string& record_type) const;
  std::size_t types() const { return types_.size(); }

  /// A new, free record set of the type.
  std::unique_ptr<HeadDataSet> Create(std::size_t type) const;

  void AfterSave(ConfRef& ref, ConfCache::SaveReason reason) const;

 private:
  friend class LineReader;

  struct RecordType {
    std::string name;
    HeadDataSet* (*factory)();
    std::unique_ptr<HeadDataSet> grammar;
  };

  std::string name_;
  std::shared_ptr<fen_token::Params> params_;
  std::vector<RecordType> types_;
  BaseCachedConfigEvent* object_ = nullptr;
  ConfCache::AfterSaveHook hook_ = nullptr;
};

/// Reads lines of a table, one after the other.
class LineReader {
 public:
  explicit LineReader(const Table& table);

  /// Whether `line` is a record of the type `type`; its fields are in record() then. A line belongs
  /// to the first type that takes it. Blank lines, comments and lines that begin with a blank are
  /// no records of any type; nor is a line that begins with a NUL, where Postfix sees a blank one.
  bool Read(std::size_t type, std::string_view line);

  const ParsedRecord& record() const { return record_; }

 private:
  bool Takes(std::size_t type, std::string_view line);

  const Table& table_;
  fen_token::Tokenizer tokenizer_;
  ParsedRecord record_;
};

}  // namespace panel::conf
