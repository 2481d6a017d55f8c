/// NAME
///   transport_ways - which addresses transport_maps leads elsewhere
///
/// PURPOSE
///   transport_maps may have a way for one address, for it without its extension, for its domain,
///   for what lies below a domain, or for all ("*"); Postfix goes by the first of these that any of
///   the maps has. Maps of patterns are asked for whole addresses alone.

#pragma once

#include <set>
#include <string>
#include <vector>

#include "panel/mail/lookups.h"

namespace panel::mail {

/// Those of the addresses whose mail goes another way than to local(8).
std::set<std::string> LedElsewhere(const std::vector<std::string>& addresses, Lookups& lookups);

}  // namespace panel::mail
