/// NAME
///   shadow_checks - whether other maps of main.cf stand in the panel's way

#include "panel/mail/shadow_checks.h"

#include <filesystem>
#include <set>

#include "host/fen_cf.h"
#include "host/zeb_db.h"
#include "panel/mail/advice.h"
#include "panel/mail/listing.h"
#include "panel/mail/lookups.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/map_tool.h"
#include "panel/mail/maps.h"
#include "panel/mail/name_list.h"
#include "panel/mail/own_entries.h"
#include "panel/mail/postconf.h"
#include "panel/mail/value_list.h"
#include "panel/text/words.h"

namespace panel::mail {
namespace {

constexpr const char* kLimit = "100";

/// The entries that the tables of the panel lead to.
const std::vector<std::string> kOwnEntries = {kDiscardEntry, kBounceEntry};

struct Address {
  std::string local;
  std::string domain;
};

std::vector<Address> SomeAddresses() {
  std::vector<Address> addresses;
  fen_db::Result rows = zeb_db::GetCache().Query(
      std::string("SELECT email.name, email_domain.name FROM email JOIN email_domain ON "
                  "email_domain.id = email.domain ORDER BY email_domain.name, email.name LIMIT ") +
      kLimit);
  for (; !rows.Eof(); rows.Next()) addresses.push_back({rows.Str(0), rows.Str(1)});
  return addresses;
}

/// The panel's map among those of the parameter, and the others before and behind it.
struct Neighbours {
  Elements before;
  Elements behind;
  bool is_there = false;
};

Neighbours NeighboursOf(const Wiring& wiring, const char* parameter, const std::string& table) {
  Neighbours neighbours;
  for (const std::string& element : wiring.ElementsOf(parameter)) {
    if (wiring.parts.IsMapOf(element, table)) {
      neighbours.is_there = true;
    } else {
      (neighbours.is_there ? neighbours.behind : neighbours.before).push_back(element);
    }
  }
  return neighbours;
}

std::string TakeOut(const std::string& map) {
  return "take these keys out of " + map;
}

/// The panel's map before the others, as the administrator has them.
std::string PutFirst(const Wiring& wiring, const char* parameter, const std::string& table) {
  const Elements elements = SplitList(wiring.parameters.at(parameter).value);
  const auto ours = PlaceOf(
      elements, [&](const std::string& element) { return wiring.parts.IsMapOf(element, table); });
  if (!ours) return " or put the panel's map first";
  return " or put the panel's map first: " + SetCommand({parameter, Moved(elements, *ours, 1, 0)});
}

/// Postfix asks all maps for a whole address before it asks for less than that, so only what stands
/// before the panel's map can take its addresses away. The targets without a domain are completed
/// by $myorigin and are in none of the panel's lines under that name.
void AskVirtualMaps(const Wiring& wiring, Lookups& lookups) {
  const Neighbours maps = NeighboursOf(wiring, kVirtualAliasMaps, wiring.parts.virtusertable);
  if (!maps.is_there) return;
  const std::string origin = "@" + HostName("myorigin");
  std::vector<std::string> bare = {origin};
  for (const std::string& entry : kOwnEntries) bare.insert(bare.end(), {entry, entry + origin});
  std::vector<std::string> ours;
  for (const auto& [local, domain] : SomeAddresses()) ours.push_back(local + "@" + domain);
  for (const std::string& name :
       Column(std::string("SELECT name FROM email_domain ORDER BY name LIMIT ") + kLimit)) {
    ours.push_back("@" + name);
  }
  for (const std::string& map : maps.before) {
    lookups.AskForOurs(
        kVirtualAliasMaps, map, ours,
        TakeOut(map) + PutFirst(wiring, kVirtualAliasMaps, wiring.parts.virtusertable));
    lookups.AskForOurs(kVirtualAliasMaps, map, bare, TakeOut(map));
  }
  for (const std::string& map : maps.behind) {
    lookups.AskForOurs(kVirtualAliasMaps, map, bare, TakeOut(map));
  }
}

/// local(8) looks for the local part of a mailbox as well, which the panel's aliases do not have.
void AskAliasMaps(const Wiring& wiring, Lookups& lookups) {
  const Neighbours maps = NeighboursOf(wiring, kAliasMaps, wiring.parts.aliases);
  if (!maps.is_there) return;
  std::vector<std::string> entries = kOwnEntries;
  std::set<std::string> names;
  for (const auto& [local, domain] : SomeAddresses()) {
    entries.push_back(local + "+" + domain);
    names.insert(local);
  }
  const std::vector<std::string> locals(names.begin(), names.end());
  for (const std::string& map : maps.before) {
    lookups.AskForOurs(kAliasMaps, map, entries,
                       TakeOut(map) + PutFirst(wiring, kAliasMaps, wiring.parts.aliases));
    lookups.AskForOurs(kAliasMaps, map, locals, TakeOut(map));
  }
  for (const std::string& map : maps.behind) {
    lookups.AskForOurs(kAliasMaps, map, locals, TakeOut(map));
  }
}

/// The maps that are named in the value, within braces as well.
Elements MapsIn(const Elements& elements) {
  Elements maps;
  for (const std::string& element : elements) {
    const auto map = ParseMap(element);
    if (!map) continue;
    if (map->name.starts_with('{') && map->name.ends_with('}')) {
      const Elements inner = MapsIn(SplitList(map->name.substr(1, map->name.size() - 2)));
      maps.insert(maps.end(), inner.begin(), inner.end());
    } else {
      maps.push_back(element);
    }
  }
  return maps;
}

/// Postfix's own programs build the default type; nobody knows of others that are configured.
bool MayBuildOtherTypes(const Map& map) {
  const std::vector<std::string> words = BehindMapTool(SplitWords(fen_cf::GetPath(map.tool)));
  const std::string program = words.empty() ? "" : std::filesystem::path(words.front()).filename();
  return program != "postmap" && program != "postalias";
}

}  // namespace

Findings CheckTypes(const Wiring& wiring) {
  const WiringParts& parts = wiring.parts;
  Findings findings;
  for (const Setting& setting : wiring.settings) {
    for (const std::string& element : MapsIn(wiring.ElementsOf(setting.name))) {
      for (const Map& table : Maps()) {
        const auto map = ParseMap(element);
        if (map->type == parts.default_type || !parts.IsMapOf(element, table.text)) continue;
        const bool is_old = IsStale({map->name, ""}, *SuffixOf(map->type));
        if (!is_old && MayBuildOtherTypes(table)) continue;
        findings.push_back(
            {"wiring",
             setting.name,
             "has " + element + ", a map " +
                 (is_old ? "that is older than its table" : "of another type than the default"),
             "the tools of the panel build another type, and Postfix works with an earlier text" +
                 std::string(is_old ? "" : " as soon as the table changes"),
             "write " + parts.MapOf(table.text) + " there",
             {}});
      }
    }
  }
  return findings;
}

Findings CheckOtherMaps(const Wiring& wiring) {
  Lookups lookups;
  AskVirtualMaps(wiring, lookups);
  AskAliasMaps(wiring, lookups);
  return lookups.findings;
}

/// Postfix has relay_domains in mind only for domains that are not local, so a domain may be there.
Findings CheckDomainLists(const Wiring&) {
  const std::set<std::string> names = DomainNames();
  Parameters parameters = ReadParameters({"virtual_alias_domains", "virtual_mailbox_domains"});
  Findings findings;
  for (const auto& [name, parameter] : parameters) {
    Lookups lookups;
    const auto ask = [&lookups, list = name](const std::string& map, const auto& keys) {
      return lookups.Ask(list, map, keys);
    };
    const std::set<std::string> found = NamesInList(SplitList(parameter.expanded), names, ask);
    if (parameter.is_set) {
      findings.insert(findings.end(), lookups.findings.begin(), lookups.findings.end());
    }
    if (found.empty()) continue;
    findings.push_back({"wiring",
                        name,
                        "has " + Listing({found.begin(), found.end()}) + " of the panel",
                        "its domains are local, and Postfix warns of it with each message",
                        "take that out of " + name + ", or out of the map that it names",
                        {}});
  }
  return findings;
}

}  // namespace panel::mail
