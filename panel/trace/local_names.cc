/// NAME
///   local_names - the domains whose mail this server takes for itself

#include "panel/trace/local_names.h"

#include <algorithm>

#include "panel/conf/disk_file.h"
#include "panel/mail/names.h"
#include "panel/mail/value_list.h"
#include "panel/trace/map_answers.h"

namespace panel::trace {

LocalNames::LocalNames(const Settings& settings, const std::string& table) : table_(table) {
  for (const std::string& word : settings.destinations) Add(word, "mydestination", 0);
  if (!has_table_) {
    AddFile(table_);
    has_table_ = false;
  }
}

std::optional<LocalNames::Place> LocalNames::Find(const std::string& domain) {
  const std::string name = mail::LowerCase(domain);
  const auto known = known_.find(name);
  if (known != known_.end()) return known->second;
  return known_[name] = Search(name);
}

void LocalNames::Add(const std::string& word, const std::string& file, std::size_t line) {
  if (!word.starts_with('/')) {
    patterns_.push_back({file, line, word});
  } else if (file == "mydestination") {
    AddFile(word);
  }
}

/// What begins with "#" ends a line.
void LocalNames::AddFile(const std::string& path) {
  if (path == table_) has_table_ = true;
  const std::string text = conf::ReadWholeFile(path).bytes;
  std::size_t line = 1;
  for (std::size_t begin = 0; begin < text.size(); ++line) {
    const std::size_t end = std::min(text.find('\n', begin), text.size());
    for (const std::string& word : mail::SplitList(text.substr(begin, end - begin))) {
      if (word.starts_with('#')) break;
      Add(word, path, line);
    }
    begin = end + 1;
  }
}

/// The first pattern that fits decides, and "!" before it turns it round.
std::optional<LocalNames::Place> LocalNames::Search(const std::string& domain) const {
  for (const Place& place : patterns_) {
    const bool is_negated = place.name.starts_with('!');
    const std::string pattern = place.name.substr(is_negated ? 1 : 0);
    const bool is_map = pattern.find(':') != std::string::npos;
    const bool fits =
        is_map ? !AskMap(pattern, {domain}).values.empty() : mail::LowerCase(pattern) == domain;
    if (fits) return is_negated ? std::nullopt : std::optional(place);
  }
  return std::nullopt;
}

}  // namespace panel::trace
