/// NAME
///   sync - making the panel's database say what the mail server's tables say
///
/// PURPOSE
///   Somebody keeps the tables by hand, or edits them by hand beside the panel. A synchronisation
///   reads all of them: domains, mailboxes, the aliases and forwards of each, both sender lists. It
///   is one change, so it is done as a whole or not at all.
///
/// WHAT IT ADDS TO THE BACK-END
///   The back-end takes each address line of a known domain for a mailbox. What its passes leave
///   open is settled here:
///     - of several lines with one key the first counts, as for Postfix;
///     - a line that was read as an alias of a mailbox is no mailbox of its own, nor are the
///       aliases of such a line lost: they become those of the mailbox at the end;
///     - a mailbox whose own target is the discarding alias keeps no mail;
///     - the domain's line for unknown addresses is no alias;
///     - a responder that the aliases do not have is off;
///     - an IPv6 address in master.cf is the domain's own;
///     - what a sender list says of something suspended, or of a domain of the panel, stays.
///
/// HOW IT FAILS
///   With fen_err::Error("mass_delete", "domains" or "mailboxes", how many) when more than half of
///   them and more than ten would be deleted and that was not allowed, and with whatever the
///   back-end throws.

#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "panel/mail/progress.h"

namespace panel::mail {

/// What became of the things of one kind.
struct SyncResult {
  std::string kind;  ///< "domains", "mailboxes", "aliases", "forwards", "whitelist", "blacklist"
  std::size_t added = 0;
  std::size_t changed = 0;
  std::size_t removed = 0;
  std::vector<std::string> first;  ///< some of each, such as "added info@example.org"
};

struct SyncOptions {
  bool allow_mass_delete = false;
  /// Only to learn what is different: the tables are read though they may not have changed since
  /// the last time, and outgoing addresses, which can be compared without, are left out of it.
  bool for_comparison = false;
  ShowProgress progress;
};

/// Runs inside Panel::Change or Panel::Rehearse. Returns a result for each kind.
std::vector<SyncResult> Synchronise(const SyncOptions& options);

}  // namespace panel::mail
