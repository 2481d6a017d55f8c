/// NAME
///   restriction_checks - whether the access table decides what it should, and no more

#pragma once

#include "panel/mail/checks.h"
#include "panel/mail/wiring.h"

namespace panel::mail {

/// Whether an "OK" in the access table lets strangers relay.
Findings CheckRelaying(const Wiring& wiring);

/// Whether mail is let pass before the access table is asked.
Findings CheckOrderOfRestrictions(const Wiring& wiring);

/// Whether what the access table says of a domain of the panel holds for another one below it too
/// ("shop.example.org" below "example.org"), which may be somebody else's.
Findings CheckSubdomains(const Wiring& wiring);

}  // namespace panel::mail
