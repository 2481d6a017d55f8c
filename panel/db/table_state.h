/// NAME
///   table_state - where a table object stands, and its statements
///
/// PURPOSE
///   The working half of fen_db::CustomTable. Its statements are prepared once; finding a row by
///   the values that these columns were compared with last is answered from memory as long as
///   nothing has changed the table, which spares a pass over all mailboxes the queries for their
///   domain.
///
/// HOW IT FAILS
///   As host/fen_db.h says, and with fen_err::Error("value", column, text) for a text with a NUL.

#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "host/fen_db.h"
#include "panel/db/connection.h"
#include "panel/db/database.h"
#include "panel/db/rows.h"
#include "panel/db/statement.h"

namespace panel::db {

class TableState {
 public:
  using Fields = std::vector<fen_db::Field*>;

  /// `fields` grows as the table object is built.
  TableState(const std::string& table, const Fields& fields);

  static TableState& Of(fen_db::CustomTable& table) { return *table.state_; }

  /// From now on the table works on this database.
  void Attach(Connection& connection);

  void New();
  void Post();
  void Delete();
  bool Eof() const noexcept { return stands_on_ == StandsOn::kNothing; }
  bool Find(const std::string& condition);
  bool Find(const std::vector<Match>& matches);
  void DeleteWhere(const std::string& condition);
  void Forget(bool keep_current);

  /// Stands on nothing, the fields having the values of a new row.
  void Leave();

  const Fields& fields() const noexcept { return fields_; }

  /// The columns, as a query names them.
  std::string ColumnNames() const;

  /// Takes the fields from the current one of rows with these columns.
  void Read(const Rows& rows);

 private:
  enum class StandsOn { kNothing, kNewRow, kFoundRow };
  enum class Type { kNumber, kTruth, kText };

  /// A field, and the variables through which its value goes to and from the database.
  struct Column {
    fen_db::Field* field;
    Type type;
    long long number = 0;
    std::string text;
  };

  /// A query for one row, with the variables through which it is given what to look for.
  struct Finder {
    std::vector<long long> numbers;
    std::vector<std::string> texts;
    std::unique_ptr<Statement> statement;
  };

  /// What was looked for, which row was found, if any, and when.
  struct Memory {
    std::vector<Match> matches;
    std::optional<std::vector<std::string>> row;
    std::uint64_t generation;
  };

  Connection& Attached();
  static Type TypeOf(const fen_db::Field& field);
  static Statement::Variable ValueOf(Column& column);
  static Statement::Variable ResultOf(Column& column);
  void FillVariables();

  const Memory* MemoryOf(const std::string& shape, const std::vector<Match>& matches) const;
  bool Recall(const Memory& memory);
  bool Query(const std::string& shape, const std::vector<Match>& matches);
  Finder& FinderFor(const std::string& shape, const std::vector<Match>& matches);
  std::unique_ptr<Statement> PrepareFinder(const std::vector<Match>& matches, Finder& finder);
  void TakeRow();
  void StandOnFoundRow();

  bool DeleteByNumber(const Match& match);

  void RequireRow() const;
  void RequireStorable() const;
  void RequireStorable(const std::string& text, const std::string& column) const;
  bool CanBeThere(const std::vector<Match>& matches) const;
  void Insert();
  void Gather(Gathering& gathering);
  void InsertGathered();
  std::unique_ptr<Statement> PrepareInsert();
  void LearnKey();
  void Update();
  std::uint64_t ChangedColumns() const;
  std::unique_ptr<Statement> PrepareUpdate(std::uint64_t changed);
  void List(const std::string& what, const std::string& row);

  const std::string& table_;
  const Fields& fields_;
  Connection* connection_ = nullptr;
  std::uint64_t* generation_ = nullptr;

  StandsOn stands_on_ = StandsOn::kNothing;
  std::vector<std::string> before_;         // the values of the row found last, as they are stored
  std::map<std::string, Memory> memories_;  // the last of each shape

  std::vector<Column> columns_;
  std::unique_ptr<Statement> insert_;
  std::map<std::uint64_t, std::unique_ptr<Statement>> updates_;  // by the columns that they set
  std::map<std::string, Finder> finders_;                        // by shape
  std::map<std::string, Finder> deleters_;                       // by the column that they compare
};

}  // namespace panel::db
