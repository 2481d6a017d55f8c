/// NAME
///   utf8 - characters of Unicode in a text

#include "panel/text/utf8.h"

#include <array>

namespace panel {
namespace {

constexpr std::size_t kLongest = 4;

/// How many bytes the character has that begins with `first`; 0 when none does.
std::size_t SizeBehind(unsigned char first) {
  if (first < 0x80) return 1;
  if (first < 0xc0) return 0;
  if (first < 0xe0) return 2;
  if (first < 0xf0) return 3;
  return first < 0xf8 ? 4 : 0;
}

/// Whether `code` is a character, and one that takes so many bytes.
bool IsCharacter(char32_t code, std::size_t size) {
  static constexpr std::array<char32_t, kLongest + 1> kFirst = {0, 0, 0x80, 0x800, 0x10000};
  const bool is_half_of_pair = code >= 0xd800 && code <= 0xdfff;
  return code >= kFirst[size] && code <= 0x10ffff && !is_half_of_pair;
}

}  // namespace

Utf8Character FirstCharacter(std::string_view text) {
  if (text.empty()) return {};
  const auto first = static_cast<unsigned char>(text.front());
  const std::size_t size = SizeBehind(first);
  if (size == 0 || size > text.size()) return {};
  char32_t code = size == 1 ? first : first & (0x7fU >> size);
  for (const char byte : text.substr(1, size - 1)) {
    const auto value = static_cast<unsigned char>(byte);
    if ((value & 0xc0U) != 0x80) return {};
    code = code << 6U | (value & 0x3fU);
  }
  if (!IsCharacter(code, size)) return {};
  return {size, code};
}

bool IsUtf8(std::string_view text) {
  while (!text.empty()) {
    const std::size_t size = FirstCharacter(text).size;
    if (size == 0) return false;
    text.remove_prefix(size);
  }
  return true;
}

}  // namespace panel
