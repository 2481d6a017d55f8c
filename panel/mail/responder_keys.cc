/// NAME
///   responder_keys - which mailboxes the aliases answer for, by their keys

#include "panel/mail/responder_keys.h"

#include <algorithm>
#include <charconv>
#include <string_view>

#include "panel/db/database.h"
#include "panel/mail/responder_folder.h"
#include "panel/mail/table_values.h"

namespace panel::mail {
namespace {

/// The number in "BEGIN" NUMBER of a command.
std::optional<std::int64_t> KeyIn(std::string_view command, std::string_view begin) {
  if (!command.starts_with(begin)) return std::nullopt;
  command.remove_prefix(begin.size());
  std::int64_t key = 0;
  const auto [end, error] = std::from_chars(command.data(), command.data() + command.size(), key);
  const bool is_whole = error == std::errc() && end == command.data() + command.size();
  return is_whole && key > 0 ? std::optional(key) : std::nullopt;
}

}  // namespace

ResponderKeys::ResponderKeys(TextTable& aliases) {
  const std::string begin = ParseValues(ResponderTargetBegin()).front();
  aliases.ForEach([&](const std::string& entry, const std::string& value) {
    if (value.find(begin) == std::string::npos) return;
    for (const std::string& command : ParseValues(value)) {
      const auto key = KeyIn(command, begin);
      if (!key) continue;
      keys_.emplace(entry, *key);
      entries_[*key].push_back(entry);
      if (*key <= kGreatest) greatest_ = std::max(greatest_, *key);
    }
  });
}

std::optional<std::int64_t> ResponderKeys::Of(const std::string& entry) const {
  const auto found = keys_.find(entry);
  return found == keys_.end() ? std::nullopt : std::optional(found->second);
}

std::optional<std::string> ResponderKeys::OtherWith(std::int64_t key,
                                                    const std::string& entry) const {
  const auto entries = entries_.find(key);
  if (entries == entries_.end()) return std::nullopt;
  const auto other = std::find_if(entries->second.begin(), entries->second.end(),
                                  [&entry](const std::string& one) { return one != entry; });
  return other == entries->second.end() ? std::nullopt : std::optional(*other);
}

void ResponderKeys::KeepFromNewMailboxes() const {
  if (greatest_ > 0) db::GoOnBehindKey("email", greatest_);
}

}  // namespace panel::mail
