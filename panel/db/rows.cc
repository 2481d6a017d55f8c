/// NAME
///   rows - what a query gave, read to its end

#include "panel/db/rows.h"

#include <charconv>
#include <memory>
#include <utility>

#include "host/fen_db.h"
#include "host/fen_err.h"

namespace panel::db {

void Rows::Add(std::string_view cell) {
  text_ += cell;
  begins_.push_back(text_.size());
}

void Rows::Next() noexcept {
  if (!Eof()) first_ += columns_;
}

std::string_view Rows::Cell(std::size_t column) const {
  if (Eof()) throw fen_err::Error("database", "query", "there is no row to read");
  if (column >= columns_) {
    throw fen_err::Error("database", "query",
                         "it has no column " + std::to_string(column) + ", counted from 0");
  }
  const std::size_t begin = begins_[first_ + column];
  return std::string_view(text_).substr(begin, begins_[first_ + column + 1] - begin);
}

}  // namespace panel::db

namespace fen_db {

Result::Result(std::unique_ptr<panel::db::Rows> rows) : rows_(std::move(rows)) {}
Result::~Result() = default;
Result::Result(Result&&) noexcept = default;
Result& Result::operator=(Result&&) noexcept = default;

bool Result::Eof() const {
  return rows_->Eof();
}

void Result::Next() {
  rows_->Next();
}

std::string Result::Str(std::size_t column) const {
  return std::string(rows_->Cell(column));
}

std::int64_t Result::Int(std::size_t column) const {
  const std::string_view cell = rows_->Cell(column);
  if (cell.empty() || cell == "f") return 0;
  if (cell == "t") return 1;
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(cell.data(), cell.data() + cell.size(), value);
  if (error != std::errc() || end != cell.data() + cell.size()) {
    throw fen_err::Error("database", "query", "not a whole number: " + std::string(cell));
  }
  return value;
}

}  // namespace fen_db
