/// NAME
///   apistat - what the panel knows about the modules in use

#pragma once

#include <string>

namespace apistat {

/// Reports that the panel's `module` ("mail") is served by `implementation` ("postfix").
void ModuleInterface(const std::string& module, const std::string& implementation);

}  // namespace apistat
