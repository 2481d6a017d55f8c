/// NAME
///   responder_action - the target of a mailbox's responder, for these tests
///
/// PURPOSE
///   Takes the place of the mail module's: the back-end only stores and compares the target, and
///   one with all that an entry of the aliases may hold shows whether it does.

#include "host/email.h"

std::string email::GetResponderAction(std::shared_ptr<zeb_db::EmailTable>& email) {
  return "\"|/usr/bin/answer -a me, you " + email->name.Str() + "\"";
}
