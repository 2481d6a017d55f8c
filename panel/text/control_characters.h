/// NAME
///   control_characters - finding control characters and making them visible
///
/// PURPOSE
///   A text from a tool, a file or a user must not pass for more than one line of a log, nor steer
///   the terminal of whoever reads it, nor look like another text.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace panel {

/// Whether `text` holds an ASCII control character.
bool HasControlCharacters(std::string_view text);

/// One character of a text, or one byte that is no UTF-8.
struct Glyph {
  std::string_view bytes;

  /// Whether it is better not shown as it is: a control character, of ASCII or of those that
  /// Unicode takes from Latin-1, one that is invisible, looks like a blank or turns the direction
  /// of what follows, or no UTF-8.
  bool is_hidden;
};

/// The glyph that begins `text`, which is not empty; `text` goes on behind it then.
Glyph TakeGlyph(std::string_view& text);

/// `bytes` as "\x1b" each.
std::string Hexadecimal(std::string_view bytes);

/// `text` with what is hidden shown as "\n", "\r", "\t" or "\x1b", and the backslash as "\\", so
/// that what was escaped can be told from what was there.
std::string EscapeControlCharacters(std::string_view text);

/// The same with backslashes as they are, for what is to be copied, and without the ASCII
/// characters in `kept`.
std::string EscapeHidden(std::string_view text, std::string_view kept = "");

}  // namespace panel
