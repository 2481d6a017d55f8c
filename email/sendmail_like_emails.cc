/// NAME
///   sendmail_like_emails - mailboxes in sendmail-style tables

#include "email/access_db.h"
#include "email/alias_table.h"
#include "email/sendmail_like_interface.h"
#include "host/email.h"
#include "host/str.h"

namespace email {

void SendmailLikeInterface::CreateEmail(std::shared_ptr<zeb_db::EmailTable>& mailbox) {
  auto domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>(mailbox->domain.Str());
  auto beside = VirtualUserTable::Get<VirtualDomains>(virtusertable_path, true);
  auto line = VirtualUserTable::Get<VirtualEmails>(virtusertable_path, true);
  line->New();
  line->name.Set(LineKey(*mailbox, *domain));
  line->target = GetVirtuserTarget(mailbox, domain);
  beside->Find(domain->name.Str());
  line->Post(*beside);
}

void SendmailLikeInterface::DeleteEmail(std::shared_ptr<zeb_db::EmailTable>& mailbox) {
  const std::string address = GetEmailName(mailbox);
  const std::string of_mailbox = "email=" + mailbox->id.Str();
  zeb_db::GetCache().Get<zeb_db::EmailAliasTable>()->DbDelete(of_mailbox);
  zeb_db::GetCache().Get<zeb_db::EmailForwardTable>()->DbDelete(of_mailbox);
  AliasTable::Get<Aliases>(aliases_path, true)->Delete(str::Replace(address, "@", "+"));
  AccessDb::Get<SourceTarget>(accessdb_path, true)->Delete(address);

  auto lines = VirtualUserTable::Get<VirtualEmails>(virtusertable_path, true);
  lines->Delete(address);
  for (lines->First(); !lines->Eof(); lines->Next()) {
    if (lines->target.Str() == address) lines->Delete();
  }
}

void SendmailLikeInterface::SuspendEmail(std::shared_ptr<zeb_db::EmailTable>& mailbox) {
  const std::string address = GetEmailName(mailbox);
  {
    auto line = VirtualUserTable::Get<VirtualEmails>(virtusertable_path, true);
    line->Assert(address);
    line->target = disabled_target;
    line->Post("");
  }
  {
    auto access = AccessDb::Get<SourceTarget>(accessdb_path, true);
    if (!access->Find(address)) {
      access->New();
      access->source.Set(address);
    }
    access->target.Set(kDisabledVerdict);
    access->Post("");
  }
}

void SendmailLikeInterface::ResumeEmail(std::shared_ptr<zeb_db::EmailTable>& mailbox) {
  std::string address;
  {
    auto line = VirtualUserTable::Get<VirtualEmails>(virtusertable_path, true);
    auto domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>(mailbox->domain.Str());
    address = LineKey(*mailbox, *domain);
    line->Assert(address);
    line->target = GetVirtuserTarget(mailbox, domain);
    line->Post("");
  }
  SetAliases(mailbox, {});
  auto access = AccessDb::Get<SourceTarget>(accessdb_path, true);
  if (access->Find(address)) access->Delete();
}

void SendmailLikeInterface::UpdateEmail(std::shared_ptr<zeb_db::EmailTable>&) {}

}  // namespace email
