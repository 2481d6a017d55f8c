/// NAME
///   insert_buffer - inserting many rows at a time

#include "panel/db/insert_buffer.h"

#include <utility>

namespace panel::db {
namespace {

constexpr std::size_t kMostRows = 200;

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
  std::unique_ptr<Statement>& statement = statements_[values_.size()];
  if (statement == nullptr) statement = Prepare();
  statement->Run();
  ++connection_.Generation(table_);
  values_.clear();
}

std::unique_ptr<Statement> InsertBuffer::Prepare() {
  std::vector<Statement::Variable> variables;
  variables.reserve(values_.size());
  for (Value& value : values_) {
    std::visit([&variables](auto& place) { variables.emplace_back(&place); }, value);
  }
  return std::make_unique<Statement>(
      connection_,
      "INSERT INTO " + table_ + " (" + Joined(columns_) + ") VALUES " +
          Placeholders(values_.size() / columns_.size(), columns_.size()),
      std::move(variables), std::vector<Statement::Variable>{});
}

}  // namespace panel::db
