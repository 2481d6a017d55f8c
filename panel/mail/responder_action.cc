/// NAME
///   responder_action - how a mailbox's mail gets answered, for the back-end

#include "host/email.h"
#include "panel/mail/responder_folder.h"

std::string email::GetResponderAction(std::shared_ptr<zeb_db::EmailTable>& email) {
  return panel::mail::ResponderTarget(email->id);
}
