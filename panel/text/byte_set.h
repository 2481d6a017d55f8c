/// NAME
///   byte_set - some characters, and whether another is one of them
///
/// PURPOSE
///   For what is asked of each character of a large file: the answer is looked up, not searched
///   for.

#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace panel {

class ByteSet {
 public:
  constexpr explicit ByteSet(std::string_view characters) {
    for (const char character : characters) has_[static_cast<unsigned char>(character)] = true;
  }

  constexpr bool Has(char character) const { return has_[static_cast<unsigned char>(character)]; }

  /// How many characters at the beginning of `text` are of the set, or are not.
  constexpr std::size_t CountIn(std::string_view text) const { return Count(text, true); }
  constexpr std::size_t CountOutside(std::string_view text) const { return Count(text, false); }

 private:
  constexpr std::size_t Count(std::string_view text, bool are_of_set) const {
    std::size_t count = 0;
    while (count < text.size() && Has(text[count]) == are_of_set) ++count;
    return count;
  }

  std::array<bool, 256> has_{};
};

}  // namespace panel
