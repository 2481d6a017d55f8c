/// NAME
///   name_search - the names in the panel that begin with what somebody has typed so far
///
/// PURPOSE
///   A shell asks while its user waits with a finger on the key, and while others may change the
///   panel. So the database is opened to be read and no more, neither lock nor modules are needed,
///   and every question is one that an index answers, for the first names that come: whoever needs
///   more of them types on.
///
/// WHAT A NAME LOOKS LIKE
///   As it is shown elsewhere: with the domain in Unicode. Where what was typed begins the ASCII
///   form alone, it is that form. The names are what users have put into the panel and its tables:
///   they may hold anything.
///
/// HOW IT FAILS
///   With fen_err::Error, as the configuration's places and the database do.

#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "panel/db/database.h"
#include "panel/mail/listed_senders.h"
#include "panel/module/config.h"

namespace panel::mail {

struct FoundNames {
  std::vector<std::string> names;  ///< in order
  bool are_all = true;
};

class NameSearch {
 public:
  /// Where there are more, some are left out.
  static constexpr std::size_t kMostNames = 1000;

  explicit NameSearch(const Config& config);

  FoundNames Domains(const std::string& typed) const;
  FoundNames WebDomains(const std::string& typed) const;
  FoundNames Mailboxes(const std::string& typed) const;
  FoundNames AliasesOf(const std::string& mailbox, const std::string& typed) const;
  FoundNames ForwardsOf(const std::string& mailbox, const std::string& typed) const;
  FoundNames Senders(SenderList list, const std::string& typed) const;

 private:
  std::string Begins(const std::string& column, const std::string& beginning) const;
  std::string BeginsAny(const std::string& column,
                        const std::vector<std::string>& beginnings) const;
  FoundNames Find(const std::string& from, const std::string& typed) const;

  db::Database database_;
  bool is_sqlite_;
};

}  // namespace panel::mail
