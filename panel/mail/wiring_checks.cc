/// NAME
///   wiring_checks - whether Postfix uses the panel's tables

#include "panel/mail/wiring_checks.h"

#include <memory>

#include "host/fen_err.h"
#include "panel/mail/advice.h"
#include "panel/mail/mailbox_end_checks.h"
#include "panel/mail/maps.h"
#include "panel/mail/override_checks.h"
#include "panel/mail/postconf.h"
#include "panel/mail/restriction_checks.h"
#include "panel/mail/shadow_checks.h"
#include "panel/mail/wiring.h"
#include "panel/mail/wiring_change.h"

namespace panel::mail {
namespace {

std::string ApplyCommand() {
  return Command("postfix-config --apply");
}

/// Makes all settings, once for all findings that ask for it: they are made together.
std::function<void()> ApplyOnce() {
  const auto is_done = std::make_shared<bool>(false);
  return [is_done] {
    if (*is_done) return;
    Apply(ChangeOf(PlanWiring()));
    *is_done = true;
  };
}

/// What main.cf lacks. While the settings must not be made, a finding says what to do first.
Findings CheckSettings(const Wiring& wiring) {
  const std::function<void()> fix = wiring.refusal.empty() ? ApplyOnce() : nullptr;
  Findings findings;
  if (!wiring.refusal.empty()) {
    findings.push_back({"wiring",
                        kRecipientRestrictions,
                        "keeps the settings from being made",
                        "Postfix does not use the tables of the panel",
                        wiring.refusal,
                        {}});
  }
  for (const Setting& setting : wiring.settings) {
    for (const Fault& fault : setting.faults) {
      findings.push_back({"wiring", setting.name, fault.what, fault.why, ApplyCommand(), fix});
    }
  }
  if (!wiring.client_rule_fault.empty()) {
    findings.push_back({"wiring", wiring.parts.client_rule, wiring.client_rule_fault,
                        "listed client addresses have no effect, or Postfix takes no mail at all",
                        ApplyCommand(), fix});
  }
  return findings;
}

/// Another file than the panel's own in front of the access table.
Findings CheckOtherClientRules(const Wiring& wiring) {
  Findings findings;
  for (const std::string& element : wiring.RestrictionsOf(kClientRestrictions)) {
    const auto maps = ParsePipe(element);
    if (!maps || !wiring.parts.IsMapOf(maps->second, wiring.parts.access) ||
        wiring.parts.IsPatternMapOf(maps->first, wiring.parts.client_rule)) {
      continue;
    }
    const std::string fault = FaultOfClientRule(maps->first);
    if (fault.empty()) continue;
    const std::string rule(kClientRule);
    findings.push_back({"wiring",
                        maps->first,
                        fault,
                        "listed client addresses have no effect, or Postfix takes no mail at all",
                        "give the file the one rule " + rule.substr(0, rule.find('\n')) +
                            ", or take " + element + " out of " + kClientRestrictions,
                        {}});
  }
  return findings;
}

/// The names by which Postfix completes bare targets.
Findings CheckHostNames(const Wiring&) {
  Findings findings;
  for (const char* parameter : {"myhostname", "myorigin"}) {
    const std::string name = HostName(parameter);
    if (!IsDomainOfPanel(name)) continue;
    findings.push_back(
        {"wiring",
         parameter,
         "is " + name + ", a domain of the panel",
         "the tables lead to entries of the aliases, which Postfix looks for in that "
         "domain then",
         "give it a name of this server itself: " + SetCommand({parameter, "NAME"}) +
             ", then restart Postfix",
         {}});
  }
  return findings;
}

}  // namespace

Findings CheckWiring(const ShowProgress& progress) {
  try {
    static_cast<void>(MapType());
  } catch (const fen_err::Error&) {
    return {};  // the maps' check has asked the same and tells why
  }
  Findings findings;
  try {
    const Wiring wiring = PlanWiring();
    for (const auto check : {CheckSettings, CheckOtherClientRules, CheckHostNames, CheckRelaying,
                             CheckOrderOfRestrictions, CheckSubdomains, CheckOverrides, CheckTypes,
                             CheckOtherMaps, CheckDomainLists}) {
      const Findings found = check(wiring);
      findings.insert(findings.end(), found.begin(), found.end());
    }
    const Findings of_mailboxes = CheckMailboxEnds(progress);
    findings.insert(findings.end(), of_mailboxes.begin(), of_mailboxes.end());
  } catch (const fen_err::Error& error) {
    findings.push_back({"wiring",
                        error.object(),
                        "keeps main.cf from being compared with the panel: " + error.value(),
                        "it cannot be seen whether Postfix uses the panel's tables",
                        "mend the cause named here",
                        {}});
  }
  return findings;
}

}  // namespace panel::mail
