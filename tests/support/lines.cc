/// NAME
///   lines - the lines of a text

#include "tests/support/lines.h"

#include <algorithm>
#include <sstream>

namespace test_support {

std::vector<std::string> SortedLines(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  std::sort(lines.begin(), lines.end());
  return lines;
}

}  // namespace test_support
