/// NAME
///   tool_warnings - what tools that succeed warn of
///
/// PURPOSE
///   A tool that does its work may still have something to say, of two entries with one key for
///   instance. Nobody would get to see that, since only a failure shows what a tool has printed.

#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace panel {

/// While one lives, it keeps the warnings of all tools that fen_proc::Execute runs in the same
/// thread and that succeed.
class ToolWarnings {
 public:
  ToolWarnings();
  ~ToolWarnings();

  ToolWarnings(const ToolWarnings&) = delete;
  ToolWarnings& operator=(const ToolWarnings&) = delete;

  /// One line each, in order.
  const std::vector<std::string>& lines() const noexcept { return lines_; }

  /// Keeps the lines of a tool's output that are warnings, in the one that lives in this thread.
  static void Note(std::string_view output);

 private:
  ToolWarnings* outer_;
  std::vector<std::string> lines_;
};

}  // namespace panel
