/// NAME
///   sql_text - looking at the text of SQL statements

#pragma once

#include <string>
#include <string_view>

namespace panel::db {

/// `sql` with "?" in place of each text and number in it, for messages.
std::string WithoutValues(std::string_view sql);

/// The statement's first word, in lower case.
std::string FirstWord(std::string_view sql);

/// `value` as an SQL text, in single quotes. Throws fen_err::Error("value", `what`, value) for a
/// text with a NUL, which no SQL text can hold.
std::string Quote(const std::string& value, const std::string& what);

/// Throws fen_err::Error("value", `what`, value) for a text with a NUL.
void RequireNoNul(const std::string& value, const std::string& what);

}  // namespace panel::db
