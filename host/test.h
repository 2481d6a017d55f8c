/// NAME
///   test - validators of what users type
///
/// PURPOSE
///   Each takes the text by reference because it may bring it into its normal form (a domain in
///   lower case, say); a caller that needs the text as given passes a copy, or uses Const.

#pragma once

#include <string>

namespace test {

/// A mail address, local part "@" domain: the local part a dot-atom (RFC 5322, 3.2.3) of at most 64
/// characters, so neither quoted nor with blanks, the domain as in Domain(); RFC 5321, 4.5.3.1
/// limits the whole to 254. What a mail server may read as more than a name is refused: a local
/// part that begins with "|", "/", "~" or "-" (a command, a file or an option to aliases(5) and
/// local(8)) and "!", "%" and "#" anywhere in it (source routes, the comment of the tables).
bool Email(std::string& address);

/// A domain name of at least two labels, each of letters, digits and inner hyphens (RFC 1123, 2.1),
/// at most 63 characters a label and 253 in all; the last label is not all digits. Names in Unicode
/// are accepted when they have an ASCII form (IDNA 2008).
bool Domain(std::string& name);

/// An IPv4 address in dotted decimal, four numbers without leading zeros.
bool Ip(std::string& address);

/// An IPv6 address in any of the forms of RFC 4291, 2.2, without a zone.
bool Ip6(std::string& address);

/// The validator's answer for a text that is to stay as it is.
template <bool (*validator)(std::string&)>
bool Const(const std::string& text) {
  std::string copy = text;
  return validator(copy);
}

}  // namespace test
