/// NAME
///   changes - which entries of a map went, came or changed
///
/// HOW
///   Of several lines with one key the first counts, so a changed key must stand nowhere else: the
///   rest of the text is searched for it. A line that is continued is not changed by itself: behind
///   the changed lines none may begin with a blank.

#include "zebmail/maps/changes.h"

#include <bitset>
#include <cstddef>
#include <map>
#include <set>

#include "zebmail/maps/text_line.h"

namespace zebmail::maps {
namespace {

/// Lines by their folded keys.
using Entries = std::map<std::string, std::string_view, std::less<>>;

void AddEntries(std::string_view text, const Lines& lines, Format format, Entries& entries) {
  for (std::size_t begin = lines.begin; begin < lines.end;) {
    const std::string_view line = LineAt(text, begin);
    const TextLine read = ReadLine(line, format);
    if (read.kind == LineKind::kContinuation) throw Uncertain("a continued line has changed");
    if (read.kind == LineKind::kOdd) throw Uncertain("a line that is no plain entry has changed");
    if (read.kind == LineKind::kEntry && !entries.emplace(Folded(read.key), line).second) {
      throw Uncertain("\"" + std::string(read.key) + "\" stands in several lines");
    }
    begin += line.size();
  }
}

/// Looks at the lines behind a difference, up to the next one.
void RequireNoContinuation(std::string_view text, const Lines& lines, Format format) {
  for (std::size_t begin = lines.begin; begin < lines.end;) {
    const std::string_view line = LineAt(text, begin);
    const LineKind kind = ReadLine(line, format).kind;
    if (kind == LineKind::kContinuation) throw Uncertain("a continued line has changed");
    if (kind != LineKind::kNothing) return;
    begin += line.size();
  }
}

/// Keys to look for. Most lines are ruled out by the length of theirs.
class SoughtKeys {
 public:
  void Add(const Entries& entries) {
    for (const auto& [key, line] : entries) {
      keys_.insert(key);
      lengths_.set(key.size());
    }
  }

  bool Has(std::string_view key) const {
    return key.size() < lengths_.size() && lengths_.test(key.size()) && keys_.contains(Folded(key));
  }

 private:
  std::set<std::string, std::less<>> keys_;
  std::bitset<256> lengths_;
};

void RequireNone(const SoughtKeys& keys, std::string_view text, const Lines& lines, Format format) {
  for (std::size_t begin = lines.begin; begin < lines.end;) {
    const std::string_view line = LineAt(text, begin);
    const std::string_view key = KeyOf(line, format);
    if (keys.Has(key)) {
      throw Uncertain("\"" + std::string(key) + "\" stands in several lines");
    }
    begin += line.size();
  }
}

std::string_view WithoutNewline(std::string_view line) {
  return line.ends_with('\n') ? line.substr(0, line.size() - 1) : line;
}

}  // namespace

Changes FindChanges(std::string_view before, std::string_view after,
                    const std::vector<Difference>& differences, Format format) {
  Entries old_entries;
  Entries new_entries;
  for (const Difference& difference : differences) {
    AddEntries(before, difference.before, format, old_entries);
    AddEntries(after, difference.after, format, new_entries);
  }
  SoughtKeys keys;
  keys.Add(old_entries);
  keys.Add(new_entries);
  if (!differences.empty()) RequireNone(keys, after, {0, differences.front().after.begin}, format);
  for (std::size_t index = 0; index < differences.size(); ++index) {
    const bool is_last = index + 1 == differences.size();
    const Lines same{differences[index].after.end,
                     is_last ? after.size() : differences[index + 1].after.begin};
    RequireNoContinuation(after, same, format);
    RequireNone(keys, after, same, format);
  }

  Changes changes;
  for (const auto& [key, line] : new_entries) {
    const auto old = old_entries.find(key);
    const bool is_same =
        old != old_entries.end() && WithoutNewline(old->second) == WithoutNewline(line);
    if (!is_same) changes.put.push_back(line);
  }
  for (const auto& [key, line] : old_entries) {
    if (!new_entries.contains(key)) changes.remove.push_back(key);
  }
  return changes;
}

}  // namespace zebmail::maps
