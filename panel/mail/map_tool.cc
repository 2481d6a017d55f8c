/// NAME
///   map_tool - Postfix's own program behind the one that builds maps

#include "panel/mail/map_tool.h"

#include <cstddef>
#include <filesystem>
#include <string_view>

namespace panel::mail {
namespace {

constexpr std::string_view kOwn = "zebmail-";

}  // namespace

std::vector<std::string> BehindMapTool(const std::vector<std::string>& words) {
  if (words.empty()) return words;
  const std::string name = std::filesystem::path(words.front()).filename();
  if (name != "zebmail-postmap" && name != "zebmail-postalias") return words;
  std::vector<std::string> behind = {"/usr/sbin/" + name.substr(kOwn.size())};
  std::size_t next = 1;
  for (; next < words.size(); ++next) {
    const std::string& word = words[next];
    const bool has_value = word == "--state" || word == "--tool";
    if (!has_value && word != "--explain") break;
    if (has_value && ++next == words.size()) break;
    if (word == "--tool") behind.front() = words[next];
  }
  for (; next < words.size(); ++next) behind.push_back(words[next]);
  return behind;
}

}  // namespace panel::mail
