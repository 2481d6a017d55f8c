/// NAME
///   mail_module_delivery - the aliases and forwards of mailboxes

#include <list>
#include <optional>
#include <utility>

#include "host/fen_err.h"
#include "panel/db/database.h"
#include "panel/mail/mail_module.h"
#include "panel/mail/mailbox_changes.h"

namespace panel::mail {
namespace {

using Names = std::vector<std::string>;

/// Whether the mailbox has `name` among the rows of `T`, on which `table` stands then.
template <class T>
bool Has(T& table, const zeb_db::EmailTable& mailbox, const std::string& name) {
  return db::FindRow(table, {{"email", static_cast<std::int64_t>(mailbox.id)}, {"name", name}});
}

template <class T>
void AddRow(const zeb_db::EmailTable& mailbox, const std::string& name) {
  const auto row = zeb_db::GetCache().Get<T>();
  row->New();
  row->email = mailbox.id;
  row->name = name;
  row->Post();
}

/// Deletes the row of the name as it was given, or else as `checked` makes of it: one that was read
/// from a table made by hand may be no proper name. Returns the name that is gone.
template <class T, class Check>
std::string DeleteRow(const zeb_db::EmailTable& mailbox, const std::string& what,
                      const std::string& given, const Check& checked) {
  const auto row = zeb_db::GetCache().Get<T>();
  if (!Has(*row, mailbox, given) && !Has(*row, mailbox, checked(given))) {
    throw fen_err::Error("missing", what, given);
  }
  std::string name = row->name.Str();
  row->Delete();
  return name;
}

DomainRow DomainOf(const zeb_db::EmailTable& mailbox) {
  return zeb_db::GetCache().Get<zeb_db::EmailDomainTable>(mailbox.domain.Str());
}

std::string CheckedForward(const std::string& text) {
  return CheckedAddress("forward", text);
}

/// A message to an address that the mailbox both has and forwards to would come back for ever.
void RefuseForwardedAlias(const zeb_db::EmailTable& mailbox, const std::string& alias) {
  for (const std::string& forward :
       Column("SELECT name FROM email_forward WHERE email = " + mailbox.id.AsString())) {
    if (LowerCase(forward) == alias)
      Refuse("alias", InUnicode(alias), "is a forward of the mailbox");
  }
}

void RefuseOwnAddress(MailboxRow& mailbox, const std::string& forward) {
  const std::string address = LowerCase(forward);
  if (address == AddressOf(mailbox)) {
    Refuse("forward", InUnicode(forward), "is the mailbox itself");
  }
  const DomainRow domain = DomainOf(*mailbox);
  const std::size_t at = address.rfind('@');
  const auto alias = zeb_db::GetCache().Get<zeb_db::EmailAliasTable>();
  if (address.substr(at + 1) == domain->name.Str() &&
      Has(*alias, *mailbox, address.substr(0, at))) {
    Refuse("forward", InUnicode(forward), "is an alias of the mailbox");
  }
}

/// What becomes of mail forwarded to an address of this server: its local(8) delivers that at once,
/// without another look at the virtual user table.
std::optional<std::string> NoteOnForward(const std::string& forward) {
  const DomainRow domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  if (!domain->name.Lookup(forward.substr(forward.rfind('@') + 1))) return std::nullopt;
  const std::string shown = InUnicode(forward);
  if (!LookUpMailbox(forward)) {
    return shown +
           " is no mailbox of this server: mail forwarded to it bounces; forward to the "
           "mailbox itself\n";
  }
  return "mail forwarded to " + shown +
         " is put into that mailbox: its own forwards and its responder do not get it\n";
}

}  // namespace

void MailModule::AddAliases(const std::string& address, const Names& names) {
  MailboxRow mailbox = FindMailbox(address);
  RequireActive(mailbox);
  const DomainRow domain = DomainOf(*mailbox);
  for (const std::string& name : names) {
    const std::string alias = CheckedAlias(name, domain->name.Str());
    RequireFreeName("alias", *domain, alias);
    RefuseForwardedAlias(*mailbox, alias + "@" + domain->name.Str());
    AddRow<zeb_db::EmailAliasTable>(*mailbox, alias);
  }
  WriteDelivery(mailbox);
}

void MailModule::RemoveAliases(const std::string& address, const Names& names) {
  MailboxRow mailbox = FindMailbox(address);
  RequireActive(mailbox);
  const std::string domain = DomainOf(*mailbox)->name.Str();
  std::list<std::string> dropped;
  for (const std::string& name : names) {
    dropped.push_back(DeleteRow<zeb_db::EmailAliasTable>(
        *mailbox, "alias", name,
        [&domain](const std::string& text) { return CheckedAlias(text, domain); }));
    addresses_.NoteDeleted(dropped.back() + "@" + domain);
  }
  WriteDelivery(mailbox, dropped);
}

void MailModule::AddForwards(const std::string& address, const Names& targets) {
  MailboxRow mailbox = FindMailbox(address);
  RequireActive(mailbox);
  RequireOwnLines(mailbox);
  for (const std::string& target : targets) {
    const std::string forward = CheckedForward(target);
    RefuseOwnAddress(mailbox, forward);
    if (Has(*zeb_db::GetCache().Get<zeb_db::EmailForwardTable>(), *mailbox, forward)) {
      throw fen_err::Error("exists", "forward", InUnicode(forward));
    }
    AddRow<zeb_db::EmailForwardTable>(*mailbox, forward);
    if (auto note = NoteOnForward(forward)) warnings_.push_back(*std::move(note));
  }
  WriteDelivery(mailbox);
}

void MailModule::RemoveForwards(const std::string& address, const Names& targets) {
  MailboxRow mailbox = FindMailbox(address);
  RequireActive(mailbox);
  RequireOwnLines(mailbox);
  for (const std::string& target : targets) {
    DeleteRow<zeb_db::EmailForwardTable>(*mailbox, "forward", target, CheckedForward);
  }
  WriteDelivery(mailbox);
}

}  // namespace panel::mail
