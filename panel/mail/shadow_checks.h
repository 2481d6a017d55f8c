/// NAME
///   shadow_checks - whether other maps of main.cf stand in the panel's way
///
/// HOW MUCH IS LOOKED AT
///   The panel's own entries, and the first hundred of its mailboxes and domains: enough to notice
///   a map that was forgotten, and little to ask of maps that lie in other servers.

#pragma once

#include "panel/mail/checks.h"
#include "panel/mail/wiring.h"

namespace panel::mail {

/// Whether a table is read by a type of map that the panel's tools do not build, and an old one.
Findings CheckTypes(const Wiring& wiring);

/// Whether another map answers for what is the panel's, or cannot be opened.
Findings CheckOtherMaps(const Wiring& wiring);

/// Whether a domain of the panel is said to be virtual as well, though it is local.
Findings CheckDomainLists(const Wiring& wiring);

}  // namespace panel::mail
