/// NAME
///   control_characters - finding control characters and making them visible

#include "panel/text/control_characters.h"

#include <algorithm>

namespace panel {
namespace {

bool IsControlCharacter(char character) {
  const auto byte = static_cast<unsigned char>(character);
  return byte < 0x20 || byte == 0x7f;
}

std::string Escape(char character) {
  switch (character) {
    case '\\':
      return "\\\\";
    case '\n':
      return "\\n";
    case '\r':
      return "\\r";
    case '\t':
      return "\\t";
    default: {
      static constexpr std::string_view kDigits = "0123456789abcdef";
      const auto byte = static_cast<unsigned char>(character);
      return {'\\', 'x', kDigits[byte >> 4U], kDigits[byte & 0xfU]};
    }
  }
}

}  // namespace

bool HasControlCharacters(std::string_view text) {
  return std::any_of(text.begin(), text.end(), IsControlCharacter);
}

std::string EscapeControlCharacters(std::string_view text) {
  std::string escaped;
  escaped.reserve(text.size());
  for (const char character : text) {
    if (IsControlCharacter(character) || character == '\\') {
      escaped += Escape(character);
    } else {
      escaped += character;
    }
  }
  return escaped;
}

}  // namespace panel
