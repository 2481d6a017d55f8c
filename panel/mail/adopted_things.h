/// NAME
///   adopted_things - whether the tables say of things what the panel's new rows say
///
/// PURPOSE
///   The rows of things that the tables have already are made, and then the tables must say just
///   what these say. The back-end writes each of them anew, and nothing may be otherwise. What the
///   back-end passes over when it writes is looked at here: further lines with a key that it has
///   found, lines that Postfix reads otherwise, where an alias leads that has a line, and an
///   address from which the mail of a domain leaves though its row has none.
///
/// HOW IT FAILS
///   With fen_err::Error("exists", what, which line says something else) for the first thing.

#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "panel/mail/bindings.h"
#include "panel/mail/listed_senders.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/rewritten_tables.h"
#include "panel/mail/table_keys.h"
#include "panel/mail/text_table.h"

namespace panel::mail {

/// A text table, and which of its lines are not just an entry.
class PlainTable {
 public:
  /// What a comment behind a value is to Postfix, which knows none there.
  enum class Comments {
    kAreTargets,  ///< addresses like any others
    kSayNothing,  ///< words behind the one that counts
  };

  PlainTable(std::string path, Format format, Comments comments)
      : table_(std::move(path), format), comments_(comments) {}

  TextTable& table() noexcept { return table_; }

  /// Where the table has something of this key that the back-end does not see, as "PATH:LINE"; a
  /// line that is continued counts, and one that Postfix skips.
  std::optional<std::string> FindUnseen(const std::string& key);

 private:
  bool HasMoreBehind(const std::string& value) const;
  void FindOddLines();

  TextTable table_;
  Comments comments_;
  std::optional<std::unordered_map<std::string, std::size_t>> odd_;  ///< the lines, by key
};

class AdoptedThings {
 public:
  AdoptedThings();

  /// Have a thing written anew. All rows must have been made.
  void WriteDomain(const std::string& name);
  void WriteMailbox(const std::string& given);
  void WriteSender(SenderList list, const std::string& given);

  /// Looks at all that was written, in that order. `at` runs what is done for a thing, of which it
  /// gets the number.
  void RequireSame(
      const std::function<void(std::size_t thing, const std::function<void()>& step)>& at);

  /// The entries of the aliases.
  TextTable& aliases() noexcept { return aliases_.table(); }

 private:
  /// A line that a thing may have: its table's path, and its key.
  struct Place {
    std::string path;
    std::string key;
  };
  struct Thing {
    std::string what;
    std::string name;
    std::vector<Place> places;
    std::string fault{};  ///< what is otherwise that the back-end passes over
  };

  /// Adds the thing, and returns whether it has no fault so far: the back-end may have its own
  /// words for one, which tell less.
  bool Add(Thing thing);
  std::string FindUnseen(const std::vector<Place>& places);
  void AddBinding(Thing& thing, const std::string& domain, const std::string& address) const;
  std::string FindOtherBinding(const SenderPattern& pattern, const std::string& address) const;
  void AddAliases(Thing& thing, const zeb_db::EmailTable& mailbox, const std::string& address);
  void LookForFurtherAliases();
  static void RequireSame(const Thing& thing, const RewrittenTables& rewritten);

  std::string addresses_path_;
  PlainTable addresses_;
  PlainTable access_;
  PlainTable aliases_;
  TableKeys host_names_{"localhostnames", " \t\r\n#"};
  std::optional<Bindings> bindings_;
  std::vector<Thing> things_;

  /// The numbers of mailboxes, by their addresses and those of their aliases.
  std::unordered_map<std::string, std::size_t> mailboxes_;
};

}  // namespace panel::mail
