/// NAME
///   gathering - new rows that are inserted many at a time
///
/// PURPOSE
///   What is known of a table while its new rows are gathered: those that wait, and to whom it has
///   rows that belong. A pass that replaces the rows of each of a hundred thousand owners, most of
///   whom have none, then need not delete them from the database one by one.

#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>

#include "panel/db/database.h"
#include "panel/db/insert_buffer.h"

namespace panel::db {

struct Gathering {
  using Owners = std::unordered_set<std::int64_t>;

  std::string table;
  std::string owner;                     ///< the column that says whose a row is; none when empty
  std::optional<Owners> owners;          ///< who may have rows, as long as that is known
  std::unique_ptr<InsertBuffer> buffer;  ///< none before the first row

  /// Whether the table has no such row for certain.
  bool HasNo(const Match& match) const {
    return owners && match.column == owner &&
           !owners->contains(std::get<std::int64_t>(match.value));
  }
};

}  // namespace panel::db
