/// NAME
///   responder_keys - which mailboxes the aliases answer for, by their keys
///
/// PURPOSE
///   The command of a responder names its mailbox by the key, and the aliases may know keys that
///   the panel's database does not: it may be a new one. Two mailboxes with one key would both
///   answer what the one is to answer.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "panel/mail/text_table.h"

namespace panel::mail {

class ResponderKeys {
 public:
  explicit ResponderKeys(TextTable& aliases);

  /// The entries that name a key, and which one.
  const std::unordered_map<std::string, std::int64_t>& all() const noexcept { return keys_; }

  /// The key that the entry names.
  std::optional<std::int64_t> Of(const std::string& entry) const;

  /// Another entry that names this key.
  std::optional<std::string> OtherWith(std::int64_t key, const std::string& entry) const;

  /// Sees to it that no mailbox gets any of these keys that a row is made for from now on.
  void KeepFromNewMailboxes() const;

  /// A greater one is no key that a panel has given: keys are given one after the other.
  static constexpr std::int64_t kGreatest = 1'000'000'000'000;

 private:
  std::unordered_map<std::string, std::int64_t> keys_;                  ///< by entry
  std::unordered_map<std::int64_t, std::vector<std::string>> entries_;  ///< by key
  std::int64_t greatest_ = 0;  ///< that a mailbox may have; 0 for none
};

}  // namespace panel::mail
