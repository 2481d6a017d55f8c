/// NAME
///   postfix_mailboxes - a mailbox's line, its responder, its aliases and forwards
///
/// PURPOSE
///   Postfix delivers to every target of an address's line. The first target is the mailbox's own;
///   the alias key "local+domain" stands behind it while the aliases hold an entry of that name
///   with forwards or a responder. An alias is a line of its own that leads to the mailbox's.

#include "email/alias_table.h"
#include "host/email.h"
#include "host/str.h"
#include "host/test.h"
#include "postfix/postfix_interface.h"

namespace zebpriv_email_postfix {

namespace {

/// Makes the entry `key` hold the forwards alone, or deletes it when there are none.
void SetForwards(Cursor<email::Aliases>& aliases, const std::string& key,
                 fen_db::Result& forwards) {
  if (forwards.Eof()) {
    aliases->Delete(key);
    return;
  }
  aliases->Create(key);
  aliases->alias.Erase();
  for (; !forwards.Eof(); forwards.Next()) aliases->alias.Append(forwards.Str());
  aliases->Post("");
}

/// Adds the lines of the aliases; a line that is there already stays as it is.
void AddAliasLines(Cursor<email::VirtualEmails>& lines, const std::string& mailbox,
                   const std::string& at_domain, fen_db::Result& aliases) {
  for (; !aliases.Eof(); aliases.Next()) {
    const std::string key = aliases.Str() + at_domain;
    if (lines->Find(key)) continue;
    lines->New();
    lines->name.Set(key);
    lines->target = mailbox;
    lines->Post(mailbox);
  }
}

/// Adds a row for the mailbox to the aliases or the forwards.
template <class Rows>
void AddRow(Rows& rows, const zeb_db::EmailTable& mailbox, const std::string& name) {
  rows.New();
  rows.email = mailbox.id;
  rows.name = name;
  rows.Post();
}

std::string AddressOf(const email::VirtualEmails& line) {
  return line.name.Str();
}
std::string AddressOf(const email::VirtualDomains& line) {
  return '@' + line.name.Str();
}

/// Adds a row for each line that leads to the mailbox alone, other than its own.
template <class Line>
void AddAliasRows(Line& lines, const zeb_db::EmailTable& mailbox,
                  const zeb_db::EmailDomainTable& domain, zeb_db::EmailAliasTable& rows) {
  const std::string local = mailbox.name.Str();
  const std::string domain_name = domain.name.Str();
  const std::string address = local + "@" + domain_name;
  for (lines.First(); !lines.Eof(); lines.Next()) {
    std::string rest = AddressOf(lines);
    const std::string name = str::GetWord(rest, '@');
    if (rest != domain_name || name == local || lines.target.Str() != address) continue;
    AddRow(rows, mailbox, name);
  }
}

}  // namespace

void PostfixInterface::UpdateEmail(std::shared_ptr<zeb_db::EmailTable>& mailbox) {
  if (!mailbox->active) return;
  auto line = email::VirtualUserTable::Get<email::VirtualEmails>(virtusertable_path, true);
  auto domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>(mailbox->domain.Str());
  line->Assert(LineKey(*mailbox, *domain));
  line->target = GetVirtuserTarget(mailbox, domain);
  line->Post("");
}

void PostfixInterface::SetResponder(std::shared_ptr<zeb_db::EmailResponderTable>& responder) {
  auto mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>(responder->email.Str());
  auto domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>(mailbox->domain.Str());
  {
    auto line = email::VirtualUserTable::Get<email::VirtualEmails>(virtusertable_path, true);
    line->Assert(LineKey(*mailbox, *domain));
    const std::string key = AliasKey(*mailbox, *domain);
    const bool listed = line->target.Has(key);
    if (responder->active && !listed) {
      line->target.Append(key);
      line->Post("");
    } else if (!responder->active && listed) {
      line->target.Delete(key);
      line->Post("");
    }
  }
  email::SendmailLikeInterface::SetResponder(responder);
}

void PostfixInterface::SetAliases(std::shared_ptr<zeb_db::EmailTable>& mailbox,
                                  const std::list<std::string>& dropped) {
  fen_db::Cache& database = zeb_db::GetCache();
  auto aliases = email::AliasTable::Get<email::Aliases>(aliases_path, true);
  auto domain = database.Get<zeb_db::EmailDomainTable>(mailbox->domain.Str());
  const std::string key = AliasKey(*mailbox, *domain);
  fen_db::Result forwards =
      database.Query(std::string("SELECT name FROM email_forward WHERE email = ") + mailbox->id);
  fen_db::Result alias_names =
      database.Query(std::string("SELECT name FROM email_alias WHERE email = ") + mailbox->id);

  auto lines = email::VirtualUserTable::Get<email::VirtualEmails>(virtusertable_path, true);
  const std::string address = LineKey(*mailbox, *domain);
  lines->Assert(address);
  const bool listed = lines->target.Has(key);
  if (listed && forwards.Eof()) {
    lines->target.Delete(key);
    lines->Post("");
  } else if (!listed && !forwards.Eof()) {
    lines->target.Append(key);
    lines->Post("");
  }
  SetForwards(aliases, key, forwards);

  // The entry was rebuilt from the forwards alone: the responder is put back. One that is switched
  // off takes the key out of the line again, and the forwards with it.
  auto responder = database.Get<zeb_db::EmailResponderTable>();
  if (responder->DbFind(std::string("email = ") + mailbox->id)) SetResponder(responder);

  const std::string at_domain = '@' + domain->name.Str();
  AddAliasLines(lines, address, at_domain, alias_names);
  for (const std::string& name : dropped) {
    if (!test::Const<test::Email>(name)) lines->Delete(name + at_domain);
  }
}

void PostfixInterface::CacheAliases(std::shared_ptr<zeb_db::EmailTable>& mailbox) {
  fen_db::Cache& database = zeb_db::GetCache();
  auto forward_rows = database.Get<zeb_db::EmailForwardTable>();
  auto alias_rows = database.Get<zeb_db::EmailAliasTable>();
  const std::string of_mailbox = "email=" + mailbox->id.AsString();
  forward_rows->DbDelete(of_mailbox);
  alias_rows->DbDelete(of_mailbox);

  auto aliases = email::AliasTable::Get<email::Aliases>(aliases_path, true);
  auto lines = email::VirtualUserTable::Get<email::VirtualEmails>(virtusertable_path, true);
  auto domain = database.Get<zeb_db::EmailDomainTable>(mailbox->domain.Str());
  if (aliases->Find(AliasKey(*mailbox, *domain))) {
    const std::string action = email::GetResponderAction(mailbox);
    for (std::size_t i = 0; i < aliases->alias.Size(); ++i) {
      const std::string target = aliases->alias[i];
      if (target != action) AddRow(*forward_rows, *mailbox, target);
    }
  }

  // A domain's line is the one of the empty local part: where its unknown addresses lead to the
  // mailbox, that is an alias with an empty name.
  auto domain_lines = email::VirtualUserTable::Get<email::VirtualDomains>(virtusertable_path, true);
  AddAliasRows(*domain_lines, *mailbox, *domain, *alias_rows);
  AddAliasRows(*lines, *mailbox, *domain, *alias_rows);
}

}  // namespace zebpriv_email_postfix
