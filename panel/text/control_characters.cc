/// NAME
///   control_characters - finding control characters and making them visible

#include "panel/text/control_characters.h"

#include <algorithm>
#include <array>

#include "panel/text/utf8.h"

namespace panel {
namespace {

bool IsControlCharacter(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return byte < 0x20 || byte == 0x7f;
}

/// The characters of Unicode that show nothing by themselves, or change how others are shown.
bool IsHidden(char32_t code) {
  struct Range {
    char32_t first;
    char32_t last;
  };
  static constexpr std::array<Range, 14> kHidden = {{
      {0x00, 0x1f},        // control characters of ASCII
      {0x7f, 0x9f},        // the last one, and those of Latin-1
      {0xad, 0xad},        // soft hyphen
      {0x34f, 0x34f},      // grapheme joiner
      {0x61c, 0x61c},      // direction of Arabic
      {0x115f, 0x1160},    // fillers of Hangul
      {0x17b4, 0x17b5},    // vowels of Khmer that have no look
      {0x180b, 0x180f},    // variants and separators of Mongolian
      {0x200b, 0x200f},    // no width, direction
      {0x2028, 0x202e},    // ends of lines, direction
      {0x2060, 0x206f},    // no width, direction
      {0xfeff, 0xfeff},    // byte order mark
      {0xfff9, 0xfffb},    // annotations
      {0xe0000, 0xe0fff},  // tags and variants
  }};
  return std::any_of(kHidden.begin(), kHidden.end(),
                     [code](const Range& one) { return one.first <= code && code <= one.last; });
}

std::string Escape(std::string_view hidden) {
  switch (hidden.front()) {
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default:
      return Hexadecimal(hidden);
  }
}

}  // namespace

bool HasControlCharacters(std::string_view text) {
  return std::any_of(text.begin(), text.end(), IsControlCharacter);
}

Glyph TakeGlyph(std::string_view& text) {
  const Utf8Character first = FirstCharacter(text);
  const Glyph glyph = {text.substr(0, std::max<std::size_t>(first.size, 1)),
                       first.size == 0 || IsHidden(first.code)};
  text.remove_prefix(glyph.bytes.size());
  return glyph;
}

std::string Hexadecimal(std::string_view bytes) {
  static constexpr std::string_view kDigits = "0123456789abcdef";
  std::string text;
  for (const char byte : bytes) {
    const auto value = static_cast<unsigned char>(byte);
    text += {'\\', 'x', kDigits[value >> 4U], kDigits[value & 0xfU]};
  }
  return text;
}

std::string EscapeControlCharacters(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  while (!text.empty()) {
    const Glyph glyph = TakeGlyph(text);
    if (glyph.is_hidden) {
      escaped += Escape(glyph.bytes);
    } else {
      escaped += glyph.bytes == "\\" ? "\\\\" : glyph.bytes;
    }
  }
  return escaped;
}

}  // namespace panel
