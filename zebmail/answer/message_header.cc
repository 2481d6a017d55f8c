/// NAME
///   message_header - the header of a message, field by field

#include "zebmail/answer/message_header.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <system_error>
#include <utility>

#include <unistd.h>

#include "zebmail/answer/ascii.h"

namespace zebmail::answer {
namespace {

/// The next line of `text` from `place`, without its end; `place` moves behind it.
std::string_view TakeLine(std::string_view text, std::size_t& place) {
  const std::size_t end = std::min(text.find('\n', place), text.size());
  std::string_view line = text.substr(place, end - place);
  if (line.ends_with('\r')) line.remove_suffix(1);
  place = end + 1;
  return line;
}

/// The name of the field that begins with this line, in lower case; empty if none does.
std::string NameIn(std::string_view line) {
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos) return "";
  const std::string_view name = Trim(line.substr(0, colon));
  return name.find_first_of(kBlanks) == std::string_view::npos ? ToLower(name) : "";
}

/// The length of the header in `text`, with the empty line behind it; npos if that is not there.
std::size_t HeaderLength(std::string_view text) {
  for (std::size_t place = 0; place < text.size();) {
    if (TakeLine(text, place).empty()) return std::min(place, text.size());
  }
  return std::string_view::npos;
}

/// Reads the next piece of a file into `part`; an empty one is its end.
template <std::size_t size>
std::string_view ReadPiece(int file, std::array<char, size>& part) {
  for (;;) {
    const ssize_t count = read(file, part.data(), part.size());
    if (count >= 0) return {part.data(), static_cast<std::size_t>(count)};
    if (errno != EINTR) {
      throw std::system_error(errno, std::generic_category(), "the message cannot be read");
    }
  }
}

}  // namespace

MessageHeader::MessageHeader(std::string_view text) {
  bool is_in_field = false;  // what a line that begins with a blank goes on with
  for (std::size_t place = 0; place < text.size();) {
    const std::string_view line = TakeLine(text, place);
    if (line.empty()) break;
    if (IsBlank(line.front())) {
      if (is_in_field) fields_.back().value += line;
      continue;
    }
    std::string name = NameIn(line);
    is_in_field = !name.empty();
    if (!is_in_field) continue;
    fields_.push_back({std::move(name), std::string(line.substr(line.find(':') + 1))});
  }
  for (HeaderField& field : fields_) field.value = std::string(Trim(field.value));
}

std::vector<std::string_view> MessageHeader::Values(std::string_view name) const {
  std::vector<std::string_view> values;
  for (const HeaderField& field : fields_) {
    if (field.name == name) values.push_back(field.value);
  }
  return values;
}

std::optional<std::string> ReadHeaderText(int file, std::size_t limit) {
  std::string text;
  bool is_whole = true;
  std::array<char, 16384> part{};
  for (;;) {
    const std::string_view piece = ReadPiece(file, part);
    if (piece.empty()) break;
    const std::string_view kept = piece.substr(0, limit - text.size());
    is_whole = is_whole && kept.size() == piece.size();
    text += kept;
  }
  const std::size_t length = HeaderLength(text);
  if (length == std::string::npos && !is_whole) return std::nullopt;
  text.resize(std::min(length, text.size()));
  return text;
}

}  // namespace zebmail::answer
