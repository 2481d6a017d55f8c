/// NAME
///   changes - which entries of a map went, came or changed
///
/// PURPOSE
///   From the lines in which two texts of a table differ, tells what to do to the map of the one so
///   that it becomes the map of the other; or that this is not certain, and why.

#pragma once

#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "zebmail/maps/arguments.h"
#include "zebmail/maps/difference.h"

namespace zebmail::maps {

/// Why a map is built anew, for an administrator to read.
class Uncertain : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

struct Changes {
  std::vector<std::string_view> put;  ///< lines of the new text
  std::vector<std::string> remove;    ///< keys
};

/// Neither text may hold anything odd outside of the differences, see FindOddity. Throws Uncertain
/// when what an entry means depends on other lines too.
Changes FindChanges(std::string_view before, std::string_view after,
                    const std::vector<Difference>& differences, Format format);

}  // namespace zebmail::maps
