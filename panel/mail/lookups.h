/// NAME
///   lookups - looking keys up in maps of main.cf for a check
///
/// PURPOSE
///   A map that cannot be opened is a finding by itself, under the parameter that names it, and
///   keeps no other map from being asked.

#pragma once

#include <set>
#include <string>
#include <vector>

#include "panel/mail/checks.h"
#include "panel/mail/map_lookup.h"

namespace panel::mail {

class Lookups {
 public:
  /// What the map, an element of `parameter`, answers to `keys`; nothing when it cannot be opened.
  Answers Ask(const std::string& parameter, const std::string& map,
              const std::vector<std::string>& keys);

  /// Asks, and says that what the map answers should be the panel's.
  void AskForOurs(const std::string& parameter, const std::string& map,
                  const std::vector<std::string>& keys, const std::string& mend);

  Findings findings;

 private:
  std::set<std::string> failed_;
};

}  // namespace panel::mail
