/// NAME
///   wake_tables - making the back-end's tables known

#include "panel/mail/wake_tables.h"

#include <exception>
#include <memory>

#include "host/zeb_db.h"
#include "panel/conf/operation.h"
#include "panel/mail/back_end.h"
#include "panel/module/log.h"

namespace panel::mail {
namespace {

using DomainRow = std::shared_ptr<zeb_db::EmailDomainTable>;

/// A domain of the top level that is reserved for names that do not exist. Its address makes the
/// back-end open the tables of outgoing addresses too.
DomainRow ProbeDomain() {
  auto domain = std::make_shared<zeb_db::EmailDomainTable>();
  domain->name = "zebmail-probe.invalid";
  domain->active = true;
  domain->defaction = "error";
  domain->ip = "127.0.0.1";
  return domain;
}

void Try(void (email::MtaInterface::*operation)(DomainRow&), DomainRow& domain) {
  try {
    (BackEnd().*operation)(domain);
  } catch (const std::exception& error) {
    LogError("mail", error);
  }
}

}  // namespace

void WakeTables(db::Database& database) {
  const db::Transaction forgotten(database, db::Transaction::Changes::kUnlisted);
  const conf::Operation rehearsal(conf::Operation::Mode::kRehearsal);
  DomainRow domain = ProbeDomain();
  Try(&email::MtaInterface::CreateDomain, domain);
  Try(&email::MtaInterface::DeleteDomain, domain);
}

}  // namespace panel::mail
