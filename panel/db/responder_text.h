/// NAME
///   responder_text - what the auto-responders say
///
/// PURPOSE
///   The text of a mailbox's responder is the panel's own affair: the back-end only learns that
///   there is a responder. It outlives the responder, which may be switched on again.

#pragma once

#include "host/fen_db.h"

namespace panel::db {

class ResponderTextTable : public fen_db::CustomTable {
 public:
  ResponderTextTable();

  fen_db::KeyField id;
  fen_db::RefField mailbox;  ///< one row a mailbox at most
  fen_db::StringField subject;
  fen_db::StringField body;
};

}  // namespace panel::db
