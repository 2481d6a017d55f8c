/// NAME
///   recording_tool - a stand-in for a tool, which keeps a record of its runs
///
/// PURPOSE
///   Takes the place of a tool where a test counts its runs or needs it to fail: a small script
///   that appends its arguments as one line to a file, prints the text it was given and exits with
///   the status it was given. Both can be changed between runs.
///
/// HOW IT FAILS
///   As temp_folder does.

#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/temp_folder.h"

namespace test_support {

class RecordingTool {
 public:
  /// Makes the script `name` in `folder`, which must outlive it.
  RecordingTool(const TempFolder& folder, const std::string& name, const std::string& output = "",
                int status = 0);

  /// The script, as a command line names it.
  std::string path() const { return script_.string(); }

  /// The arguments of each run so far, joined by one blank, in the order of the runs.
  std::vector<std::string> Runs() const;

  /// What the next runs print.
  void SetOutput(const std::string& output) const;

  /// What the next runs exit with.
  void SetStatus(int status) const;

 private:
  std::filesystem::path script_;
  std::filesystem::path runs_;
  std::filesystem::path output_;
  std::filesystem::path status_;
};

}  // namespace test_support
