/// NAME
///   words - command lines

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace panel {

/// The words of `text`, which are separated by one or more blanks.
std::vector<std::string> SplitWords(std::string_view text);

/// The words with one blank between them.
std::string JoinWords(const std::vector<std::string>& words);

}  // namespace panel
