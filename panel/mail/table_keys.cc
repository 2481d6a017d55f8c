/// NAME
///   table_keys - the names that a table of the mail server holds

#include "panel/mail/table_keys.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <utility>

#include "panel/conf/disk_file.h"
#include "panel/conf/find_bytes.h"
#include "panel/mail/names.h"
#include "panel/mail/table_path.h"

namespace panel::mail {
namespace {

/// So many searches cost about as much as the index.
constexpr int kMostSearches = 16;

constexpr std::uint64_t kFree = ~std::uint64_t{0};
constexpr std::uint64_t kPlaceMask = (std::uint64_t{1} << 40U) - 1;

/// Looks at all characters, as bytes: so the compiler looks at many at once.
bool IsLowerCase(std::string_view text) {
  unsigned char has_capital = 0;
  for (const char character : text) {
    const auto letter = static_cast<unsigned char>(character - 'A');
    has_capital =
        static_cast<unsigned char>(has_capital | static_cast<unsigned char>(letter <= 'Z' - 'A'));
  }
  return has_capital == 0;
}

std::uint64_t Hash(std::string_view key) {
  return std::hash<std::string_view>{}(key);
}

}  // namespace

TableKeys::TableKeys(std::string name, std::string_view ends)
    : name_(std::move(name)), ends_(ends) {}

std::optional<std::string> TableKeys::Find(const std::string& key) {
  const Places places = Locate(LowerCase(key));
  if (places.first == kNowhere) return std::nullopt;
  return Shown(places.first);
}

std::optional<std::string> TableKeys::FindOther(const std::string& key) {
  const Places places = Locate(LowerCase(key));
  if (places.first == kNowhere) return std::nullopt;
  if (original_.compare(places.first, key.size(), key) != 0) return Shown(places.first);
  if (places.second == kNowhere) return std::nullopt;
  return Shown(places.second);
}

void TableKeys::NoteDeleted(const std::string& key) {
  deleted_.insert(LowerCase(key));
}

TableKeys::Places TableKeys::Locate(const std::string& key) {
  Places places = LocateInFile(key);
  if (deleted_.contains(key)) places.DropFirst();
  return places;
}

TableKeys::Places TableKeys::LocateInFile(const std::string& key) {
  if (!is_read_) Read();
  if (searches_++ < kMostSearches) return Search(key);
  if (slots_.empty()) Index();
  return LookUp(key);
}

void TableKeys::Read() {
  path_ = TablePath(name_);
  original_ = conf::ReadWholeFile(path_).bytes;
  if (!IsLowerCase(original_)) lower_case_ = LowerCase(original_);
  text_ = lower_case_.empty() ? original_ : lower_case_;
  is_read_ = true;
}

TableKeys::Places TableKeys::Search(const std::string& key) const {
  Places places;
  if (KeyAt(0) == key) places.Add(0);
  const std::string line_start = "\n" + key;
  for (std::size_t place = conf::FindBytes(text_, line_start, 0);
       place != kNowhere && !places.IsFull();
       place = conf::FindBytes(text_, line_start, place + 1)) {
    if (KeyAt(place + 1) == key) places.Add(place + 1);
  }
  return places;
}

/// The table has room for as many keys again.
void TableKeys::Index() {
  const auto lines = static_cast<std::size_t>(std::count(text_.begin(), text_.end(), '\n'));
  slots_.assign(std::bit_ceil(2 * lines + 16), kFree);
  for (std::size_t line = 0; line < text_.size();) {
    Insert(line);
    const std::size_t end = text_.find('\n', line);
    line = end == kNowhere ? text_.size() : end + 1;
  }
}

/// Of a key that is there twice no more is kept: a long run of one key would make the table slow.
void TableKeys::Insert(std::size_t place) {
  const std::string_view key = KeyAt(place);
  if (key.empty() || LookUp(key).IsFull()) return;
  const std::uint64_t hash = Hash(key);
  const std::size_t mask = slots_.size() - 1;
  std::size_t slot = hash & mask;
  while (slots_[slot] != kFree) slot = (slot + 1) & mask;
  slots_[slot] = (hash & ~kPlaceMask) | place;
}

TableKeys::Places TableKeys::LookUp(std::string_view key) const {
  const std::uint64_t hash = Hash(key);
  const std::size_t mask = slots_.size() - 1;
  Places places;
  for (std::size_t slot = hash & mask; slots_[slot] != kFree && !places.IsFull();
       slot = (slot + 1) & mask) {
    const std::size_t place = slots_[slot] & kPlaceMask;
    if (((slots_[slot] ^ hash) & ~kPlaceMask) == 0 && KeyAt(place) == key) places.Add(place);
  }
  return places;
}

std::string TableKeys::Shown(std::size_t place) const {
  const std::string_view before = text_.substr(0, place);
  return path_ + ":" + std::to_string(std::count(before.begin(), before.end(), '\n') + 1);
}

std::string_view TableKeys::KeyAt(std::size_t place) const {
  const std::string_view rest = text_.substr(place);
  return rest.substr(0, ends_.CountOutside(rest));
}

}  // namespace panel::mail
