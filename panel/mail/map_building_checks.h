/// NAME
///   map_building_checks - whether mail waits while maps are built
///
/// PURPOSE
///   postmap locks a map of some types as long as it builds it. Of a large table that takes
///   seconds, again after each change, and Postfix can look up nothing in it meanwhile.

#pragma once

#include <string>

#include "panel/mail/checks.h"

namespace panel::mail {

/// For the maps of the panel in use, which are of the type `type`.
Findings CheckMapBuilding(const std::string& type);

}  // namespace panel::mail
