/// NAME
///   binding_checks - whether each domain's mail leaves from the address that the panel says

#pragma once

#include "panel/mail/checks.h"

namespace panel::mail {

/// Compares the services of master.cf that bind a domain's mail to an address, and the map that
/// leads to them, with the panel's domains.
Findings CheckBindings();

}  // namespace panel::mail
