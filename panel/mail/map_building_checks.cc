/// NAME
///   map_building_checks - whether mail waits while maps are built

#include "panel/mail/map_building_checks.h"

#include <cstdint>
#include <filesystem>
#include <system_error>

#include "host/fen_cf.h"
#include "panel/mail/advice.h"
#include "panel/mail/map_tool.h"
#include "panel/mail/maps.h"
#include "panel/module/config.h"

namespace panel::mail {
namespace {

/// In bytes. postmap builds a hash: map of so large a table in about a second.
constexpr std::uintmax_t kLargeTable = 4'000'000;

/// lmdb: shows its readers the old map until the new one is there.
bool IsLockedWhenBuilt(const std::string& type) {
  return type == "hash" || type == "btree";
}

bool IsLarge(const std::filesystem::path& table) {
  std::error_code failed;  // that there is no table is another check's to say
  const std::uintmax_t size = std::filesystem::file_size(table, failed);
  return !failed && size >= kLargeTable;
}

std::string Mend(const Map& map, const std::string& type) {
  const auto own = OwnMapCommand(fen_cf::GetPath(map.tool), CurrentConfig().state_dir);
  const std::string other_type =
      "have lmdb: for " + type + ": in all of main.cf, default_database_type too";
  return own ? ConfigureAdvice(map.tool) + " to \"" + *own + "\", or " + other_type : other_type;
}

}  // namespace

Findings CheckMapBuilding(const std::string& type) {
  if (!IsLockedWhenBuilt(type)) return {};
  Findings findings;
  for (const Map& map : Maps()) {
    if (!IsLarge(map.text) || ChangesEntries(fen_cf::GetPath(map.tool))) continue;
    findings.push_back({"map",
                        map.text,
                        "is large, of the type " + type + ", and built as a whole by " + map.tool,
                        "all mail waits for that after each change",
                        Mend(map, type),
                        {}});
  }
  return findings;
}

}  // namespace panel::mail
