/// NAME
///   sql_text - looking at the text of SQL statements

#include "panel/db/sql_text.h"

#include <algorithm>
#include <cctype>

#include "host/fen_err.h"
#include "panel/text/control_characters.h"

namespace panel::db {
namespace {

bool IsDigit(char character) {
  return std::isdigit(static_cast<unsigned char>(character)) != 0;
}

bool IsNameCharacter(char character) {
  return std::isalnum(static_cast<unsigned char>(character)) != 0 || character == '_' ||
         character == ':';
}

/// Behind the text that begins at `begin`; a doubled quote in it reads as a text that follows.
std::size_t EndOfText(std::string_view sql, std::size_t begin) {
  const std::size_t quote = sql.find('\'', begin + 1);
  return quote == std::string_view::npos ? sql.size() : quote + 1;
}

std::size_t EndOfName(std::string_view sql, std::size_t begin) {
  std::size_t end = begin;
  while (end < sql.size() && IsNameCharacter(sql[end])) ++end;
  return end;
}

}  // namespace

std::string WithoutValues(std::string_view sql) {
  std::string shown;
  for (std::size_t at = 0; at < sql.size();) {
    std::size_t end = at + 1;
    if (sql[at] == '\'') {
      end = EndOfText(sql, at);
      while (end < sql.size() && sql[end] == '\'') end = EndOfText(sql, end);
      shown += '?';
    } else if (IsNameCharacter(sql[at])) {
      end = EndOfName(sql, at);
      shown += IsDigit(sql[at]) ? "?" : sql.substr(at, end - at);
    } else {
      shown += sql[at];
    }
    at = end;
  }
  return shown;
}

std::string FirstWord(std::string_view sql) {
  std::size_t begin = 0;
  while (begin < sql.size() && !IsNameCharacter(sql[begin])) ++begin;
  std::string word(sql.substr(begin, EndOfName(sql, begin) - begin));
  std::transform(word.begin(), word.end(), word.begin(), [](unsigned char character) {
    return static_cast<char>(std::tolower(character));
  });
  return word;
}

void RequireNoNul(const std::string& value, const std::string& what) {
  if (value.find('\0') == std::string::npos) return;
  throw fen_err::Error("value", what, EscapeControlCharacters(value));
}

std::string Quote(const std::string& value, const std::string& what) {
  RequireNoNul(value, what);
  std::string quoted = "'";
  for (const char character : value) {
    if (character == '\'') quoted += '\'';
    quoted += character;
  }
  return quoted + "'";
}

}  // namespace panel::db
