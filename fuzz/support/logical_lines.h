/// NAME
///   logical_lines - the lines of a table as Postfix joins them
///
/// PURPOSE
///   Says, by code of its own, what a mail server reads of a table: a line that begins with a blank
///   continues the one before, lines that are blank or begin with "#" count for nothing. A change
///   of one record must be a change of one of these lines.

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace fuzz {

/// The logical lines of `text`, without line feeds.
std::vector<std::string> LogicalLines(std::string_view text);

/// Whether `line`, with or without its line feed, goes on with the record above: it begins with a
/// blank and is neither blank nor a comment.
bool IsContinuation(std::string_view line);

/// Whether lines that continue a record may still come behind `line`.
bool MayBeWithin(std::string_view line);

/// How many lines at the same place are in one of two texts but not in the other, when the lines
/// that both begin and end with are left out.
struct Difference {
  std::size_t taken_out = 0;
  std::size_t put_in = 0;

  bool operator==(const Difference&) const = default;
};

Difference Compare(const std::vector<std::string>& before, const std::vector<std::string>& after);

}  // namespace fuzz
