/// NAME
///   parts - the parts of the manual that say what the programs say of themselves
///
/// PURPOSE
///   The commands and options come from where they are declared to the parser, the names of the
///   configuration from the lists by which it is read. So the manual, the help and the programs
///   cannot come to say different things.

#pragma once

#include <map>
#include <string>

namespace manual {

/// The parts by the names by which the pages ask for them.
using Parts = std::map<std::string, std::string>;

/// SYNOPSIS, OPTIONS and COMMANDS of zebmail(1).
Parts CommandParts();

/// KEYS, PARAMETERS and PATHS of zebmail.toml(5).
Parts ConfigParts();

/// SYNOPSIS and OPTIONS of zebmail-postmap(1).
Parts MapToolParts();

}  // namespace manual
