/// NAME
///   sync - making the panel's database say what the mail server's tables say

#include "panel/mail/sync.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <unordered_set>

#include "host/email.h"
#include "host/fen_err.h"
#include "host/str.h"
#include "host/test.h"
#include "panel/conf/disk_file.h"
#include "panel/conf/narrowed_walk.h"
#include "panel/conf/passed_over.h"
#include "panel/db/database.h"
#include "panel/mail/back_end.h"
#include "panel/mail/bindings.h"
#include "panel/mail/listed_senders.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/responder_folder.h"
#include "panel/mail/sync_differences.h"
#include "panel/mail/sync_pass.h"
#include "panel/mail/table_lines.h"
#include "panel/mail/table_path.h"
#include "panel/mail/text_table.h"

namespace panel::mail {
namespace {

using Key = std::int64_t;

/// The alias that discards all mail: the own target of a mailbox that keeps none.
constexpr std::string_view kDiscard = "devnull";

bool IsChanged(const std::string& path) {
  std::string stamp;
  return zeb_db::FileIsChanged(path, stamp);
}

/// The aliases of an alias are found only when its line is read as a mailbox again, so a change of
/// the one file has the other read too.
void ForgetStamp(const std::string& path) {
  const std::string whole = std::filesystem::absolute(path).lexically_normal();
  zeb_db::GetCache().Query("DELETE FROM file_stamp WHERE path = " +
                           fen_db::Cache::EscapeValue(whole));
}

/// The address with its domain in lower case, as the panel has domains.
std::string WithPlainDomain(std::string_view address) {
  const std::size_t domain = address.rfind('@') + 1;
  return std::string(address.substr(0, domain)) + LowerCase(std::string(address.substr(domain)));
}

/// Where the lines of a table stand whose key an earlier line has: Postfix goes by that one.
std::unordered_set<std::size_t> LaterLines(const std::string& path) {
  std::unordered_set<std::size_t> offsets;
  for (const Repeat& repeat : TextTable(path, Format::kPostmap).FindRepeats()) {
    offsets.insert(repeat.offset);
  }
  return offsets;
}

/// What the tables say that the back-end does not tell.
class Hints {
 public:
  Hints(const std::string& virtual_users, const std::string& aliases)
      : text_(conf::ReadWholeFile(virtual_users).bytes),
        later_(LaterLines(virtual_users)),
        entries_text_(conf::ReadWholeFile(aliases).bytes) {
    ForEachTableLine(text_, [this](std::string_view key, const auto& targets) {
      ++lines_;
      if (later_.contains(static_cast<std::size_t>(key.data() - text_.data()))) return;
      if (Discards(targets)) discarding_.insert(WithPlainDomain(key));
      for (const std::string_view target : targets) {
        if (target != key && target.find('@') != std::string_view::npos) led_to_.push_back(target);
      }
    });
    ForEachTableLine(entries_text_, [this](std::string_view key, const auto&) {
      entries_.insert(key.substr(0, key.find(':')));
    });
  }

  const std::unordered_set<std::size_t>& later_lines() const noexcept { return later_; }

  std::size_t lines() const noexcept { return lines_; }

  /// The addresses that are targets of other lines, some of them repeatedly.
  const std::vector<std::string_view>& led_to() const noexcept { return led_to_; }

  /// The names of the entries of the aliases.
  const std::unordered_set<std::string_view>& entries() const noexcept { return entries_; }

  bool HasEntry(const std::string& address) const {
    return entries_.contains(str::Replace(address, "@", "+"));
  }

  /// The keys of the lines that discard what comes.
  const std::unordered_set<std::string>& discarding() const noexcept { return discarding_; }

  bool IsDiscarding(const std::string& address) const { return discarding_.contains(address); }

 private:
  static bool Discards(const std::vector<std::string_view>& targets) {
    return !targets.empty() && targets.front() == kDiscard;
  }

