/// NAME
///   binding_checks - whether each domain's mail leaves from the address that the panel says
///
/// WHAT IT GOES BY
///   The back-end gives a bound domain a service of its own: "smtp_" and the domain with "_" for
///   each ".", with a syslog name that begins with "postfix-" and, at its end, the address.
///   Services of another form are somebody else's. A service may outlive its binding, with no
///   address or with an IPv6 address, which the back-end does not read back.

#include "panel/mail/binding_checks.h"

#include <map>
#include <set>
#include <sstream>
#include <string>

#include "host/fen_cf.h"
#include "host/str.h"
#include "host/zeb_db.h"
#include "panel/conf/disk_file.h"
#include "panel/module/config.h"

namespace panel::mail {
namespace {

const char* const kWhy = "its mail leaves from another address than it should";

/// Which line has a value, and the value.
struct Line {
  std::size_t number;
  std::string value;
};

using Lines = std::map<std::string, Line>;

/// The lines of a file of two columns, by the first column; comments and continuation lines are
/// none. The first of several counts.
Lines ReadColumns(const std::string& path) {
  std::istringstream text(conf::ReadWholeFile(path).bytes);
  Lines lines;
  std::string line;
  for (std::size_t number = 1; std::getline(text, line); ++number) {
    const std::size_t end = line.find_first_of(" \t\r");
    if (line.empty() || line[0] == '#' || end == 0 || end == std::string::npos) continue;
    const std::size_t value = line.find_first_not_of(" \t\r", end);
    if (value == std::string::npos) continue;
    line.erase(line.find_last_not_of(" \t\r") + 1);
    lines.try_emplace(line.substr(0, end), Line{number, line.substr(value)});
  }
  return lines;
}

/// A domain of the panel and the address that it is to send from.
struct Bound {
  std::string name;
  std::string address;
};

/// All domains, by the names that their services have or would have.
std::map<std::string, Bound> DomainsByService() {
  std::map<std::string, Bound> domains;
  fen_db::Result rows = zeb_db::GetCache().Query("SELECT name, ip FROM email_domain");
  for (; !rows.Eof(); rows.Next()) {
    domains.emplace("smtp_" + str::Replace(rows.Str(0), ".", "_"), Bound{rows.Str(0), rows.Str(1)});
  }
  return domains;
}

/// All that says from which address mail leaves.
struct Bindings {
  std::string master;  ///< path of master.cf
  std::string map;     ///< path of the domain-to-IP map
  Lines services;      ///< by name
  Lines patterns;      ///< each with the name of a service
  std::map<std::string, Bound> domains;

  std::string InMaster(const Line& line) const {
    return master + ":" + std::to_string(line.number);
  }
  std::string InMap(const Line& line) const { return map + ":" + std::to_string(line.number); }
};

bool IsOfBoundDomain(const std::string& service, const Line& line) {
  return service.starts_with("smtp_") &&
         line.value.find(" -o syslog_name=postfix-") != std::string::npos;
}

std::string AddressOf(const Line& service) {
  return service.value.substr(service.value.rfind('=') + 1);
}

std::string OrAny(const std::string& address) {
  return address.empty() ? "any address" : address;
}

std::string UpdateCommand(const Bound& domain) {
  return "zebmail --config " + CurrentConfig().file.string() + " domain update " + domain.name +
         " --ip " + domain.address;
}

Finding Stray(const Bindings& bindings, const std::string& service, const Line& line,
              const std::string& by_hand) {
  return {"binding",
          bindings.InMaster(line),
          "has the service " + service + " of no domain of the panel",
          "what is led to it leaves from " + OrAny(AddressOf(line)),
          by_hand,
          {}};
}

Finding OtherAddress(const Bindings& bindings, const Line& line, const Bound& domain,
                     const std::string& by_hand) {
  return {"binding",
          bindings.InMaster(line),
          "has " + domain.name + " send from " + OrAny(AddressOf(line)) +
              ", though the panel says " + OrAny(domain.address),
          kWhy,
          domain.address.empty() ? by_hand : UpdateCommand(domain),
          {}};
}

Findings CheckServices(const Bindings& bindings) {
  Findings findings;
  for (const auto& [service, line] : bindings.services) {
    if (!IsOfBoundDomain(service, line)) continue;
    const std::string by_hand =
        "delete that line, and the one of " + bindings.map + " that ends in " + service;
    const auto domain = bindings.domains.find(service);
    if (domain == bindings.domains.end()) {
      findings.push_back(Stray(bindings, service, line, by_hand));
    } else if (AddressOf(line) != domain->second.address) {
      findings.push_back(OtherAddress(bindings, line, domain->second, by_hand));
    }
  }
  return findings;
}

Findings CheckPatterns(const Bindings& bindings) {
  Findings findings;
  for (const auto& [pattern, line] : bindings.patterns) {
    if (!line.value.starts_with("smtp_") || bindings.services.contains(line.value)) continue;
    findings.push_back(
        {"binding",
         bindings.InMap(line),
         "leads to the service " + line.value + ", which is not in " + bindings.master,
         "the mail of that domain cannot leave",
         "delete that line",
         {}});
  }
  return findings;
}

Findings CheckDomains(const Bindings& bindings) {
  std::set<std::string> led_to;
  for (const auto& [pattern, line] : bindings.patterns) led_to.insert(line.value);
  Findings findings;
  for (const auto& [service, domain] : bindings.domains) {
    if (domain.address.empty() || led_to.contains(service)) continue;
    findings.push_back({"binding",
                        domain.name,
                        "is not bound to " + domain.address + ", as the panel says",
                        kWhy,
                        UpdateCommand(domain),
                        {}});
  }
  return findings;
}

}  // namespace

Findings CheckBindings() {
  const std::string master = fen_cf::GetPath("postfix-master");
  const std::string map = fen_cf::GetPath("postfix-domainips");
  if (master.empty() || map.empty()) return {};
  const Bindings bindings{master, map, ReadColumns(master), ReadColumns(map), DomainsByService()};
  Findings findings = CheckServices(bindings);
  for (const auto& check : {CheckPatterns, CheckDomains}) {
    const Findings found = check(bindings);
    findings.insert(findings.end(), found.begin(), found.end());
  }
  return findings;
}

}  // namespace panel::mail
