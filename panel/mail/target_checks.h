/// NAME
///   target_checks - whether mail goes where the panel knows of
///
/// PURPOSE
///   The panel knows of a mailbox's line that it keeps mail or drops it, and of the entry of the
///   aliases that it leads to; of a domain's line, one default action. Somebody can write more into
///   such a line. Postfix goes by that until the panel writes the line anew.

#pragma once

#include "panel/mail/checks.h"

namespace panel::mail {

Findings CheckTargets();

}  // namespace panel::mail
