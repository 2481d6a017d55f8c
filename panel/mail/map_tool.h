/// NAME
///   map_tool - Postfix's own program behind the one that builds maps
///
/// PURPOSE
///   The programs that the panel runs after a change may be zebmail-postmap and zebmail-postalias,
///   which run Postfix's in their turn. Who asks Postfix something needs the latter, with the
///   options that are meant for it.

#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace panel::mail {

/// What a configured command line, as words, has Postfix do: its own program and the options for
/// it. The words themselves where they name no program of this panel's.
std::vector<std::string> BehindMapTool(const std::vector<std::string>& words);

/// The command line that changes entries of maps in the place of `command`, of Postfix's own
/// program, for the panel with this state; nothing where this panel's programs were not built or
/// installed together with the running one, or their path cannot be part of a command line.
std::optional<std::string> OwnMapCommand(const std::string& command,
                                         const std::filesystem::path& state_dir);

/// Whether the configured command line changes entries of a map where it can, rather than build it.
bool ChangesEntries(const std::string& command);

/// The configured command line with which a whole map is built, whatever is known of the old one.
std::string WholeBuild(const std::string& command);

}  // namespace panel::mail
