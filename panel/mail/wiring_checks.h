/// NAME
///   wiring_checks - whether Postfix uses the panel's tables

#pragma once

#include "panel/mail/checks.h"
#include "panel/mail/progress.h"

namespace panel::mail {

/// Compares main.cf, the maps that stand beside the panel's in it, and the places where mailboxes
/// end with what the panel relies on. Finds nothing while postconf cannot be run: that is a finding
/// of the maps' check.
Findings CheckWiring(const ShowProgress& progress);

}  // namespace panel::mail
