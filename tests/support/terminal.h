/// NAME
///   terminal - a program on a terminal of its own
///
/// HOW IT FAILS
///   With std::runtime_error when there is no terminal to be had.

#pragma once

#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

#include "panel/process/file_handle.h"

namespace test_support {

/// What a terminal is like, and what is in the environment besides. By itself it knows no colours.
struct Terminal {
  unsigned short columns = 80;
  std::map<std::string, std::string> environment = {};
};

class OnTerminal {
 public:
  /// Starts the program words[0], a path, with the rest of the words as its arguments.
  explicit OnTerminal(std::vector<std::string> words, const Terminal& terminal = {});

  OnTerminal(const OnTerminal&) = delete;
  OnTerminal& operator=(const OnTerminal&) = delete;

  /// Types `text` for the program.
  void Type(const std::string& text) const;

  /// Reads until `text` has been printed, or until the program has closed the terminal. Returns all
  /// that was printed so far; a line ends in "\r\n".
  std::string ReadUntil(const std::string& text);

  /// Reads until the program has closed the terminal.
  std::string ReadAll();

  /// Waits for its end and returns its exit status.
  int Wait() const;

 private:
  bool ReadPart();

  panel::FileHandle terminal_;
  pid_t child_ = -1;
  std::string printed_;
};

}  // namespace test_support
