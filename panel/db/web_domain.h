/// NAME
///   web_domain - the panel's web domains
///
/// PURPOSE
///   A panel hosts more than mail. When the mail server's tables are read, a mail domain that the
///   panel does not have is taken over if there is a web domain of its name, for that one's owner.

#pragma once

#include "host/fen_db.h"

namespace panel::db {

class WebDomainTable : public fen_db::CustomTable {
 public:
  WebDomainTable();

  fen_db::KeyField id;
  fen_db::IdnField name;
  fen_db::RefField users;  ///< the owner
};

}  // namespace panel::db
