/// NAME
///   statement - a statement that is prepared once and run many times
///
/// PURPOSE
///   Gives at most one row and takes its values from variables that live as long as it does.
///
/// HOW IT FAILS
///   As database.h says; it is prepared again by the next run then.

#pragma once

#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <soci/soci.h>

#include "panel/db/connection.h"

namespace panel::db {

class Statement {
 public:
  using Variable = std::variant<std::string*, long long*>;

  /// In `sql` a name behind a colon, ":v1", stands for each of `values`, in order; the columns of
  /// its row go to `results`.
  Statement(Connection& connection, std::string sql, std::vector<Variable> values,
            std::vector<Variable> results);

  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  /// Runs the statement to its end and returns whether it gave a row.
  bool Run();

  /// How many rows the last run changed.
  long long affected() { return statement_->get_affected_rows(); }

 private:
  void Prepare();

  Connection& connection_;
  std::string sql_;
  std::vector<Variable> values_;
  std::vector<Variable> results_;
  std::shared_ptr<soci::session> session_;  ///< on which it was prepared; it must go first
  std::optional<soci::statement> statement_;
};

}  // namespace panel::db
