/// NAME
///   sendmail_like_domains - domains in sendmail-style tables

#include "email/access_db.h"
#include "email/local_host_names.h"
#include "email/sendmail_like_interface.h"

namespace email {

void SendmailLikeInterface::CreateDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) {
  const std::string name = domain->name.Str();
  {
    auto line = VirtualUserTable::Get<VirtualDomains>(virtusertable_path, true);
    line->New();
    line->name.Set(name);
    SetDefAction(line, domain);
    line->Post("");
  }
  {
    auto host = LocalHostNames::Get<HostNames>(localhostnames_path, true);
    host->Create(name);
    host->Post("");
  }
}

void SendmailLikeInterface::DeleteDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) {
  const std::string name = domain->name.Str();
  VirtualUserTable::Get<VirtualDomains>(virtusertable_path, true)->Delete(name);
  LocalHostNames::Get<HostNames>(localhostnames_path, true)->Delete(name);
  AccessDb::Get<SourceTarget>(accessdb_path, true)->Delete(name);
}

void SendmailLikeInterface::SuspendDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) {
  const std::string name = domain->name.Str();
  {
    auto line = VirtualUserTable::Get<VirtualDomains>(virtusertable_path, true);
    line->Assert(name);
    line->target.Set(disabled_target);
    line->Post("");
  }
  {
    auto access = AccessDb::Get<SourceTarget>(accessdb_path, true);
    access->Create(name);
    access->target.Set(kDisabledVerdict);
    access->Post("");
  }
}

void SendmailLikeInterface::ResumeDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) {
  const std::string name = domain->name.Str();
  AccessDb::Get<SourceTarget>(accessdb_path, true)->Delete(name);
  {
    auto line = VirtualUserTable::Get<VirtualDomains>(virtusertable_path, true);
    line->Assert(name);
    SetDefAction(line, domain);
    line->Post("");
  }
  // A hand-made table may hold a second entry for the domain, which would keep it suspended.
  auto access = AccessDb::Get<SourceTarget>(accessdb_path, true);
  if (access->Find(name)) access->Delete();
}

void SendmailLikeInterface::UpdateDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) {
  if (domain->active) {
    ResumeDomain(domain);
  } else {
    SuspendDomain(domain);
  }
}

}  // namespace email
