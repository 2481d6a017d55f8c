/// NAME
///   str - text helpers

#pragma once

#include <cstddef>
#include <string>
#include <type_traits>

namespace str {

/// Takes the first word off `text`: returns what stands before the first `separator` and leaves
/// what follows it. Without a separator the whole text is returned and `text` is left empty.
std::string GetWord(std::string& text, char separator);

/// The same on a text that is to stay as it is.
std::string GetWord(const std::string& text, char separator);

/// Takes the last word off `text`: returns what stands behind the last `separator` and leaves what
/// precedes it. Without a separator the whole text is returned and `text` is left empty.
std::string RGetWord(std::string& text, const std::string& separator);

/// `text` with every occurrence of `from` replaced by `to`, from left to right; what was put in is
/// not searched again. An empty `from` leaves the text as it is.
std::string Replace(const std::string& text, const std::string& from, const std::string& to);

/// `size` bytes from the system's random generator. Throws fen_err::Error("random", ...).
std::string Random(std::size_t size);

/// A random value of the integer type `T`, every bit of it random, the sign included.
template <class T>
T Random() {
  static_assert(std::is_integral_v<T>);
  const std::string bytes = Random(sizeof(T));
  T value{};
  bytes.copy(reinterpret_cast<char*>(&value), sizeof(T));
  return value;
}

/// `value` in decimal, with a minus sign when it is negative.
std::string Str(int value);

}  // namespace str
