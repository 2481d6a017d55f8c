/// NAME
///   settings - what main.cf says about the way of a message
///
/// HOW IT FAILS
///   As mail::ReadParameters.

#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "panel/mail/extensions.h"

namespace panel::trace {

struct Settings {
  std::string origin;             ///< completes addresses without a domain
  std::string domain_for_hosts;   ///< completes host names without a dot; empty when none does
  mail::Extensions extensions;    ///< of local parts
  bool extends_virtual = false;   ///< an extension without a line is passed on by the virtual table
  bool extends_aliases = false;   ///< and by the aliases
  bool parents_match = false;     ///< in the access table a domain stands for those below it
  std::size_t most_nestings = 0;  ///< of virtual addresses
  std::size_t most_addresses = 0;         ///< that one becomes
  std::size_t longest_address = 0;        ///< that it may become
  std::vector<std::string> destinations;  ///< the words of mydestination
  std::string local_transport;
  std::string mailbox_transport;
  std::string fallback_transport;
  std::string other_user;  ///< luser_relay, who gets mail for unknown users
  std::string local_recipients;
  std::string recipient_restrictions;
  std::string virtual_maps;
  std::string virtual_domains;
  std::string alias_maps;
  std::string map_type;
};

Settings ReadSettings();

/// How the list of maps names the one of the table at `path`, such as "hash:/etc/mail/access";
/// empty when it does not.
std::string MapIn(const std::string& maps, const std::string& path);

}  // namespace panel::trace
