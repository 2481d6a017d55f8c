/// NAME
///   sendmail_like_sync - reading the tables into the panel database
///
/// PURPOSE
///   Somebody edits the tables by hand; then the database is made to match them. A pass marks each
///   row that it sees with a random tag of its own and, as its last step, deletes the rows without
///   it. So a pass that fails on the way deletes nothing.

#include "email/access_db.h"
#include "email/local_host_names.h"
#include "email/sendmail_like_interface.h"
#include "host/email.h"
#include "host/str.h"

namespace email {

namespace {

/// Stands `domain` on the row of `name`, a new one if need be, which belongs to the owner of the
/// web domain of that name. Returns false when there is neither a row nor a web domain.
bool FindOrAdopt(zeb_db::EmailDomainTable& domain, const std::string& name) {
  if (domain.name.Lookup(name)) return true;
  const fen_db::Result owner = zeb_db::GetCache().Query("SELECT users FROM domain WHERE name = " +
                                                        fen_db::Cache::EscapeValue(name));
  if (owner.Eof()) return false;
  domain.New();
  domain.name = name;
  domain.users = owner.Int(0);
  return true;
}

}  // namespace

void SendmailLikeInterface::CacheDomains() {
  std::string stamp;
  if (!zeb_db::FileIsChanged(virtusertable_path, stamp)) return;
  auto domains = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  auto hosts = LocalHostNames::Get<HostNames>(localhostnames_path, true);
  auto lines = VirtualUserTable::Get<VirtualDomains>(virtusertable_path, true);
  auto access = AccessDb::Get<SourceTarget>(accessdb_path, true);
  const int tag = str::Random<int>();
  for (lines->First(); !lines->Eof(); lines->Next()) {
    const std::string name = lines->name.Str();
    if (!FindOrAdopt(*domains, name)) continue;
    if (!hosts->Find(name)) {
      hosts->Create(name);
      hosts->Post("");
    }
    if (access->Find(domains->name.Str())) {
      domains->active = access->target.Str() != kDisabledVerdict;
    }
    if (domains->active) {
      if (access->Find(name)) access->_Delete(true);
      GetDefAction(lines, domains);
    } else if (!access->Find(name)) {
      access->Create(name);
      access->target.Set(disabled_target);
      access->Post("");
    }
    CacheOne(domains);
    domains->tag = tag;
    domains->Post();
  }
  domains->DbDelete("tag != " + str::Str(tag));
}

void SendmailLikeInterface::CacheEmails() {
  std::string stamp;
  if (!zeb_db::FileIsChanged(virtusertable_path, stamp)) return;
  auto mailboxes = zeb_db::GetCache().Get<zeb_db::EmailTable>();
  auto lines = VirtualUserTable::Get<VirtualEmails>(virtusertable_path, true);
  auto domains = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  const int tag = str::Random<int>();
  for (lines->First(); !lines->Eof(); lines->Next()) {
    const std::string address = lines->name.Str();
    if (!FindByEmailName(address, mailboxes, domains)) {
      if (domains->Eof()) continue;
      mailboxes->New();
      mailboxes->name = str::GetWord(address, '@');
      mailboxes->domain = domains->id;
    }
    mailboxes->active = lines->target.Str() != disabled_target;
    mailboxes->tag = tag;
    mailboxes->Post();
  }
  mailboxes->DbDelete("tag != " + str::Str(tag));
}

}  // namespace email
