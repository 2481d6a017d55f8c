/// NAME
///   idn_field - domain names in ASCII and in Unicode

#include <algorithm>
#include <memory>
#include <optional>

#include <idn2.h>

#include "host/fen_db.h"

namespace fen_db {
namespace {

constexpr int kRules = IDN2_NONTRANSITIONAL | IDN2_USE_STD3_ASCII_RULES;

using Converter = int (*)(const char*, char**, int);

std::optional<std::string> Convert(Converter converter, const std::string& text) {
  if (text.find('\0') != std::string::npos) return std::nullopt;
  char* converted = nullptr;
  const int result = converter(text.c_str(), &converted, kRules);
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

}  // namespace

std::string IdnField::Stored(const std::string& value) const {
  if (IsFinal(value)) return value;
  return Convert(idn2_to_ascii_8z, value).value_or(value);
}

/// A name in Unicode that would not lead back to the stored one could pass for another domain.
std::string IdnField::Unicode() const {
  const std::string ascii = Str();
  const std::optional<std::string> unicode = Convert(idn2_to_unicode_8z8z, ascii);
  return unicode && Stored(*unicode) == ascii ? *unicode : ascii;
}

}  // namespace fen_db
