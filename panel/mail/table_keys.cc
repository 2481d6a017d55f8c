/// NAME
///   table_keys - the names that a table of the mail server holds

#include "panel/mail/table_keys.h"

#include <algorithm>
#include <utility>

#include "host/fen_cf.h"
#include "panel/conf/disk_file.h"
#include "panel/mail/names.h"

namespace panel::mail {
namespace {

/// So many searches cost about as much as the index.
constexpr int kMostSearches = 16;

constexpr std::size_t kNowhere = std::string::npos;

}  // namespace

TableKeys::TableKeys(std::string name, std::string ends)
    : name_(std::move(name)), ends_(std::move(ends)) {}

std::optional<std::string> TableKeys::Find(const std::string& key) {
  if (!is_read_) Read();
  const std::string wanted = LowerCase(key);
  const std::size_t place = searches_++ < kMostSearches ? Search(wanted) : LookUp(wanted);
  if (place == kNowhere) return std::nullopt;
  const auto line = std::count(text_.begin(), text_.begin() + static_cast<long>(place), '\n') + 1;
  return path_ + ":" + std::to_string(line);
}

void TableKeys::Read() {
  path_ = fen_cf::GetPath(fen_cf::GetParam("MTA") + "-" + name_);
  text_ = LowerCase(conf::ReadWholeFile(path_).bytes);
  is_read_ = true;
}

std::size_t TableKeys::Search(const std::string& key) const {
  if (KeyAt(0) == key) return 0;
  const std::string line_start = "\n" + key;
  for (std::size_t place = text_.find(line_start); place != kNowhere;
       place = text_.find(line_start, place + 1)) {
    if (KeyAt(place + 1) == key) return place + 1;
  }
  return kNowhere;
}

std::size_t TableKeys::LookUp(const std::string& key) {
  if (keys_.empty()) Index();
  const auto found = keys_.find(key);
  return found == keys_.end() ? kNowhere : static_cast<std::size_t>(found->data() - text_.data());
}

void TableKeys::Index() {
  for (std::size_t line = 0; line < text_.size();) {
    keys_.insert(KeyAt(line));
    const std::size_t end = text_.find('\n', line);
    line = end == kNowhere ? text_.size() : end + 1;
  }
}

std::string_view TableKeys::KeyAt(std::size_t place) const {
  const std::string_view rest = std::string_view(text_).substr(place);
  return rest.substr(0, rest.find_first_of(ends_));
}

}  // namespace panel::mail
