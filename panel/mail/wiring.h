/// NAME
///   wiring - what main.cf must say so that Postfix uses the panel's tables
///
/// PURPOSE
///   Compares main.cf with what the panel needs of it and makes the values that would do. They hold
///   all that the administrator has there, as it is written: elements are only added. Where he has
///   left a parameter at its default, the default's elements are kept too, but for those that stand
///   for nothing and for maps that cannot be opened on this machine, which would hold up all mail.
///   wiring_parts.h says in which spellings an element is taken for one that is needed.
///
/// WHERE ELEMENTS ARE ADDED
///   Maps come last, so that what the administrator has still comes first. Access checks come
///   first, since a list that begins with permit_mynetworks would let mail of suspended domains
///   pass. Recipients are checked behind the element that refuses relaying, where the recipient
///   restrictions are the only ones that do: an "OK" in the access table ends its list.
///
/// THE ONE ELEMENT THAT IS TAKEN OUT
///   "virtual" from propagate_unmatched_extensions, where recipient_delimiter is set. With it, mail
///   for info+news@example.org would be led to an entry "info+example.org+news", which is not
///   there.
///
/// HOW IT FAILS
///   As FindWiringParts and main_cf.h say.

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "panel/mail/main_cf.h"
#include "panel/mail/restrictions.h"
#include "panel/mail/wiring_parts.h"

namespace panel::mail {

/// One element that the value of a parameter must have.
struct Need {
  std::string element;                                   ///< as it is added
  std::function<bool(const Elements& elements)> is_met;  ///< by those of the expanded value
  std::string why;                                       ///< what goes wrong without it
};

/// What is wrong with a parameter, and why that matters.
struct Fault {
  std::string what;
  std::string why;
};

struct Setting {
  std::string name;
  std::string value;  ///< as it should stand in main.cf
  std::vector<Need> needs;
  std::vector<Fault> faults;          ///< of the value that it has; none when that will do
  std::vector<std::string> left_out;  ///< elements of the default that the value does not have
};

struct Wiring {
  conf::FileContents main_cf;  ///< as it was before Postfix was asked what it says
  WiringParts parts;
  Parameters parameters;
  RestrictionClasses classes;
  std::vector<Setting> settings;

  /// What is wrong with the rule that the client restrictions go through; empty when it is right.
  std::string client_rule_fault;

  /// Why the settings must not be made; empty when they may.
  std::string refusal;

  /// The elements of the parameter's expanded value; for restrictions, with those of classes.
  Elements ElementsOf(const std::string& name) const;
  Elements RestrictionsOf(const std::string& name) const;
};

/// Looks at main.cf for the panel in use, whose modules must be set up. Throws
/// fen_err::Error("config", "[param] MTA", ...) when the panel works for another mail server.
Wiring PlanWiring();

/// Whether the name, in lower case, is a mail domain of the panel.
bool IsDomainOfPanel(const std::string& name);

/// What PlanWiring looks at.
inline constexpr const char* kMyDestination = "mydestination";
inline constexpr const char* kVirtualAliasMaps = "virtual_alias_maps";
inline constexpr const char* kAliasMaps = "alias_maps";
inline constexpr const char* kSenderTransports = "sender_dependent_default_transport_maps";
inline constexpr const char* kRecipientRestrictions = "smtpd_recipient_restrictions";
inline constexpr const char* kSenderRestrictions = "smtpd_sender_restrictions";
inline constexpr const char* kClientRestrictions = "smtpd_client_restrictions";
inline constexpr const char* kRelayRestrictions = "smtpd_relay_restrictions";
inline constexpr const char* kExtensions = "propagate_unmatched_extensions";
inline constexpr const char* kDelimiter = "recipient_delimiter";

}  // namespace panel::mail
