/// NAME
///   virtual_addresses - what the virtual user table makes of an address

#include "panel/trace/virtual_addresses.h"

#include <algorithm>
#include <utility>

#include "panel/mail/names.h"
#include "panel/mail/table_values.h"
#include "panel/trace/mail_address.h"

namespace panel::trace {
namespace {

/// What cleanup(8) answers at the end of a message that it gives up on.
const char* const kNotTaken = "refused: 451 4.6.0 Alias expansion error, try again later: ";

std::string Extend(const std::string& address, const std::string& extension) {
  const std::size_t at = address.rfind('@');
  return address.substr(0, at) + extension + address.substr(at);
}

}  // namespace

VirtualAddresses::VirtualAddresses(TracedTable& table, LocalNames& names, const Settings& settings)
    : table_(table), names_(names), settings_(settings) {}

bool VirtualAddresses::IsOwn(const std::string& domain) {
  return mail::LowerCase(domain) == mail::LowerCase(settings_.origin) || names_.Find(domain);
}

/// The order is that of virtual(5). The extension is passed on only where a line without it was
/// found, not by the line of a domain.
VirtualLine VirtualAddresses::LookUp(const std::string& text) {
  const MailAddress address(text, settings_);
  const std::optional<Extended> extended = SplitExtension(address.local, settings_);
  VirtualLine line;
  line.keys = {address.Text()};
  if (extended) line.keys.push_back(extended->user + "@" + address.domain);
  if (IsOwn(address.domain)) {
    line.keys.push_back(address.local);
    if (extended) line.keys.push_back(extended->user);
  }
  line.keys.push_back("@" + address.domain);
  const auto found =
      std::find_if(line.keys.begin(), line.keys.end(),
                   [this](const std::string& key) { return table_.Find(key) != nullptr; });
  if (found == line.keys.end()) return line;

  line.entry = table_.Find(*found);
  const bool is_unextended =
      extended && (*found == extended->user || *found == extended->user + "@" + address.domain);
  std::string value = line.entry->value;
  if (value.starts_with('@')) {
    value.insert(0, is_unextended ? extended->user : address.local);
  }
  for (const std::string& target : mail::ParseValues(value)) {
    const std::string whole = MailAddress(target, settings_).Text();
    const bool passes_on = is_unextended && settings_.extends_virtual;
    line.targets.push_back(passes_on ? Extend(whole, extended->extension) : whole);
  }
  return line;
}

/// cleanup(8) keeps a list of recipients, replaces each by the first target of its line and puts
/// the others at the end.
Expansion VirtualAddresses::Expand(const std::string& address) {
  Expansion expansion;
  expansion.nodes.push_back({address});
  std::vector<std::size_t> recipients = {0};
  std::set<std::string> ended;
  for (std::size_t place = 0; place < recipients.size() && expansion.failure.empty(); ++place) {
    Follow(expansion, recipients, place, ended);
  }
  for (const std::size_t recipient : recipients) expansion.nodes[recipient].is_final = true;
  return expansion;
}

void VirtualAddresses::Follow(Expansion& expansion, std::vector<std::size_t>& recipients,
                              std::size_t place, std::set<std::string>& ended) {
  for (std::size_t nestings = 0;; ++nestings) {
    const std::string address = expansion.nodes[recipients[place]].address;
    if (ended.contains(mail::LowerCase(address))) return;
    if (nestings >= settings_.most_nestings) {
      expansion.failure = kNotTaken + address + " leads to itself in a circle, or over more than " +
                          std::to_string(settings_.most_nestings) +
                          " lines (virtual_alias_recursion_limit)";
      return;
    }
    const VirtualLine line = LookUp(address);
    if (line.targets.empty()) return;
    Replace(expansion, recipients, place, line.targets, ended);
    if (!expansion.failure.empty()) return;
  }
}

/// An address whose line names itself is not looked up again.
void VirtualAddresses::Replace(Expansion& expansion, std::vector<std::size_t>& recipients,
                               std::size_t place, const std::vector<std::string>& targets,
                               std::set<std::string>& ended) const {
  const std::size_t source = recipients[place];
  const std::string address = mail::LowerCase(expansion.nodes[source].address);
  for (std::size_t index = 0; index < targets.size(); ++index) {
    const std::string& target = targets[index];
    if (target.size() > settings_.longest_address) {
      expansion.failure = kNotTaken + address + " leads to an address of more than " +
                          std::to_string(settings_.longest_address) +
                          " characters (virtual_alias_address_length_limit)";
      return;
    }
    const std::size_t node = expansion.nodes.size();
    expansion.nodes.push_back({target});
    expansion.nodes[source].targets.push_back(node);
    if (index == 0) {
      recipients[place] = node;
    } else {
      recipients.push_back(node);
    }
    if (mail::LowerCase(target) == address) ended.insert(address);
  }
  if (recipients.size() > settings_.most_addresses) {
    expansion.failure = kNotTaken + expansion.nodes.front().address + " becomes more than " +
                        std::to_string(settings_.most_addresses) +
                        " addresses (virtual_alias_expansion_limit)";
  }
}

}  // namespace panel::trace
