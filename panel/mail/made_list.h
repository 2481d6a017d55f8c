/// NAME
///   made_list - what the panel has made outside of its own folder
///
/// PURPOSE
///   A server may have had tables before it had a panel, and main.cf is its administrator's. Who
///   takes the panel off again must know which files were not there before, and what main.cf said.
///   So both are listed in the file "made" in `state_dir`, in the order in which it happened, a
///   line each, with tabs between its words:
///
///       kept PATH                 was there before the panel
///       folder PATH, file PATH    were made
///       main.cf FOLDER            the settings below are in the main.cf of this folder
///       set NAME VALUE            the parameter was given this value
///       was NAME VALUE            which was this one before
///       unset NAME                which was not set before
///
/// HOW IT FAILS
///   As panel/conf/disk_file.h says.

#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "panel/mail/main_cf.h"

namespace panel::mail {

/// Lists files that were there before a new panel.
void ListKept(const std::vector<std::filesystem::path>& paths);

/// Lists files and folders that have been made.
void ListMade(const std::vector<std::filesystem::path>& paths);

/// Lists settings that are about to be made in the main.cf of `folder`, and what it says now.
void ListSettings(const std::filesystem::path& folder, const std::vector<Assignment>& settings);

}  // namespace panel::mail
