/// NAME
///   control_characters - finding control characters and making them visible
///
/// PURPOSE
///   A text from a tool, a file or a user must not pass for more than one line of a log, nor steer
///   the terminal of whoever reads it.

#pragma once

#include <string>
#include <string_view>

namespace panel {

/// Whether `text` holds an ASCII control character.
bool HasControlCharacters(std::string_view text);

/// `text` with each ASCII control character shown as "\n", "\r", "\t" or "\x1b", and the backslash
/// as "\\", so that what was escaped can be told from what was there.
std::string EscapeControlCharacters(std::string_view text);

}  // namespace panel
