/// NAME
///   interfaces - which implementation serves which of the panel's modules

#pragma once

#include <string>
#include <utility>
#include <vector>

namespace panel {

/// What plug-ins have reported (host/apistat.h), as pairs of module and implementation ("mail",
/// "postfix"), each pair once, in the order of the reports.
std::vector<std::pair<std::string, std::string>> ModuleInterfaces();

}  // namespace panel
