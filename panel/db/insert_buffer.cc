/// NAME
///   insert_buffer - inserting many rows at a time

#include "panel/db/insert_buffer.h"

#include <array>
#include <utility>

namespace panel::db {
namespace {

/// How many rows a statement inserts.
constexpr std::size_t kMostRows = 200;
constexpr std::array<std::size_t, 3> kSteps = {kMostRows, 14, 1};

/// "(:v0, :v1), (:v2, :v3)" for two rows of two columns.
std::string Placeholders(std::size_t rows, std::size_t columns) {
  std::string text;
  for (std::size_t index = 0; index < rows * columns; ++index) {
    const bool begins = index % columns == 0;
    text += begins ? (index == 0 ? "(" : "), (") : ", ";
    text += ":v" + std::to_string(index);
  }
  return text + ")";
}

std::string Joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

}  // namespace

InsertBuffer::InsertBuffer(Connection& connection, std::string table,
                           std::vector<std::string> columns)
    : connection_(connection), table_(std::move(table)), columns_(std::move(columns)) {
  values_.reserve(kMostRows * columns_.size());  // so that their places last
}

void InsertBuffer::Add(std::vector<Value> row) {
  for (Value& value : row) values_.push_back(std::move(value));
  if (values_.size() == kMostRows * columns_.size()) Flush();
}

void InsertBuffer::Flush() {
  if (values_.empty()) return;
  for (const std::size_t step : kSteps) {
    while (values_.size() >= step * columns_.size()) InsertFirst(step);
  }
  ++connection_.Generation(table_);
}

/// Those behind them move up to their places.
void InsertBuffer::InsertFirst(std::size_t rows) {
  std::unique_ptr<Statement>& statement = statements_[rows];
  if (statement == nullptr) statement = Prepare(rows);
  statement->Run();
  values_.erase(values_.begin(),
                values_.begin() + static_cast<std::ptrdiff_t>(rows * columns_.size()));
}

std::unique_ptr<Statement> InsertBuffer::Prepare(std::size_t rows) {
  std::vector<Statement::Variable> variables;
  const std::size_t count = rows * columns_.size();
  variables.reserve(count);
  for (std::size_t index = 0; index < count; ++index) {
    std::visit([&variables](auto& place) { variables.emplace_back(&place); }, values_[index]);
  }
  return std::make_unique<Statement>(connection_,
                                     "INSERT INTO " + table_ + " (" + Joined(columns_) +
                                         ") VALUES " + Placeholders(rows, columns_.size()),
                                     std::move(variables), std::vector<Statement::Variable>{});
}

}  // namespace panel::db
