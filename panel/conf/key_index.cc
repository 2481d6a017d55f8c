/// NAME
///   key index - finding a record of a file by its key

#include "panel/conf/key_index.h"

#include <algorithm>
#include <bit>
#include <functional>

#include "panel/conf/find_bytes.h"

namespace panel::conf {

namespace {

constexpr std::size_t kReadCost = 256;
constexpr std::size_t kSearches = 4;
constexpr std::size_t kSmallFile = 4096;

constexpr std::uint64_t kFree = ~std::uint64_t{0};
constexpr std::uint64_t kDeleted = kFree - 1;
constexpr std::uint64_t kLineMask = (std::uint64_t{1} << LineId::kBits) - 1;

std::uint64_t Hash(std::string_view key) {
  return std::hash<std::string_view>{}(key);
}

std::uint64_t Slot(std::uint64_t hash, LineId line) {
  return (hash & ~kLineMask) | line.bits();
}

}  // namespace

KeyIndex::KeyIndex(const Table& table, std::size_t type, const Text& text)
    : type_(type), text_(text), reader_(table) {}

LineId KeyIndex::Find(std::string_view key) {
  if (key.empty()) return LineId();
  if (!built_) {
    const LineId line = Search(key);
    if (!built_) return line;
  }
  return LookUp(key);
}

void KeyIndex::Forget(LineId line) {
  if (!built_) return;
  const std::uint64_t hash = Hash(KeyOf(line));
  const std::size_t mask = slots_.size() - 1;
  for (std::size_t slot = hash & mask;; slot = (slot + 1) & mask) {
    if (slots_[slot] == Slot(hash, line)) {
      slots_[slot] = kDeleted;
      return;
    }
    if (slots_[slot] == kFree) return;
  }
}

void KeyIndex::Learn(LineId line) {
  if (!built_) return;
  if ((used_ + 1) * 4 > slots_.size() * 3) {
    Build();
  } else {
    Insert(line, KeyOf(line));
  }
}

/// Searches without an index; builds it, and answers nothing, when it has searched enough.
LineId KeyIndex::Search(std::string_view key) {
  LineId first = SearchRead(key);
  text_.VisitEdited([&](LineId line) {
    searched_ += kReadCost;
    if (HasKey(line, key) && (first.IsNone() || text_.IsBefore(line, first))) first = line;
  });
  if (searched_ > kSearches * text_.read().size() + kSmallFile) Build();
  return first;
}

/// The first line that is still as it was read and is a record with `key`.
LineId KeyIndex::SearchRead(std::string_view key) {
  const std::string_view read = text_.read();
  const std::size_t enough = kSearches * read.size() + kSmallFile;
  std::size_t hit = FindBytes(read, key, 0);
  while (hit != std::string_view::npos && searched_ <= enough) {
    const std::size_t begin = read.rfind('\n', hit) + 1;
    searched_ += kReadCost;
    if (text_.IsAsRead(begin) && HasKey(LineId::Read(begin), key)) {
      searched_ += begin;
      return LineId::Read(begin);
    }
    const std::size_t line_feed = read.find('\n', hit);
    hit = line_feed == std::string_view::npos ? line_feed : FindBytes(read, key, line_feed);
  }
  searched_ += read.size();
  return LineId();
}

LineId KeyIndex::LookUp(std::string_view key) {
  const std::uint64_t hash = Hash(key);
  const std::size_t mask = slots_.size() - 1;
  LineId first;
  for (std::size_t slot = hash & mask; slots_[slot] != kFree; slot = (slot + 1) & mask) {
    if (slots_[slot] == kDeleted || ((slots_[slot] ^ hash) & ~kLineMask) != 0) continue;
    const LineId line = LineId::FromBits(slots_[slot] & kLineMask);
    if (HasKey(line, key) && (first.IsNone() || text_.IsBefore(line, first))) first = line;
  }
  return first;
}

/// Reads every line into a table that has room for as many again.
void KeyIndex::Build() {
  const std::string_view read = text_.read();
  const auto lines = static_cast<std::size_t>(std::count(read.begin(), read.end(), '\n'));
  slots_.assign(std::bit_ceil(2 * (lines + text_.edited()) + 16), kFree);
  used_ = 0;
  built_ = true;
  for (LineId line = text_.First(); !line.IsNone(); line = text_.Next(line)) {
    const std::string_view text = text_.Line(line);
    if (reader_.Read(type_, text)) Insert(line, reader_.record().Value(0, text));
  }
}

bool KeyIndex::HasKey(LineId line, std::string_view key) {
  return KeyOf(line) == key;
}

/// The key of the record in `line`; empty when it is no record of this type.
std::string_view KeyIndex::KeyOf(LineId line) {
  const std::string_view text = text_.Line(line);
  return reader_.Read(type_, text) ? reader_.record().Value(0, text) : std::string_view();
}

void KeyIndex::Insert(LineId line, std::string_view key) {
  const std::uint64_t hash = Hash(key);
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = hash & mask;
  while (slots_[slot] != kFree) slot = (slot + 1) & mask;
  slots_[slot] = Slot(hash, line);
  ++used_;
}

}  // namespace panel::conf
