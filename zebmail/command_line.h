/// NAME
///   command_line - all commands and options there are

#pragma once

#include "zebmail/invocation.h"

namespace zebmail {

/// The configuration file that is used when no other one is named.
inline constexpr const char* kDefaultConfig = "/etc/zebmail/zebmail.toml";

/// Makes `app` the whole command line. What it is given goes into `invocation`, which must outlive
/// it.
void BuildCommandLine(CLI::App& app, Invocation& invocation);

}  // namespace zebmail
