/// NAME
///   recording_tool - a stand-in for a tool, which keeps a record of its runs

#include "tests/support/recording_tool.h"

#include <sstream>

namespace test_support {
namespace {

std::string Script(const std::filesystem::path& runs, const std::filesystem::path& output,
                   const std::filesystem::path& status) {
  return "#!/bin/sh\n"
         "printf '%s\\n' \"$*\" >> '" +
         runs.string() +
         "'\n"
         "cat '" +
         output.string() +
         "'\n"
         "read -r status < '" +
         status.string() +
         "'\n"
         "exit \"$status\"\n";
}

}  // namespace

RecordingTool::RecordingTool(const TempFolder& folder, const std::string& name,
                             const std::string& output, int status)
    : script_(folder.Path(name)),
      runs_(folder.Path(name + ".runs")),
      output_(folder.Path(name + ".output")),
      status_(folder.Path(name + ".status")) {
  WriteText(runs_, "");
  SetOutput(output);
  SetStatus(status);
  WriteText(script_, Script(runs_, output_, status_));
  SetMode(script_, 0755);
}

std::vector<std::string> RecordingTool::Runs() const {
  std::istringstream text(ReadText(runs_));
  std::vector<std::string> runs;
  for (std::string line; std::getline(text, line);) runs.push_back(line);
  return runs;
}

void RecordingTool::SetOutput(const std::string& output) const {
  WriteText(output_, output);
}

void RecordingTool::SetStatus(int status) const {
  WriteText(status_, std::to_string(status) + "\n");
}

}  // namespace test_support
