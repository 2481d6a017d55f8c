/// NAME
///   mailbox_end_checks - whether the mail of each mailbox ends in it

#include "panel/mail/mailbox_end_checks.h"

#include <array>
#include <map>
#include <set>

#include <pwd.h>

#include "host/zeb_db.h"
#include "panel/mail/listing.h"
#include "panel/mail/lookups.h"
#include "panel/mail/mailbox_ends.h"
#include "panel/mail/names.h"
#include "panel/mail/shortened_findings.h"
#include "panel/mail/transport_ways.h"

namespace panel::mail {
namespace {

bool IsUnixUser(const std::string& name) {
  constexpr std::size_t kRoomForAnyEntry = 16384;
  std::array<char, kRoomForAnyEntry> room{};
  passwd entry{};
  passwd* found = nullptr;
  getpwnam_r(name.c_str(), &entry, room.data(), room.size(), &found);
  return found != nullptr;
}

/// The mailboxes whose mail local(8) gets, by their local parts.
using Addresses = std::map<std::string, std::vector<std::string>>;

Addresses MailboxesByName(Lookups& lookups) {
  std::vector<std::string> addresses;
  fen_db::Result rows = zeb_db::GetCache().Query(
      "SELECT email.name, email_domain.name FROM email JOIN email_domain ON email_domain.id = "
      "email.domain WHERE NOT email.dropmail ORDER BY email.name, email_domain.name");
  for (; !rows.Eof(); rows.Next()) addresses.push_back(rows.Str(0) + "@" + rows.Str(1));
  const std::set<std::string> elsewhere = LedElsewhere(addresses, lookups);
  Addresses mailboxes;
  for (const std::string& address : addresses) {
    if (elsewhere.contains(address)) continue;
    mailboxes[address.substr(0, address.rfind('@'))].push_back(InUnicode(address));
  }
  return mailboxes;
}

/// What makes Unix users unnecessary.
std::string Mend(const MailboxEnds& ends) {
  if (!ends.suggestion.empty()) return SetCommand({"mailbox_transport", ends.suggestion});
  return "give mailbox_transport in main.cf the way to an IMAP server";
}

}  // namespace

Findings CheckMailboxEnds(const ShowProgress& progress) {
  constexpr std::size_t kStepsBetweenShows = 64;
  const MailboxEnds ends = FindMailboxEnds();
  if (ends.KnowsDomains()) return {};
  Lookups lookups;
  Findings without_end;
  Findings sharing;
  std::size_t done = 0;
  const Addresses mailboxes = MailboxesByName(lookups);
  for (const auto& [name, addresses] : mailboxes) {
    if (progress && ++done % kStepsBetweenShows == 0) progress(done, mailboxes.size());
    const bool may_share = addresses.size() > 1 && !ends.HasCommand();
    if (ends.TakesAnyName() && !may_share) continue;  // to ask for each user takes its time
    if (!IsUnixUser(name)) {
      if (ends.TakesAnyName()) continue;
      for (const std::string& address : addresses) {
        without_end.push_back({"wiring",
                               address,
                               "has neither a Unix user of its name nor a mailbox_transport",
                               "its mail bounces",
                               Mend(ends) + ", or add the Unix user " + name,
                               {}});
      }
    } else if (may_share) {
      sharing.push_back({"wiring",
                         Listing(addresses),
                         "have one Unix user, " + name,
                         "their mail is not kept apart",
                         Mend(ends),
                         {}});
    }
  }
  Findings findings = std::move(lookups.findings);
  for (Findings* const found : {&without_end, &sharing}) {
    for (Finding& finding : Shortened(std::move(*found), Mend(ends))) {
      findings.push_back(std::move(finding));
    }
  }
  return findings;
}

}  // namespace panel::mail