  std::string text_;
  std::unordered_set<std::size_t> later_;
  std::string entries_text_;
  std::size_t lines_ = 0;
  std::vector<std::string_view> led_to_;
  std::unordered_set<std::string_view> entries_;
  std::unordered_set<std::string> discarding_;
};

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

void CacheMailboxes(const Hints& hints, const ShowProgress& progress) {
  const SyncPass pass(progress, hints.lines());
  db::GatheredInserts inserts("email");
  BackEnd().CacheEmails();
  inserts.Finish();
}

/// Reads the aliases and forwards of mailboxes, of each once. The back-end walks over the whole
/// table for each, so it is told which lines there are to see.
class DeliveryReader {
 public:
  explicit DeliveryReader(std::string table) : table_(std::move(table)) {}

  /// Of the mailbox with this address, if there is one.
  void ReadOf(const std::string& address) {
    if (email::FindByEmailName(address, mailbox_, domain_)) Read();
  }

  void ReadOf(Key key) {
    if (read_.contains(key)) return;
    mailbox_->Assert(std::to_string(key));
    Read();
  }

  void Finish() {
    aliases_.Finish();
    forwards_.Finish();
  }

 private:
  void Read() {
    if (!read_.insert(mailbox_->id).second) return;
    const conf::NarrowedWalk narrowed(table_, AddressOf(mailbox_));
    BackEnd().CacheAliases(mailbox_);
  }

