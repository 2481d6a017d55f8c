/// NAME
///   mailbox_end_checks - whether the mail of each mailbox ends in it

#pragma once

#include "panel/mail/checks.h"
#include "panel/mail/progress.h"

namespace panel::mail {

/// Looks for mailboxes that have neither a mailbox_transport nor a Unix user of their own. Those
/// for which transport_maps has another way are left aside. To ask for each user takes its time, so
/// it shows how far it is.
Findings CheckMailboxEnds(const ShowProgress& progress);

}  // namespace panel::mail
