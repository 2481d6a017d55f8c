/// NAME
///   beside - what was built or installed together with the running program

#pragma once

#include <filesystem>
#include <string>

namespace panel {

/// The file or folder `name` in the folder of the running program, or in the folder of an
/// installation that goes with it; empty when there is none.
std::filesystem::path FindBeside(const std::string& name);

}  // namespace panel
