/// NAME
///   shortened - a text of which only so much is to be shown

#include "panel/text/shortened.h"

namespace panel {
namespace {

/// Whether a character of UTF-8 goes on at `place`.
bool IsWithinCharacter(std::string_view text, std::size_t place) {
  return place < text.size() && (static_cast<unsigned char>(text[place]) & 0xc0U) == 0x80;
}

/// The place of the character that goes on at `place`. Bytes that are no UTF-8 have none; they are
/// cut anywhere.
std::size_t BeginOfCharacter(std::string_view text, std::size_t place) {
  constexpr std::size_t kLongestCharacter = 4;
  std::size_t begin = place;
  while (begin > 0 && place - begin < kLongestCharacter && IsWithinCharacter(text, begin)) --begin;
  return IsWithinCharacter(text, begin) ? place : begin;
}

}  // namespace

std::string Shortened(std::string_view text, std::size_t longest) {
  if (text.size() <= longest) return std::string(text);
  const std::size_t end = longest / 4;  // what an error says of a value stands behind it
  const std::string_view first = text.substr(0, BeginOfCharacter(text, longest - end));
  const std::string_view last = text.substr(BeginOfCharacter(text, text.size() - end));
  return std::string(first) + " [... " + std::to_string(text.size()) + " bytes in all ...] " +
         std::string(last);
}

}  // namespace panel
