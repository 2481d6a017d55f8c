/// NAME
///   mail_rows - finding the rows that a change is about

#include "panel/mail/mail_rows.h"

#include "host/email.h"
#include "host/fen_err.h"
#include "panel/db/database.h"

namespace panel::mail {
namespace {

bool FindInDomain(zeb_db::EmailTable& mailbox, std::int64_t domain, const std::string& local) {
  return db::FindRow(mailbox, {{"domain", domain}, {"name", local}});
}

/// How many aliases have the name, which is quoted; a hundred stands for any number from there up.
std::string CountAliases(const std::string& name) {
  return Column("SELECT count(*) FROM (SELECT 1 FROM email_alias WHERE name = " + name +
                " LIMIT 100) AS few")
      .front();
}

/// The keys of the mailboxes of the domain that have the alias. One in so many domains, as "info"
/// may be, is sooner found among all those of one domain.
std::vector<std::string> OwnersOfAlias(const zeb_db::EmailDomainTable& domain,
                                       const std::string& local) {
  const std::string name = fen_db::Cache::EscapeValue(local);
  const std::string count = CountAliases(name);
  if (count == "0") return {};
  return Column(std::string("SELECT email.id FROM ") +
                (count == "100" ? "email CROSS JOIN email_alias" : "email_alias CROSS JOIN email") +
                " WHERE email.id = email_alias.email AND email_alias.name = " + name +
                " AND email.domain = " + domain.id.AsString());
}

}  // namespace

DomainRow FindDomain(const std::string& text) {
  const std::string name = CheckedDomainName(text);
  DomainRow row = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  if (!row->name.Lookup(name)) throw fen_err::Error("missing", "domain", text);
  return row;
}

/// One that was read from a table made by hand has its name as it stands there, so that is tried
/// as well.
MailboxRow LookUpMailbox(const std::string& text) {
  const MailboxName name = CheckedMailbox(text);
  const DomainRow domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  if (!domain->name.Lookup(name.domain)) return nullptr;
  MailboxRow mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>();
  const bool is_found = FindInDomain(*mailbox, domain->id, name.local) ||
                        FindInDomain(*mailbox, domain->id, text.substr(0, text.rfind('@')));
  return is_found ? mailbox : nullptr;
}

MailboxRow FindMailbox(const std::string& text) {
  MailboxRow mailbox = LookUpMailbox(text);
  if (!mailbox) throw fen_err::Error("missing", "mailbox", text);
  return mailbox;
}

std::string AddressOf(MailboxRow& mailbox) {
  return email::GetEmailName(mailbox);
}

std::optional<std::string> UseOfName(const zeb_db::EmailDomainTable& domain,
                                     const std::string& local) {
  MailboxRow mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>();
  if (FindInDomain(*mailbox, domain.id, local)) return "a mailbox";
  const std::vector<std::string> owners = OwnersOfAlias(domain, local);
  if (owners.empty()) return std::nullopt;
  mailbox->Assert(owners.front());
  return "an alias of " + InUnicode(AddressOf(mailbox));
}

std::set<std::string> DomainNames() {
  const std::vector<std::string> names = Column("SELECT name FROM email_domain");
  return {names.begin(), names.end()};
}

std::vector<std::string> Column(const std::string& query) {
  std::vector<std::string> values;
  for (fen_db::Result rows = zeb_db::GetCache().Query(query); !rows.Eof(); rows.Next()) {
    values.push_back(rows.Str());
  }
  return values;
}

}  // namespace panel::mail
