/// NAME
///   wiring - what main.cf must say so that Postfix uses the panel's tables

#include "panel/mail/wiring.h"

#include <algorithm>
#include <utility>

#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "host/zeb_db.h"
#include "panel/mail/back_end.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/map_lookup.h"
#include "panel/mail/name_list.h"
#include "panel/mail/postconf.h"
#include "panel/mail/value_list.h"

namespace panel::mail {
namespace {

bool Has(const Elements& elements, const IsElement& is_it) {
  return PlaceOf(elements, is_it).has_value();
}

bool CanBeOpened(const std::string& map) {
  try {
    LookUp(map, {"postmaster"});
    return true;
  } catch (const fen_err::Error&) {
    return false;  // which is the answer
  }
}

/// What elements are added to: what the administrator has written or, if nothing, what is of use of
/// the default.
std::string ValueToKeep(const std::string& name, const Parameter& parameter,
                        std::vector<std::string>& left_out) {
  if (parameter.is_set) return parameter.value;
  const bool is_map_list = name.ends_with("alias_maps");
  std::string kept;
  for (const std::string& element : SplitList(parameter.value)) {
    const Elements parts = SplitList(Expanded(name, element));
    if (parts.empty()) continue;
    if (!is_map_list || std::all_of(parts.begin(), parts.end(), CanBeOpened)) {
      kept = Appended(kept, element);
    } else {
      left_out.push_back(element);
    }
  }
  return kept;
}

/// How an element gets into a value.
using Placing = std::string (*)(const std::string& value, const std::string& element);

class Planner {
 public:
  Planner() {
    wiring_.main_cf = ReadMainCf();
    wiring_.parts = FindWiringParts();
    wiring_.parameters = ReadParameters(
        {kMyDestination, kVirtualAliasMaps, kAliasMaps, kSenderTransports, kRecipientRestrictions,
         kSenderRestrictions, kClientRestrictions, kRelayRestrictions, kExtensions, kDelimiter});
    wiring_.classes = ReadRestrictionClasses();
  }

  Wiring Plan() {
    PlanLocalNames();
    PlanMaps();
    PlanRecipientRestrictions();
    PlanOtherRestrictions();
    PlanExtensions();
    PlanClientRule();
    return std::move(wiring_);
  }

 private:
  void PlanLocalNames() {
    const WiringParts& parts = wiring_.parts;
    const auto is_file = [file = parts.local_host_names](const Elements& elements) {
      return Has(elements, [&file](const std::string& element) {
        return element.starts_with('/') && IsSameFile(element, file);
      });
    };
    std::vector<Need> needs = {
        {parts.local_host_names, is_file, "Postfix takes no mail for the domains of the panel"}};
    const std::string host = HostName("myhostname");
    const std::string origin = HostName("myorigin");
    const char* const bare = "the entries of the aliases to which the tables lead are not local";
    AddLocalName("$myhostname", host, bare, needs);
    AddLocalName("localhost", "localhost", "mail that this server sends to itself is not local",
                 needs);
    if (origin != host && origin != "localhost") AddLocalName("$myorigin", origin, bare, needs);
    Add(kMyDestination, std::move(needs), Appended);
  }

  /// A name that is a domain of the panel as well is local, though it should not be: making it so
  /// twice does not help.
  static void AddLocalName(const std::string& element, const std::string& name, const char* why,
                           std::vector<Need>& needs) {
    if (IsDomainOfPanel(name)) return;
    const auto is_met = [name](const Elements& elements) {
      return NamesInList(elements, {name}, LookUp).contains(name);
    };
    needs.push_back({element, is_met, why});
  }

  void PlanMaps() {
    const WiringParts& parts = wiring_.parts;
    AddMap(kVirtualAliasMaps, parts.virtusertable, "Postfix knows no address of the panel");
    AddMap(kAliasMaps, parts.aliases,
           "mail for unknown addresses is not bounced, and forwards get nothing");
    if (parts.domain_ips.empty()) return;
    const auto is_met = [parts](const Elements& elements) {
      return Has(elements, [&parts](const std::string& element) {
        return parts.IsPatternMapOf(element, parts.domain_ips);
      });
    };
    Add(kSenderTransports,
        {{"regexp:" + parts.domain_ips, is_met,
          "the mail of no domain leaves from the address that the panel says"}},
        Appended);
  }

  void AddMap(const char* name, const std::string& table, const std::string& why) {
    const auto is_met = [parts = wiring_.parts, table](const Elements& elements) {
      return Has(elements,
                 [&](const std::string& element) { return parts.IsMapOf(element, table); });
    };
    Add(name, {{wiring_.parts.MapOf(table), is_met, why}}, Appended);
  }

  Need AccessNeed(const std::string& check, const std::string& why) const {
    const auto is_met = [parts = wiring_.parts, check](const Elements& elements) {
      const auto is_access = [&parts](const std::string& element) {
        return parts.IsMapOf(element, parts.access);
      };
      return PlaceOfCheck(elements, check, is_access).has_value();
    };
    return {check + " " + wiring_.parts.MapOf(wiring_.parts.access), is_met, why};
  }

