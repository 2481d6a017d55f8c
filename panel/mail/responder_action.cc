/// NAME
///   responder - how a mailbox's mail gets answered

#include <string>

#include "host/email.h"
#include "host/fen_err.h"

std::string email::GetResponderAction(std::shared_ptr<zeb_db::EmailTable>& email) {
  throw fen_err::Error("not_supported", "responder", GetEmailName(email));
}
