/// NAME
///   name_list - which names a list of domains in main.cf holds
///
/// PURPOSE
///   Such a list (mydestination, virtual_alias_domains) holds names, files of names and maps; "!"
///   before any of them leaves its names out. The first element that has a name decides.

#pragma once

#include <set>
#include <string>
#include <vector>

#include "panel/mail/map_lookup.h"

namespace panel::mail {

/// Which of `names`, in lower case, are in the list with these elements, whose references are
/// expanded. `look_up` is asked for those of the maps. A file that is missing has no names.
std::set<std::string> NamesInList(const std::vector<std::string>& elements,
                                  const std::set<std::string>& names,
                                  const LookUpFunction& look_up);

}  // namespace panel::mail
