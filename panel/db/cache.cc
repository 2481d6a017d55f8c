/// NAME
///   cache - plain queries, and the table objects that are lent out

#include <algorithm>
#include <mutex>

#include "host/fen_db.h"
#include "panel/db/connection.h"
#include "panel/db/sql_text.h"
#include "panel/db/table_state.h"
#include "panel/db/tables.h"
#include "panel/text/control_characters.h"

namespace fen_db {
namespace {

bool Reads(const std::string& word) {
  return word == "select" || word == "values" || word == "explain" || word == "show" ||
         word == "pragma";
}

/// Whether the number of rows that a statement has changed says whether it has changed anything.
bool CountsRows(const std::string& word) {
  return word == "insert" || word == "update" || word == "delete";
}

}  // namespace

Cache::Cache(panel::db::Connection& connection) : connection_(connection) {}

Cache::~Cache() = default;

Result Cache::Query(const std::string& sql) {
  const std::lock_guard lock(connection_.mutex());
  long long affected = 0;
  auto rows = std::make_unique<panel::db::Rows>(connection_.Query(sql, &affected));
  const std::string word = panel::db::FirstWord(sql);
  if (!Reads(word)) {
    connection_.TouchAll();
    connection_.ForgetOwners();
    if (connection_.ListsChanges() && (affected > 0 || !CountsRows(word))) {
      connection_.journal()->changes.push_back(
          {"", "statement", panel::EscapeControlCharacters(sql)});
    }
  }
  return Result(std::move(rows));
}

std::string Cache::EscapeValue(const std::string& value) {
  return panel::db::Quote(value, "text");
}

CustomTable* Cache::Get(const std::string& type_name) {
  const std::lock_guard lock(connection_.mutex());
  free_.reserve(free_.size() + lent_.size() + 1);  // so that Put finds room for all
  const auto is_wanted = [&](const std::unique_ptr<CustomTable>& table) {
    const CustomTable& object = *table;
    return typeid(object).name() == type_name;
  };
  auto free = std::find_if(free_.begin(), free_.end(), is_wanted);
  if (free == free_.end()) {
    free_.push_back(panel::db::MakeTable(type_name));
    free = std::prev(free_.end());
    (*free)->state_->Attach(connection_);
  }
  lent_.push_back(std::move(*free));
  free_.erase(free);
  return lent_.back().get();
}

void Cache::Put(CustomTable* table) noexcept {
  const std::lock_guard lock(connection_.mutex());
  const auto lent = std::find_if(lent_.begin(), lent_.end(), [table](const auto& candidate) {
    return candidate.get() == table;
  });
  if (lent == lent_.end()) return;
  table->state_->Leave();
  free_.push_back(std::move(*lent));
  lent_.erase(lent);
}

}  // namespace fen_db
