/// NAME
///   word index - finding the lines of a file that hold a word

#include "panel/conf/word_index.h"

#include <algorithm>
#include <functional>
#include <tuple>

#include "panel/conf/find_bytes.h"
#include "panel/text/byte_set.h"

namespace panel::conf {
namespace {

/// Sixteen searches cost as much as the index. Who asks for more than a few words asks for many.
constexpr std::size_t kMostSearches = 4;

constexpr ByteSet kSeparators(" \t\r\n,#");

/// Calls `visit` with each word of `line`.
template <class Visit>
void ForEachWord(std::string_view line, const Visit& visit) {
  for (;;) {
    line.remove_prefix(kSeparators.CountIn(line));
    if (line.empty()) return;
    const std::string_view word = line.substr(0, kSeparators.CountOutside(line));
    visit(word);
    line.remove_prefix(word.size());
  }
}

bool Holds(std::string_view line, std::string_view word) {
  bool holds = false;
  ForEachWord(line, [&](std::string_view one) { holds = holds || one == word; });
  return holds;
}

std::uint64_t Hash(std::string_view word) {
  return std::hash<std::string_view>{}(word);
}

}  // namespace

std::vector<LineId> WordIndex::Find(std::string_view word) {
  if (entries_.empty() && searches_++ == kMostSearches) Build();
  std::vector<LineId> lines;
  for (const std::size_t offset : entries_.empty() ? Search(word) : LookUp(word)) {
    const LineId line = LineId::Read(offset);
    if (text_.IsAsRead(offset) && Holds(text_.Line(line), word)) lines.push_back(line);
  }
  const std::size_t read = lines.size();
  text_.VisitEdited([&](LineId line) {
    if (Holds(text_.Line(line), word)) lines.push_back(line);
  });
  if (lines.size() > read) {
    std::sort(lines.begin(), lines.end(),
              [this](LineId left, LineId right) { return text_.IsBefore(left, right); });
  }
  return lines;
}

/// The offsets of the lines in whose bytes the word stands, be it as a part of another.
std::vector<std::size_t> WordIndex::Search(std::string_view word) const {
  const std::string_view read = text_.read();
  std::vector<std::size_t> offsets;
  std::size_t hit = FindBytes(read, word, 0);
  while (hit != std::string_view::npos) {
    offsets.push_back(read.rfind('\n', hit) + 1);
    const std::size_t line_feed = read.find('\n', hit);
    hit = line_feed == std::string_view::npos ? line_feed : FindBytes(read, word, line_feed);
  }
  return offsets;
}

std::vector<std::size_t> WordIndex::LookUp(std::string_view word) const {
  const std::uint64_t hash = Hash(word);
  std::vector<std::size_t> offsets;
  auto entry =
      std::lower_bound(entries_.begin(), entries_.end(), hash,
                       [](const Entry& one, std::uint64_t value) { return one.hash < value; });
  for (; entry != entries_.end() && entry->hash == hash; ++entry) {
    if (offsets.empty() || offsets.back() != entry->offset) offsets.push_back(entry->offset);
  }
  return offsets;
}

void WordIndex::Build() {
  const std::string_view read = text_.read();
  for (std::size_t line = 0; line < read.size();) {
    const std::size_t line_feed = read.find('\n', line);
    const std::size_t end = line_feed == std::string_view::npos ? read.size() : line_feed + 1;
    ForEachWord(read.substr(line, end - line), [&](std::string_view word) {
      entries_.push_back({Hash(word), line});
    });
    line = end;
  }
  std::sort(entries_.begin(), entries_.end(), [](const Entry& left, const Entry& right) {
    return std::tie(left.hash, left.offset) < std::tie(right.hash, right.offset);
  });
}

}  // namespace panel::conf
