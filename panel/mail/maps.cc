/// NAME
///   maps - the indexed maps that Postfix reads in place of the text tables

#include "panel/mail/maps.h"

#include <map>

#include <sys/stat.h>

#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "host/fen_proc.h"
#include "panel/mail/map_tool.h"
#include "panel/mail/postconf.h"

namespace panel::mail {
namespace {

/// When the file's contents came into place. A copy that was put back keeps the time of its last
/// modification, but not that of its last change.
std::optional<timespec> ChangedAt(const std::string& file) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return std::nullopt;
  return status.st_ctim;
}

std::optional<timespec> BuiltAt(const std::string& map) {
  struct stat status {};
  if (stat(map.c_str(), &status) != 0) return std::nullopt;
  return status.st_mtim;
}

void Run(const Map& map, const std::string& command) {
  const fen_proc::Execute tool(command, fen_proc::Execute::kWaitAndCapture);
  std::string output = tool.Str();
  output.erase(output.find_last_not_of(" \r\n") + 1);
  if (tool.Result() != 0) throw fen_err::Error("email", map.tool, output);
}

}  // namespace

std::vector<Map> Maps() {
  return {{fen_cf::GetPath("postfix-virtusertable"), "postfix-postmap"},
          {fen_cf::GetPath("postfix-accessdb"), "postfix-postmap"},
          {fen_cf::GetPath("postfix-aliases"), "postfix-postalias"}};
}

std::optional<std::string> SuffixOf(const std::string& type) {
  static const std::map<std::string, std::string> suffixes = {{"hash", ".db"},   {"btree", ".db"},
                                                              {"lmdb", ".lmdb"}, {"cdb", ".cdb"},
                                                              {"dbm", ".dir"},   {"sdbm", ".dir"}};
  const auto suffix = suffixes.find(type);
  return suffix == suffixes.end() ? std::nullopt : std::optional(suffix->second);
}

std::string MapType() {
  std::string type = PostconfValue("default_database_type");
  if (SuffixOf(type)) return type;
  throw fen_err::Error("email", "postconf",
                       "default_database_type is \"" + type +
                           "\", which is no map in a file; set it to lmdb or hash in main.cf");
}

std::string MapSuffix() {
  return *SuffixOf(MapType());
}

bool IsStale(const Map& map, const std::string& suffix) {
  const auto text = ChangedAt(map.text);
  if (!text) return false;
  const auto built = BuiltAt(map.text.string() + suffix);
  return !built || std::tie(built->tv_sec, built->tv_nsec) < std::tie(text->tv_sec, text->tv_nsec);
}

std::string BuildCommand(const Map& map) {
  return fen_cf::GetPath(map.tool) + " " + map.text.string();
}

std::string RebuildCommand(const Map& map) {
  return WholeBuild(fen_cf::GetPath(map.tool)) + " " + map.text.string();
}

void Build(const Map& map) {
  Run(map, BuildCommand(map));
}

void Rebuild(const Map& map) {
  Run(map, RebuildCommand(map));
}

}  // namespace panel::mail
