/// NAME
///   map_lookup - what Postfix finds in its maps

#include "panel/mail/map_lookup.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <sstream>

#include "host/fen_err.h"
#include "panel/mail/maps.h"
#include "panel/mail/postconf.h"
#include "panel/process/tools.h"

namespace panel::mail {
namespace {

/// What a tool prints is kept to a limit, so that not all keys can be asked for at once.
constexpr std::size_t kAtOnce = 500;

/// The daemon that "proxy:" goes through may not be running and is not needed by the superuser.
std::string Unproxied(const std::string& element) {
  constexpr std::string_view kProxy = "proxy:";
  return element.starts_with(kProxy) ? element.substr(kProxy.size()) : element;
}

/// postmap waits for a second before it ends for want of a file, so that is seen to here.
void RequireFile(const std::string& map) {
  const std::optional<MapName> name = ParseMap(map);
  if (!name || !name->name.starts_with('/')) return;
  const bool is_text = name->type == "regexp" || name->type == "pcre" || name->type == "texthash";
  const std::optional<std::string> suffix = is_text ? "" : SuffixOf(name->type);
  if (!suffix || std::filesystem::exists(name->name + *suffix)) return;
  throw fen_err::Error("email", "postmap", name->name + *suffix + ": No such file or directory");
}

/// What postmap prints about these keys. A run that finds nothing exits with 1 and prints nothing;
/// so does one that fails, with its reason.
std::string Ask(const std::string& map, const std::string& keys) {
  std::vector<std::string> words = PostmapCommand();
  words.insert(words.end(), {"-q", "-", Unproxied(map)});
  const ToolRun run = RunTool(words, keys);
  const bool is_failed = run.result > 1 || run.output.find("postmap: fatal:") != std::string::npos;
  if (is_failed) {
    const std::string reason = run.output.substr(0, run.output.find_last_not_of(" \r\n") + 1);
    throw fen_err::Error("email", "postmap", reason);
  }
  return run.output;
}

void AddAnswers(const std::string& output, Answers& answers) {
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    const std::size_t tab = line.find('\t');
    if (tab != std::string::npos) answers[line.substr(0, tab)] = line.substr(tab + 1);
  }
}

}  // namespace

std::optional<MapName> ParseMap(const std::string& element) {
  const std::string map = Unproxied(element);
  const std::size_t colon = map.find(':');
  if (colon == std::string::npos || map.starts_with('/')) return std::nullopt;
  return MapName{map.substr(0, colon), map.substr(colon + 1)};
}

Answers LookUp(const std::string& map, const std::vector<std::string>& keys) {
  RequireFile(map);
  Answers answers;
  for (std::size_t begin = 0; begin < keys.size(); begin += kAtOnce) {
    std::string input;
    const std::size_t end = std::min(begin + kAtOnce, keys.size());
    for (std::size_t index = begin; index < end; ++index) input += keys[index] + "\n";
    AddAnswers(Ask(map, input), answers);
  }
  return answers;
}

/// A complaint is "postmap: warning: regexp map PATH, line 3: TEXT".
std::vector<Complaint> ComplaintsOf(const MapName& map) {
  const std::string element = map.type + ":" + map.name;
  RequireFile(element);
  const std::string begin = "warning: " + map.type + " map " + map.name + ", line ";
  std::vector<Complaint> complaints;
  std::istringstream lines(Ask(element, "x\n"));
  for (std::string line; std::getline(lines, line);) {
    const std::size_t number = line.find(begin);
    if (number == std::string::npos) continue;
    const std::string rest = line.substr(number + begin.size());
    const std::size_t text = rest.find(": ");
    if (text == std::string::npos) continue;
    complaints.push_back({std::strtoul(rest.c_str(), nullptr, 10), rest.substr(text + 2)});
  }
  return complaints;
}

}  // namespace panel::mail
