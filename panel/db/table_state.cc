/// NAME
///   table_state - where a table object stands, and its statements

#include "panel/db/table_state.h"

#include <algorithm>
#include <charconv>
#include <mutex>
#include <string_view>
#include <system_error>
#include <utility>

#include "host/fen_err.h"
#include "panel/db/deleted_rows.h"
#include "panel/db/gathering.h"
#include "panel/db/row_text.h"
#include "panel/db/sql_text.h"
#include "panel/text/utf8.h"

namespace panel::db {
namespace {

/// As many columns as the bits that say which of them an update sets.
constexpr std::size_t kMostColumns = 64;

void Append(std::string& list, const std::string& separator, const std::string& item) {
  if (!list.empty()) list += separator;
  list += item;
}

/// The name that stands for the value of a column in a statement.
std::string Placeholder(std::size_t index) {
  return ":v" + std::to_string(index);
}

bool IsNumber(const Match& match) {
  return std::holds_alternative<std::int64_t>(match.value);
}

/// The columns of `matches` and the types of their values: what makes one finder serve for another.
std::string Shape(const std::vector<Match>& matches) {
  std::string shape;
  for (const Match& match : matches) shape += match.column + (IsNumber(match) ? '#' : '$');
  return shape;
}

/// The comparison of a column with a whole number that `condition` is, if it is no more than that:
/// by far the most are, and what is prepared once need not be read each time.
std::optional<Match> AsComparison(std::string_view condition) {
  static constexpr std::string_view kNameLetters = "abcdefghijklmnopqrstuvwxyz_";
  const std::size_t equals = condition.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  const auto trimmed = [](std::string_view text) {
    const std::size_t begin = std::min(text.find_first_not_of(' '), text.size());
    return text.substr(begin, text.find_last_not_of(' ') + 1 - begin);
  };
  const std::string_view column = trimmed(condition.substr(0, equals));
  const std::string_view number = trimmed(condition.substr(equals + 1));
  std::int64_t value = 0;
  const auto end = std::from_chars(number.data(), number.data() + number.size(), value);
  const bool is_number =
      !number.empty() && end.ec == std::errc() && end.ptr == number.data() + number.size();
  const bool is_name =
      !column.empty() && column.find_first_not_of(kNameLetters) == std::string_view::npos;
  if (!is_number || !is_name) return std::nullopt;
  return Match{std::string(column), value};
}

}  // namespace

TableState::TableState(const std::string& table, const Fields& fields)
    : table_(table), fields_(fields) {}

void TableState::Attach(Connection& connection) {
  if (fields_.empty() || fields_.size() > kMostColumns) {
    throw fen_err::Error("database", table_, "a table has a key and at most 63 other columns");
  }
  columns_.reserve(fields_.size());
  for (fen_db::Field* field : fields_) columns_.push_back({field, TypeOf(*field), 0, ""});
  generation_ = &connection.Generation(table_);
  connection_ = &connection;
}

Connection& TableState::Attached() {
  if (connection_ != nullptr) return *connection_;
  throw fen_err::Error("database", table_, "this row object was not taken from the panel database");
}

TableState::Type TableState::TypeOf(const fen_db::Field& field) {
  if (dynamic_cast<const fen_db::IntField*>(&field) != nullptr) return Type::kNumber;
  if (dynamic_cast<const fen_db::BoolField*>(&field) != nullptr) return Type::kTruth;
  return Type::kText;
}

void TableState::New() {
  for (fen_db::Field* field : fields_) field->Clear();
  stands_on_ = StandsOn::kNewRow;
}

void TableState::Leave() {
  New();
  stands_on_ = StandsOn::kNothing;
}

void TableState::Forget(bool keep_current) {
  memories_.clear();
  if (!keep_current) Leave();
}

bool TableState::Find(const std::string& condition) {
  if (const std::optional<Match> match = AsComparison(condition)) return Find({*match});
  const std::lock_guard lock(Attached().mutex());
  const Rows rows =
      connection_->Query("SELECT " + ColumnNames() + " FROM " + table_ + " WHERE (" + condition +
                         ") ORDER BY " + fields_.front()->name() + " LIMIT 1");
  Leave();
  if (rows.Eof()) return false;
  Read(rows);
  StandOnFoundRow();
  return true;
}

bool TableState::Find(const std::vector<Match>& matches) {
  for (const Match& match : matches) {
    if (!IsNumber(match)) RequireNoNul(std::get<std::string>(match.value), match.column);
  }
  const std::lock_guard lock(Attached().mutex());
  const std::string shape = Shape(matches);
  if (const Memory* const memory = MemoryOf(shape, matches)) return Recall(*memory);
  Leave();
  const bool found = CanBeThere(matches) && Query(shape, matches);
  memories_.insert_or_assign(
      shape, Memory{matches, found ? std::optional(before_) : std::nullopt, *generation_});
  return found;
}

/// Without a transaction another process may change the table at any time.
const TableState::Memory* TableState::MemoryOf(const std::string& shape,
                                               const std::vector<Match>& matches) const {
  const auto found = memories_.find(shape);
  if (found == memories_.end() || connection_->journal() == nullptr) return nullptr;
  const Memory& memory = found->second;
  return memory.generation == *generation_ && memory.matches == matches ? &memory : nullptr;
}

/// PostgreSQL keeps no text that is not UTF-8, and refuses to look for one.
bool TableState::CanBeThere(const std::vector<Match>& matches) const {
  return connection_->kind() == Kind::kSqlite ||
         std::all_of(matches.begin(), matches.end(), [](const Match& match) {
           return IsNumber(match) || IsUtf8(std::get<std::string>(match.value));
         });
}

bool TableState::Recall(const Memory& memory) {
  Leave();
  if (!memory.row) return false;
  before_ = *memory.row;
  for (std::size_t i = 0; i < fields_.size(); ++i) fields_[i]->Read(before_[i]);
  stands_on_ = StandsOn::kFoundRow;
  return true;
}

bool TableState::Query(const std::string& shape, const std::vector<Match>& matches) {
  InsertGathered();
  Finder& finder = FinderFor(shape, matches);
  for (std::size_t i = 0; i < matches.size(); ++i) {
    if (IsNumber(matches[i])) {
      finder.numbers[i] = std::get<std::int64_t>(matches[i].value);
    } else {
      finder.texts[i] = std::get<std::string>(matches[i].value);
    }
  }
  Leave();
  if (!finder.statement->Run()) return false;
  TakeRow();
  StandOnFoundRow();
  return true;
}

TableState::Finder& TableState::FinderFor(const std::string& shape,
                                          const std::vector<Match>& matches) {
  Finder& finder = finders_[shape];
  if (finder.statement == nullptr) {
    finder.numbers.resize(matches.size());
    finder.texts.resize(matches.size());
    finder.statement = PrepareFinder(matches, finder);
  }
  return finder;
}

std::unique_ptr<Statement> TableState::PrepareFinder(const std::vector<Match>& matches,
                                                     Finder& finder) {
  std::string condition;
  std::vector<Statement::Variable> values;
  for (std::size_t i = 0; i < matches.size(); ++i) {
    Append(condition, " AND ", matches[i].column + " = " + Placeholder(i));
    if (IsNumber(matches[i])) {
      values.emplace_back(&finder.numbers[i]);
    } else {
      values.emplace_back(&finder.texts[i]);
    }
  }
  std::vector<Statement::Variable> results;
  for (Column& column : columns_) results.push_back(ResultOf(column));
  return std::make_unique<Statement>(*connection_,
                                     "SELECT " + ColumnNames() + " FROM " + table_ + " WHERE " +
                                         condition + " ORDER BY " + fields_.front()->name() +
                                         " LIMIT 1",
                                     std::move(values), std::move(results));
}

/// The fields take the values that a finder has put into the variables.
void TableState::TakeRow() {
  for (Column& column : columns_) {
    if (column.type == Type::kNumber) {
      static_cast<fen_db::IntField&>(*column.field) = column.number;
    } else {
      column.field->Read(column.text);
    }
  }
}

void TableState::Read(const Rows& rows) {
  for (std::size_t i = 0; i < fields_.size(); ++i) fields_[i]->Read(std::string(rows.Cell(i)));
}

void TableState::StandOnFoundRow() {
  before_.resize(fields_.size());
  for (std::size_t i = 0; i < fields_.size(); ++i) before_[i] = fields_[i]->Str();
  stands_on_ = StandsOn::kFoundRow;
}

void TableState::Post() {
  const std::lock_guard lock(Attached().mutex());
  RequireRow();
  RequireStorable();
  if (stands_on_ == StandsOn::kNewRow) {
    Insert();
  } else {
    Update();
  }
}

void TableState::RequireRow() const {
  if (Eof()) throw fen_err::Error("missing", table_, "");
}

/// SQLite keeps any bytes, as a table made by hand may hold them.
void TableState::RequireStorable(const std::string& text, const std::string& column) const {
  RequireNoNul(text, column);
  if (connection_->kind() == Kind::kSqlite || IsUtf8(text)) return;
  throw fen_err::Error("value", column,
                       text + " is not UTF-8, as each text of a PostgreSQL database must be");
}

void TableState::RequireStorable() const {
  for (const Column& column : columns_) {
    if (column.type == Type::kText) RequireStorable(column.field->Str(), column.field->name());
  }
  const fen_db::Field& key = *fields_.front();
  if (stands_on_ == StandsOn::kFoundRow && key.Str() != before_.front()) {
    throw fen_err::Error("value", key.name(), key.Str());
  }
}

/// The row's key is not known before it is inserted, so the object stands on nothing then.
void TableState::Gather(Gathering& gathering) {
  if (gathering.buffer == nullptr) {
    std::vector<std::string> names;
    for (std::size_t i = 1; i < columns_.size(); ++i) names.push_back(columns_[i].field->name());
    gathering.buffer = std::make_unique<InsertBuffer>(*connection_, table_, std::move(names));
  }
  FillVariables();
  std::vector<InsertBuffer::Value> row;
  row.reserve(columns_.size());
  for (std::size_t i = 1; i < columns_.size(); ++i) {
    if (columns_[i].type == Type::kText) {
      row.emplace_back(columns_[i].text);
    } else {
      row.emplace_back(columns_[i].number);
    }
    if (gathering.owners && columns_[i].field->name() == gathering.owner) {
      gathering.owners->insert(columns_[i].number);
    }
  }
  gathering.buffer->Add(std::move(row));
  ++*generation_;
  Leave();
}

/// What waits for this table must be there when it is looked at.
void TableState::InsertGathered() {
  if (connection_->GatheringOf(table_) != nullptr) connection_->InsertGathered();
}

void TableState::Insert() {
  Gathering* const gathering = connection_->GatheringOf(table_);
  if (gathering != nullptr && !connection_->ListsChanges()) return Gather(*gathering);
  if (insert_ == nullptr) insert_ = PrepareInsert();
  const std::string row = connection_->ListsChanges() ? RowText(fields_) : "";
  FillVariables();
  insert_->Run();
  ++*generation_;
  LearnKey();
  StandOnFoundRow();
  List("insert", row);
}

std::unique_ptr<Statement> TableState::PrepareInsert() {
  std::string names;
  std::string placeholders;
  std::vector<Statement::Variable> values;
  for (std::size_t i = 1; i < columns_.size(); ++i) {
    Append(names, ", ", columns_[i].field->name());
    Append(placeholders, ", ", Placeholder(i));
    values.push_back(ValueOf(columns_[i]));
  }
  std::string sql = "INSERT INTO " + table_ + " (" + names + ") VALUES (" + placeholders + ")";
  std::vector<Statement::Variable> results;
  if (connection_->kind() == Kind::kPostgresql) {
    sql += " RETURNING " + fields_.front()->name();
    results.push_back(ResultOf(columns_.front()));
  }
  return std::make_unique<Statement>(*connection_, std::move(sql), std::move(values),
                                     std::move(results));
}

/// PostgreSQL has returned the new row's key; SQLite is asked for it, which costs it far less.
void TableState::LearnKey() {
  long long& key = columns_.front().number;
  if (connection_->kind() == Kind::kSqlite) {
    connection_->Guard("last_insert_rowid",
                       [&] { connection_->session()->get_last_insert_id(table_, key); });
  }
  static_cast<fen_db::IntField&>(*fields_.front()) = key;
}

void TableState::Update() {
  const std::uint64_t changed = ChangedColumns();
  if (changed == 0) return;
  InsertGathered();
  if (Gathering* const gathering = connection_->GatheringOf(table_)) gathering->owners.reset();
  std::unique_ptr<Statement>& update = updates_[changed];
  if (update == nullptr) update = PrepareUpdate(changed);
  FillVariables();
  update->Run();
  if (update->affected() == 0) throw fen_err::Error("missing", table_, before_.front());
  ++*generation_;
  if (connection_->ListsChanges()) List("update", ChangeText(fields_, before_));
  StandOnFoundRow();
}

/// One bit for each column.
std::uint64_t TableState::ChangedColumns() const {
  std::uint64_t changed = 0;
  for (std::size_t i = 0; i < fields_.size(); ++i) {
    if (fields_[i]->Str() != before_[i]) changed |= std::uint64_t{1} << i;
  }
  return changed;
}

std::unique_ptr<Statement> TableState::PrepareUpdate(std::uint64_t changed) {
  std::string assignments;
  std::vector<Statement::Variable> values;
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if ((changed >> i & 1U) == 0) continue;
    Append(assignments, ", ", columns_[i].field->name() + " = " + Placeholder(i));
    values.push_back(ValueOf(columns_[i]));
  }
  values.push_back(ValueOf(columns_.front()));
  return std::make_unique<Statement>(*connection_,
                                     "UPDATE " + table_ + " SET " + assignments + " WHERE " +
                                         fields_.front()->name() + " = " + Placeholder(0),
                                     std::move(values), std::vector<Statement::Variable>{});
}

