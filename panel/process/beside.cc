/// NAME
///   beside - what was built or installed together with the running program

#include "panel/process/beside.h"

#include <system_error>

namespace panel {

namespace fs = std::filesystem;

/// Installed, programs lie in PREFIX/bin, and what is of no use by itself in PREFIX/lib/zebmail.
fs::path FindBeside(const std::string& name) {
  std::error_code failed;
  const fs::path folder = fs::read_symlink("/proc/self/exe", failed).parent_path();
  if (failed) return {};
  for (const fs::path& place : {folder, folder.parent_path() / "lib/zebmail"}) {
    if (fs::exists(place / name, failed)) return place / name;
  }
  return {};
}

}  // namespace panel
