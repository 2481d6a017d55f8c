/// NAME
///   table - a kind of file, as a plug-in has described it

#include "panel/conf/table.h"

#include <utility>

#include "host/fen_err.h"

namespace panel::conf {

Table::Table(std::string name, std::shared_ptr<fen_token::Params> params)
    : name_(std::move(name)), params_(std::move(params)) {}

void Table::Add(const std::string& record_type, const std::string& label,
                HeadDataSet* (*factory)()) {
  for (const RecordType& type : types_) {
    if (type.name == record_type) throw fen_err::Error("table", name_, label + " is added twice");
  }
  types_.push_back({record_type, factory, std::unique_ptr<HeadDataSet>(factory())});
}

void Table::SetAfterSave(BaseCachedConfigEvent* object, ConfCache::AfterSaveHook hook) {
  object_ = object;
  hook_ = hook;
}

std::size_t Table::TypeOf(const std::string& record_type) const {
  for (std::size_t type = 0; type < types_.size(); ++type) {
    if (types_[type].name == record_type) return type;
  }
  throw fen_err::Error("record", name_, record_type);
}

std::unique_ptr<HeadDataSet> Table::Create(std::size_t type) const {
  return std::unique_ptr<HeadDataSet>(types_[type].factory());
}

void Table::AfterSave(ConfRef& ref, ConfCache::SaveReason reason) const {
  if (object_ != nullptr) (object_->*hook_)(ref, reason);
}

LineReader::LineReader(const Table& table) : table_(table), tokenizer_(table.params()) {}

bool LineReader::Read(std::size_t type, std::string_view line) {
  using std::string_view_literals::operator""sv;
  constexpr std::string_view kNoRecord = " \t\r\n\v\f\0"sv;
  if (line.empty() || kNoRecord.find(line.front()) != std::string_view::npos) return false;
  if (table_.params().IsComment(line, 0)) return false;
  for (std::size_t earlier = 0; earlier < type; ++earlier) {
    if (Takes(earlier, line)) return false;
  }
  return Takes(type, line);
}

bool LineReader::Takes(std::size_t type, std::string_view line) {
  HeadDataSet& grammar = *table_.types_[type].grammar;
  tokenizer_.Start(line, 0);
  record_.Clear();
  return grammar.Parse(Cf(tokenizer_, record_)) && record_.IsRecord(grammar.fields().size());
}

}  // namespace panel::conf

Cf::Cf(fen_token::Tokenizer& tokenizer, panel::conf::ParsedRecord& record)
    : tokenizer_(&tokenizer), record_(&record) {}

void Cf::CacheStart(ConfDataSet* /*set*/, bool afresh) {
  if (afresh) record_->Clear();
}

void Cf::CacheField(const dd::Field& field) {
  const std::string& token = tokenizer_->token();
  CacheField(field.index(), token, token, -1, 0, 0);
}

void Cf::CacheField(unsigned long field, const std::string& value, const std::string& raw, int pos,
                    int prefix, int suffix) {
  if (prefix < 0 || suffix < 0 ||
      raw.size() != value.size() + static_cast<std::size_t>(prefix + suffix)) {
    throw fen_err::Error("grammar", std::to_string(field), raw);
  }
  const std::size_t begin =
      pos < 0 ? tokenizer_->pos() : tokenizer_->line_offset() + static_cast<std::size_t>(pos);
  record_->Store(field, {begin + static_cast<std::size_t>(prefix), value.size()});
}

void Cf::CacheDone(ConfDataSet* /*set*/, bool skip_rest) {
  if (skip_rest || tokenizer_->AtLineEnd()) record_->Close();
}
