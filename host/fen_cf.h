/// NAME
///   fen_cf - the panel's configuration, as a plug-in sees it
///
/// PURPOSE
///   Named parameters ("MTA") and named paths ("postfix-postmap"). No plug-in writes down a file's
///   or a tool's location: it asks for the path name, so that the administrator decides.

#pragma once

#include <string>

namespace fen_cf {

/// The configured value of the parameter `name`; empty when it is not set.
std::string GetParam(const std::string& name);

/// The path configured under `name`, else the default set for exactly that name, else empty. A
/// tool's path may carry arguments behind it, separated by blanks.
std::string GetPath(const std::string& name);

/// From now on GetPath(name) gives `path` unless the configuration itself sets that path. The last
/// default set for a name counts.
void SetPathDefault(const std::string& name, const std::string& path);

}  // namespace fen_cf
