/// NAME
///   table_keys - the names that a table of the mail server holds

#include "panel/mail/table_keys.h"

#include <algorithm>
#include <utility>

#include "panel/conf/disk_file.h"
#include "panel/mail/names.h"
#include "panel/mail/table_path.h"

namespace panel::mail {
namespace {

/// So many searches cost about as much as the index.
constexpr int kMostSearches = 16;

}  // namespace

TableKeys::TableKeys(std::string name, std::string ends)
    : name_(std::move(name)), ends_(std::move(ends)) {}

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
  if (keys_.empty()) Index();
  const auto found = keys_.find(key);
  return found == keys_.end() ? Places() : found->second;
}

void TableKeys::Read() {
  path_ = TablePath(name_);
  original_ = conf::ReadWholeFile(path_).bytes;
  text_ = LowerCase(original_);
  is_read_ = true;
}

TableKeys::Places TableKeys::Search(const std::string& key) const {
  Places places;
  if (KeyAt(0) == key) places.Add(0);
  const std::string line_start = "\n" + key;
  for (std::size_t place = text_.find(line_start); place != kNowhere && !places.IsFull();
       place = text_.find(line_start, place + 1)) {
    if (KeyAt(place + 1) == key) places.Add(place + 1);
  }
  return places;
}

void TableKeys::Index() {
  for (std::size_t line = 0; line < text_.size();) {
    Places& places = keys_[KeyAt(line)];
    if (!places.IsFull()) places.Add(line);
    const std::size_t end = text_.find('\n', line);
    line = end == kNowhere ? text_.size() : end + 1;
  }
}

std::string TableKeys::Shown(std::size_t place) const {
  const auto end = text_.begin() + static_cast<std::string::difference_type>(place);
  return path_ + ":" + std::to_string(std::count(text_.begin(), end, '\n') + 1);
}

std::string_view TableKeys::KeyAt(std::size_t place) const {
  const std::string_view rest = std::string_view(text_).substr(place);
  return rest.substr(0, rest.find_first_of(ends_));
}

}  // namespace panel::mail
