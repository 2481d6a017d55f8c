/// NAME
///   sync - making the panel's database say what the mail server's tables say

#include "panel/mail/sync.h"

#include <filesystem>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "host/email.h"
#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "panel/conf/narrowed_walk.h"
#include "panel/conf/passed_over.h"
#include "panel/db/database.h"
#include "panel/mail/back_end.h"
#include "panel/mail/listed_senders.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/responder_keys.h"
#include "panel/mail/sync_differences.h"
#include "panel/mail/sync_pass.h"
#include "panel/mail/sync_settlement.h"
#include "panel/mail/table_hints.h"
#include "panel/mail/table_path.h"
#include "panel/mail/text_table.h"

namespace panel::mail {
namespace {

using Key = std::int64_t;

bool IsChanged(const std::string& path) {
  std::string stamp;
  return zeb_db::FileIsChanged(path, stamp);
}

/// Whether one of the other files that a pass over the virtual user table reads or mends has
/// changed: their lines count only when that table is read again.
bool IsChangedBesides() {
  bool is_changed = false;
  for (const char* table : {"aliases", "accessdb", "localhostnames", "domainips", "master"}) {
    const std::string path = TablePath(table);
    is_changed = (!path.empty() && IsChanged(path)) || is_changed;
  }
  return is_changed;
}

void ForgetStamp(const std::string& path) {
  const std::string whole = std::filesystem::absolute(path).lexically_normal();
  zeb_db::GetCache().Query("DELETE FROM file_stamp WHERE path = " +
                           fen_db::Cache::EscapeValue(whole));
}

void CacheDomains(const TableHints& hints, const std::string& table) {
  const conf::PassedOver idle_lines(table, hints.idle_lines());
  BackEnd().CacheDomains();
}

/// The aliases of a panel whose database is new, or came back from a backup, may have mail answered
/// by keys that it does not know; none of these is to become the key of another mailbox.
void KeepResponderKeys(const std::string& aliases) {
  TextTable table(aliases, Format::kPostalias);
  ResponderKeys(table).KeepFromNewMailboxes();
}

/// The back-end would take each line for one of a mailbox. Those of aliases are kept from it as far
/// as they are known; the others become mailboxes, until they are settled.
void CacheMailboxes(const TableHints& hints, const std::string& table,
                    const ShowProgress& progress) {
  std::unordered_set<std::string> domains;
  for (std::string& name : Column("SELECT name FROM email_domain")) domains.insert(std::move(name));
  const conf::FoundLines passed_over = hints.LinesOfNoMailbox(domains);
  const SyncPass pass(progress, hints.lines() - passed_over.offsets.size());
  const conf::PassedOver others(table, passed_over);
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
void CacheAliases(const TableHints& hints, const std::string& table) {
  const conf::PassedOver idle_lines(table, hints.idle_lines());
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

void CacheLists() {
  const std::string access = TablePath("accessdb");
  const conf::PassedOver idle_lines(access, IdleLines(access));
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

/// A back-end may keep no tables of this kind.
std::string RequireTable(const std::string& name) {
  std::string path = TablePath(name);
  if (!path.empty()) return path;
  throw fen_err::Error(
      "path", fen_cf::GetParam("MTA") + "-" + name,
      "is neither in [path] nor set by a plug-in, so that there is no table to read");
}

}  // namespace

std::vector<SyncResult> Synchronise(const SyncOptions& options) {
  const std::string virtual_users = RequireTable("virtusertable");
  const std::string aliases = RequireTable("aliases");
  if (IsChangedBesides() || options.for_comparison) ForgetStamp(virtual_users);
  const bool is_changed = IsChanged(virtual_users);
  const SyncDifferences differences(WhatMayDiffer(is_changed, options));
  ListsBefore lists;

  if (is_changed) {
    const TableHints hints(virtual_users, aliases);
    const Settlement settlement(hints);
    CacheDomains(hints, virtual_users);
    KeepResponderKeys(aliases);
    CacheMailboxes(hints, virtual_users, options.progress);
    CacheAliases(hints, virtual_users);
    settlement.Settle();
  }
  CacheLists();
  lists.Restore();

  std::vector<SyncResult> results = differences.Compare();
  if (!options.allow_mass_delete) RequireNoMassDelete(results);
  return results;
}

}  // namespace panel::mail
