/// NAME
///   rows - what a query gave, read to its end
///
/// PURPOSE
///   All rows are taken over at once. So they stay what they were when the query ran, whatever is
///   done to the table while they are gone through, and on either kind of database no query is left
///   open that would hold up the end of a transaction.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace panel::db {

class Rows {
 public:
  Rows() = default;
  explicit Rows(std::size_t columns) : columns_(columns) {}

  /// Adds the next cell; rows fill from left to right.
  void Add(std::string_view cell);

  bool Eof() const noexcept { return first_ + 1 >= begins_.size(); }
  void Next() noexcept;

  /// A cell of the current row.
  std::string_view Cell(std::size_t column) const;

 private:
  std::size_t columns_ = 0;
  std::size_t first_ = 0;               // the cell with which the current row begins
  std::string text_;                    // of all cells, one behind the other
  std::vector<std::size_t> begins_{0};  // of the cells, and of the one to come
};

}  // namespace panel::db
