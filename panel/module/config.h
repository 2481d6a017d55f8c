/// NAME
///   config - the panel's configuration file, and the configuration in use
///
/// PURPOSE
///   The file says where the panel keeps its state, its plug-ins and its database, and gives the
///   parameters and paths that plug-ins ask for by name (host/fen_cf.h). It is TOML:
///
///       state_dir    = "/var/lib/zebmail"
///       module_dir   = "/usr/lib/zebmail/modules"
///       database     = "sqlite3:///var/lib/zebmail/panel.db"
///       tool_timeout = 600
///
///       [param]
///       MTA = "postfix"
///
///       [path]
///       postfix-bin = "/usr/sbin/postfix"
///
/// HOW IT FAILS
///   With fen_err::Error("config", "FILE:LINE", what is wrong and what to do about it), and nothing
///   of the file is in use. So it does when others than root and the user of this process can write
///   the file or put another one in its place. A misspelt key is an error: what an administrator
///   wrote must count.

#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <string>

namespace panel {

/// What one configuration file says. The initial values are the places of an installed system.
struct Config {
  std::filesystem::path file;
  std::filesystem::path state_dir = "/var/lib/zebmail";
  std::filesystem::path module_dir = "/usr/lib/zebmail/modules";
  std::string database = "sqlite3:///var/lib/zebmail/panel.db";
  std::chrono::seconds tool_timeout{600};
  std::map<std::string, std::string> param;
  std::map<std::string, std::string> path;
};

/// Reads the configuration file `file`. All keys but tool_timeout, [param] and [path] must be
/// there: a panel that fell back to the system's folders could work on another panel's server.
Config ReadConfig(const std::filesystem::path& file);

/// Makes `config` what fen_cf and CurrentConfig() answer from, in all threads; path defaults that
/// were set before are forgotten.
void UseConfig(const Config& config);

/// The configuration in use. Before the first UseConfig it names no folders and no database. The
/// reference stays valid, with the same values, when another configuration comes into use.
const Config& CurrentConfig();

}  // namespace panel
