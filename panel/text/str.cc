/// NAME
///   str - text helpers

#include "host/str.h"

#include <cerrno>
#include <system_error>
#include <utility>

#include <sys/random.h>

#include "host/fen_err.h"

namespace str {

std::string GetWord(std::string& text, char separator) {
  const std::size_t place = text.find(separator);
  std::string word = text.substr(0, place);
  text.erase(0, place == std::string::npos ? place : place + 1);
  return word;
}

std::string GetWord(const std::string& text, char separator) {
  return text.substr(0, text.find(separator));
}

std::string RGetWord(std::string& text, const std::string& separator) {
  const std::size_t place = separator.empty() ? std::string::npos : text.rfind(separator);
  if (place == std::string::npos) return std::exchange(text, "");
  std::string word = text.substr(place + separator.size());
  text.erase(place);
  return word;
}

std::string Replace(const std::string& text, const std::string& from, const std::string& to) {
  if (from.empty()) return text;
  std::string replaced;
  std::size_t begin = 0;
  for (std::size_t place = text.find(from); place != std::string::npos;
       place = text.find(from, begin)) {
    replaced.append(text, begin, place - begin).append(to);
    begin = place + from.size();
  }
  return replaced.append(text, begin);
}

std::string Random(std::size_t size) {
  std::string bytes(size, '\0');
  std::size_t filled = 0;
  while (filled < size) {
    const ssize_t count = getrandom(bytes.data() + filled, size - filled, 0);
    if (count >= 0) {
      filled += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      throw fen_err::Error("random", "", std::generic_category().message(errno));
    }
  }
  return bytes;
}

std::string Str(int value) {
  return std::to_string(value);
}

}  // namespace str
