/// NAME
///   mailbox_ends - where the mail of a mailbox ends
///
/// PURPOSE
///   The tables lead a message to the mailbox's own address, and Postfix hands it to local(8). That
///   looks for aliases of the local part first, gives the message to mailbox_transport if there is
///   one, and otherwise to the Unix user of that name; without one, to fallback_transport or
///   luser_relay, or it bounces.

#pragma once

#include <string>

#include "panel/mail/main_cf.h"

namespace panel::mail {

struct MailboxEnds {
  Parameters parameters;  ///< those that have a say in it

  /// What mailbox_transport could be, where an IMAP server that takes mail is installed and nothing
  /// is set; empty otherwise.
  std::string suggestion;

  /// The value of mailbox_transport.
  const std::string& transport() const;

  /// Whether mail for a name goes somewhere though there is no Unix user of that name.
  bool TakesAnyName() const;

  /// Whether all mail of a mailbox goes another way than to a Unix user, so that mailboxes of one
  /// name in several domains may be told apart.
  bool KnowsDomains() const;

  /// Whether a program keeps the mail of Unix users, which may tell the domains apart.
  bool HasCommand() const;
};

MailboxEnds FindMailboxEnds();

}  // namespace panel::mail
