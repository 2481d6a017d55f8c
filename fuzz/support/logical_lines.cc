/// NAME
///   logical_lines - the lines of a table as Postfix joins them

#include "fuzz/support/logical_lines.h"

#include <algorithm>

namespace fuzz {
namespace {

bool IsBlank(char character) {
  return character == ' ' || (character >= '\t' && character <= '\r');
}

/// A NUL ends the text of a line for Postfix.
bool IsSkipped(std::string_view line) {
  const auto first = std::find_if_not(line.begin(), line.end(), IsBlank);
  return first == line.end() || *first == '#' || *first == '\0';
}

}  // namespace

std::vector<std::string> LogicalLines(std::string_view text) {
  std::vector<std::string> lines;
  bool is_open = false;
  while (!text.empty()) {
    const std::size_t size = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, size);
    text.remove_prefix(std::min(size + 1, text.size()));
    if (!MayBeWithin(line)) is_open = false;
    if (IsSkipped(line)) continue;
    if (is_open) {
      lines.back() += line;
    } else {
      lines.emplace_back(line);
      is_open = true;
    }
  }
  return lines;
}

bool IsContinuation(std::string_view line) {
  const auto first = std::find_if_not(line.begin(), line.end(), IsBlank);
  return first != line.begin() && first != line.end() && *first != '#';
}

bool MayBeWithin(std::string_view line) {
  return line.empty() || line.front() == '#' || IsBlank(line.front());
}

Difference Compare(const std::vector<std::string>& before, const std::vector<std::string>& after) {
  const auto begin = std::mismatch(before.begin(), before.end(), after.begin(), after.end());
  const auto end = std::mismatch(before.rbegin(), std::make_reverse_iterator(begin.first),
                                 after.rbegin(), std::make_reverse_iterator(begin.second));
  return {static_cast<std::size_t>(end.first.base() - begin.first),
          static_cast<std::size_t>(end.second.base() - begin.second)};
}

}  // namespace fuzz
