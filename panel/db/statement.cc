/// NAME
///   statement - a statement that is prepared once and run many times

#include "panel/db/statement.h"

#include <utility>

namespace panel::db {

Statement::Statement(Connection& connection, std::string sql, std::vector<Variable> values,
                     std::vector<Variable> results)
    : connection_(connection),
      sql_(std::move(sql)),
      values_(std::move(values)),
      results_(std::move(results)) {}

/// A row is always followed to the end of the statement: as long as SQLite waits to be asked for
/// the next one, it keeps its view of the database and does not commit.
bool Statement::Run() {
  return connection_.Guard(sql_, [this] {
    if (!statement_ || session_ != connection_.session()) Prepare();
    try {
      const bool has_row = statement_->execute(true);
      if (has_row) statement_->fetch();
      return has_row;
    } catch (const soci::soci_error&) {
      statement_.reset();
      throw;
    }
  });
}

void Statement::Prepare() {
  statement_.reset();
  session_ = connection_.session();
  soci::statement statement(*session_);
  statement.alloc();
  statement.prepare(sql_);
  for (const Variable& result : results_) {
    std::visit([&](auto* variable) { statement.exchange(soci::into(*variable)); }, result);
  }
  for (const Variable& value : values_) {
    std::visit([&](auto* variable) { statement.exchange(soci::use(*variable)); }, value);
  }
  statement.define_and_bind();
  statement_ = statement;
}

}  // namespace panel::db
