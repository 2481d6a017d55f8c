/// NAME
///   table - the table objects of host/fen_db.h

#include <charconv>
#include <memory>

#include "host/fen_db.h"
#include "host/fen_err.h"
#include "panel/db/database.h"
#include "panel/db/table_state.h"

namespace fen_db {

CustomTable::CustomTable(const char* sql_name)
    : sql_name_(sql_name), state_(std::make_unique<panel::db::TableState>(sql_name_, fields_)) {}

CustomTable::~CustomTable() = default;

void CustomTable::New() {
  state_->New();
}

void CustomTable::Post() {
  state_->Post();
}

void CustomTable::Delete() {
  state_->Delete();
}

bool CustomTable::Eof() const {
  return state_->Eof();
}

bool CustomTable::DbFind(const std::string& condition) {
  return state_->Find(condition);
}

void CustomTable::DbDelete(const std::string& condition) {
  state_->DeleteWhere(condition);
}

void CustomTable::Assert(const std::string& key) {
  std::int64_t number = 0;
  const auto [end, error] = std::from_chars(key.data(), key.data() + key.size(), number);
  const bool is_key = error == std::errc() && end == key.data() + key.size();
  if (!is_key || !state_->Find({{fields_.front()->name(), number}})) {
    throw fen_err::Error("missing", sql_name_, key);
  }
}

void CustomTable::ClearCache(bool keep_current) {
  state_->Forget(keep_current);
}

}  // namespace fen_db

namespace panel::db {

bool FindRow(fen_db::CustomTable& table, const std::vector<Match>& matches) {
  return TableState::Of(table).Find(matches);
}

}  // namespace panel::db
