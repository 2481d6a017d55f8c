/// NAME
///   web_domains - the panel's web domains
///
/// HOW IT FAILS
///   With fen_err::Error: "value" (what, what is wrong with it), "exists" or "missing" ("web
///   domain", name).

#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace panel::mail {

struct WebDomain {
  std::string name;
  std::int64_t owner;  ///< key of the panel's user
};

void AddWebDomain(const std::string& name, std::int64_t owner);

/// The mail domain of this name, if there is one, stays.
void RemoveWebDomain(const std::string& name);

/// All web domains, in the order of their ASCII names.
std::vector<WebDomain> ListWebDomains();

}  // namespace panel::mail
