/// NAME
///   binding_checks - whether each domain's mail leaves from the address that the panel says

#include "panel/mail/binding_checks.h"

#include <map>
#include <set>
#include <string>

#include "host/fen_err.h"
#include "host/zeb_db.h"
#include "panel/mail/advice.h"
#include "panel/mail/bindings.h"
#include "panel/mail/map_lookup.h"
#include "panel/mail/names.h"

namespace panel::mail {
namespace {

const char* const kWhy = "its mail leaves from another address than it should";

/// A domain of the panel and the address that it is to send from.
struct Bound {
  std::string name;
  std::string address;

  std::string Shown() const { return InUnicode(name); }
};

/// All domains, by the names that their services have or would have.
using Domains = std::map<std::string, Bound>;

Domains DomainsByService() {
  Domains domains;
  fen_db::Result rows = zeb_db::GetCache().Query("SELECT name, ip FROM email_domain");
  for (; !rows.Eof(); rows.Next()) {
    domains.emplace(ServiceOf(rows.Str(0)), Bound{rows.Str(0), rows.Str(1)});
  }
  return domains;
}

std::string OrAny(const std::string& address) {
  return address.empty() ? "any address" : address;
}

std::string UpdateCommand(const Bound& domain) {
  return Command("domain update " + domain.name + " --ip " + domain.address);
}

/// A line that the back-end wrote for a domain that is gone, or for another address.
Findings CheckService(const Bindings& bindings, const Service& service, const Domains& domains) {
  const std::string where = bindings.InMaster(service.line);
  const std::string by_hand =
      "delete that line, and the one of " + bindings.map + " that ends in " + service.name;
  const auto domain = domains.find(service.name);
  if (domain == domains.end()) {
    return {{"binding",
             where,
             "has the service " + service.name + " of no domain of the panel",
             "what is led to it leaves from " + OrAny(*service.address),
             by_hand,
             {}}};
  }
  const Bound& bound = domain->second;
  if (*service.address == bound.address) return {};
  return {{"binding",
           where,
           "has " + bound.Shown() + " send from " + OrAny(*service.address) +
               ", though the panel says " + OrAny(bound.address),
           kWhy,
           bound.address.empty() ? by_hand : UpdateCommand(bound),
           {}}};
}

/// A service of the name that the panel gives a domain's, which somebody has written.
Findings CheckOtherForm(const Bindings& bindings, const Service& service, const Domains& domains) {
  if (!domains.contains(service.name)) return {};
  return {{"binding",
           bindings.InMaster(service.line),
           "has the service " + service.name +
               " in another form than the panel gives it: the name, a tab, and all the rest in one "
               "line",
           "the panel cannot change from where the domain's mail leaves",
           "delete it, and the line of " + bindings.map + " that leads to " + service.name +
               ", then update the domain with --ip",
           {}}};
}

/// Of two services with one name the back-end changes the first, and Postfix uses the last.
Findings CheckServices(const Bindings& bindings, const Domains& domains) {
  Findings findings;
  for (const Service& service : bindings.services) {
    const Service& first = *bindings.FindService(service.name);
    if (service.address && first.line != service.line) {
      findings.push_back({"binding",
                          bindings.InMaster(service.line),
                          "has the service " + service.name + " again, which line " +
                              std::to_string(first.line) + " has already",
                          "Postfix uses the last of them, and the panel changes the first",
                          "delete the line that is not right",
                          {}});
      continue;
    }
    const Findings found = service.address ? CheckService(bindings, service, domains)
                                           : CheckOtherForm(bindings, service, domains);
    findings.insert(findings.end(), found.begin(), found.end());
  }
  return findings;
}

/// Lines of the map that lead to a service that is not there.
Findings CheckPatterns(const Bindings& bindings, const Domains&) {
  Findings findings;
  for (const SenderPattern& line : bindings.patterns) {
    if (!line.service.starts_with(kServiceBegin)) continue;
    if (bindings.FindService(line.service) != nullptr) continue;
    findings.push_back(
        {"binding",
         bindings.InMap(line.line),
         "leads to the service " + line.service + ", which is not in " + bindings.master,
         "the mail of that domain cannot leave",
         "delete that line",
         {}});
  }
  return findings;
}

/// Domains that no line of the map leads to their service. A new binding would give a service that
/// is still there a twin.
Findings CheckDomains(const Bindings& bindings, const Domains& domains) {
  Findings findings;
  for (const auto& [name, domain] : domains) {
    if (domain.address.empty() || bindings.FindPattern(PatternOf(domain.name)) != nullptr) continue;
    const Service* const left = bindings.FindService(name);
    const std::string first =
        left == nullptr ? "" : "delete " + bindings.InMaster(left->line) + " first, then run: ";
    findings.push_back({"binding",
                        domain.Shown(),
                        "is not bound to " + domain.address + ", as the panel says",
                        kWhy,
                        first + UpdateCommand(domain),
                        {}});
  }
  return findings;
}

/// Lines of the map that Postfix skips or reads otherwise than they are meant. That there is no
/// postmap to ask is another check's to say.
Findings CheckMapLines(const Bindings& bindings, const Domains&) {
  Findings findings;
  try {
    for (const Complaint& complaint : ComplaintsOf({"regexp", bindings.map})) {
      findings.push_back({"binding",
                          bindings.InMap(complaint.line),
                          "is not well-formed; Postfix says: " + complaint.text,
                          "the domain that it is about may send from another address",
                          "mend the line, or delete it",
                          {}});
    }
  } catch (const fen_err::Error& error) {
    if (error.type() != "email") throw;
  }
  return findings;
}

}  // namespace

Findings CheckBindings() {
  const std::optional<Bindings> bindings = ReadBindings();
  if (!bindings) return {};
  const Domains domains = DomainsByService();
  Findings findings;
  for (const auto& check : {CheckServices, CheckPatterns, CheckDomains, CheckMapLines}) {
    const Findings found = check(*bindings, domains);
    findings.insert(findings.end(), found.begin(), found.end());
  }
  return findings;
}

}  // namespace panel::mail
