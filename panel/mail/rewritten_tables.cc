/// NAME
///   rewritten_tables - what would be otherwise in the tables had the panel written them anew

#include "panel/mail/rewritten_tables.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <string_view>
#include <tuple>
#include <vector>

#include "panel/conf/operation.h"
#include "panel/mail/own_entries.h"
#include "panel/text/byte_set.h"

namespace panel::mail {
namespace {

constexpr ByteSet kBlanks(" \t\r");
constexpr ByteSet kKeyEnds(": \t\r");
constexpr std::string_view kTrailing = " \t\r";

/// A line without what has no meaning for the back-end: its comment, and how key and value are
/// kept apart.
struct Line {
  std::string_view key;
  std::string_view value;
  std::size_t number = 0;

  friend bool operator<(const Line& left, const Line& right) {
    return std::tie(left.key, left.value) < std::tie(right.key, right.value);
  }
};

/// The key of a client has a colon in it, which ends no key before a value.
std::size_t KeyEnd(std::string_view text) {
  std::size_t end = kKeyEnds.CountOutside(text);
  while (end + 1 < text.size() && text[end] == ':' && !kBlanks.Has(text[end + 1])) {
    end += 1 + kKeyEnds.CountOutside(text.substr(end + 1));
  }
  return end;
}

std::vector<Line> LinesOf(std::string_view text) {
  std::vector<Line> lines;
  for (std::size_t number = 1; !text.empty(); ++number) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    line = line.substr(0, line.find('#'));
    line = line.substr(0, line.find_last_not_of(kTrailing) + 1);
    if (line.empty()) continue;
    const std::string_view key = line.substr(0, KeyEnd(line));
    const std::string_view rest = line.substr(key.size());
    lines.push_back({key, rest.substr(kKeyEnds.CountIn(rest)), number});
  }
  std::sort(lines.begin(), lines.end());
  return lines;
}

/// The keys of the lines that only one of the texts has, and where `before` has them.
std::map<std::string, std::size_t> OtherKeys(std::string_view before, std::string_view after) {
  const std::vector<Line> old_lines = LinesOf(before);
  const std::vector<Line> new_lines = LinesOf(after);
  std::vector<Line> others;
  std::set_difference(new_lines.begin(), new_lines.end(), old_lines.begin(), old_lines.end(),
                      std::back_inserter(others));
  for (Line& line : others) line.number = 0;
  std::set_difference(old_lines.begin(), old_lines.end(), new_lines.begin(), new_lines.end(),
                      std::back_inserter(others));
  std::map<std::string, std::size_t> keys;
  for (const Line& line : others) {
    std::size_t& number = keys[std::string(line.key)];
    if (line.number != 0) number = line.number;
  }
  return keys;
}

std::string Whole(const std::string& path) {
  return std::filesystem::absolute(path).lexically_normal();
}

}  // namespace

RewrittenTables::RewrittenTables() {
  for (const conf::Operation::Change& change : conf::Operation::ForgetChanges()) {
    others_.emplace(Whole(change.path), OtherKeys(change.before, change.after));
  }
}

std::optional<OtherLine> RewrittenTables::Find(const std::string& path,
                                               const std::string& key) const {
  const auto keys = others_.find(Whole(path));
  if (keys == others_.end()) return std::nullopt;
  const auto found = keys->second.find(key.substr(0, KeyEnd(key)));
  if (found == keys->second.end()) return std::nullopt;
  return OtherLine{path, key, found->second};
}

std::optional<OtherLine> RewrittenTables::FindAny() const {
  for (const auto& [path, keys] : others_) {
    for (const auto& [key, line] : keys) {
      if (key != kBounceEntry && key != kDiscardEntry) return OtherLine{path, key, line};
    }
  }
  return std::nullopt;
}

}  // namespace panel::mail
