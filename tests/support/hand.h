/// NAME
///   hand - somebody who changes a table while the panel works on it
///
/// PURPOSE
///   The ways in which editors and other programs change a file: each leaves a line of its own and
///   everything else as it is.

#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace test_support {

/// How the line gets to the end of the file.
enum class Manner {
  kInPlace,      ///< the file is emptied and written anew, as simple editors do
  kAppended,     ///< no more than the line is written, as by a shell
  kRenamedOver,  ///< a new file takes its place, as with careful editors
  kThroughLink,  ///< in place, by the name of a symbolic link elsewhere
  kKeepingTime,  ///< in place, and the time of the last modification is put back, as by a mirror
};

const std::vector<Manner>& AllManners();
std::string NameOf(Manner manner);

/// Puts `line` behind the last line of the file at `path`.
void AddLine(const std::filesystem::path& path, const std::string& line, Manner manner);

}  // namespace test_support
