/// NAME
///   sync_settlement - what the passes of a synchronisation leave open

#include "panel/mail/sync_settlement.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "host/email.h"
#include "host/str.h"
#include "host/test.h"
#include "panel/mail/back_end.h"
#include "panel/mail/bindings.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/own_entries.h"
#include "panel/mail/responder_folder.h"
#include "panel/mail/table_path.h"
#include "panel/mail/text_table.h"

namespace panel::mail {
namespace {

using Key = std::int64_t;

/// A mailbox as the passes have left it.
struct Found {
  Key key;
  std::string address;
  bool active;
  bool drop_mail;
};

/// The mailboxes for which the condition holds.
std::vector<Found> ListMailboxes(const std::string& condition) {
  std::vector<Found> mailboxes;
  zeb_db::EmailTable row;
  fen_db::Result rows = zeb_db::GetCache().Query(
      "SELECT email.id, email.name, email_domain.name, email.active, email.dropmail FROM email"
      " JOIN email_domain ON email_domain.id = email.domain WHERE " +
      condition + " ORDER BY email.id");
  for (; !rows.Eof(); rows.Next()) {
    row.active.Read(rows.Str(3));
    row.dropmail.Read(rows.Str(4));
    mailboxes.push_back({rows.Int(0), rows.Str(1) + "@" + rows.Str(2), row.active, row.dropmail});
  }
  return mailboxes;
}

/// Runs `statement` with the keys in place of "?", some at a time.
void ForKeys(const std::vector<Key>& keys, const std::string& statement) {
  constexpr std::size_t kAtATime = 1000;
  for (std::size_t begin = 0; begin < keys.size(); begin += kAtATime) {
    std::string list;
    for (std::size_t i = begin; i < std::min(begin + kAtATime, keys.size()); ++i) {
      list += (list.empty() ? "" : ", ") + std::to_string(keys[i]);
    }
    zeb_db::GetCache().Query(str::Replace(statement, "?", list));
  }
}

/// Each mailbox that was read from a line that is an alias, and the mailbox to which that leads.
std::map<Key, Key> ListAliasesOfMailboxes() {
  std::map<Key, Key> leads_to;
  fen_db::Result rows = zeb_db::GetCache().Query(
      "SELECT same.id, email.id FROM email_alias JOIN email ON email.id = email_alias.email"
      " JOIN email AS same ON same.name = email_alias.name AND same.domain = email.domain"
      " WHERE same.id <> email.id");
  for (; !rows.Eof(); rows.Next()) leads_to.emplace(rows.Int(0), rows.Int(1));
  return leads_to;
}

/// The mailbox at the end of the way from `start`: one that leads to no other, or the first of
/// those that lead to each other in a circle. None when `start` is itself one of a circle.
std::optional<Key> EndOfWay(const std::map<Key, Key>& leads_to, Key start) {
  std::set<Key> passed;
  Key place = start;
  for (auto next = leads_to.find(place); next != leads_to.end(); next = leads_to.find(place)) {
    if (!passed.insert(place).second) break;
    place = next->second;
  }
  if (place == start) return std::nullopt;
  return place;
}

/// Takes the mailboxes away that are aliases. An alias of such a one becomes one of the mailbox to
/// which it leads in the end; those that lead to each other in a circle stay mailboxes.
void SettleAliases() {
  zeb_db::GetCache().Query("DELETE FROM email_alias WHERE name = ''");
  const std::map<Key, Key> leads_to = ListAliasesOfMailboxes();
  std::set<Key> targets;
  for (const auto& [alias, mailbox] : leads_to) targets.insert(mailbox);
  std::vector<Key> aliases;
  for (const auto& [alias, mailbox] : leads_to) {
    const std::optional<Key> end = EndOfWay(leads_to, alias);
    if (!end) {
      zeb_db::GetCache().Query(
          "DELETE FROM email_alias WHERE email = " + std::to_string(mailbox) +
          " AND name = (SELECT name FROM email WHERE id = " + std::to_string(alias) + ")");
      continue;
    }
    aliases.push_back(alias);
    if (!targets.contains(alias)) continue;
    zeb_db::GetCache().Query(
        "INSERT INTO email_alias (name, email) SELECT name, " + std::to_string(*end) +
        " FROM email_alias WHERE email = " + std::to_string(alias) + " ORDER BY id");
  }
  ForKeys(aliases, "DELETE FROM email WHERE id IN (?)");
}

/// A responder of another mailbox's key, as a restored database may leave it, is no address.
void SettleForwards() {
  const std::string begin = ResponderTargetBegin();
  zeb_db::GetCache().Query("DELETE FROM email_forward WHERE substr(name, 1, " +
                           std::to_string(begin.size()) +
                           ") = " + fen_db::Cache::EscapeValue(begin));
}

/// A line whose target says nothing of an action gives none to a new domain.
void SettleDefaultActions() {
  zeb_db::GetCache().Query("UPDATE email_domain SET defaction = 'error' WHERE defaction = ''");
}

std::set<std::string> UnboundDomains() {
  const std::vector<std::string> names = Column("SELECT name FROM email_domain WHERE ip = ''");
  return {names.begin(), names.end()};
}

/// The suspended domains whose entry in the access table is the one that the back-end gives to
/// those that it finds without any. It refuses no mail, and the back-end does not know it again.
std::vector<SuspendedDomain> HalfSuspendedDomains() {
  TextTable verdicts(TablePath("accessdb"), Format::kPostmap);
  std::vector<SuspendedDomain> domains;
  fen_db::Result rows = zeb_db::GetCache().Query(
      "SELECT name, defaction, redirect FROM email_domain WHERE NOT active");
  for (; !rows.Eof(); rows.Next()) {
    const std::optional<Entry> verdict = verdicts.Find(rows.Str(0));
    if (verdict && verdict->value == kBounceEntry) {
      domains.push_back({rows.Str(0), rows.Str(1), rows.Str(2)});
    }
  }
  return domains;
}

}  // namespace

Settlement::Settlement(const TableHints& hints)
    : hints_(hints), unbound_before_(UnboundDomains()), half_suspended_(HalfSuspendedDomains()) {}

void Settlement::Settle() const {
  SettleDefaultActions();
  SettleAliases();
  SettleForwards();
  SettleDropMail();
  SettleResponders();
  SettleAddresses();
  SettleSuspensions();
}

/// A mailbox keeps no mail when its own target discards it. That of a suspended one tells nothing.
void Settlement::SettleDropMail() const {
  std::vector<Key> to_keep;
  for (const Found& mailbox : ListMailboxes("email.active AND email.dropmail")) {
    if (!hints_.discarding().contains(mailbox.address)) to_keep.push_back(mailbox.key);
  }
  std::vector<Key> to_drop;
  auto mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>();
  auto domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  for (const std::string& address : hints_.discarding()) {
    const bool is_kept =
        email::FindByEmailName(address, mailbox, domain) && mailbox->active && !mailbox->dropmail;
    if (is_kept) to_drop.push_back(mailbox->id);
  }
  ForKeys(to_drop, "UPDATE email SET dropmail = true WHERE id IN (?)");
  ForKeys(to_keep, "UPDATE email SET dropmail = false WHERE id IN (?)");
}

/// A responder that is not in the aliases is off, and has no row then.
void Settlement::SettleResponders() const {
  for (const std::string& key : Column("SELECT id FROM email_responder")) {
    auto responder = zeb_db::GetCache().Get<zeb_db::EmailResponderTable>(key);
    auto mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>(responder->email.Str());
    const bool has_entry = hints_.HasEntry(AddressOf(mailbox));
    if (has_entry) BackEnd().GetResponder(responder);
    if (!has_entry || !responder->active) responder->Delete();
  }
}

/// The back-end reads no IPv6 address from master.cf, nor does it take the lines of one away: a
/// domain that was unbound before may well have them still.
void Settlement::SettleAddresses() const {
  const std::optional<Bindings> bindings = ReadBindings();
  if (!bindings) return;
  std::map<std::string, std::string> addresses;
  for (const Service& service : bindings->services) {
    if (test::Const<test::Ip6>(service.address.value_or(""))) {
      addresses.emplace(service.name, *service.address);
    }
  }
  if (addresses.empty()) return;
  const DomainRow row = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  for (const std::string& name : UnboundDomains()) {
    if (unbound_before_.contains(name)) continue;
    const auto address = addresses.find(ServiceOf(name));
    if (address == addresses.end() || bindings->FindPattern(PatternOf(name)) == nullptr) continue;
    row->name.Lookup(name);
    row->ip = address->second;
    row->Post();
  }
}

void Settlement::SettleSuspensions() const {
  DomainRow row = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  for (const SuspendedDomain& domain : half_suspended_) {
    if (!row->name.Lookup(domain.name)) continue;
    row->active = false;
    row->defaction = domain.default_action;
    row->redirect = domain.redirect;
    row->Post();
    BackEnd().SuspendDomain(row);
  }
}

}  // namespace panel::mail
