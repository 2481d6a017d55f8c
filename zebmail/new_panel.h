/// NAME
///   new_panel - laying out a panel
///
/// PURPOSE
///   Works out where the parts of a new panel lie and makes those that are missing: the
///   configuration, the folders, the database file and the table files, all empty. What is there
///   already stays as it is, byte for byte; an existing configuration decides where the rest lies.
///
/// WHERE THINGS LIE
///   A self-contained panel lies in one folder, DIR: DIR/zebmail.toml, DIR/panel.db, DIR/mail/ with
///   the table files, DIR/state/ with lock, log and notes of outstanding work. The system's panel
///   has /etc/zebmail/zebmail.toml, /etc/mail/ and /var/lib/zebmail/.
///
/// HOW IT FAILS
///   With fen_err::Error: "value" (option, why) for a place that cannot be used, "missing" (path
///   name to configure, program) for a tool, "file" (path, why) for what cannot be made.

#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include <sys/types.h>

#include "panel/module/config.h"

namespace zebmail {

/// What `zebmail init` is told.
struct InitOptions {
  std::string root;            ///< folder of a self-contained panel; empty: the system's
  std::string postfix_config;  ///< folder of the Postfix configuration, or empty
  std::map<std::string, std::string> paths;  ///< for [path], before everything worked out here
  std::map<std::string, std::string> params;
};

/// A panel that is to be made, or completed.
struct PanelPlan {
  struct Folder {
    std::filesystem::path path;
    mode_t mode;
  };
  struct File {
    std::filesystem::path path;
    mode_t mode;
    std::string text;
  };

  panel::Config config;
  bool is_new = true;           ///< whether there is no configuration file yet
  std::vector<Folder> folders;  ///< the missing ones, outer ones first
  std::vector<File> files;      ///< the missing ones, the configuration last

  std::vector<std::filesystem::path> kept;  ///< files that are there already
};

/// Looks at what is there and changes nothing. Throws when the panel cannot be made as told.
PanelPlan PlanPanel(const InitOptions& options);

/// Makes what the plan names, and puts the paths into `made`, as far as it comes. A file that came
/// into being meanwhile stays.
void MakePanel(const PanelPlan& plan, std::vector<std::filesystem::path>& made);

}  // namespace zebmail
