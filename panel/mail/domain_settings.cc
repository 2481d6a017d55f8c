/// NAME
///   domain_settings - checking what is asked for a domain

#include "panel/mail/domain_settings.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "host/fen_err.h"
#include "host/test.h"
#include "panel/mail/back_end.h"
#include "panel/mail/names.h"
#include "panel/process/own_addresses.h"

namespace panel::mail {
namespace {

constexpr std::string_view kRedirectToAddress = "redir_email";
constexpr std::string_view kRedirectToDomain = "redir_domain";
constexpr std::array<std::string_view, 4> kActions = {"error", "ignore", kRedirectToAddress,
                                                      kRedirectToDomain};

std::string CheckedAction(const std::string& action) {
  if (std::find(kActions.begin(), kActions.end(), action) == kActions.end()) {
    Refuse("default action", action, "is none of error, ignore, redir_email, redir_domain");
  }
  return action;
}

std::string CheckedTargetDomain(const std::string& text, const std::string& own_name) {
  std::string name = text;
  if (!test::Domain(name)) Refuse("redirect", text, "is not a domain name");
  if (name == own_name) Refuse("redirect", text, "is the domain itself");
  return name;
}

/// The redirect that goes with `action`. One that the row has is good for the action it was given
/// with, and for no other.
std::string CheckedRedirect(const DomainSettings& settings, const std::string& action,
                            const zeb_db::EmailDomainTable& row) {
  const std::string given = settings.redirect.value_or("");
  if (action != kRedirectToAddress && action != kRedirectToDomain) {
    if (!given.empty()) Refuse("redirect", given, "does not go with the default action " + action);
    return "";
  }
  if (!settings.redirect && action == row.defaction.Str()) return row.redirect.Str();
  if (given.empty()) {
    throw fen_err::Error("value", "redirect", "is needed for the default action " + action);
  }
  return action == kRedirectToAddress ? CheckedAddress("redirect", given)
                                      : CheckedTargetDomain(given, row.name.Str());
}

std::string CheckedIp(const std::string& text) {
  std::string address = text;
  if (address.empty()) return address;
  if (!test::Ip(address) && !test::Ip6(address)) {
    Refuse("ip", text, "is neither an IPv4 nor an IPv6 address");
  }
  address = WithoutGuise(address);
  if (!CanBeOfHost(address)) Refuse("ip", text, "cannot be the address of a single machine");
  if (!BackEnd().CanBindToIp()) {
    Refuse("ip", text, "cannot be used: the mail server sends from one address only");
  }
  return address;
}

std::int64_t CheckedOwner(std::int64_t owner) {
  if (owner < 0) Refuse("owner", std::to_string(owner), "is not the number of a user");
  return owner;
}

}  // namespace

void ApplySettings(const DomainSettings& settings, zeb_db::EmailDomainTable& row) {
  const std::string action = CheckedAction(settings.default_action.value_or(row.defaction.Str()));
  const std::string redirect = CheckedRedirect(settings, action, row);
  const std::string ip = CheckedIp(settings.ip.value_or(row.ip.Str()));
  const std::int64_t owner = CheckedOwner(settings.owner.value_or(row.users));

  row.defaction = action;
  row.redirect = redirect;
  row.ip = ip;
  row.users = owner;
}

}  // namespace panel::mail
