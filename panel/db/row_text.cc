/// NAME
///   row_text - a row as a line that people read

#include "panel/db/row_text.h"

#include <string_view>

#include "panel/text/control_characters.h"

namespace panel::db {
namespace {

/// A synchronisation pass marks every row that it sees. The mark says nothing about the row.
constexpr std::string_view kPassMark = "tag";

/// The column by which people know a row.
constexpr std::string_view kName = "name";

/// The value in one piece: in quotes when it is empty or holds what could end it.
std::string Piece(const std::string& value) {
  const std::string shown = EscapeControlCharacters(value);
  const bool is_plain = !value.empty() && shown.find_first_of(" \"") == std::string::npos;
  return is_plain ? shown : "\"" + shown + "\"";
}

/// Whether the column says nothing: an empty text, no key, the number 0.
bool IsEmpty(const fen_db::Field& field) {
  const auto* number = dynamic_cast<const fen_db::IntField*>(&field);
  return number != nullptr ? *number == 0 : field.Str().empty();
}

void Append(std::string& text, const std::string& name, const std::string& value) {
  if (!text.empty()) text += ' ';
  text += name + "=" + value;
}

}  // namespace

std::string RowText(const std::vector<fen_db::Field*>& fields) {
  std::string text;
  for (const fen_db::Field* field : fields) {
    if (field->name() == kPassMark || IsEmpty(*field)) continue;
    Append(text, field->name(), Piece(field->Str()));
  }
  return text;
}

std::string ChangeText(const std::vector<fen_db::Field*>& fields,
                       const std::vector<std::string>& before) {
  std::string identity;
  std::string changes;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const fen_db::Field& field = *fields[i];
    const std::string value = field.Str();
    if (value != before[i]) {
      if (field.name() == kPassMark) continue;
      Append(changes, field.name(), Piece(before[i]) + " -> " + Piece(value));
    } else if (i == 0 || field.name() == kName) {
      Append(identity, field.name(), Piece(value));
    }
  }
  return changes.empty() ? "" : identity + " " + changes;
}

}  // namespace panel::db
