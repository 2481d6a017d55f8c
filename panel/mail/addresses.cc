/// NAME
///   addresses - from a mailbox to its address and back, for the back-end

#include <string>

#include "host/email.h"

namespace {

/// No row has the key 0, so looking for it stands a table at its end.
void StandAtEnd(fen_db::CustomTable& table) {
  table.DbFind("id = 0");
}

}  // namespace

bool email::FindByEmailName(const std::string& address, std::shared_ptr<zeb_db::EmailTable>& email,
                            std::shared_ptr<zeb_db::EmailDomainTable>& domain) {
  if (!email) email = zeb_db::GetCache().Get<zeb_db::EmailTable>();
  if (!domain) domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  StandAtEnd(*email);
  StandAtEnd(*domain);

  const std::size_t at = address.rfind('@');
  if (at == std::string::npos || !domain->name.Lookup(address.substr(at + 1))) return false;
  return email->DbFind("domain = " + domain->id.AsString() +
                       " AND name = " + fen_db::Cache::EscapeValue(address.substr(0, at)));
}

std::string email::GetEmailName(std::shared_ptr<zeb_db::EmailTable>& email) {
  const auto domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>(email->domain.Str());
  return email->name.Str() + "@" + domain->name.Str();
}
