/// NAME
///   path_names - which path name an administrator has to look at
///
/// PURPOSE
///   A plug-in builds command lines from paths that it asks for by name. When a command cannot be
///   started, the administrator needs that name, since the configuration knows the tool by it.

#pragma once

#include <optional>
#include <string>
#include <vector>

namespace panel {

/// The path name whose value, configured or default, begins the command `words`: of several the one
/// with the most words, and a configured one rather than a default.
std::optional<std::string> FindPathName(const std::vector<std::string>& words);

/// The path name that this thread asked for last and that had no value; forgotten with this call.
std::optional<std::string> TakeUnsetPathName();

}  // namespace panel
