/// NAME
///   address - what an address is

#pragma once

#include <string>
#include <string_view>

namespace zebmail::answer {

/// Whether the text is an address as people have them: words joined by dots, "@", a domain; ASCII,
/// at most 254 bytes. One that begins with "-" or holds a character by which some programs tell a
/// route or a command ("!", "%", "|", "`", "$") is none, though it could be: whoever is handed a
/// plain address can do nothing with it but send mail there.
bool IsPlainAddress(std::string_view text);

/// The part of an address in front of its last "@"; all of it if there is none.
std::string_view LocalPart(std::string_view address);

/// The address with its domain in lower case. What is in front of it belongs to that domain, which
/// may tell upper from lower case.
std::string WithLowerCaseDomain(std::string_view address);

}  // namespace zebmail::answer
