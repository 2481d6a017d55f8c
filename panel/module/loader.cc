/// NAME
///   loader - loading the plug-ins and setting up their modules

#include "panel/module/loader.h"

#include <algorithm>
#include <cerrno>
#include <mutex>
#include <string>
#include <system_error>
#include <vector>

#include <dlfcn.h>
#include <sys/stat.h>

#include "host/fen_err.h"
#include "panel/module/registry.h"
#include "panel/process/trust.h"

namespace panel {
namespace {

[[noreturn]] void Fail(const std::filesystem::path& path, const std::string& why) {
  throw fen_err::Error("module", path.string(), why);
}

/// Refuses what somebody else could have written.
void CheckTrust(const std::filesystem::path& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) Fail(path, std::generic_category().message(errno));
  const std::string fault = FindFaultInRights(path, status);
  if (!fault.empty()) Fail(path, "is not loaded: " + fault);
}

std::vector<std::filesystem::path> ListObjects(const std::filesystem::path& folder) {
  std::vector<std::filesystem::path> objects;
  try {
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
      if (entry.path().extension() == ".so") objects.push_back(entry.path());
    }
  } catch (const std::filesystem::filesystem_error& error) {
    Fail(folder, error.code().message() + ": set \"module_dir\" to the folder of the plug-ins");
  }
  std::sort(objects.begin(), objects.end());
  return objects;
}

void LoadObject(const std::filesystem::path& object) {
  CheckTrust(object);
  const RegistrationScope registrations;
  if (dlopen(object.c_str(), RTLD_NOW | RTLD_LOCAL) == nullptr) Fail(object, dlerror());
  registrations.Check();
}

}  // namespace

void LoadModules(const std::filesystem::path& module_dir) {
  static std::mutex one_at_a_time;
  const std::lock_guard lock(one_at_a_time);
  const std::vector<std::filesystem::path> objects = ListObjects(module_dir);
  CheckTrust(module_dir);
  for (const auto& object : objects) LoadObject(object);
  BuildModules();
}

}  // namespace panel
