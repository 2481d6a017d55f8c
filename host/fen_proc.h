/// NAME
///   fen_proc - running a tool
///
/// PURPOSE
///   Runs one external command, waits for it and keeps what it printed. No shell is involved: the
///   command line splits at blanks, so nothing in it is ever expanded or interpreted.

#pragma once

#include <string>

namespace fen_proc {

class Execute {
 public:
  /// Mode of a run that waits for the command and keeps its output, the only one there is.
  static constexpr int kWaitAndCapture = 2;

  /// Runs `command` to its end. Its words are separated by one or more blanks; the first one is the
  /// program. Standard input is empty; standard output and standard error are kept together, the
  /// last 64 KiB of them. A command that runs longer than the configured `tool_timeout` is killed
  /// with all that it started.
  ///
  /// Never throws for what the command does: see Result(). Throws fen_err::Error("process", ...)
  /// when the system cannot create a process at all.
  Execute(const std::string& command, int mode);

  /// The exit status; 128 and the signal's number for a command that a signal ended; 127 for one
  /// that could not be started, Str() then saying which path name to configure.
  int Result() const noexcept { return result_; }

  /// What the command printed.
  const std::string& Str() const noexcept { return output_; }

 private:
  int result_ = 0;
  std::string output_;
};

}  // namespace fen_proc
