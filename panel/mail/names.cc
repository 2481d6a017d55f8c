/// NAME
///   names - checking and showing the names that users type

#include "panel/mail/names.h"

#include <algorithm>

#include "host/fen_err.h"
#include "host/str.h"
#include "host/test.h"
#include "host/zeb_db.h"

namespace panel::mail {

void Refuse(const std::string& what, const std::string& value, const std::string& why) {
  throw fen_err::Error("value", what, "\"" + value + "\" " + why);
}

std::string LowerCase(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char character) {
    return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                : character;
  });
  return text;
}

std::string CheckedDomainName(const std::string& text) {
  std::string name = text;
  if (!test::Domain(name)) Refuse("domain", text, "is not a domain name");
  return name;
}

std::string CheckedAddress(const std::string& what, const std::string& text) {
  std::string address = text;
  if (!test::Email(address)) Refuse(what, text, "is not a mail address");
  return address;
}

MailboxName CheckedMailbox(const std::string& text) {
  const std::string address = LowerCase(CheckedAddress("mailbox", text));
  const std::size_t at = address.rfind('@');
  return {address.substr(0, at), address.substr(at + 1)};
}

std::string CheckedAlias(const std::string& text, const std::string& domain) {
  std::string local = LowerCase(text);
  const bool is_local_part =
      local.find('@') == std::string::npos && test::Const<test::Email>(local + "@" + domain);
  if (!is_local_part) Refuse("alias", text, "is not the local part of an address");
  return local;
}

std::string EntryOf(const std::string& address) {
  return str::Replace(address, "@", "+");
}

std::string InUnicode(const std::string& name) {
  const std::size_t domain = name.rfind('@') + 1;
  zeb_db::EmailDomainTable converter;
  converter.name = name.substr(domain);
  return name.substr(0, domain) + converter.name.Unicode();
}

}  // namespace panel::mail
