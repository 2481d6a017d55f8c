/// NAME
///   panel_lines - the things of a panel as JSON Lines
///
/// WHAT A LINE LOOKS LIKE
///   An object; "type" says what it is of:
///
///     {"type": "webdomain", "name", "owner"}
///     {"type": "domain", "name", "active", "defaction", "redirect", "ip", "owner"}
///     {"type": "mailbox", "address", "active", "dropmail", "aliases": [], "forwards": [],
///      "responder", "subject", "text"}
///     {"type": "whitelist", "value"} and {"type": "blacklist", "value"}
///
///   The fields are those of the commands; "owner" is the number of the panel's user, "subject" and
///   "text" are what the responder of the mailbox answers. A name, an address, a value and the
///   owner of a web domain must be given, everything else may be left out.
///
/// HOW IT FAILS
///   With fen_err::Error("value", place of the line, what is wrong with it).

#pragma once

#include <istream>
#include <string>
#include <vector>

#include "panel/mail/import.h"
#include "panel/mail/mail_module.h"
#include "panel/mail/web_domains.h"

namespace zebmail {

/// Each is one line, with its line feed.
std::string ToLine(const panel::mail::WebDomain& domain);
std::string ToLine(const panel::mail::Domain& domain);

/// `responder` is null for a mailbox that never had one.
std::string ToLine(const panel::mail::Mailbox& mailbox, const panel::mail::Responder* responder);

std::string ToLine(panel::mail::SenderList list, const std::string& value);

/// All lines of `stream` but empty ones. `name` is what a message calls it.
std::vector<panel::mail::ImportLine> ReadLines(std::istream& stream, const std::string& name);

}  // namespace zebmail