  std::string table_;
  db::GatheredInserts aliases_{"email_alias", "email"};
  db::GatheredInserts forwards_{"email_forward", "email"};
  MailboxRow mailbox_ = zeb_db::GetCache().Get<zeb_db::EmailTable>();
  DomainRow domain_ = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  std::unordered_set<Key> read_;
};

/// The addresses of which an entry of the aliases, such as "info+example.org", may be.
std::vector<std::string> AddressesOf(std::string_view entry) {
  std::vector<std::string> addresses;
  for (std::size_t plus = entry.find('+'); plus != std::string_view::npos;
       plus = entry.find('+', plus + 1)) {
    addresses.push_back(std::string(entry.substr(0, plus)) + "@" +
                        std::string(entry.substr(plus + 1)));
  }
  return addresses;
}

/// Reads the aliases and forwards of the mailboxes that may have some in the tables, or have some
/// in the database.
void CacheAliases(const Hints& hints, const std::string& table) {
  std::vector<std::string> have_some;
  for (const char* rows : {"email_alias", "email_forward"}) {
    for (std::string& key : Column(std::string("SELECT DISTINCT email FROM ") + rows)) {
      have_some.push_back(std::move(key));
    }
  }
  DeliveryReader reader(table);
  for (const std::string_view address : hints.led_to()) reader.ReadOf(std::string(address));
  for (const std::string_view entry : hints.entries()) {
    for (const std::string& address : AddressesOf(entry)) reader.ReadOf(address);
  }
  for (const std::string& key : have_some) reader.ReadOf(std::stoll(key));
  reader.Finish();
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

/// A mailbox keeps no mail when its own target discards it. That of a suspended one tells nothing.
void SettleDropMail(const Hints& hints) {
  std::vector<Key> to_keep;
  for (const Found& mailbox : ListMailboxes("email.active AND email.dropmail")) {
    if (!hints.IsDiscarding(mailbox.address)) to_keep.push_back(mailbox.key);
  }
  std::vector<Key> to_drop;
  auto mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>();
  auto domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  for (const std::string& address : hints.discarding()) {
    const bool is_kept =
        email::FindByEmailName(address, mailbox, domain) && mailbox->active && !mailbox->dropmail;
    if (is_kept) to_drop.push_back(mailbox->id);
  }
  ForKeys(to_drop, "UPDATE email SET dropmail = true WHERE id IN (?)");
  ForKeys(to_keep, "UPDATE email SET dropmail = false WHERE id IN (?)");
}

/// A responder of another mailbox's key, as a restored database may leave it, is no address.
void SettleForwards() {
  const std::string begin = ResponderTargetBegin();
  zeb_db::GetCache().Query("DELETE FROM email_forward WHERE substr(name, 1, " +
                           std::to_string(begin.size()) +
                           ") = " + fen_db::Cache::EscapeValue(begin));
}

/// A responder that is not in the aliases is off, and has no row then.
void SettleResponders(const Hints& hints) {
  for (const std::string& key : Column("SELECT id FROM email_responder")) {
    auto responder = zeb_db::GetCache().Get<zeb_db::EmailResponderTable>(key);
    auto mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>(responder->email.Str());
    const bool has_entry = hints.HasEntry(AddressOf(mailbox));
    if (has_entry) BackEnd().GetResponder(responder);
    if (!has_entry || !responder->active) responder->Delete();
  }
}

/// A line whose target says nothing of an action gives none to a new domain.
void SettleDefaultActions() {
  zeb_db::GetCache().Query("UPDATE email_domain SET defaction = 'error' WHERE defaction = ''");
}

std::set<std::string> UnboundDomains() {
  const std::vector<std::string> names = Column("SELECT name FROM email_domain WHERE ip = ''");
  return {names.begin(), names.end()};
}

/// The back-end reads no IPv6 address from master.cf, nor does it take the lines of one away: a
/// domain that was unbound before may well have them still.
void SettleAddresses(const std::set<std::string>& unbound_before) {
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
    if (unbound_before.contains(name)) continue;
    const auto address = addresses.find(ServiceOf(name));
    if (address == addresses.end() || bindings->FindPattern(PatternOf(name)) == nullptr) continue;
    row->name.Lookup(name);
    row->ip = address->second;
    row->Post();
  }
}

void Settle(const Hints& hints) {
  SettleDefaultActions();
  SettleAliases();
  SettleForwards();
  SettleDropMail(hints);
  SettleResponders(hints);
}

void CacheLists() {
  const std::string access = TablePath("accessdb");
  const conf::PassedOver later_lines(access, LaterLines(access));
  BackEnd().CacheWhitelist();
  BackEnd().CacheBlacklist();
}

SyncDifferences::Of WhatMayDiffer(bool is_changed, const SyncOptions& options) {
  if (!is_changed) return SyncDifferences::Of::kSenderLists;
  return options.for_comparison ? SyncDifferences::Of::kAllButAddresses
                                : SyncDifferences::Of::kEverything;
}

/// A slip, such as a table that was emptied, must not empty the panel.
void RequireNoMassDelete(const std::vector<SyncResult>& results) {
  constexpr std::size_t kFew = 10;
  for (const SyncResult& result : results) {
    const bool is_guarded = result.kind == "domains" || result.kind == "mailboxes";
    if (!is_guarded || result.removed <= kFew) continue;
    const std::size_t before = SyncDifferences::CountBefore(result.kind);
    if (result.removed * 2 <= before) continue;
    throw fen_err::Error("mass_delete", result.kind,
                         std::to_string(result.removed) + " of " + std::to_string(before) +
                             " would be deleted; if that is right, use --allow-mass-delete");
  }
}

}  // namespace

std::vector<SyncResult> Synchronise(const SyncOptions& options) {
  const std::string virtual_users = TablePath("virtusertable");
  const std::string aliases = TablePath("aliases");
  if (IsChanged(aliases) || options.for_comparison) ForgetStamp(virtual_users);
  const bool is_changed = IsChanged(virtual_users);
  const SyncDifferences differences(WhatMayDiffer(is_changed, options));
  ListsBefore lists;

  if (is_changed) {
    const Hints hints(virtual_users, aliases);
    const std::set<std::string> unbound = UnboundDomains();
    const conf::PassedOver later_lines(virtual_users, hints.later_lines());
    BackEnd().CacheDomains();
    CacheMailboxes(hints, options.progress);
    CacheAliases(hints, virtual_users);
    Settle(hints);
    SettleAddresses(unbound);
  }
  CacheLists();
  lists.Restore();

  std::vector<SyncResult> results = differences.Compare();
  if (!options.allow_mass_delete) RequireNoMassDelete(results);
  return results;
}

}  // namespace panel::mail
