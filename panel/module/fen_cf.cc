/// NAME
///   fen_cf - the configuration in use

#include "host/fen_cf.h"

#include <algorithm>
#include <cstddef>
#include <deque>
#include <map>
#include <mutex>
#include <utility>

#include "panel/module/config.h"
#include "panel/module/path_names.h"
#include "panel/text/words.h"

namespace panel {
namespace {

using Names = std::map<std::string, std::string>;

Config NoConfig() {
  Config config;
  config.state_dir.clear();
  config.module_dir.clear();
  config.database.clear();
  return config;
}

/// All configurations that were in use, the present one last: references to earlier ones may still
/// be held by other threads.
struct InUse {
  std::mutex mutex;
  std::deque<Config> configs{NoConfig()};
  Names path_defaults;
};

InUse& State() {
  static auto* const state = new InUse;  // never destroyed: plug-ins may ask at the process's end
  return *state;
}

thread_local std::optional<std::string> unset_path_name;

const std::string* Find(const Names& names, const std::string& name) {
  const auto found = names.find(name);
  return found == names.end() ? nullptr : &found->second;
}

/// How many of `words` the path gives; none when it gives others.
std::size_t CountShared(const std::string& path, const std::vector<std::string>& words) {
  const std::vector<std::string> own = SplitWords(path);
  const auto [end, other] = std::mismatch(own.begin(), own.end(), words.begin(), words.end());
  return end == own.end() ? own.size() : 0;
}

}  // namespace

void UseConfig(const Config& config) {
  const std::lock_guard lock(State().mutex);
  State().configs.push_back(config);
  State().path_defaults.clear();
}

const Config& CurrentConfig() {
  const std::lock_guard lock(State().mutex);
  return State().configs.back();
}

std::optional<std::string> FindPathName(const std::vector<std::string>& words) {
  const std::lock_guard lock(State().mutex);
  const Names& configured = State().configs.back().path;
  std::optional<std::string> found;
  std::size_t most = 0;
  const auto consider = [&](const std::string& name, const std::string& path) {
    const std::size_t shared = CountShared(path, words);
    if (shared > most) found = name;
    most = std::max(most, shared);
  };
  for (const auto& [name, path] : configured) consider(name, path);
  for (const auto& [name, path] : State().path_defaults) {
    if (!configured.contains(name)) consider(name, path);
  }
  return found;
}

std::optional<std::string> TakeUnsetPathName() {
  return std::exchange(unset_path_name, std::nullopt);
}

}  // namespace panel

namespace fen_cf {

std::string GetParam(const std::string& name) {
  const std::lock_guard lock(panel::State().mutex);
  const std::string* value = panel::Find(panel::State().configs.back().param, name);
  return value == nullptr ? "" : *value;
}

std::string GetPath(const std::string& name) {
  const std::lock_guard lock(panel::State().mutex);
  const std::string* path = panel::Find(panel::State().configs.back().path, name);
  if (path == nullptr) path = panel::Find(panel::State().path_defaults, name);
  if (path == nullptr || path->find_first_not_of(' ') == std::string::npos) {
    panel::unset_path_name = name;
  }
  return path == nullptr ? "" : *path;
}

void SetPathDefault(const std::string& name, const std::string& path) {
  const std::lock_guard lock(panel::State().mutex);
  panel::State().path_defaults[name] = path;
}

}  // namespace fen_cf
