/// NAME
///   input - a file that a user names, or standard input

#include "zebmail/input.h"

#include <cerrno>
#include <iostream>
#include <system_error>
#include <utility>

#include "host/fen_err.h"

namespace zebmail {

Input::Input(const std::string& what, std::string name) : name_(std::move(name)) {
  if (name_.empty()) throw fen_err::Error("file", what, "names no file");
  if (name_ == "-") return;
  file_.open(name_, std::ios::binary);
  if (file_.is_open()) return;
  throw fen_err::Error("file", name_, "cannot be read: " + std::generic_category().message(errno));
}

std::istream& Input::stream() {
  return name_ == "-" ? std::cin : file_;
}

/// A folder can be opened, and fails only when it is read.
void Input::RequireRead() {
  if (stream().bad()) throw fen_err::Error("file", name_, "cannot be read");
}

}  // namespace zebmail
