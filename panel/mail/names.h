/// NAME
///   names - checking and showing the names that users type
///
/// PURPOSE
///   Domains are kept in ASCII and shown in Unicode. Mailboxes and aliases are kept in lower case,
///   since Postfix looks them up that way; of a forward, which is somebody else's address, only the
///   domain is.
///
/// HOW IT FAILS
///   With fen_err::Error("value", what it was to be, what is wrong with it).

#pragma once

#include <string>

namespace panel::mail {

/// Throws fen_err::Error("value", `what`, the value in quotes and `why` it cannot be).
[[noreturn]] void Refuse(const std::string& what, const std::string& value, const std::string& why);

/// `text` with its ASCII letters in lower case.
std::string LowerCase(std::string text);

struct MailboxName {
  std::string local;
  std::string domain;

  std::string Address() const { return local + "@" + domain; }
};

/// A domain in the form in which it is kept.
std::string CheckedDomainName(const std::string& text);

/// A mail address of somebody, for `what`.
std::string CheckedAddress(const std::string& what, const std::string& text);

/// The address of a mailbox, which need not exist.
MailboxName CheckedMailbox(const std::string& text);

/// The local part of an alias in `domain`.
std::string CheckedAlias(const std::string& text, const std::string& domain);

/// The key of the entry that the mailbox with this address has in the aliases.
std::string EntryOf(const std::string& address);

/// A domain or an address with the domain in Unicode.
std::string InUnicode(const std::string& name);

}  // namespace panel::mail
