/// NAME
///   deleted_rows - the rows that a deletion takes along

#include "panel/db/deleted_rows.h"

#include "panel/db/row_text.h"
#include "panel/db/schema.h"
#include "panel/db/table_state.h"
#include "panel/db/tables.h"

namespace panel::db {

void ListDeletedRows(Connection& connection, const std::string& table,
                     const std::string& condition) {
  const auto row = MakeTableFor(table);
  TableState& state = TableState::Of(*row);
  const std::string key = state.fields().front()->name();
  const std::string source = " FROM " + table + " WHERE (" + condition + ")";
  const std::string belongs = " IN (SELECT " + key + source + ")";
  for (const Belonging& belonging : kBelongings) {
    if (belonging.parent != table) continue;
    const std::string column(belonging.column);
    ListDeletedRows(connection, std::string(belonging.table), column + belongs);
  }
  Rows rows = connection.Query("SELECT " + state.ColumnNames() + source + " ORDER BY " + key);
  for (; !rows.Eof(); rows.Next()) {
    state.Read(rows);
    connection.journal()->changes.push_back({table, "delete", RowText(state.fields())});
  }
}

}  // namespace panel::db
