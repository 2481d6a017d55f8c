/// NAME
///   hand_kept_panel - a panel whose tables somebody keeps by hand, and all that it knows

#pragma once

#include <string>
#include <vector>

#include "tests/zebmail/own_panel.h"

namespace zebmail_test {

class HandKeptPanel : public AnsweringPanel {
 public:
  /// One that has web domains of these names, and no mail domain yet.
  explicit HandKeptPanel(const std::vector<std::string>& web_domains = {"a.example", "b.example"});

  void AddWebDomain(const std::string& name) const;

  /// Puts lines behind the entries that the panel itself keeps at the beginning of the aliases.
  void SetEntries(const std::string& lines) const;

  /// Makes the virtual user table look changed, though it says the same.
  void TouchTable() const;

  /// Domains, mailboxes and both lists, as the commands show them.
  std::string State() const;

  /// The rows of the database by which things are known, with their keys, but for those that any
  /// synchronisation writes anew.
  std::string Rows() const;

  /// The rows that the query gives, a line each, columns separated by "|".
  std::string Query(const std::string& sql, std::size_t columns = 1) const;

  /// All tables and the maps that were built of them.
  std::map<std::string, std::string> TableFiles() const { return Snapshot(Path("panel/mail")); }
};

/// What `sync` prints when it found these numbers of things: "added changed removed", a word for
/// each kind, in the order in which they are printed.
std::string Summary(const std::vector<std::string>& counts);

/// What it prints when nothing was different.
std::string NothingNew();

}  // namespace zebmail_test