void TableState::Delete() {
  RequireRow();
  if (stands_on_ == StandsOn::kFoundRow) {
    DeleteWhere(fields_.front()->name() + " = " + before_.front());
  }
  Leave();
}

void TableState::DeleteWhere(const std::string& condition) {
  const std::lock_guard lock(Attached().mutex());
  if (connection_->ListsChanges()) ListDeletedRows(*connection_, table_, condition);
  if (const std::optional<Match> match = AsComparison(condition)) {
    if (!DeleteByNumber(*match)) return;
  } else {
    connection_->Query("DELETE FROM " + table_ + " WHERE (" + condition + ")");
  }
  connection_->TouchAll();
}

/// Whether rows were deleted.
bool TableState::DeleteByNumber(const Match& match) {
  const Gathering* const gathering = connection_->GatheringOf(table_);
  if (gathering != nullptr && gathering->HasNo(match)) return false;
  InsertGathered();
  Finder& deleter = deleters_[match.column];
  if (deleter.statement == nullptr) {
    deleter.numbers.resize(1);
    deleter.statement = std::make_unique<Statement>(
        *connection_, "DELETE FROM " + table_ + " WHERE " + match.column + " = " + Placeholder(0),
        std::vector<Statement::Variable>{deleter.numbers.data()},
        std::vector<Statement::Variable>{});
  }
  deleter.numbers[0] = std::get<std::int64_t>(match.value);
  deleter.statement->Run();
  return deleter.statement->affected() != 0;
}

void TableState::List(const std::string& what, const std::string& row) {
  if (connection_->ListsChanges() && !row.empty()) {
    connection_->journal()->changes.push_back({table_, what, row});
  }
}

std::string TableState::ColumnNames() const {
  std::string names;
  for (const fen_db::Field* field : fields_) Append(names, ", ", field->name());
  return names;
}

void TableState::FillVariables() {
  for (Column& column : columns_) {
    switch (column.type) {
      case Type::kNumber:
        column.number = static_cast<const fen_db::IntField&>(*column.field);
        break;
      case Type::kTruth:
        column.number = static_cast<const fen_db::BoolField&>(*column.field) ? 1 : 0;
        break;
      case Type::kText:
        column.text = column.field->Str();
        break;
    }
  }
}

/// A truth value goes to either database as 1 or 0, but comes back in words of the database's own.
Statement::Variable TableState::ValueOf(Column& column) {
  if (column.type == Type::kText) return &column.text;
  return &column.number;
}

Statement::Variable TableState::ResultOf(Column& column) {
  if (column.type == Type::kNumber) return &column.number;
  return &column.text;
}

}  // namespace panel::db
