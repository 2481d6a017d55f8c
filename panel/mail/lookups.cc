/// NAME
///   lookups - looking keys up in maps of main.cf for a check

#include "panel/mail/lookups.h"

#include "host/fen_err.h"
#include "panel/mail/listing.h"

namespace panel::mail {

Answers Lookups::Ask(const std::string& parameter, const std::string& map,
                     const std::vector<std::string>& keys) {
  if (failed_.contains(map)) return {};
  try {
    return LookUp(map, keys);
  } catch (const fen_err::Error& error) {
    failed_.insert(map);
    findings.push_back({"wiring",
                        parameter,
                        "has " + map + ", which cannot be opened: " + error.value(),
                        "mail that it may be about waits until it can",
                        "mend the map, or take it out of " + parameter,
                        {}});
    return {};
  }
}

void Lookups::AskForOurs(const std::string& parameter, const std::string& map,
                         const std::vector<std::string>& keys, const std::string& mend) {
  std::vector<std::string> answered;
  for (const auto& [key, answer] : Ask(parameter, map, keys)) answered.push_back(key);
  if (answered.empty()) return;
  findings.push_back({"wiring",
                      parameter,
                      "has " + map + ", which answers for " + Listing(answered),
                      "that mail goes where that map says, and not where the panel says",
                      mend,
                      {}});
}

}  // namespace panel::mail
