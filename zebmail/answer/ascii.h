/// NAME
///   ascii - letters without regard to case, as mail compares them
///
/// PURPOSE
///   Names of fields, key words and addresses are ASCII and the same in upper and lower case,
///   whatever the locale. All other bytes stay as they are.

#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace zebmail::answer {

inline const std::string_view kBlanks = " \t\r\n";

constexpr bool IsBlank(char byte) {
  return byte == ' ' || byte == '\t' || byte == '\r' || byte == '\n';
}

constexpr char ToLower(char byte) {
  return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte;
}

inline std::string ToLower(std::string_view text) {
  std::string lower(text);
  std::transform(lower.begin(), lower.end(), lower.begin(),
                 [](char byte) { return ToLower(byte); });
  return lower;
}

inline bool IsSame(std::string_view one, std::string_view other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](char left, char right) { return ToLower(left) == ToLower(right); });
}

/// `text` without the blanks at its two ends.
inline std::string_view Trim(std::string_view text) {
  const std::size_t begin = text.find_first_not_of(kBlanks);
  if (begin == std::string_view::npos) return "";
  return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

}  // namespace zebmail::answer
