/// NAME
///   settings - what main.cf says about the way of a message

#include "panel/trace/settings.h"

#include <algorithm>

#include "host/fen_err.h"
#include "panel/mail/main_cf.h"
#include "panel/mail/map_lookup.h"
#include "panel/mail/postconf.h"
#include "panel/mail/value_list.h"

namespace panel::trace {
namespace {

bool Has(const mail::Parameter& parameter, const std::string& word) {
  const std::vector<std::string> words = mail::SplitList(parameter.expanded);
  return std::find(words.begin(), words.end(), word) != words.end();
}

std::size_t Limit(const mail::Parameters& parameters, const std::string& name) {
  constexpr std::size_t kMostDigits = 9;
  const std::string& value = parameters.at(name).expanded;
  const bool is_number = !value.empty() && value.size() <= kMostDigits &&
                         value.find_first_not_of("0123456789") == std::string::npos;
  if (!is_number) {
    throw fen_err::Error("email", "postconf", name + " is \"" + value + "\", no number");
  }
  return std::stoul(value);
}

}  // namespace

Settings ReadSettings() {
  const mail::Parameters parameters = mail::ReadParameters({"alias_maps",
                                                            "append_dot_mydomain",
                                                            "default_database_type",
                                                            "fallback_transport",
                                                            "local_recipient_maps",
                                                            "local_transport",
                                                            "luser_relay",
                                                            "mailbox_transport",
                                                            "mydestination",
                                                            "mydomain",
                                                            "owner_request_special",
                                                            "parent_domain_matches_subdomains",
                                                            "propagate_unmatched_extensions",
                                                            "recipient_delimiter",
                                                            "smtpd_recipient_restrictions",
                                                            "virtual_alias_address_length_limit",
                                                            "virtual_alias_domains",
                                                            "virtual_alias_expansion_limit",
                                                            "virtual_alias_maps",
                                                            "virtual_alias_recursion_limit"});
  const auto value = [&parameters](const char* name) { return parameters.at(name).expanded; };
  Settings settings;
  settings.origin = mail::HostName("myorigin");
  if (value("append_dot_mydomain") == "yes") settings.domain_for_hosts = value("mydomain");
  settings.extensions = {value("recipient_delimiter"), value("owner_request_special") == "yes"};
  const mail::Parameter& propagation = parameters.at("propagate_unmatched_extensions");
  settings.extends_virtual = Has(propagation, "virtual");
  settings.extends_aliases = Has(propagation, "alias");
  settings.parents_match =
      Has(parameters.at("parent_domain_matches_subdomains"), "smtpd_access_maps");
  settings.most_nestings = Limit(parameters, "virtual_alias_recursion_limit");
  settings.most_addresses = Limit(parameters, "virtual_alias_expansion_limit");
  settings.longest_address = Limit(parameters, "virtual_alias_address_length_limit");
  settings.destinations = mail::SplitList(value("mydestination"));
  settings.local_transport = value("local_transport");
  settings.mailbox_transport = value("mailbox_transport");
  settings.fallback_transport = value("fallback_transport");
  settings.other_user = value("luser_relay");
  settings.local_recipients = value("local_recipient_maps");
  settings.recipient_restrictions = value("smtpd_recipient_restrictions");
  settings.virtual_maps = value("virtual_alias_maps");
  settings.virtual_domains = value("virtual_alias_domains");
  settings.alias_maps = value("alias_maps");
  settings.map_type = value("default_database_type");
  return settings;
}

std::string MapIn(const std::string& maps, const std::string& path) {
  for (const std::string& element : mail::SplitList(maps)) {
    const std::optional<mail::MapName> map = mail::ParseMap(element);
    if (map && map->name == path) return map->type + ":" + path;
  }
  return "";
}

}  // namespace panel::trace
