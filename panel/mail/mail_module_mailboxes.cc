/// NAME
///   mail_module_mailboxes - the panel's mailboxes

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

#include "host/fen_err.h"
#include "host/test.h"
#include "panel/conf/narrowed_walk.h"
#include "panel/mail/back_end.h"
#include "panel/mail/extensions.h"
#include "panel/mail/listed_senders.h"
#include "panel/mail/mail_module.h"
#include "panel/mail/mailbox_changes.h"
#include "panel/mail/panel.h"
#include "panel/mail/responder_folder.h"
#include "panel/mail/table_path.h"

namespace panel::mail {
namespace {

/// The names of one kind that belong to mailboxes, by the key of the mailbox, in the order in which
/// they were added. `of_mailboxes` is a condition on the table `email`.
std::map<std::int64_t, std::vector<std::string>> NamesByMailbox(const std::string& table,
                                                                const std::string& of_mailboxes) {
  std::map<std::int64_t, std::vector<std::string>> names;
  fen_db::Result rows =
      zeb_db::GetCache().Query("SELECT " + table + ".email, " + table + ".name FROM " + table +
                               " JOIN email ON email.id = " + table + ".email WHERE " +
                               of_mailboxes + " ORDER BY " + table + ".id");
  for (; !rows.Eof(); rows.Next()) names[rows.Int(0)].push_back(rows.Str(1));
  return names;
}

/// The mailboxes for which the condition holds, by domain and local part in ASCII: databases order
/// texts in different ways.
std::vector<Mailbox> Shown(const std::string& of_mailboxes) {
  auto aliases = NamesByMailbox("email_alias", of_mailboxes);
  auto forwards = NamesByMailbox("email_forward", of_mailboxes);
  zeb_db::EmailTable row;
  std::map<std::pair<std::string, std::string>, Mailbox> by_name;
  fen_db::Result rows = zeb_db::GetCache().Query(
      "SELECT email.id, email.name, email_domain.name, email.active, email.dropmail,"
      " (SELECT count(*) FROM email_responder WHERE email_responder.email = email.id AND"
      " email_responder.active) FROM email JOIN email_domain ON email_domain.id = email.domain"
      " WHERE " +
      of_mailboxes);
  for (; !rows.Eof(); rows.Next()) {
    row.active.Read(rows.Str(3));
    row.dropmail.Read(rows.Str(4));
    Mailbox mailbox{rows.Str(1) + "@" + rows.Str(2),
                    row.active,
                    row.dropmail,
                    std::move(aliases[rows.Int(0)]),
                    std::move(forwards[rows.Int(0)]),
                    rows.Int(5) != 0};
    mailbox.address = InUnicode(mailbox.address);
    for (std::string& forward : mailbox.forwards) forward = InUnicode(forward);
    by_name.emplace(std::pair(rows.Str(2), rows.Str(1)), std::move(mailbox));
  }
  std::vector<Mailbox> mailboxes;
  mailboxes.reserve(by_name.size());
  for (auto& [name, mailbox] : by_name) mailboxes.push_back(std::move(mailbox));
  return mailboxes;
}

/// The mailbox whose entry in the aliases has this name; none when it is no such name.
std::optional<std::string> OwnerOfEntry(const std::string& local) {
  for (std::size_t plus = local.find('+'); plus != std::string::npos;
       plus = local.find('+', plus + 1)) {
    std::string address = local;
    address[plus] = '@';
    if (test::Const<test::Email>(address)) return address;
  }
  return std::nullopt;
}

}  // namespace

void MailModule::CreateMailbox(const std::string& address, bool drop_mail) {
  const MailboxName name = CheckedMailbox(address);
  const DomainRow domain = FindDomain(name.domain);
  RequireOwnDelivery(name);
  RequireFreeName("mailbox", *domain, name.local);
  MailboxRow row = zeb_db::GetCache().Get<zeb_db::EmailTable>();
  row->New();
  row->name = name.local;
  row->domain = domain->id;
  row->active = true;
  row->dropmail = drop_mail;
  row->Post();
  BackEnd().CreateEmail(row);
}

/// The update leaves the mailbox's own target alone in its line, so the others are written again.
void MailModule::UpdateMailbox(const std::string& address, bool drop_mail) {
  MailboxRow row = FindMailbox(address);
  row->dropmail = drop_mail;
  row->Post();
  BackEnd().UpdateEmail(row);
  if (row->active) WriteDelivery(row);
}

void MailModule::SuspendMailbox(const std::string& address) {
  MailboxRow row = FindMailbox(address);
  row->active = false;
  row->Post();
  BackEnd().SuspendEmail(row);
  DeleteVerdictsBelow(AddressOf(row));
}

void MailModule::ResumeMailbox(const std::string& address) {
  MailboxRow row = FindMailbox(address);
  row->active = true;
  row->Post();
  DropUnwritableRows(*row);
  BackEnd().ResumeEmail(row);
  WriteVerdict(AddressOf(row));
  WriteVerdictsBelow(AddressOf(row));
}

void MailModule::DeleteMailbox(const std::string& address) {
  MailboxRow row = FindMailbox(address);
  const std::string stored = AddressOf(row);
  DeleteWithAll(row);
  for (const std::string& domain : Column("SELECT name FROM email_domain WHERE redirect = " +
                                          fen_db::Cache::EscapeValue(stored))) {
    warnings_.push_back("the unknown addresses of " + InUnicode(domain) +
                        " are still redirected to " + InUnicode(stored) + "\n");
  }
}

/// The back-end looks through the whole table for lines that lead to the mailbox, so it is told
/// which there are.
void MailModule::DeleteWithAll(MailboxRow& mailbox) {
  RequireOwnLines(mailbox);
  const std::int64_t key = mailbox->id;
  const std::string address = AddressOf(mailbox);
  const bool is_suspended = !mailbox->active;
  {
    const conf::NarrowedWalk narrowed(TablePath("virtusertable"), address);
    BackEnd().DeleteEmail(mailbox);
  }
  mailbox->Delete();
  WriteVerdict(address);
  if (is_suspended) WriteVerdictsBelow(address);
  AfterCommit([key] { RemoveResponderFolder(key); });
}

/// The back-end would leave a line in another spelling as it is, and the mail server would go by
/// it.
void MailModule::RequireOwnLines(MailboxRow& mailbox) {
  const std::string address = AddressOf(mailbox);
  const std::string entry = EntryOf(address);
  std::optional<std::string> line = addresses_.FindOther(address);
  if (!line) line = aliases_.FindOther(entry);
  if (!line) line = aliases_.Find('"' + entry + '"');
  if (!line) return;
  throw fen_err::Error("exists", "mailbox",
                       InUnicode(address) +
                           " has a line of its own that the panel does not know, " + *line +
                           "; remove it first");
}

std::vector<Mailbox> MailModule::ListMailboxes(const std::optional<std::string>& domain) const {
  if (!domain) return Shown("true");
  return Shown("email.domain = " + FindDomain(*domain)->id.AsString());
}

Mailbox MailModule::ShowMailbox(const std::string& address) const {
  return Shown("email.id = " + FindMailbox(address)->id.AsString()).front();
}

void MailModule::RequireFreeName(const std::string& what, const zeb_db::EmailDomainTable& domain,
                                 const std::string& local) {
  const std::string address = local + "@" + domain.name.Str();
  if (const auto use = UseOfName(domain, local)) {
    throw fen_err::Error("exists", what, InUnicode(address) + " is " + *use);
  }
  if (const auto line = addresses_.Find(address)) {
    throw fen_err::Error(
        "exists", what,
        InUnicode(address) + " is not in the panel, but in " + *line + "; remove the line first");
  }
}

/// The domains of the panel are local to Postfix. Its local(8) looks a local part up in the
/// aliases, whatever the domain, before it delivers to a mailbox: first as it stands, then without
/// its extension. What main.cf may come to take for one, "+" being the usual, counts too.
void MailModule::RequireOwnDelivery(const MailboxName& mailbox) {
  if (const auto owner = OwnerOfEntry(mailbox.local)) {
    Refuse("mailbox", mailbox.Address(),
           "cannot have the name under which the aliases hold the forwards of " + *owner);
  }
  if (mailbox.local.starts_with("owner-")) {
    Refuse("mailbox", mailbox.Address(),
           "cannot begin with \"owner-\": Postfix would send the bounces of another mailbox's "
           "forwards there");
  }
  const std::string usual = mailbox.local.substr(0, mailbox.local.find('+', 1));
  for (const std::string& name : {mailbox.local, WithoutExtension(mailbox.local), usual}) {
    auto line = aliases_.Find(name);
    if (!line) line = aliases_.Find('"' + name + '"');
    if (!line) continue;
    Refuse("mailbox", mailbox.Address(),
           "would get no mail: Postfix gives it to the entry of that name in " + *line);
  }
}

}  // namespace panel::mail
