/// NAME
///   table_domains - the domains that the mail server's table holds
///
/// PURPOSE
///   The back-end adds a line for a new domain without looking for one, so the mail module looks
///   first. The virtual user table of any mail server names a domain by a line that begins with "@"
///   and the name; that much is read here, once, however many domains one operation creates. What
///   the operation itself adds is in the database.

#pragma once

#include <optional>
#include <string>
#include <unordered_map>

namespace panel::mail {

class TableDomains {
 public:
  /// Where the table has the domain, as "PATH:LINE"; nothing when it does not.
  std::optional<std::string> Find(const std::string& name);

 private:
  void Read();

  bool read_ = false;
  std::string path_;
  std::unordered_map<std::string, std::size_t> lines_;
};

}  // namespace panel::mail
