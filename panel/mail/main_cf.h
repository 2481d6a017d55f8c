/// NAME
///   main_cf - the parameters of main.cf
///
/// PURPOSE
///   postconf reads them and edits the text, so that both is done as Postfix does it: values over
///   several lines, one that is set twice, defaults. It edits a copy, in a folder of its own in
///   `state_dir`. What it would make of main.cf can so be shown, and takes its place in one step,
///   with the owner and the mode that it had, a symbolic link being followed, and only if nobody
///   else has changed it meanwhile.
///
/// HOW IT FAILS
///   With fen_err::Error: "email" when postconf fails, and as panel/conf/disk_file.h says.

#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "panel/conf/disk_file.h"

namespace panel::mail {

struct Parameter {
  std::string value;     ///< as it is written; the default where it is not set
  std::string expanded;  ///< with what its references stand for
  bool is_set = false;
};

using Parameters = std::map<std::string, Parameter>;

Parameters ReadParameters(const std::vector<std::string>& names);

/// What `text` would stand for in the value of the parameter `name`.
std::string Expanded(const std::string& name, const std::string& text);

/// One parameter for one service: what master.cf puts in place of main.cf by "-o".
struct Override {
  std::string service;  ///< as "smtp inet"
  std::string name;
  std::string value;  ///< as it is written
  std::string expanded;
};

/// The overrides that the patterns name, such as "*/inet/smtpd_client_restrictions".
std::vector<Override> ReadOverrides(const std::vector<std::string>& patterns);

struct Assignment {
  std::string name;
  std::string value;
};

/// main.cf and what it is to become.
struct MainCfEdit {
  std::filesystem::path file;
  conf::FileContents before;
  std::string after;
};

conf::FileContents ReadMainCf();

/// What setting the parameters makes of main.cf, which was read as `before`. New ones come last, in
/// this order.
MainCfEdit EditMainCf(const conf::FileContents& before, const std::vector<Assignment>& assignments);

/// Removes the copy that an operation has left that was killed while it edited it. Like
/// EditMainCf, it belongs into an open Panel, as there is one copy.
void RemoveCopyOfMainCf();

/// Puts the new text in place. Throws fen_err::Error("changed", path, "") when somebody else has
/// changed the file since it was read.
void Save(const MainCfEdit& edit);

/// The folder of main.cf.
std::filesystem::path ConfigFolder();

/// The command by which an administrator gives the parameter a value.
std::string SetCommand(const Assignment& assignment);

}  // namespace panel::mail
