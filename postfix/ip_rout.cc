/// NAME
///   ip_rout - the names and definitions that bind a domain's mail to an address

#include "postfix/ip_rout.h"

#include "host/str.h"
#include "host/test.h"

namespace zebpriv_email_postfix {

std::string DomIpsName(const std::string& domain) {
  static constexpr char kSpecial[] = "()[]\\.?*|$^+{}";
  std::string pattern = domain;
  std::size_t position = pattern.find_first_of(kSpecial);
  while (position != std::string::npos) {
    pattern.insert(position, 1, '\\');
    position = pattern.find_first_of(kSpecial, position + 2);
  }
  return "/@" + pattern + "$/";
}

std::string TransportName(const std::string& domain) {
  return "smtp_" + str::Replace(domain, ".", "_");
}

std::string MasterCfIpRout(const std::string& address) {
  const bool ip6 = test::Const<test::Ip6>(address);
  const std::string tag = str::Replace(address, ip6 ? ":" : ".", "_");
  const std::string option = ip6 ? "smtp_bind_address6" : "smtp_bind_address";
  return "unix - - n - - smtp -o syslog_name=postfix-" + tag + " -o " + option + "=" + address;
}

std::string BoundAddress(const std::string& rout) {
  std::string definition = rout;
  const std::string address = str::RGetWord(definition, "=");
  return test::Const<test::Ip>(address) ? address : "";
}

}  // namespace zebpriv_email_postfix
