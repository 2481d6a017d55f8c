/// NAME
///   command - run a program and keep what it said
///
/// HOW IT FAILS
///   With std::system_error when the program cannot be started; its own failure is its status.

#pragma once

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace test_support {

struct CommandRun {
  int status;          ///< the exit status, or 128 and the number of the signal that ended it
  std::string output;  ///< all of its standard output
  std::string errors;  ///< all of its standard error
};

/// Runs the program words[0] (looked up in PATH) with the rest of the words as its arguments,
/// without a shell, and waits for it. It reads `input` as its standard input.
CommandRun RunCommand(const std::vector<std::string>& words, const std::string& input = "");

/// The same, but does `meanwhile` to the program's process before it is waited for.
CommandRun RunCommand(const std::vector<std::string>& words, const std::string& input,
                      const std::function<void(pid_t process)>& meanwhile);

/// The same, but kills the program (SIGKILL) when it has not ended `after` this time.
CommandRun KillCommand(const std::vector<std::string>& words, std::chrono::microseconds after,
                       const std::string& input = "");

}  // namespace test_support
