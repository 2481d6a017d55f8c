/// NAME
///   ip_rout - the names and definitions that bind a domain's mail to an address

#pragma once

#include <string>

namespace zebpriv_email_postfix {

/// The regular expression that matches the senders of `domain`, in Postfix's form:
/// "/@shop\.example$/".
std::string DomIpsName(const std::string& domain);

/// The service of `domain`: "smtp_shop_example". It depends on the domain alone, so that moving the
/// domain to another address changes one line.
std::string TransportName(const std::string& domain);

/// The definition, behind the service name in master.cf, of an SMTP client that sends from
/// `address` and logs under a name made of it. What is not an IPv6 address is taken for IPv4.
std::string MasterCfIpRout(const std::string& address);

/// The address in such a definition. Only IPv4 is read back; anything else is the empty text.
std::string BoundAddress(const std::string& rout);

}  // namespace zebpriv_email_postfix
