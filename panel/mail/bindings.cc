/// NAME
///   bindings - which lines of Postfix's files say from which address mail leaves

#include "panel/mail/bindings.h"

#include <algorithm>
#include <sstream>

#include "host/fen_cf.h"
#include "host/str.h"
#include "panel/conf/disk_file.h"

namespace panel::mail {
namespace {

constexpr const char* kBlanks = " \t\r";

/// A line that is neither empty nor a comment nor the continuation of another.
struct Line {
  std::size_t number;
  std::string word;  ///< its first word
  std::string rest;  ///< from the end of that word on
  bool is_continued = false;
};

std::vector<Line> ReadLines(const std::string& path) {
  std::vector<Line> lines;
  std::istringstream text(conf::ReadWholeFile(path).bytes);
  std::string line;
  for (std::size_t number = 1; std::getline(text, line); ++number) {
    line.erase(line.find_last_not_of(kBlanks) + 1);
    const std::size_t end = std::min(line.find_first_of(kBlanks), line.size());
    if (line.empty() || line[line.find_first_not_of(kBlanks)] == '#') continue;
    if (end > 0) {
      lines.push_back({number, line.substr(0, end), line.substr(end)});
    } else if (!lines.empty()) {
      lines.back().is_continued = true;
    }
  }
  return lines;
}

/// The address of a definition of the back-end's, which follows its service's name.
std::optional<std::string> AddressIn(const std::string& rest) {
  const bool is_of_back_end = rest.starts_with('\t') &&
                              rest.find(" -o syslog_name=postfix-") != std::string::npos &&
                              rest.find(" -o smtp_bind_address") != std::string::npos &&
                              rest.rfind(" -o smtp_bind_address") == rest.rfind(" -o ");
  if (!is_of_back_end) return std::nullopt;
  return rest.substr(rest.rfind('=') + 1);
}

}  // namespace

const Service* Bindings::FindService(const std::string& name) const {
  const auto found = std::find_if(services.begin(), services.end(),
                                  [&name](const Service& one) { return one.name == name; });
  return found == services.end() ? nullptr : &*found;
}

const SenderPattern* Bindings::FindPattern(const std::string& pattern) const {
  const auto found =
      std::find_if(patterns.begin(), patterns.end(),
                   [&pattern](const SenderPattern& one) { return one.pattern == pattern; });
  return found == patterns.end() ? nullptr : &*found;
}

bool Bindings::HasAnother(const Service& service) const {
  return std::any_of(services.begin(), services.end(), [&service](const Service& one) {
    return one.name == service.name && one.line != service.line;
  });
}

bool Bindings::HasAnother(const SenderPattern& pattern) const {
  return std::any_of(patterns.begin(), patterns.end(), [&pattern](const SenderPattern& one) {
    return one.pattern == pattern.pattern && one.line != pattern.line;
  });
}

std::optional<Bindings> ReadBindings() {
  Bindings bindings;
  bindings.master = fen_cf::GetPath("postfix-master");
  bindings.map = fen_cf::GetPath("postfix-domainips");
  if (bindings.master.empty() || bindings.map.empty()) return std::nullopt;
  for (const Line& line : ReadLines(bindings.master)) {
    if (line.rest.empty()) continue;
    bindings.services.push_back({line.number, line.word, AddressIn(line.rest), line.is_continued});
  }
  for (const Line& line : ReadLines(bindings.map)) {
    const std::size_t begin = line.rest.find_first_not_of(kBlanks);
    if (begin == std::string::npos) continue;
    const std::size_t end = line.rest.find_first_of(": \t", begin);
    bindings.patterns.push_back(
        {line.number, line.word, line.rest.substr(begin, end - begin), line.is_continued});
  }
  return bindings;
}

std::string ServiceOf(const std::string& domain) {
  return kServiceBegin + str::Replace(domain, ".", "_");
}

std::string PatternOf(const std::string& domain) {
  return "/@" + str::Replace(domain, ".", "\\.") + "$/";
}

}  // namespace panel::mail
