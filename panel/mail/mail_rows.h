/// NAME
///   mail_rows - finding the rows that a change is about
///
/// HOW IT FAILS
///   With fen_err::Error("missing", "domain" or "mailbox", the name as it was given), and as
///   names.h says for what is no name at all.

#pragma once

#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "host/zeb_db.h"
#include "panel/mail/names.h"

namespace panel::mail {

using DomainRow = std::shared_ptr<zeb_db::EmailDomainTable>;
using MailboxRow = std::shared_ptr<zeb_db::EmailTable>;

/// The row of an existing domain.
DomainRow FindDomain(const std::string& text);

/// The row of the mailbox with this address; none when the panel does not have it.
MailboxRow LookUpMailbox(const std::string& text);

/// The row of an existing mailbox.
MailboxRow FindMailbox(const std::string& text);

/// The mailbox's address as it is kept.
std::string AddressOf(MailboxRow& mailbox);

/// What has a name in a domain, as "a mailbox" or "an alias of ADDRESS"; nothing when the panel has
/// no such name.
std::optional<std::string> UseOfName(const zeb_db::EmailDomainTable& domain,
                                     const std::string& local);

/// The names of all domains of the panel.
std::set<std::string> DomainNames();

/// The first column of each row of a query.
std::vector<std::string> Column(const std::string& query);

}  // namespace panel::mail
