/// NAME
///   beside - what was built or installed together with the running program

#include "panel/process/beside.h"

#include <system_error>

namespace panel {

namespace fs = std::filesystem;

fs::path FindBeside(const std::string& name) {
  std::error_code failed;
  const fs::path beside = fs::read_symlink("/proc/self/exe", failed).parent_path() / name;
  return !failed && fs::exists(beside, failed) ? beside : fs::path();
}

}  // namespace panel
