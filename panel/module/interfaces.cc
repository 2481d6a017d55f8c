/// NAME
///   interfaces - which implementation serves which of the panel's modules

#include "panel/module/interfaces.h"

#include <algorithm>
#include <mutex>

#include "host/apistat.h"

namespace panel {
namespace {

struct Reports {
  std::mutex mutex;
  std::vector<std::pair<std::string, std::string>> pairs;
};

Reports& State() {
  static auto* const state = new Reports;  // never destroyed: as old as the modules that report
  return *state;
}

}  // namespace

std::vector<std::pair<std::string, std::string>> ModuleInterfaces() {
  const std::lock_guard lock(State().mutex);
  return State().pairs;
}

}  // namespace panel

namespace apistat {

void ModuleInterface(const std::string& module, const std::string& implementation) {
  const std::lock_guard lock(panel::State().mutex);
  auto& pairs = panel::State().pairs;
  const std::pair report(module, implementation);
  if (std::find(pairs.begin(), pairs.end(), report) == pairs.end()) pairs.push_back(report);
}

}  // namespace apistat
