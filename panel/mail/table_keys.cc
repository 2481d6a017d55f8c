/// NAME
///   table_domains - the domains that the mail server's table holds

#include "panel/mail/table_domains.h"

#include <algorithm>
#include <cctype>
#include <sstream>

#include "host/fen_cf.h"
#include "panel/conf/disk_file.h"

namespace panel::mail {
namespace {

/// The server takes the names in either case.
std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](unsigned char character) {
    return static_cast<char>(std::tolower(character));
  });
  return text;
}

}  // namespace

std::optional<std::string> TableDomains::Find(const std::string& name) {
  if (!read_) Read();
  const auto line = lines_.find(name);
  if (line == lines_.end()) return std::nullopt;
  return path_ + ":" + std::to_string(line->second);
}

void TableDomains::Read() {
  path_ = fen_cf::GetPath(fen_cf::GetParam("MTA") + "-virtusertable");
  std::istringstream table(conf::ReadWholeFile(path_).bytes);
  std::string line;
  for (std::size_t number = 1; std::getline(table, line); ++number) {
    if (!line.starts_with('@')) continue;
    lines_.try_emplace(LowerCase(line.substr(1, line.find_first_of(" \t\r#") - 1)), number);
  }
  read_ = true;
}

}  // namespace panel::mail
