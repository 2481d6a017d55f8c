/// NAME
///   mail_module_domains - the panel's mail domains

#include <map>
#include <utility>

#include "host/fen_err.h"
#include "panel/mail/back_end.h"
#include "panel/mail/domain_settings.h"
#include "panel/mail/listed_senders.h"
#include "panel/mail/mail_module.h"
#include "panel/mail/mailbox_changes.h"
#include "panel/process/own_addresses.h"

namespace panel::mail {
namespace {

Domain Shown(const zeb_db::EmailDomainTable& row) {
  return {row.name.Unicode(), row.active, row.defaction.Str(), InUnicode(row.redirect.Str()),
          row.ip.Str(),       row.users};
}

/// Carries the row to the mail server. Of an active domain any verdict goes by that.
void Write(DomainRow& row) {
  row->Post();
  BackEnd().UpdateDomain(row);
  if (row->active) WriteVerdict(row->name.Str());
}

void SetActive(const std::string& name, bool active) {
  DomainRow row = FindDomain(name);
  row->active = active;
  Write(row);
}

}  // namespace

void MailModule::CreateDomain(const std::string& name, const DomainSettings& settings) {
  DomainRow row = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  const std::string ascii = CheckedDomainName(name);
  if (row->name.Lookup(ascii)) throw fen_err::Error("exists", "domain", name);
  row->New();
  row->name = ascii;
  row->active = true;
  row->defaction = "error";
  ApplySettings(settings, *row);
  if (const auto line = addresses_.Find("@" + ascii)) {
    throw fen_err::Error(
        "exists", "domain",
        name + " is not in the panel, but in " + *line + "; remove the line first");
  }
  NoteForeignAddress(settings, *row);
  row->Post();
  BackEnd().CreateDomain(row);
}

void MailModule::UpdateDomain(const std::string& name, const DomainSettings& settings) {
  DomainRow row = FindDomain(name);
  ApplySettings(settings, *row);
  NoteForeignAddress(settings, *row);
  Write(row);
}

void MailModule::SuspendDomain(const std::string& name) {
  SetActive(name, false);
}

void MailModule::ResumeDomain(const std::string& name) {
  SetActive(name, true);
}

void MailModule::DeleteDomain(const std::string& name) {
  DomainRow row = FindDomain(name);
  for (const std::string& key :
       Column("SELECT id FROM email WHERE domain = " + row->id.AsString() + " ORDER BY id")) {
    MailboxRow mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>(key);
    DeleteWithAll(mailbox);
  }
  const std::string ascii = row->name.Str();
  BackEnd().DeleteDomain(row);
  row->Delete();
  WriteVerdict(ascii);
}

/// Databases order texts in different ways, so this is done here.
std::vector<Domain> MailModule::ListDomains() const {
  std::map<std::string, Domain> by_name;
  zeb_db::EmailDomainTable row;
  fen_db::Result rows = zeb_db::GetCache().Query(
      "SELECT name, active, defaction, redirect, ip, users FROM email_domain");
  for (; !rows.Eof(); rows.Next()) {
    row.name.Read(rows.Str(0));
    row.active.Read(rows.Str(1));
    row.defaction.Read(rows.Str(2));
    row.redirect.Read(rows.Str(3));
    row.ip.Read(rows.Str(4));
    row.users.Read(rows.Str(5));
    by_name.emplace(row.name.Str(), Shown(row));
  }
  std::vector<Domain> domains;
  domains.reserve(by_name.size());
  for (auto& [name, domain] : by_name) domains.push_back(std::move(domain));
  return domains;
}

Domain MailModule::ShowDomain(const std::string& name) const {
  return Shown(*FindDomain(name));
}

void MailModule::NoteForeignAddress(const DomainSettings& settings,
                                    const zeb_db::EmailDomainTable& row) {
  const std::string address = row.ip.Str();
  if (!settings.ip || address.empty() || IsOwnAddress(address)) return;
  warnings_.push_back(address +
                      " is no address of this machine: as long as it is not, the mail of " +
                      row.name.Unicode() + " leaves from another one\n");
}

}  // namespace panel::mail
