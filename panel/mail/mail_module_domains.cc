/// NAME
///   mail_module_domains - the panel's mail domains

#include <algorithm>
#include <map>
#include <tuple>
#include <utility>

#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "host/test.h"
#include "panel/mail/advice.h"
#include "panel/mail/back_end.h"
#include "panel/mail/bindings.h"
#include "panel/mail/domain_settings.h"
#include "panel/mail/listed_senders.h"
#include "panel/mail/mail_module.h"
#include "panel/mail/mailbox_changes.h"
#include "panel/mail/postconf.h"
#include "panel/module/log.h"
#include "panel/process/own_addresses.h"

namespace panel::mail {
namespace {

Domain Shown(const zeb_db::EmailDomainTable& row) {
  return {row.name.Unicode(), row.active, row.defaction.Str(), InUnicode(row.redirect.Str()),
          row.ip.Str(),       row.users};
}

/// Carries the row to the mail server. Of an active domain any verdict goes by that, and a
/// suspended one must have none that takes its mail.
void Write(DomainRow& row) {
  row->Post();
  BackEnd().UpdateDomain(row);
  const std::string name = row->name.Str();
  if (row->active) {
    WriteVerdict(name);
    WriteVerdictsBelow(name);
  } else {
    DeleteVerdictsBelow(name);
  }
}

/// A binding writes its lines without looking for others, and of two services Postfix uses the
/// last. Only to a domain that the panel had before may a line be left, which gets the address.
void RequireNoBindingLeft(const zeb_db::EmailDomainTable& row, bool is_new) {
  if (row.ip.Str().empty()) return;
  const std::optional<Bindings> bindings = ReadBindings();
  if (!bindings) return;
  const std::string name = row.name.Str();
  const SenderPattern* const pattern = bindings->FindPattern(PatternOf(name));
  if (pattern != nullptr && !is_new) return;
  if (pattern != nullptr) {
    throw fen_err::Error("exists", "ip",
                         bindings->InMap(pattern->line) + " leads the mail of " +
                             row.name.Unicode() + " to the service " + pattern->service +
                             " already; delete that line first");
  }
  const Service* const left = bindings->FindService(ServiceOf(name));
  if (left == nullptr) return;
  throw fen_err::Error("exists", "ip",
                       bindings->InMaster(left->line) + " has the service " + left->name +
                           " already, to which no line of " + bindings->map +
                           " leads; delete that line first");
}

/// The names that Postfix gives to this server. While it cannot be asked there are none: that is
/// for `check` to report, and no reason to keep a panel from its work.
std::vector<std::string> HostNames() {
  try {
    return {HostName("myorigin"), HostName("myhostname")};
  } catch (const fen_err::Error& error) {
    LogError("mail", error);
    return {""};
  }
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
  RequireNoneOfOurs(ascii);
  RequireNoBindingLeft(*row, true);
  NoteForeignAddress(settings, *row);
  row->Post();
  BackEnd().CreateDomain(row);
}

bool MailModule::HasDomain(const std::string& name) const {
  return zeb_db::GetCache().Get<zeb_db::EmailDomainTable>()->name.Lookup(CheckedDomainName(name));
}

bool MailModule::IsChangedBy(const std::string& name, const DomainSettings& settings) const {
  const DomainRow row = FindDomain(name);
  const auto values = [&row] {
    return std::tuple(row->defaction.Str(), row->redirect.Str(), row->ip.Str(), row->users.Str());
  };
  const auto before = values();
  ApplySettings(settings, *row);
  return values() != before;
}

void MailModule::UpdateDomain(const std::string& name, const DomainSettings& settings) {
  DomainRow row = FindDomain(name);
  const std::string old_address = row->ip.Str();
  ApplySettings(settings, *row);
  RequireNoBindingLeft(*row, false);
  NoteForeignAddress(settings, *row);
  Write(row);
  if (row->ip.Str().empty() && test::Const<test::Ip6>(old_address)) {
    warnings_.push_back("the mail of " + row->name.Unicode() + " leaves from " + old_address +
                        " until the lines that " + Command("check") + " names are deleted\n");
  }
}

void MailModule::SuspendDomain(const std::string& name) {
  SetActive(name, false);
}

void MailModule::ResumeDomain(const std::string& name) {
  SetActive(name, true);
}

/// Where the domain's mail leaves from comes last in the back-end, and a domain must not be left
/// unsuspended because of a line that somebody has deleted there.
void MailModule::SetActive(const std::string& name, bool active) {
  DomainRow row = FindDomain(name);
  row->active = active;
  try {
    Write(row);
  } catch (const fen_err::Error& error) {
    const std::string master = fen_cf::GetPath("postfix-master");
    if (error.type() != "missing" || error.object() != master) throw;
    warnings_.push_back(master + " lacks the service " + error.value() + ", so that the mail of " +
                        row->name.Unicode() + " cannot leave; see: " + Command("check") + "\n");
  }
}

void MailModule::DeleteDomain(const std::string& name) {
  DomainRow row = FindDomain(name);
  for (const std::string& key :
       Column("SELECT id FROM email WHERE domain = " + row->id.AsString() + " ORDER BY id")) {
    MailboxRow mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>(key);
    DeleteWithAll(mailbox);
  }
  const std::string ascii = row->name.Str();
  const bool is_suspended = !row->active;
  BackEnd().DeleteDomain(row);
  row->Delete();
  WriteVerdict(ascii);
  if (is_suspended) WriteVerdictsBelow(ascii);
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

/// The targets that the tables name without a domain belong to these, and a line for the unknown
/// addresses of such a domain would take them all.
void MailModule::RequireNoneOfOurs(const std::string& name) {
  if (!WorksForPostfix()) return;
  if (host_names_.empty()) host_names_ = HostNames();
  if (std::find(host_names_.begin(), host_names_.end(), name) == host_names_.end()) return;
  Refuse(
      "domain", name,
      "is the name that Postfix gives to this server itself (myorigin or myhostname in main.cf); "
      "the forwards of all mailboxes depend on it, so give the server another one first");
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
