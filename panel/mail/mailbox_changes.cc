/// NAME
///   mailbox_changes - what several changes of a mailbox have in common

#include "panel/mail/mailbox_changes.h"

#include "host/fen_err.h"
#include "panel/mail/back_end.h"

namespace panel::mail {

void RequireActive(MailboxRow& mailbox) {
  if (mailbox->active) return;
  throw fen_err::Error("suspended", "mailbox",
                       InUnicode(AddressOf(mailbox)) +
                           " cannot be changed while it is suspended; "
                           "resume it first");
}

void DropUnwritableRows(const zeb_db::EmailTable& mailbox) {
  const std::string of_mailbox = "email = " + mailbox.id.AsString();
  zeb_db::GetCache().Get<zeb_db::EmailAliasTable>()->DbDelete(of_mailbox + " AND name = ''");
  zeb_db::GetCache().Get<zeb_db::EmailResponderTable>()->DbDelete(of_mailbox + " AND NOT active");
}

void WriteDelivery(MailboxRow& mailbox, const std::list<std::string>& dropped) {
  DropUnwritableRows(*mailbox);
  BackEnd().SetAliases(mailbox, dropped);
}

}  // namespace panel::mail
