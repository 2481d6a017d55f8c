/// NAME
///   web_domains - the panel's web domains

#include "panel/mail/web_domains.h"

#include <map>

#include "host/fen_err.h"
#include "host/zeb_db.h"
#include "panel/db/web_domain.h"
#include "panel/mail/names.h"

namespace panel::mail {
namespace {

/// A table that was read before may hold a domain that is to be taken over now.
void ReadTablesAnew() {
  zeb_db::GetCache().Query("DELETE FROM file_stamp");
}

}  // namespace

void AddWebDomain(const std::string& name, std::int64_t owner) {
  if (owner < 0) Refuse("owner", std::to_string(owner), "is not the number of a user");
  const auto row = zeb_db::GetCache().Get<db::WebDomainTable>();
  if (row->name.Lookup(CheckedDomainName(name))) {
    throw fen_err::Error("exists", "web domain", name);
  }
  row->New();
  row->name = CheckedDomainName(name);
  row->users = owner;
  row->Post();
  ReadTablesAnew();
}

void RemoveWebDomain(const std::string& name) {
  const auto row = zeb_db::GetCache().Get<db::WebDomainTable>();
  if (!row->name.Lookup(CheckedDomainName(name))) {
    throw fen_err::Error("missing", "web domain", name);
  }
  row->Delete();
}

/// Databases order texts in different ways, so this is done here.
std::vector<WebDomain> ListWebDomains() {
  std::map<std::string, std::int64_t> owners;
  fen_db::Result rows = zeb_db::GetCache().Query("SELECT name, users FROM domain");
  for (; !rows.Eof(); rows.Next()) owners.emplace(rows.Str(0), rows.Int(1));
  std::vector<WebDomain> domains;
  domains.reserve(owners.size());
  for (const auto& [name, owner] : owners) domains.push_back({InUnicode(name), owner});
  return domains;
}

}  // namespace panel::mail
