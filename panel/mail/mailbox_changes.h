/// NAME
///   mailbox_changes - what several changes of a mailbox have in common

#pragma once

#include <list>
#include <string>

#include "panel/mail/mail_rows.h"

namespace panel::mail {

/// Throws fen_err::Error("suspended", "mailbox", ...) for a mailbox that is.
void RequireActive(MailboxRow& mailbox);

/// Deletes the rows that must not reach the mail server: an alias with an empty name, which would
/// become a second line for the unknown addresses of the domain, and a responder that is off,
/// which would stop the forwards. Comes before every operation that writes aliases.
void DropUnwritableRows(const zeb_db::EmailTable& mailbox);

/// Has the back-end write the aliases, forwards and responder of an active mailbox. `dropped` are
/// aliases that it no longer has.
void WriteDelivery(MailboxRow& mailbox, const std::list<std::string>& dropped = {});

}  // namespace panel::mail
