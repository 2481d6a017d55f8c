/// NAME
///   table_view - what a table file says, read line by line

#include "fuzz/support/table_view.h"

#include <algorithm>
#include <utility>

#include "fuzz/support/logical_lines.h"

namespace fuzz {
namespace {

std::vector<std::string> Lines(std::string_view text) {
  std::vector<std::string> lines;
  while (!text.empty()) {
    const std::size_t line_feed = text.find('\n');
    const std::size_t size = line_feed == std::string_view::npos ? text.size() : line_feed + 1;
    lines.emplace_back(text.substr(0, size));
    text.remove_prefix(size);
  }
  return lines;
}

std::optional<RecordView> Read(panel::conf::LineReader& reader, std::size_t type,
                               std::size_t fields, std::string_view line) {
  if (!reader.Read(type, line)) return std::nullopt;
  RecordView view;
  for (std::size_t field = 0; field < fields; ++field) {
    view.values.emplace_back(reader.record().Value(field, line));
    view.places.push_back(reader.record().field(field));
  }
  return view;
}

}  // namespace

const RecordView* TableView::Find(std::size_t type, std::string_view key) const {
  const auto found = std::find_if(records[type].begin(), records[type].end(),
                                  [&](const auto& record) { return record.values[0] == key; });
  return found == records[type].end() ? nullptr : &*found;
}

TableView ReadTable(const panel::conf::Table& table, std::string text) {
  TableView view;
  view.lines = Lines(text);
  view.logical = LogicalLines(text);
  view.text = std::move(text);
  panel::conf::LineReader reader(table);
  for (std::size_t type = 0; type < table.types(); ++type) {
    const std::size_t fields = table.Create(type)->fields().size();
    view.records.emplace_back();
    for (std::size_t line = 0; line < view.lines.size(); ++line) {
      std::optional<RecordView> record = Read(reader, type, fields, view.lines[line]);
      if (!record) continue;
      record->line = line;
      view.records.back().push_back(*std::move(record));
    }
  }
  return view;
}

std::optional<RecordView> ReadRecord(const panel::conf::Table& table, std::size_t type,
                                     std::string_view line) {
  panel::conf::LineReader reader(table);
  return Read(reader, type, table.Create(type)->fields().size(), line);
}

}  // namespace fuzz
