/// NAME
///   map_building_checks - whether mail waits while maps are built

#include "panel/mail/map_building_checks.h"

#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>

#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "panel/mail/map_tool.h"
#include "panel/mail/maps.h"

namespace panel::mail {
namespace {

/// In bytes. postmap builds a hash: map of so large a table in about a second.
constexpr std::uintmax_t kLargeTable = 4'000'000;

/// lmdb: shows its readers the old map until the new one is there, and cdb: is built aside.
bool IsLockedWhenBuilt(const std::string& type) {
  return type == "hash" || type == "btree" || type == "dbm" || type == "sdbm";
}

bool IsLarge(const std::filesystem::path& table) {
  std::error_code failed;  // that there is no table is another check's to say
  const std::uintmax_t size = std::filesystem::file_size(table, failed);
  return !failed && size >= kLargeTable;
}

}  // namespace

Findings CheckMapBuilding() {
  std::string type;
  try {
    type = MapType();
  } catch (const fen_err::Error&) {
    return {};  // it is a finding of the maps themselves
  }
  if (!IsLockedWhenBuilt(type)) return {};
  Findings findings;
  for (const Map& map : Maps()) {
    if (!IsLarge(map.text) || ChangesEntries(fen_cf::GetPath(map.tool))) continue;
    findings.push_back({"map",
                        map.text,
                        "is large, of the type " + type + ", and built as a whole by " + map.tool,
                        "all mail waits for that after each change",
                        "set " + map.tool + " to zebmail-" +
                            map.tool.substr(map.tool.find('-') + 1) +
                            ", or default_database_type to lmdb in main.cf",
                        {}});
  }
  return findings;
}

}  // namespace panel::mail
