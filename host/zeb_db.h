/// NAME
///   zeb_db - the panel's own tables
///
/// PURPOSE
///   The rows that the mail module and its back-end share. A text column that may be empty is
///   empty, never NULL.

#pragma once

#include <string>

#include "host/fen_db.h"

namespace zeb_db {

/// A mail domain.
class EmailDomainTable : public fen_db::CustomTable {
 public:
  EmailDomainTable();

  fen_db::KeyField id;
  fen_db::IdnField name;
  fen_db::BoolField active;       ///< false while the domain is suspended
  fen_db::RefField users;         ///< the owner
  fen_db::StringField defaction;  ///< "error", "ignore", "redir_email" or "redir_domain"
  fen_db::StringField redirect;   ///< address or domain of the two redirecting actions
  fen_db::StringField ip;         ///< address from which its mail leaves; empty when not bound
  fen_db::IntField tag;           ///< mark of the last synchronisation pass that saw the row
};

/// A mailbox.
class EmailTable : public fen_db::CustomTable {
 public:
  EmailTable();

  fen_db::KeyField id;
  fen_db::StringField name;    ///< local part
  fen_db::RefField domain;     ///< the EmailDomainTable row
  fen_db::BoolField active;    ///< false while the mailbox is suspended
  fen_db::BoolField dropmail;  ///< the mailbox keeps no mail
  fen_db::IntField tag;        ///< mark of the last synchronisation pass that saw the row
};

/// A further local part that delivers to a mailbox.
class EmailAliasTable : public fen_db::CustomTable {
 public:
  EmailAliasTable();

  fen_db::KeyField id;
  fen_db::StringField name;  ///< local part
  fen_db::RefField email;    ///< the mailbox
};

/// An address that gets a copy of each message to a mailbox.
class EmailForwardTable : public fen_db::CustomTable {
 public:
  EmailForwardTable();

  fen_db::KeyField id;
  fen_db::StringField name;  ///< the whole address
  fen_db::RefField email;    ///< the mailbox
};

/// A mailbox's auto-responder.
class EmailResponderTable : public fen_db::CustomTable {
 public:
  EmailResponderTable();

  fen_db::KeyField id;
  fen_db::RefField email;    ///< the mailbox
  fen_db::BoolField active;  ///< switched on
};

/// A sender whose mail is always taken.
class EmailWhitelist : public fen_db::CustomTable {
 public:
  EmailWhitelist();

  fen_db::KeyField id;
  fen_db::StringField name;  ///< address, domain or IP address
};

/// A sender whose mail is refused.
class EmailBlacklist : public fen_db::CustomTable {
 public:
  EmailBlacklist();

  fen_db::KeyField id;
  fen_db::StringField name;  ///< address, domain or IP address
};

/// The panel database.
fen_db::Cache& GetCache();

/// Whether the file at `path` has changed since a pass over it was last completed; `stamp` is set
/// to what the file looks like now. Within one panel operation the answer for a path stays the
/// same, so that two passes over one file both see its change; it is recorded with the operation's
/// transaction, so that a pass that failed is repeated.
bool FileIsChanged(const std::string& path, std::string& stamp);

}  // namespace zeb_db
