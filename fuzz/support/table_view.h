/// NAME
///   table_view - what a table file says, read line by line
///
/// PURPOSE
///   What a file should say after a change is worked out from what it said before. So this reads a
///   text as a whole and by itself: no cursor, no index and nothing that was changed in memory.

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "panel/conf/parsed_record.h"
#include "panel/conf/table.h"

namespace fuzz {

struct RecordView {
  std::size_t line = 0;
  std::vector<std::string> values;                      ///< the texts of its fields
  std::vector<panel::conf::ParsedRecord::Span> places;  ///< where they stand in the line
};

struct TableView {
  std::string text;
  std::vector<std::string> lines;                ///< with their line feeds
  std::vector<std::string> logical;              ///< as Postfix joins them
  std::vector<std::vector<RecordView>> records;  ///< of each type, in the order of the file

  /// The first record of the type with this key.
  const RecordView* Find(std::size_t type, std::string_view key) const;
};

TableView ReadTable(const panel::conf::Table& table, std::string text);

/// The one line of `text`, which must be a record of the type.
std::optional<RecordView> ReadRecord(const panel::conf::Table& table, std::size_t type,
                                     std::string_view line);

}  // namespace fuzz
