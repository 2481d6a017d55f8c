/// NAME
///   table_keys - the names that a table of the mail server holds
///
/// PURPOSE
///   The back-end adds a line for a new domain, mailbox or alias without looking for one, so the
///   mail module looks first. In any mail server's tables a line begins with the name it is about;
///   that much is read here, and no more. The server takes names in either case of letters.
///
///   The file is read once, however many names one operation asks for; what the operation itself
///   adds is in the database. A few names are searched for, and for many an index is made.

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>

namespace panel::mail {

class TableKeys {
 public:
  /// The table whose path name is `name` behind that of the mail server ("virtusertable" for
  /// "postfix-virtusertable"), and the characters that end a key.
  TableKeys(std::string name, std::string ends);

  TableKeys(const TableKeys&) = delete;
  TableKeys& operator=(const TableKeys&) = delete;

  /// Where the table has the key first, as "PATH:LINE"; nothing when it does not.
  std::optional<std::string> Find(const std::string& key);

 private:
  void Read();
  void Index();
  std::size_t Search(const std::string& key) const;
  std::size_t LookUp(const std::string& key);
  std::string_view KeyAt(std::size_t place) const;

  std::string name_;
  std::string ends_;

  std::string path_;
  std::string text_;  ///< in lower case
  bool is_read_ = false;

  int searches_ = 0;
  std::unordered_set<std::string_view> keys_;  ///< pieces of the text
};

}  // namespace panel::mail
