/// NAME
///   maps - the indexed maps that Postfix reads in place of the text tables

#include "panel/mail/maps.h"

#include <map>
#include <optional>

#include <sys/stat.h>

#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "host/fen_proc.h"

namespace panel::mail {
namespace {

std::string Run(const std::string& what, const std::string& command) {
  const fen_proc::Execute tool(command, fen_proc::Execute::kWaitAndCapture);
  std::string output = tool.Str();
  output.erase(output.find_last_not_of(" \r\n") + 1);
  if (tool.Result() != 0) throw fen_err::Error("email", what, output);
  return output;
}

/// postconf with the options that postmap is configured with, so that it reads the same main.cf.
std::string PostconfCommand() {
  const std::string postmap = fen_cf::GetPath("postfix-postmap");
  const std::size_t end_of_program = std::min(postmap.find(' '), postmap.size());
  const std::filesystem::path program = postmap.substr(0, end_of_program);
  return (program.parent_path() / "postconf").string() + postmap.substr(end_of_program) +
         " -h default_database_type";
}

std::optional<timespec> ModifiedAt(const std::string& file) {
  struct stat status {};
  if (stat(file.c_str(), &status) != 0) return std::nullopt;
  return status.st_mtim;
}

}  // namespace

std::vector<Map> Maps() {
  return {{fen_cf::GetPath("postfix-virtusertable"), "postfix-postmap"},
          {fen_cf::GetPath("postfix-accessdb"), "postfix-postmap"},
          {fen_cf::GetPath("postfix-aliases"), "postfix-postalias"}};
}

std::string MapSuffix() {
  static const std::map<std::string, std::string> suffixes = {{"hash", ".db"},   {"btree", ".db"},
                                                              {"lmdb", ".lmdb"}, {"cdb", ".cdb"},
                                                              {"dbm", ".dir"},   {"sdbm", ".dir"}};
  const std::string output = Run("postconf", PostconfCommand());
  const std::string type = output.substr(output.rfind('\n') + 1);  // warnings come before it
  const auto suffix = suffixes.find(type);
  if (suffix == suffixes.end()) {
    throw fen_err::Error("email", "postconf",
                         "default_database_type is \"" + type + "\", which is no map in a file");
  }
  return suffix->second;
}

bool IsStale(const Map& map, const std::string& suffix) {
  const auto text = ModifiedAt(map.text);
  if (!text) return false;
  const auto built = ModifiedAt(map.text.string() + suffix);
  return !built || std::tie(built->tv_sec, built->tv_nsec) < std::tie(text->tv_sec, text->tv_nsec);
}

std::string BuildCommand(const Map& map) {
  return fen_cf::GetPath(map.tool) + " " + map.text.string();
}

void Build(const Map& map) {
  Run(map.tool, BuildCommand(map));
}

}  // namespace panel::mail
