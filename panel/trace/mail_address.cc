/// NAME
///   mail_address - the parts of an address, as Postfix takes it apart

#include "panel/trace/mail_address.h"

namespace panel::trace {
namespace {

/// Of addresses in the forms of other networks, "host!user" and "user%host", the one of this.
std::string Modern(const std::string& text) {
  const std::size_t bang = text.find('!');
  if (bang != std::string::npos) return text.substr(bang + 1) + "@" + text.substr(0, bang);
  const std::size_t percent = text.rfind('%');
  if (percent != std::string::npos) {
    return text.substr(0, percent) + "@" + text.substr(percent + 1);
  }
  return text;
}

}  // namespace

MailAddress::MailAddress(const std::string& text, const Settings& settings) {
  const std::string address = text.find('@') == std::string::npos ? Modern(text) : text;
  const std::size_t at = address.rfind('@');
  local = address.substr(0, at);
  domain = at == std::string::npos ? settings.origin : address.substr(at + 1);
  if (domain.find('.') == std::string::npos && !settings.domain_for_hosts.empty()) {
    domain += "." + settings.domain_for_hosts;
  }
}

std::optional<Extended> SplitExtension(const std::string& local, const Settings& settings) {
  const auto place = settings.extensions.PlaceIn(local);
  if (!place) return std::nullopt;
  return Extended{local.substr(0, *place), local.substr(*place)};
}

}  // namespace panel::trace
