/// NAME
///   loader - loading the plug-ins and setting up their modules
///
/// PURPOSE
///   Loads every shared object of the module folder, in the order of their names; each registers
///   its module factories while it is loaded (host/zeb_api.h). Then every factory that has not made
///   its module yet is called, in the order of registration. Modules and shared objects stay for
///   the life of the process.
///
/// HOW IT FAILS
///   With fen_err::Error("module", path or name, why) for a folder or an object that cannot be
///   loaded or trusted, and with whatever a factory throws, unchanged. What was set up before the
///   failure stays; the failed module is not kept, and the next call tries it again.

#pragma once

#include <filesystem>

namespace panel {

/// Loads what ends in ".so" in `module_dir`. The panel may run as root: a folder or an object that
/// anybody but root or the panel's own user could have written is refused.
void LoadModules(const std::filesystem::path& module_dir);

}  // namespace panel
