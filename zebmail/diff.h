/// NAME
///   diff - what would change in a file, as people read it

#pragma once

#include <string>

namespace zebmail {

/// The unified diff from `before` to `after`, both under the name `path`; empty when they are the
/// same. It is made by diff(1), from memory: nothing is written to disk. Throws
/// fen_err::Error("diff", path, why) when that cannot be run.
std::string UnifiedDiff(const std::string& path, const std::string& before,
                        const std::string& after);

}  // namespace zebmail
