/// NAME
///   suspension_checks - whether the access table refuses the mail of all that is suspended
///
/// PURPOSE
///   Postfix looks for the whole address of a recipient first, then for it without its extension,
///   then for its domain, and stops at the first line that it finds. So a line for an address
///   decides before that of its suspended domain or mailbox. The panel writes none such; somebody
///   can.

#pragma once

#include "panel/mail/checks.h"

namespace panel::mail {

Findings CheckSuspensions();

}  // namespace panel::mail
