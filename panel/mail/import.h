/// NAME
///   import - bringing many things into the panel at once
///
/// PURPOSE
///   Takes lines, each of which says what a thing of the panel is to be like: a web domain, a
///   domain, a mailbox, a listed sender. What the panel does not have is added, what is otherwise
///   is changed, what is so already is left alone, and what no line speaks of stays as it is. What
///   a line leaves out stays as it is too, or is as that of any new thing. What the tables have and
///   the panel does not is taken over (adoption.h).
///
/// IN WHICH ORDER
///   The lines may come in any order. Aliases and forwards that lines take away go before others
///   come, so that a name may move from one mailbox to another; suspensions come last.
///
/// HOW IT FAILS
///   With fen_err::Error whose object is the place of the line, such as "panel.jsonl:3", and
///   whose value says why that line cannot be followed. It runs inside one change, so nothing has
///   been changed then.

#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "panel/mail/listed_senders.h"
#include "panel/mail/mail_module.h"
#include "panel/mail/progress.h"
#include "panel/mail/web_domains.h"

namespace panel::mail {

struct DomainLine {
  std::string name;
  std::optional<bool> active;
  DomainSettings settings;
};

struct MailboxLine {
  std::string address;
  std::optional<bool> active;
  std::optional<bool> drop_mail;
  std::optional<std::vector<std::string>> aliases;   ///< all that it is to have
  std::optional<std::vector<std::string>> forwards;  ///< all that it is to have
  std::optional<bool> responder;
  ResponderSettings answer;
};

struct SenderLine {
  SenderList list;
  std::string value;
};

/// What a line says, and where it stands.
struct ImportLine {
  std::string place;
  std::variant<WebDomain, DomainLine, MailboxLine, SenderLine> said;
};

/// What became of the things of one kind.
struct ImportResult {
  std::string kind;  ///< "webdomains", "domains", "mailboxes", "whitelist", "blacklist"
  std::size_t added = 0;
  std::size_t changed = 0;
  std::size_t unchanged = 0;
};

/// Runs inside Panel::Change or Panel::Rehearse. Returns a result for each kind.
std::vector<ImportResult> Import(const std::vector<ImportLine>& lines, MailModule& mail,
                                 const ShowProgress& progress);

}  // namespace panel::mail