  void PlanRecipientRestrictions() {
    Setting setting =
        Begin(kRecipientRestrictions,
              {AccessNeed("check_recipient_access", "mail for suspended domains is not refused")});
    if (!setting.faults.empty()) {
      const std::string& element = setting.needs.front().element;
      const Elements relay = wiring_.RestrictionsOf(kRelayRestrictions);
      const auto end = Has(relay, RefusesStrangers) ? 0 : EndOfRefusal(setting.value);
      if (!end) {
        wiring_.refusal =
            "neither it nor smtpd_relay_restrictions refuses relaying by "
            "reject_unauth_destination, so that an OK in the access table would let strangers "
            "relay; run first: " +
            SetCommand({kRelayRestrictions,
                        "permit_mynetworks, permit_sasl_authenticated, reject_unauth_destination"});
      } else if (*end == 0) {
        setting.value = Prepended(setting.value, element);
      } else {
        setting.value.insert(*end, ", " + element);
      }
    }
    wiring_.settings.push_back(std::move(setting));
  }

  /// Where in the recipient restrictions the element that refuses relaying ends.
  std::optional<std::size_t> EndOfRefusal(const std::string& value) const {
    for (const Element& element : panel::mail::ElementsOf(value)) {
      const Elements parts = SplitList(Expanded(kRecipientRestrictions, element.text));
      if (Has(WithClasses(parts, wiring_.classes), RefusesRelaying)) return element.end;
    }
    return std::nullopt;
  }

  void PlanOtherRestrictions() {
    Add(kSenderRestrictions,
        {AccessNeed("check_sender_access", "mail of suspended domains and listed senders passes")},
        Prepended);
    const auto is_met = [parts = wiring_.parts](const Elements& elements) {
      const auto is_access = [&parts](const std::string& element) {
        const auto maps = ParsePipe(element);
        return maps && parts.IsMapOf(maps->second, parts.access) &&
               (parts.IsPatternMapOf(maps->first, parts.client_rule) ||
                FaultOfClientRule(maps->first).empty());
      };
      return PlaceOfCheck(elements, "check_client_access", is_access).has_value();
    };
    Add(kClientRestrictions,
        {{"check_client_access " + wiring_.parts.ClientMap(), is_met,
          "listed client addresses have no effect"}},
        Prepended);
  }

  void PlanExtensions() {
    const Parameter& parameter = wiring_.parameters[kExtensions];
    if (wiring_.parameters[kDelimiter].expanded.empty()) return;
    Setting setting{kExtensions, parameter.value, {}, {}, {}};
    const auto is_virtual = [](const std::string& element) { return element == "virtual"; };
    if (Has(SplitList(parameter.expanded), is_virtual)) {
      const Elements written = SplitList(parameter.value);
      const bool is_hidden = !Has(written, is_virtual);
      setting.value.clear();
      for (const auto& element : is_hidden ? SplitList(parameter.expanded) : written) {
        if (!is_virtual(element)) setting.value = Appended(setting.value, element);
      }
      setting.faults.push_back(
          {"holds virtual, though recipient_delimiter is set",
           "mail for an address with an extension does not reach the mailbox's aliases"});
    }
    wiring_.settings.push_back(std::move(setting));
  }

  /// The file is of importance where the client restrictions name it, or are to.
  void PlanClientRule() {
    const WiringParts& parts = wiring_.parts;
    const auto names_file = [&parts](const std::string& element) {
      const auto maps = ParsePipe(element);
      return maps && parts.IsPatternMapOf(maps->first, parts.client_rule);
    };
    const auto setting =
        std::find_if(wiring_.settings.begin(), wiring_.settings.end(),
                     [](const Setting& one) { return one.name == kClientRestrictions; });
    if (setting->faults.empty() && !Has(wiring_.ElementsOf(kClientRestrictions), names_file))
      return;
    wiring_.client_rule_fault = FaultOfClientRule("regexp:" + parts.client_rule);
  }

  Setting Begin(const std::string& name, std::vector<Need> needs) const {
    Setting setting{name, wiring_.parameters.at(name).value, std::move(needs), {}, {}};
    for (const Need& need : setting.needs) {
      if (need.is_met(wiring_.ElementsOf(name))) continue;
      setting.faults.push_back({"lacks " + need.element, need.why});
    }
    if (!setting.faults.empty()) {
      setting.value = ValueToKeep(name, wiring_.parameters.at(name), setting.left_out);
    }
    return setting;
  }

  void Add(const std::string& name, std::vector<Need> needs, Placing place) {
    Setting setting = Begin(name, std::move(needs));
    for (const Need& need : setting.needs) {
      if (need.is_met(wiring_.ElementsOf(name))) continue;
      setting.value = place(setting.value, need.element);
    }
    wiring_.settings.push_back(std::move(setting));
  }

  Wiring wiring_;
};

}  // namespace

Elements Wiring::ElementsOf(const std::string& name) const {
  return SplitList(parameters.at(name).expanded);
}

Elements Wiring::RestrictionsOf(const std::string& name) const {
  return WithClasses(ElementsOf(name), classes);
}

bool IsDomainOfPanel(const std::string& name) {
  return !Column("SELECT id FROM email_domain WHERE name = " + fen_db::Cache::EscapeValue(name))
              .empty();
}

Wiring PlanWiring() {
  if (!WorksForPostfix()) {
    throw fen_err::Error(
        "config", "[param] MTA",
        "is \"" + fen_cf::GetParam("MTA") + "\", so that there is nothing to set in Postfix");
  }
  return Planner().Plan();
}

}  // namespace panel::mail
