/// NAME
///   saves - which files of a folder have been saved, and how often
///
/// PURPOSE
///   A save leaves no trace in the file that tells it from two. Its last step is to rename the new
///   text into place, and the kernel tells of each rename.
///
/// HOW IT FAILS
///   With std::system_error when the folder cannot be watched, and with std::runtime_error when
///   there was more than the kernel keeps.

#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "panel/process/file_handle.h"

namespace test_support {

class Saves {
 public:
  /// Watches the files in `folder` from now on.
  explicit Saves(const std::filesystem::path& folder);

  /// The name of the file of each save since the last call, in the order of the saves.
  std::vector<std::string> Names() const;

 private:
  panel::FileHandle events_;
};

}  // namespace test_support
