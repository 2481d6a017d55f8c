/// NAME
///   table_keys - the names that a table of the mail server holds
///
/// PURPOSE
///   The back-end adds a line for a new domain, mailbox or alias without looking for one, so the
///   mail module looks first. In any mail server's tables a line begins with the name it is about;
///   that much is read here, and no more. The server takes names in either case of letters.
///
///   The file is read once, however many names one operation asks for; what the operation itself
///   adds is in the database, and what it takes out it tells. A few names are searched for, and for
///   many an index is made.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "panel/text/byte_set.h"

namespace panel::mail {

class TableKeys {
 public:
  /// The table whose path name is `name` behind that of the mail server ("virtusertable" for
  /// "postfix-virtusertable"), and the characters that end a key.
  TableKeys(std::string name, std::string_view ends);

  TableKeys(const TableKeys&) = delete;
  TableKeys& operator=(const TableKeys&) = delete;

  /// Reads the table now. Otherwise it is read when the first key is looked for.
  void Read();

  /// Where the table has the key first, as "PATH:LINE"; nothing when it does not.
  std::optional<std::string> Find(const std::string& key);

  /// Where the table has the key in other letters or once more. The back-end, which looks for the
  /// first line with the very key, does not find that one; the mail server may well.
  std::optional<std::string> FindOther(const std::string& key);

  /// The operation has taken the first line with the key out of the table.
  void NoteDeleted(const std::string& key);

 private:
  static constexpr std::size_t kNowhere = std::string::npos;

  /// The first two places of a key.
  struct Places {
    std::size_t first = kNowhere;
    std::size_t second = kNowhere;

    void Add(std::size_t place) { (first == kNowhere ? first : second) = place; }
    bool IsFull() const { return second != kNowhere; }
    void DropFirst() { first = std::exchange(second, kNowhere); }
  };

  void Index();
  void Insert(std::size_t place);
  Places LookUp(std::string_view key) const;
  Places Locate(const std::string& key);
  Places LocateInFile(const std::string& key);
  Places Search(const std::string& key) const;
  std::string_view KeyAt(std::size_t place) const;
  std::string Shown(std::size_t place) const;

  std::string name_;
  ByteSet ends_;

  std::string path_;
  std::string original_;
  std::string lower_case_;  ///< empty when the original is
  std::string_view text_;   ///< the one of the two that is in lower case
  bool is_read_ = false;

  int searches_ = 0;

  /// A hash table with linear probing: the place of a key in the lower bits, the upper bits of its
  /// hash above them. What has one key stands in the order of the text.
  std::vector<std::uint64_t> slots_;
  std::unordered_set<std::string> deleted_;
};

}  // namespace panel::mail
