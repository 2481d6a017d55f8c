/// NAME
///   map_tool - Postfix's own program behind the one that builds maps

#include "panel/mail/map_tool.h"

#include <cstddef>
#include <filesystem>
#include <string_view>

#include "panel/process/beside.h"
#include "panel/text/words.h"

namespace panel::mail {
namespace {

constexpr std::string_view kOwn = "zebmail-";

/// The name of the program, without its folder.
std::string NameOf(const std::vector<std::string>& words) {
  return words.empty() ? "" : std::filesystem::path(words.front()).filename().string();
}

bool IsOwn(const std::string& name) {
  return name == "zebmail-postmap" || name == "zebmail-postalias";
}

}  // namespace

std::vector<std::string> BehindMapTool(const std::vector<std::string>& words) {
  const std::string name = NameOf(words);
  if (!IsOwn(name)) return words;
  std::vector<std::string> behind = {"/usr/sbin/" + name.substr(kOwn.size())};
  std::size_t next = 1;
  for (; next < words.size(); ++next) {
    const std::string& word = words[next];
    const bool has_value = word == "--state" || word == "--tool";
    if (!has_value && word != "--explain" && word != "--whole") break;
    if (has_value && ++next == words.size()) break;
    if (word == "--tool") behind.front() = words[next];
  }
  for (; next < words.size(); ++next) behind.push_back(words[next]);
  return behind;
}

std::optional<std::string> OwnMapCommand(const std::string& command,
                                         const std::filesystem::path& state_dir) {
  std::vector<std::string> words = SplitWords(command);
  const std::string name = NameOf(words);
  const std::string beside = FindBeside(std::string(kOwn) + name);
  if (beside.empty() || beside.find_first_of(" \t") != std::string::npos) return std::nullopt;
  std::vector<std::string> own = {beside, "--state", state_dir};
  if (words.front() != "/usr/sbin/" + name) own.insert(own.end(), {"--tool", words.front()});
  own.insert(own.end(), words.begin() + 1, words.end());
  return JoinWords(own);
}

bool ChangesEntries(const std::string& command) {
  return IsOwn(NameOf(SplitWords(command)));
}

std::string WholeBuild(const std::string& command) {
  std::vector<std::string> words = SplitWords(command);
  if (!IsOwn(NameOf(words))) return command;
  words.insert(words.begin() + 1, "--whole");
  return JoinWords(words);
}

}  // namespace panel::mail
