/// NAME
///   wiring_parts - recognising the panel's tables in the values of main.cf

#include "panel/mail/wiring_parts.h"

#include <filesystem>
#include <system_error>

#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "panel/mail/maps.h"
#include "panel/mail/value_list.h"
#include "panel/module/config.h"
#include "panel/text/control_characters.h"

namespace panel::mail {
namespace {

namespace fs = std::filesystem;

/// The characters that end an element, group several or begin a reference, and those by which a
/// careless reader of main.cf would be misled.
constexpr std::string_view kUnfit = " ,;$#{}\"'\\";

std::string FitPath(const std::string& name) {
  std::string path = fen_cf::GetPath(name);
  const bool is_fit = path.starts_with('/') && path.find_first_of(kUnfit) == std::string::npos &&
                      !HasControlCharacters(path);
  if (is_fit) return path;
  throw fen_err::Error("path", name,
                       "\"" + path +
                           "\" cannot stand in main.cf, which takes an absolute path without "
                           "blanks and without any of " +
                           std::string(kUnfit.substr(1)) + "; set another one under [path] in " +
                           CurrentConfig().file.string());
}

}  // namespace

const char* const kClientRule = "/^(.*)$/ connect:$1\n";

std::string WiringParts::ClientMap() const {
  return "pipemap:{regexp:" + client_rule + "," + MapOf(access) + "}";
}

bool WiringParts::IsMapOf(const std::string& element, const std::string& table) const {
  const std::optional<MapName> map = ParseMap(element);
  if (!map || !IsSameFile(map->name, table)) return false;
  if (map->type == default_type) return true;
  const std::optional<std::string> suffix = SuffixOf(map->type);
  return suffix && fs::exists(map->name + *suffix);
}

bool WiringParts::IsPatternMapOf(const std::string& element, const std::string& file) const {
  const std::optional<MapName> map = ParseMap(element);
  return map && (map->type == "regexp" || map->type == "pcre") && IsSameFile(map->name, file);
}

WiringParts FindWiringParts() {
  WiringParts parts;
  parts.default_type = MapType();
  parts.virtusertable = FitPath("postfix-virtusertable");
  parts.aliases = FitPath("postfix-aliases");
  parts.access = FitPath("postfix-accessdb");
  parts.local_host_names = FitPath("postfix-localhostnames");
  if (!fen_cf::GetPath("postfix-domainips").empty()) {
    parts.domain_ips = FitPath("postfix-domainips");
  }
  parts.client_rule = fs::path(parts.access).replace_filename("client-address.regexp");
  return parts;
}

bool IsSameFile(const std::string& one, const std::string& other) {
  std::error_code missing;
  return fs::path(one).lexically_normal() == fs::path(other).lexically_normal() ||
         fs::equivalent(one, other, missing);
}

std::optional<std::pair<std::string, std::string>> ParsePipe(const std::string& element) {
  const std::optional<MapName> map = ParseMap(element);
  if (!map || map->type != "pipemap" || !map->name.starts_with('{') || !map->name.ends_with('}')) {
    return std::nullopt;
  }
  const std::vector<std::string> maps = SplitList(map->name.substr(1, map->name.size() - 2));
  if (maps.size() != 2) return std::nullopt;
  return std::pair(maps[0], maps[1]);
}

std::string FaultOfClientRule(const std::string& map) {
  const std::vector<std::string> addresses = {"192.0.2.1", "2001:db8::1"};
  Answers answers;
  try {
    answers = LookUp(map, addresses);
  } catch (const fen_err::Error& error) {
    return "cannot be used: " + error.value();
  }
  for (const std::string& address : addresses) {
    const auto answer = answers.find(address);
    if (answer == answers.end() || answer->second != "connect:" + address) {
      return "does not turn the client address " + address + " into connect:" + address;
    }
  }
  return "";
}

}  // namespace panel::mail
