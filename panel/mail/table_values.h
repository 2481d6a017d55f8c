/// NAME
///   table_values - the addresses in a value of a table, as Postfix takes them
///
/// PURPOSE
///   A value of the virtual user table or of the aliases is read like the address list of a
///   message's header: blanks or commas stand between addresses, double quotes keep text together,
///   what is in parentheses is a comment, and of "Name <address>" the address counts. A "#" has no
///   meaning.

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace panel::mail {

/// The addresses of `text`, commands and files among them, without their quotes.
std::vector<std::string> ParseValues(std::string_view text);

}  // namespace panel::mail
