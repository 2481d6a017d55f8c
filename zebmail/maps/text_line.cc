/// NAME
///   text_line - what one line of a table is to postmap(1) or postalias(1)

#include "zebmail/maps/text_line.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>

#include "panel/text/byte_set.h"

namespace zebmail::maps {
namespace {

using panel::ByteSet;

/// All that Postfix takes for a blank.
constexpr ByteSet kBlanks(" \t\n\v\f\r");
constexpr ByteSet kSeparators(" \t");
constexpr ByteSet kSeparatorsOfAlias(" \t:");

/// Other characters mean something of their own in the name of an alias, or need quotes.
constexpr ByteSet kNameCharacters(
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_+-=.");

/// Some types of maps take no longer keys.
constexpr std::size_t kLongestKey = 255;

bool IsControl(char byte) {
  return static_cast<unsigned char>(byte) < ' ' || byte == '\x7f';
}

/// Without blanks at the end, and so without a newline.
std::string_view Trimmed(std::string_view line) {
  while (!line.empty() && kBlanks.Has(line.back())) line.remove_suffix(1);
  return line;
}

bool HasOddControl(std::string_view trimmed) {
  return std::any_of(trimmed.begin(), trimmed.end(),
                     [](char byte) { return IsControl(byte) && byte != '\t'; });
}

/// One that ends with a colon is an alias's, of which postmap warns.
bool IsPlainKey(std::string_view key) {
  return !key.ends_with(':') && std::none_of(key.begin(), key.end(), [](char byte) {
    return byte < '!' || byte > '~' || byte == '"' || byte == '\\';
  });
}

/// postalias keeps entries of its own whose names begin with "YP_".
bool IsPlainName(std::string_view name) {
  return kNameCharacters.CountIn(name) == name.size() && !name.starts_with('.') &&
         !name.ends_with('.') && name.find("..") == std::string_view::npos &&
         !Folded(name.substr(0, 3)).starts_with("yp_");
}

bool IsEntry(std::string_view trimmed, std::string_view key, Format format) {
  if (key.empty() || key.size() > kLongestKey) return false;
  std::string_view rest = trimmed.substr(key.size());
  rest.remove_prefix(kSeparators.CountIn(rest));
  if (format == Format::kPostmap) return IsPlainKey(key) && !rest.empty();
  if (!IsPlainName(key) || !rest.starts_with(':')) return false;
  return kSeparators.CountIn(rest.substr(1)) < rest.size() - 1;
}

}  // namespace

TextLine ReadLine(std::string_view line, Format format) {
  const std::string_view trimmed = Trimmed(line);
  const std::size_t indent = kBlanks.CountIn(trimmed);
  if (indent == trimmed.size() || trimmed[indent] == '#') return {LineKind::kNothing, ""};
  if (HasOddControl(trimmed)) return {LineKind::kOdd, ""};
  if (indent > 0) return {LineKind::kContinuation, ""};
  const std::string_view key = KeyOf(trimmed, format);
  if (!IsEntry(trimmed, key, format)) return {LineKind::kOdd, ""};
  return {LineKind::kEntry, key};
}

std::string_view KeyOf(std::string_view line, Format format) {
  if (line.starts_with('#') || (!line.empty() && kBlanks.Has(line.front()))) return "";
  const ByteSet& separators = format == Format::kPostmap ? kSeparators : kSeparatorsOfAlias;
  return line.substr(0, separators.CountOutside(line));
}

std::string Folded(std::string_view key) {
  std::string folded(key);
  for (char& byte : folded) {
    if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte - 'A' + 'a');
  }
  return folded;
}

std::string_view LineAt(std::string_view text, std::size_t begin) {
  const std::string_view rest = text.substr(begin);
  const void* end = std::memchr(rest.data(), '\n', rest.size());
  if (end == nullptr) return rest;
  return rest.substr(0, static_cast<std::size_t>(static_cast<const char*>(end) - rest.data()) + 1);
}

std::string FindOddity(std::string_view text, Format format) {
  std::size_t number = 0;
  bool has_entry = false;
  for (std::size_t begin = 0; begin < text.size();) {
    const std::string_view line = LineAt(text, begin);
    const LineKind kind = ReadLine(line, format).kind;
    ++number;
    has_entry = has_entry || kind == LineKind::kEntry;
    if (kind == LineKind::kOdd || (kind == LineKind::kContinuation && !has_entry)) {
      return "line " + std::to_string(number) + " is no plain entry";
    }
    begin += line.size();
  }
  return "";
}

}  // namespace zebmail::maps
