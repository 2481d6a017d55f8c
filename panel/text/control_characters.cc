/// NAME
///   control_characters - finding control characters and making them visible

#include "panel/text/control_characters.h"

#include <algorithm>
#include <array>

#include "host/str.h"
#include "panel/text/utf8.h"

namespace panel {
namespace {

bool IsControlCharacter(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return byte < 0x20 || byte == 0x7f;
}

/// The characters of Unicode that show nothing by themselves or a blank that is none, or change how
/// others are shown.
bool IsHidden(char32_t code) {
  struct Range {
    char32_t first;
    char32_t last;
  };
  static constexpr std::array<Range, 25> kHidden = {{
      {0x00, 0x1f},        // control characters of ASCII
      {0x7f, 0xa0},        // the last one, those of Latin-1, and its blank
      {0xad, 0xad},        // soft hyphen
      {0x34f, 0x34f},      // grapheme joiner
      {0x61c, 0x61c},      // direction of Arabic
      {0x115f, 0x1160},    // fillers of Hangul
      {0x1680, 0x1680},    // blank of Ogham
      {0x17b4, 0x17b5},    // vowels of Khmer that have no look
      {0x180b, 0x180f},    // variants and separators of Mongolian
      {0x2000, 0x200f},    // blanks, no width, direction
      {0x2028, 0x202f},    // ends of lines, direction, a blank
      {0x205f, 0x206f},    // a blank, no width, direction
      {0x2800, 0x2800},    // Braille without a dot
      {0x3000, 0x3000},    // blank of Chinese
      {0x3164, 0x3164},    // filler of Hangul
      {0xfe00, 0xfe0f},    // variants
      {0xfeff, 0xfeff},    // byte order mark
      {0xffa0, 0xffa0},    // filler of Hangul
      {0xfff0, 0xfffb},    // annotations
      {0xfffe, 0xffff},    // no characters
      {0x13430, 0x1343f},  // joiners of hieroglyphs
      {0x1bca0, 0x1bca3},  // steps of shorthand
      {0x1d159, 0x1d159},  // note without a head
      {0x1d173, 0x1d17a},  // begins and ends in music
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
  return EscapeHidden(str::Replace(std::string(text), "\\", "\\\\"));
}

std::string EscapeHidden(std::string_view text, std::string_view kept) {
  std::string escaped;
  escaped.reserve(text.size());
  while (!text.empty()) {
    const Glyph glyph = TakeGlyph(text);
    const bool is_kept = !glyph.is_hidden || kept.find(glyph.bytes) != std::string_view::npos;
    escaped += is_kept ? std::string(glyph.bytes) : Escape(glyph.bytes);
  }
  return escaped;
}

}  // namespace panel
