/// NAME
///   message_header - the header of a message, field by field
///
/// PURPOSE
///   Reads what is needed to decide about a message and no more: a message may be large and is
///   written by strangers. What is no field, such as the "From SENDER DATE" line that Postfix puts
///   first, is passed over. Time and memory are in proportion to the length of the header.
///
/// HOW IT FAILS
///   With std::system_error when the message cannot be read.

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace zebmail::answer {

struct HeaderField {
  std::string name;   ///< in lower case
  std::string value;  ///< unfolded, without the blanks at its ends
};

class MessageHeader {
 public:
  /// Reads the fields of `text` up to its first empty line.
  explicit MessageHeader(std::string_view text);

  const std::vector<HeaderField>& fields() const noexcept { return fields_; }

  /// The values of the fields with this name, which is given in lower case, from top to bottom.
  std::vector<std::string_view> Values(std::string_view name) const;

 private:
  std::vector<HeaderField> fields_;
};

/// Reads a whole message, so that who writes it is never cut off, and returns the text of its
/// header with the empty line behind it, if there is one; nothing when that is longer than `limit`.
std::optional<std::string> ReadHeaderText(int file, std::size_t limit);

}  // namespace zebmail::answer
