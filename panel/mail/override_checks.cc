/// NAME
///   override_checks - services of master.cf with lists of their own
///
/// WHAT MENDS ONE
///   master.cf ends an argument at a blank, so that a list stands there with commas alone. postconf
///   puts it in by itself, unless an element has a blank within braces.

#include "panel/mail/override_checks.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <vector>

#include "host/fen_cf.h"
#include "panel/mail/advice.h"
#include "panel/mail/postconf.h"
#include "panel/mail/postfix_command.h"
#include "panel/mail/value_list.h"

namespace panel::mail {
namespace {

bool IsOfThisMachineAlone(const std::string& service) {
  static constexpr std::array<const char*, 4> kLoopback = {"127.", "localhost:", "[::1]:", "::1:"};
  return std::any_of(kLoopback.begin(), kLoopback.end(),
                     [&service](const char* begin) { return service.starts_with(begin); });
}

bool IsOfRestrictions(const std::string& name) {
  return name.starts_with("smtpd_");
}

/// The services whose own list counts.
std::vector<std::string> PatternsOf(const std::string& name) {
  if (name == kVirtualAliasMaps) return {"cleanup/unix/" + name};
  if (name == kAliasMaps) return {"local/unix/" + name};
  if (IsOfRestrictions(name)) return {"*/inet/" + name, "*/pass/" + name};
  return {"rewrite/unix/" + name};
}

std::vector<Override> OverridesOf(const Wiring& wiring) {
  std::vector<std::string> patterns;
  for (const Setting& setting : wiring.settings) {
    if (setting.needs.empty()) continue;
    for (std::string& pattern : PatternsOf(setting.name)) patterns.push_back(std::move(pattern));
  }
  return ReadOverrides(patterns);
}

/// What mends the list of one service.
class Mending {
 public:
  Mending(const Wiring& wiring, const Override& own)
      : wiring_(wiring), own_(own), elements_(SplitList(own.value)) {}

  /// Adds the element where main.cf would have it. An "OK" in the access table must not open the
  /// relay here either.
  void Add(const std::string& element) {
    const Elements words = SplitList(element);
    std::size_t place = IsOfRestrictions(own_.name) ? 0 : elements_.size();
    if (own_.name == kRecipientRestrictions && !PlaceOf(RelayRestrictions(), RefusesStrangers)) {
      const auto refusal = PlaceOf(elements_, RefusesRelaying);
      opens_relay_ = !refusal;
      place = refusal ? *refusal + 1 : 0;
    }
    elements_.insert(elements_.begin() + static_cast<Elements::difference_type>(place),
                     words.begin(), words.end());
  }

  std::string Text() const {
    if (opens_relay_) {
      return Command(kRelayRestrictions,
                     "permit_mynetworks,permit_sasl_authenticated,reject_unauth_destination") +
             "; then run zebmail check once more";
    }
    std::string list;
    for (const std::string& element : elements_) list += (list.empty() ? "" : ",") + element;
    if (list.find_first_of(" \t") == std::string::npos) return Command(own_.name, list);
    return "in " + (ConfigFolder() / "master.cf").string() + ", give it -o { " + own_.name + " = " +
           list + " }, then run: " + PostfixCommand("reload");
  }

 private:
  /// Those of the service, or else of main.cf.
  Elements RelayRestrictions() const {
    const auto overrides = ReadOverrides({Place(kRelayRestrictions)});
    if (overrides.empty()) return wiring_.RestrictionsOf(kRelayRestrictions);
    return WithClasses(SplitList(overrides.front().expanded), wiring_.classes);
  }

  std::string Command(const std::string& name, const std::string& value) const {
    std::vector<std::string> words = PostconfCommand();
    words.insert(words.end(), {"-P", Place(name) + "=" + value});
    return ShellWords(words) + " && " + PostfixCommand("reload");
  }

  /// The parameter of the service as postconf names it.
  std::string Place(const std::string& name) const {
    std::string service = own_.service;
    service[service.rfind(' ')] = '/';
    return service + "/" + name;
  }

  const Wiring& wiring_;
  const Override& own_;
  Elements elements_;
  bool opens_relay_ = false;
};

}  // namespace

Findings CheckOverrides(const Wiring& wiring) {
  Findings findings;
  for (const Override& own : OverridesOf(wiring)) {
    if (IsOfThisMachineAlone(own.service)) continue;
    const auto setting = std::find_if(wiring.settings.begin(), wiring.settings.end(),
                                      [&own](const Setting& one) { return one.name == own.name; });
    std::vector<Need> missing;
    Mending mending(wiring, own);
    for (const Need& need : setting->needs) {
      if (need.is_met(SplitList(own.expanded))) continue;
      missing.push_back(need);
      mending.Add(need.element);
    }
    for (const Need& need : missing) {
      findings.push_back({"wiring",
                          "master.cf " + own.service,
                          "has a " + own.name + " of its own, which lacks " + need.element,
                          need.why,
                          mending.Text(),
                          {}});
    }
  }
  return findings;
}

}  // namespace panel::mail
