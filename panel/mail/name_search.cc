/// NAME
///   name_search - the names in the panel that begin with what somebody has typed so far
///
/// HOW
///   Domains are kept in ASCII, in which a label with other letters is "xn--", its ASCII letters
///   and a code for the rest. So what begins with a part of such a label in Unicode begins, as it
///   is kept, with "xn--" and the ASCII letters of that part; which of these do is seen once they
///   are in Unicode.

#include "panel/mail/name_search.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "host/zeb_db.h"
#include "panel/db/url.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/names.h"
#include "panel/mail/own_places.h"

namespace panel::mail {
namespace {

using Names = std::vector<std::string>;

const char* const kMarkOfUnicode = "xn--";

/// The highest character there is: no text of characters stands behind one with it at its end.
const char* const kHighest = "\xf4\x8f\xbf\xbf";

const Config& Checked(const Config& config) {
  RequireOwnPlaces(config);
  return config;
}

/// The first values of the query, and one more where there are too many.
Names First(const std::string& query) {
  return Column(query + " LIMIT " + std::to_string(NameSearch::kMostNames + 1));
}

/// A domain, or whole labels of one with the dot behind them, as they are kept.
std::string InAscii(const std::string& domain) {
  zeb_db::EmailDomainTable converter;
  converter.name = domain;
  return converter.name.Str();
}

std::string OnlyAscii(const std::string& text) {
  std::string ascii;
  std::copy_if(text.begin(), text.end(), std::back_inserter(ascii),
               [](char byte) { return static_cast<unsigned char>(byte) < 0x80; });
  return ascii;
}

/// How a name that begins with `typed`, of a domain or of an address, may begin as it is kept.
Names KeptBeginnings(const std::string& typed) {
  const std::size_t domain = typed.rfind('@') + 1;
  const std::string local = typed.substr(0, domain);
  const std::size_t dot = typed.rfind('.');
  const std::size_t label = dot == std::string::npos || dot < domain ? domain : dot + 1;
  const std::string labels = local + InAscii(typed.substr(domain, label - domain));
  const std::string part = LowerCase(typed.substr(label));
  return {labels + part, labels + kMarkOfUnicode + OnlyAscii(part)};
}

/// The name as it is shown, or as it is kept, whichever goes on from what was typed.
std::optional<std::string> GoingOn(const std::string& kept, const std::string& typed) {
  std::string shown = InUnicode(kept);
  if (shown.starts_with(typed)) return shown;
  if (kept.starts_with(typed)) return kept;
  return std::nullopt;
}

/// `kept` are the names as First gives them, `names` those of them that are offered.
FoundNames InOrder(const Names& kept, Names names) {
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return {std::move(names), kept.size() <= NameSearch::kMostNames};
}

FoundNames GoingOn(const Names& kept, const std::string& typed) {
  Names names;
  for (const std::string& name : kept) {
    if (auto going_on = GoingOn(name, typed)) names.push_back(std::move(*going_on));
  }
  return InOrder(kept, std::move(names));
}

std::string KeyOf(const std::string& mailbox) {
  return FindMailbox(mailbox)->id.AsString();
}

}  // namespace

NameSearch::NameSearch(const Config& config)
    : database_(Checked(config).database, db::Access::kLook),
      is_sqlite_(db::ParseUrl(config.database).kind == db::Kind::kSqlite) {}

FoundNames NameSearch::Domains(const std::string& typed) const {
  return Find("email_domain WHERE ", typed);
}

FoundNames NameSearch::WebDomains(const std::string& typed) const {
  return Find("domain WHERE ", typed);
}

/// For a local part each domain is asked for its own mailboxes, in the order of the index, rather
/// than each mailbox for its name.
FoundNames NameSearch::Mailboxes(const std::string& typed) const {
  const std::size_t at = typed.rfind('@');
  const std::string condition =
      at == std::string::npos
          ? Begins("email.name", typed)
          : "email.name = " + fen_db::Cache::EscapeValue(typed.substr(0, at)) + " AND " +
                BeginsAny("email_domain.name", KeptBeginnings(typed.substr(at + 1)));
  return GoingOn(
      First("SELECT email.name || '@' || email_domain.name FROM email_domain CROSS JOIN email"
            " WHERE email.domain = email_domain.id AND " +
            condition),
      typed);
}

FoundNames NameSearch::AliasesOf(const std::string& mailbox, const std::string& typed) const {
  const Names aliases = First("SELECT name FROM email_alias WHERE email = " + KeyOf(mailbox) +
                              " AND " + Begins("name", typed));
  return InOrder(aliases, aliases);
}

FoundNames NameSearch::ForwardsOf(const std::string& mailbox, const std::string& typed) const {
  return Find("email_forward WHERE email = " + KeyOf(mailbox) + " AND ", typed);
}

FoundNames NameSearch::Senders(SenderList list, const std::string& typed) const {
  return Find(list == SenderList::kWhite ? "email_whitelist WHERE " : "email_blacklist WHERE ",
              typed);
}

/// PostgreSQL orders texts by the database's own language, in which there is no range for this.
std::string NameSearch::Begins(const std::string& column, const std::string& beginning) const {
  const std::string first = fen_db::Cache::EscapeValue(beginning);
  if (!is_sqlite_) return "starts_with(" + column + ", " + first + ")";
  return "(" + column + " >= " + first + " AND " + column + " < " +
         fen_db::Cache::EscapeValue(beginning + kHighest) + ")";
}

std::string NameSearch::BeginsAny(const std::string& column, const Names& beginnings) const {
  std::string condition;
  for (const std::string& beginning : beginnings) {
    condition += (condition.empty() ? "(" : " OR ") + Begins(column, beginning);
  }
  return condition + ")";
}

/// `from` is the table and the beginning of the condition.
FoundNames NameSearch::Find(const std::string& from, const std::string& typed) const {
  return GoingOn(First("SELECT name FROM " + from + BeginsAny("name", KeptBeginnings(typed))),
                 typed);
}

}  // namespace panel::mail
