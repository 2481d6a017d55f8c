/// NAME
///   restriction_checks - whether the access table decides what it should, and no more

#include "panel/mail/restriction_checks.h"

#include <algorithm>
#include <iterator>
#include <set>

#include "panel/mail/listing.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/value_list.h"

namespace panel::mail {
namespace {

const char* const kOpenRelay = "an OK in the table lets strangers send through this server";

/// Whether the access table is the element's map, or within its braces.
bool Mentions(const WiringParts& parts, const std::string& element) {
  if (parts.IsMapOf(element, parts.access)) return true;
  const auto map = ParseMap(element);
  if (!map || !map->name.starts_with('{') || !map->name.ends_with('}')) return false;
  const Elements inner = SplitList(map->name.substr(1, map->name.size() - 2));
  return std::any_of(inner.begin(), inner.end(),
                     [&parts](const std::string& one) { return Mentions(parts, one); });
}

IsElement MentionOf(const WiringParts& parts) {
  return [&parts](const std::string& element) { return Mentions(parts, element); };
}

/// The check in the value as it is written: its first word and how many it has; none when it comes
/// by a reference or a class.
struct Written {
  Elements elements;
  std::size_t from;
  std::size_t count;
};

std::optional<Written> FindWritten(const Wiring& wiring, const std::string& name) {
  Written written{SplitList(wiring.parameters.at(name).value), 0, 1};
  const auto place = PlaceOf(written.elements, MentionOf(wiring.parts));
  if (!place) return std::nullopt;
  written.from = *place;
  if (*place > 0 && written.elements[*place - 1].starts_with("check_")) {
    written.from = *place - 1;
    written.count = 2;
  }
  return written;
}

std::string WithoutTable(const Wiring& wiring) {
  const auto written = FindWritten(wiring, kRelayRestrictions);
  if (!written) return std::string("take the access table out of ") + kRelayRestrictions;
  std::string value = Without(written->elements, written->from, written->count);
  if (value.empty()) value = "permit_mynetworks, permit_sasl_authenticated";
  const Elements rest = SplitList(value);
  if (!PlaceOf(rest, RefusesStrangers)) value = Appended(value, "reject_unauth_destination");
  return SetCommand({kRelayRestrictions, value});
}

std::string BehindRefusal(const Wiring& wiring) {
  const auto written = FindWritten(wiring, kRecipientRestrictions);
  const auto refusal =
      written ? PlaceOf(written->elements, RefusesRelaying) : std::optional<std::size_t>();
  if (!refusal) {
    return SetCommand({kRelayRestrictions,
                       "permit_mynetworks, permit_sasl_authenticated, reject_unauth_destination"});
  }
  return SetCommand({kRecipientRestrictions,
                     Moved(written->elements, written->from, written->count, *refusal + 1)});
}

/// Whether the table is asked before anything refuses strangers.
bool ComesFirst(const Wiring& wiring, const char* name, bool (*refuses)(const std::string&)) {
  const Elements elements = wiring.RestrictionsOf(name);
  const auto table = PlaceOf(elements, MentionOf(wiring.parts));
  const auto refusal = PlaceOf(elements, refuses);
  return table && (!refusal || *table < *refusal);
}

bool Permits(const std::string& element) {
  return element.starts_with("permit");
}

/// The panel's check in the list: the place of its first word.
std::optional<std::size_t> PlaceOfTable(const Wiring& wiring, const Setting& setting) {
  const Elements elements = wiring.ElementsOf(setting.name);
  for (std::size_t index = 0; index + 1 < elements.size(); ++index) {
    if (setting.needs.front().is_met({elements[index], elements[index + 1]})) return index;
  }
  return std::nullopt;
}

/// The domains of the panel that lie below other ones.
std::vector<std::string> DomainsBelowOthers() {
  const std::set<std::string> domains = DomainNames();
  std::vector<std::string> below;
  std::copy_if(domains.begin(), domains.end(), std::back_inserter(below), [&](const auto& name) {
    for (std::size_t dot = name.find('.'); dot != std::string::npos;
         dot = name.find('.', dot + 1)) {
      if (domains.contains(name.substr(dot + 1))) return true;
    }
    return false;
  });
  return below;
}

}  // namespace

Findings CheckRelaying(const Wiring& wiring) {
  Findings findings;
  const Elements relay = wiring.RestrictionsOf(kRelayRestrictions);
  if (ComesFirst(wiring, kRelayRestrictions, RefusesStrangers)) {
    findings.push_back({"wiring",
                        kRelayRestrictions,
                        "asks the access table before it refuses relaying",
                        kOpenRelay,
                        WithoutTable(wiring),
                        {}});
  }
  if (!PlaceOf(relay, RefusesStrangers) &&
      ComesFirst(wiring, kRecipientRestrictions, RefusesRelaying)) {
    findings.push_back({"wiring",
                        kRecipientRestrictions,
                        "asks the access table before it refuses relaying, and no other list does",
                        kOpenRelay,
                        BehindRefusal(wiring),
                        {}});
  }
  return findings;
}

/// Where the recipient restrictions are the only ones that refuse relaying, the table cannot stand
/// before what permits.
Findings CheckOrderOfRestrictions(const Wiring& wiring) {
  const bool is_recipient_free =
      PlaceOf(wiring.RestrictionsOf(kRelayRestrictions), RefusesStrangers).has_value();
  Findings findings;
  for (const Setting& setting : wiring.settings) {
    const bool is_list = setting.name.starts_with("smtpd_") &&
                         (is_recipient_free || setting.name != kRecipientRestrictions);
    if (!is_list) continue;
    const Elements elements = wiring.ElementsOf(setting.name);
    const auto table = PlaceOfTable(wiring, setting);
    const auto permit = PlaceOf(elements, Permits);
    if (!table || !permit || *table < *permit) continue;
    const auto written = FindWritten(wiring, setting.name);
    findings.push_back(
        {"wiring",
         setting.name,
         "has " + elements[*permit] + " before the access table",
         "what that permits is taken though its domain is suspended or its sender listed",
         written ? SetCommand(
                       {setting.name, Moved(written->elements, written->from, written->count, 0)})
                 : "put the access table first",
         {}});
  }
  return findings;
}

Findings CheckSubdomains(const Wiring&) {
  const std::string parameter = "parent_domain_matches_subdomains";
  const std::string access_maps = "smtpd_access_maps";
  const std::vector<std::string> below = DomainsBelowOthers();
  if (below.empty()) return {};
  Elements features = SplitList(ReadParameters({parameter})[parameter].expanded);
  if (std::erase(features, access_maps) == 0) return {};
  std::string value;
  for (const std::string& feature : features) value = Appended(value, feature);
  return {{"wiring",
           parameter,
           "has " + access_maps + ", and the panel has " + Listing(below) +
               " below other domains of its own",
           "when the domain above is suspended or listed, so are these",
           SetCommand({parameter, value}),
           {}}};
}

}  // namespace panel::mail
