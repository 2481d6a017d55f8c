/// NAME
///   lines - the lines of a text

#pragma once

#include <string>
#include <vector>

namespace test_support {

/// The lines of `text`, without their line feeds, in the order of their bytes.
std::vector<std::string> SortedLines(const std::string& text);

}  // namespace test_support
