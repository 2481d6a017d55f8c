/// NAME
///   map_building_checks - whether mail waits while maps are built
///
/// PURPOSE
///   postmap locks a map of some types as long as it builds it. Of a large table that takes
///   seconds, again after each change, and Postfix can look up nothing in it meanwhile.

#pragma once

#include "panel/mail/checks.h"

namespace panel::mail {

Findings CheckMapBuilding();

}  // namespace panel::mail
