/// NAME
///   email - what the panel's mail module offers to its back-end

#pragma once

#include <memory>
#include <string>

#include "host/zeb_db.h"

namespace email {

class MtaInterface;

/// Makes `mta` the back-end for all mail operations; the mail module owns it from now on. Throws
/// fen_err::Error("module", ...) when there is one already, `mta` being deleted then.
void RegisterMta(MtaInterface* mta);

/// Stands `domain` on the row of the domain of `address` and `email` on the row of the mailbox,
/// each at its end where there is none; returns whether the mailbox exists. Either pointer may be
/// empty before: it is set to a table object then.
bool FindByEmailName(const std::string& address, std::shared_ptr<zeb_db::EmailTable>& email,
                     std::shared_ptr<zeb_db::EmailDomainTable>& domain);

/// The mailbox's full address, in the form in which the tables hold it.
std::string GetEmailName(std::shared_ptr<zeb_db::EmailTable>& email);

/// The delivery target that answers for the mailbox: one value of an aliases(5) entry, the same for
/// the same mailbox at any time.
std::string GetResponderAction(std::shared_ptr<zeb_db::EmailTable>& email);

}  // namespace email
