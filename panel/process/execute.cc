/// NAME
///   execute - running a plug-in's command line

#include "host/fen_proc.h"
#include "panel/process/tool_warnings.h"
#include "panel/process/tools.h"
#include "panel/text/words.h"

namespace fen_proc {
namespace {

/// The words of `command`. A plug-in puts the program's path in front of a blank and the arguments,
/// so a command that begins with a blank has lost its path, and no other word may take its place.
std::vector<std::string> ToWords(const std::string& command) {
  std::vector<std::string> words = panel::SplitWords(command);
  if (command.starts_with(' ')) words.insert(words.begin(), "");
  return words;
}

}  // namespace

Execute::Execute(const std::string& command, int) {
  if (panel::ToolRehearsal::Note(command)) return;
  panel::ToolRun run = panel::RunTool(ToWords(command), "");
  if (run.result == 0) panel::ToolWarnings::Note(run.output);
  result_ = run.result;
  output_ = std::move(run.output);
}

}  // namespace fen_proc
