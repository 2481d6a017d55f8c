/// NAME
///   idn_field - domain names in ASCII and in Unicode

#include <algorithm>
#include <memory>
#include <optional>
#include <string_view>

#include <idn2.h>

#include "host/fen_db.h"

namespace fen_db {
namespace {

using Converter = int (*)(const char*, char**, int);

std::optional<std::string> Convert(Converter converter, const std::string& text) {
  if (text.find('\0') != std::string::npos) return std::nullopt;
  char* converted = nullptr;
  const int result = converter(text.c_str(), &converted, IDN2_NONTRANSITIONAL);
  const std::unique_ptr<char, void (*)(void*)> owner(converted, idn2_free);
  if (result != IDN2_OK) return std::nullopt;
  return converted;
}

/// ASCII without capitals: it is its own ASCII form, if it has one.
bool IsFinal(const std::string& text) {
  return std::none_of(text.begin(), text.end(), [](char character) {
    return static_cast<unsigned char>(character) >= 0x80 || (character >= 'A' && character <= 'Z');
  });
}

/// Whether the text is made of the characters of host names, and of the underscore. There are signs
/// whose mapping holds others: U+2100 would turn into "a/c".
bool IsHostName(const std::string& text) {
  static constexpr std::string_view kTaken = "abcdefghijklmnopqrstuvwxyz0123456789-._";
  return text.find_first_not_of(kTaken) == std::string::npos;
}

}  // namespace

std::string IdnField::Stored(const std::string& value) const {
  if (IsFinal(value)) return value;
  const std::optional<std::string> ascii = Convert(idn2_to_ascii_8z, value);
  return ascii && IsHostName(*ascii) ? *ascii : value;
}

/// A name in Unicode that would not lead back to the stored one could pass for another domain.
std::string IdnField::Unicode() const {
  const std::string ascii = Str();
  const std::optional<std::string> unicode = Convert(idn2_to_unicode_8z8z, ascii);
  return unicode && Stored(*unicode) == ascii ? *unicode : ascii;
}

}  // namespace fen_db
