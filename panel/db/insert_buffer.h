/// NAME
///   insert_buffer - inserting many rows at a time
///
/// PURPOSE
///   A statement that inserts hundreds of rows costs a database far less than hundreds of
///   statements do. The rows wait here until there are enough of them, or until anybody looks. Then
///   fewer are inserted by statements for a few rows and for one: to prepare one for each number of
///   rows that ever waits would cost more than they do.

#pragma once

#include <map>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "panel/db/connection.h"
#include "panel/db/statement.h"

namespace panel::db {

class InsertBuffer {
 public:
  using Value = std::variant<long long, std::string>;

  /// For rows of the table that have these columns.
  InsertBuffer(Connection& connection, std::string table, std::vector<std::string> columns);

  InsertBuffer(const InsertBuffer&) = delete;
  InsertBuffer& operator=(const InsertBuffer&) = delete;

  /// Takes a row: a value for each column, of the same type in every row.
  void Add(std::vector<Value> row);

  /// Inserts the rows that wait.
  void Flush();

 private:
  void InsertFirst(std::size_t rows);

  /// Inserts the first rows that wait, from the places where they wait.
  std::unique_ptr<Statement> Prepare(std::size_t rows);

  Connection& connection_;
  std::string table_;
  std::vector<std::string> columns_;
  std::vector<Value> values_;  ///< of the rows that wait, one behind the other
  std::map<std::size_t, std::unique_ptr<Statement>> statements_;  ///< by the number of rows
};

}  // namespace panel::db
