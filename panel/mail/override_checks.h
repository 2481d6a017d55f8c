/// NAME
///   override_checks - services of master.cf with lists of their own

#pragma once

#include "panel/mail/checks.h"
#include "panel/mail/wiring.h"

namespace panel::mail {

/// Whether a service of master.cf has a list of its own ("-o") without the panel's table. One that
/// listens for this machine alone, as content filters hand their mail back to, is left aside: what
/// comes to it has been checked.
Findings CheckOverrides(const Wiring& wiring);

}  // namespace panel::mail
