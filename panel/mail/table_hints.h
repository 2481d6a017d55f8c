/// NAME
///   table_hints - what the tables say that the back-end does not tell
///
/// PURPOSE
///   The back-end reads the tables record by record. Which mailboxes other lines lead to, which of
///   them keep no mail, and which lines do not count, is seen in the tables as a whole.
///
/// HOW IT FAILS
///   With fen_err::Error("file", path, why) for a table that cannot be read.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "panel/conf/passed_over.h"

namespace panel::mail {

/// The lines of a table that mean nothing to Postfix, or not what they seem to: an earlier line has
/// the key, or Postfix cannot read them.
conf::FoundLines IdleLines(const std::string& path);

class TableHints {
 public:
  /// Reads the virtual user table and the aliases.
  TableHints(const std::string& virtual_users, const std::string& aliases);

  TableHints(const TableHints&) = delete;
  TableHints& operator=(const TableHints&) = delete;

  /// The number of lines of the virtual user table that have a key.
  std::size_t lines() const noexcept { return lines_; }

  /// IdleLines of the virtual user table, of which nothing else here knows.
  const conf::FoundLines& idle_lines() const noexcept { return idle_; }

  /// The idle lines, and those of aliases that need no settling: each leads to one mailbox of its
  /// domain alone, whose own line leads nowhere else in turn, and no line leads to it. Both
  /// addresses are in plain characters, which nobody reads in another way. `domains` are the
  /// panel's, whose mailboxes they are.
  conf::FoundLines LinesOfNoMailbox(const std::unordered_set<std::string>& domains) const;

  /// The addresses that are targets of other lines, some of them repeatedly.
  const std::vector<std::string_view>& led_to() const noexcept { return led_to_; }

  /// The names of the entries of the aliases.
  const std::unordered_set<std::string_view>& entries() const noexcept { return entries_; }

  /// Whether the aliases have the entry of this mailbox.
  bool HasEntry(const std::string& address) const;

  /// The addresses whose lines discard what comes.
  const std::unordered_set<std::string>& discarding() const noexcept { return discarding_; }

 private:
  /// A line that is a key and one other target with an "@", and nothing else.
  struct Way {
    std::string_view key;
    std::string_view target;
  };

  void ReadVirtualUsers();
  std::size_t OffsetOf(std::string_view key) const;
  bool IsIdle(std::string_view key) const { return idle_.offsets.contains(OffsetOf(key)); }
  std::unordered_set<std::string_view> MailboxesLedTo(
      const std::unordered_set<std::string_view>& led_to) const;

  std::string text_;
  conf::FoundLines idle_;
  std::string entries_text_;
  std::size_t lines_ = 0;
  std::vector<std::string_view> led_to_;          ///< pieces of the text
  std::vector<Way> ways_;                         ///< pieces of the text
  std::unordered_set<std::string_view> entries_;  ///< pieces of the aliases
  std::unordered_set<std::string> discarding_;
};

}  // namespace panel::mail
