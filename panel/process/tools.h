/// NAME
///   tools - running other programs, and only noting what would run
///
/// PURPOSE
///   RunTool runs one program without a shell, waits for it and keeps what it prints; plug-ins
///   reach it through host/fen_proc.h. A rehearsal shows which commands an operation would run.
///
/// WHAT A TOOL SEES
///   The words as they are, the folder "/", standard input holding `input` and nothing more,
///   standard output and standard error joined, no other file of the panel's but its lock, default
///   signals but for SIGPIPE, which is ignored, a process group of its own, and the environment
///   PATH, LANG=C and, where it is set, MAIL_CONFIG. Nothing else of the caller's surroundings can
///   change what a tool that runs as root does.
///
/// WHEN THE PANEL IS KILLED
///   The tool works on to its end, or to the end of its time, and the next operation waits for it.
///
/// HOW IT FAILS
///   What the tool does is its result, see ToolRun. fen_err::Error("process", program, why) says
///   that the system could not create a process or wait for it.

#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace panel {

struct ToolRun {
  /// The exit status; 128 and the signal's number when a signal ended the tool; 127 when it could
  /// not be started.
  int result;

  /// The last 64 KiB of what it printed. When a signal or the timeout ended it or it could not be
  /// started, the last line says so.
  std::string output;
};

/// Runs `words`, the program's absolute path and its arguments, and waits for it to end; what it
/// leaves running in the background is not waited for. A tool that runs longer than the configured
/// `tool_timeout` is killed with its process group.
/// `read` is given all that the tool prints, piece by piece.
ToolRun RunTool(const std::vector<std::string>& words, const std::string& input,
                const std::function<void(std::string_view)>& read = {});

/// While one lives, fen_proc::Execute in the same thread starts nothing: it notes the command line
/// and gives the result 0. RunTool still runs.
class ToolRehearsal {
 public:
  ToolRehearsal();
  ~ToolRehearsal();

  ToolRehearsal(const ToolRehearsal&) = delete;
  ToolRehearsal& operator=(const ToolRehearsal&) = delete;

  /// The command lines that would have run, in order.
  const std::vector<std::string>& commands() const noexcept { return commands_; }

  /// Notes `command` in this thread's rehearsal; returns whether there is one.
  static bool Note(const std::string& command);

 private:
  ToolRehearsal* outer_;
  std::vector<std::string> commands_;
};

}  // namespace panel
