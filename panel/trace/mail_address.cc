/// NAME
///   mail_address - the parts of an address, as Postfix takes it apart

#include "panel/trace/mail_address.h"

#include <algorithm>
#include <utility>

#include "panel/mail/names.h"

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

/// Names that mean something by themselves and have no extensions.
bool IsWhole(const std::string& local, const Settings& settings) {
  const std::string name = mail::LowerCase(local);
  if (name == "postmaster" || name == "mailer-daemon" || name == "double-bounce") return true;
  const bool is_of_list = name.starts_with("owner-") || name.ends_with("-request");
  return is_of_list && settings.has_owners && settings.delimiters.find('-') != std::string::npos;
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
  const std::size_t end = std::min(local.find_first_of(settings.delimiters), local.size());
  if (end == 0 || end == local.size() || IsWhole(local, settings)) return std::nullopt;
  return Extended{local.substr(0, end), local.substr(end)};
}

}  // namespace panel::trace
