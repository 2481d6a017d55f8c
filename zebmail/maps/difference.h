/// NAME
///   difference - in which lines two texts differ

#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <vector>

namespace zebmail::maps {

/// Whole lines of a text, as offsets of bytes.
struct Lines {
  std::size_t begin;
  std::size_t end;

  bool operator==(const Lines&) const = default;
};

/// Lines of the one text in whose place the other has others. Either may be none.
struct Difference {
  Lines before;
  Lines after;

  bool operator==(const Difference&) const = default;
};

/// Where the texts differ, from the beginning to the end: outside of these places they are the
/// same, line by line. Nothing when more than `most` lines are of such places.
std::optional<std::vector<Difference>> FindDifferences(std::string_view before,
                                                       std::string_view after, std::size_t most);

/// How many bytes at the beginning are the same.
std::size_t CommonBeginning(std::string_view one, std::string_view other);

}  // namespace zebmail::maps
