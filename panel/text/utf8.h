/// NAME
///   utf8 - characters of Unicode in a text
///
/// PURPOSE
///   UTF-8 writes each character in one way. Bytes that would decode to one in another way, to half
///   of a pair or to none at all are no character; neither Postfix nor a terminal takes them.

#pragma once

#include <cstddef>
#include <string_view>

namespace panel {

struct Utf8Character {
  std::size_t size = 0;  ///< in bytes; 0 for bytes that are no character
  char32_t code = 0;
};

/// The character that begins `text`.
Utf8Character FirstCharacter(std::string_view text);

bool IsUtf8(std::string_view text);

}  // namespace panel
