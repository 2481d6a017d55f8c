/// NAME
///   input - a file that a user names, or standard input

#pragma once

#include <fstream>
#include <istream>
#include <string>

namespace zebmail {

class Input {
 public:
  /// The file `name`, or standard input for "-". Throws fen_err::Error("file", `what`, ...) for an
  /// empty name and ("file", name, ...) when it cannot be opened.
  Input(const std::string& what, std::string name);

  std::istream& stream();

  /// Throws fen_err::Error("file", name, ...) unless what was read came out well.
  void RequireRead();

 private:
  std::string name_;
  std::ifstream file_;
};

}  // namespace zebmail
