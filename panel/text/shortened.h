/// NAME
///   shortened - a text of which only so much is to be shown

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace panel {

/// `text` if it has at most `longest` bytes; else its beginning and its end with its length between
/// them, in about as many. No character is cut.
std::string Shortened(std::string_view text, std::size_t longest);

}  // namespace panel
