/// NAME
///   beside - what was built or installed together with the running program

#pragma once

#include <filesystem>
#include <string>

namespace panel {

/// The file or folder `name` in the folder of the running program; empty when there is none.
std::filesystem::path FindBeside(const std::string& name);

}  // namespace panel
