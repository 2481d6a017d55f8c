/// NAME
///   addresses - from a mailbox to its address and back, for the back-end

#include <string>

#include "host/email.h"
#include "panel/db/database.h"
#include "panel/mail/sync_pass.h"

/// Both look-ups are answered by prepared statements, and that of the domain from memory as long as
/// the addresses are of one: a pass over a table asks for each of its lines.
bool email::FindByEmailName(const std::string& address, std::shared_ptr<zeb_db::EmailTable>& email,
                            std::shared_ptr<zeb_db::EmailDomainTable>& domain) {
  if (!email) email = zeb_db::GetCache().Get<zeb_db::EmailTable>();
  if (!domain) domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  panel::mail::SyncPass* const pass = panel::mail::SyncPass::Current();
  if (pass != nullptr) pass->Step();

  email->ClearCache(false);
  const std::size_t at = address.rfind('@');
  if (at == std::string::npos) {
    domain->ClearCache(false);
    return false;
  }
  const std::string name = address.substr(at + 1);
  const bool is_found = pass != nullptr && !domain->Eof() && domain->name.Str() == name;
  if (!is_found && !domain->name.Lookup(name)) return false;
  const std::string local_part = address.substr(0, at);
  if (pass != nullptr && pass->IsNew(domain->id, local_part)) return false;
  return panel::db::FindRow(*email, {{"domain", std::int64_t{domain->id}}, {"name", local_part}});
}

std::string email::GetEmailName(std::shared_ptr<zeb_db::EmailTable>& email) {
  const auto domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>(email->domain.Str());
  return email->name.Str() + "@" + domain->name.Str();
}
