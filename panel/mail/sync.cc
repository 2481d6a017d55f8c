/// NAME
///   sync - making the panel's database say what the mail server's tables say

#include "panel/mail/sync.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "host/str.h"
#include "panel/conf/disk_file.h"
#include "panel/conf/narrowed_walk.h"
#include "panel/mail/back_end.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/responder_folder.h"
#include "panel/mail/sync_differences.h"
#include "panel/mail/table_lines.h"

namespace panel::mail {
namespace {

using Key = std::int64_t;

/// The alias that discards all mail: the own target of a mailbox that keeps none.
constexpr std::string_view kDiscard = "devnull";

std::string TablePath(const std::string& name) {
  return fen_cf::GetPath(fen_cf::GetParam("MTA") + "-" + name);
}

bool IsChanged(const std::string& path) {
  std::string stamp;
  return zeb_db::FileIsChanged(path, stamp);
}

/// What the tables say that the back-end does not tell. Names are in lower case here, for Postfix
/// looks them up that way.
class Hints {
 public:
  Hints(const std::string& virtual_users, const std::string& aliases)
      : text_(LowerCase(conf::ReadWholeFile(virtual_users).bytes)) {
    ForEachTableLine(text_, [this](std::string_view key, const auto& targets) {
      ++lines_;
      const std::string_view own = targets.empty() ? std::string_view() : targets.front();
      if (!own_targets_.try_emplace(key, own).second) return;
      for (const std::string_view target : targets) {
        if (target != key && target.find('@') != std::string_view::npos) led_to_.insert(target);
      }
    });
    entries_text_ = LowerCase(conf::ReadWholeFile(aliases).bytes);
    ForEachTableLine(entries_text_, [this](std::string_view key, const auto&) {
      entries_.insert(key.substr(0, key.find(':')));
    });
  }

  std::size_t lines() const noexcept { return lines_; }

  /// Whether another line leads to the mailbox.
  bool IsLedTo(const std::string& address) const { return led_to_.contains(LowerCase(address)); }

  /// Whether the aliases have an entry for the mailbox.
  bool HasEntry(const std::string& address) const {
    return entries_.contains(LowerCase(str::Replace(address, "@", "+")));
  }

  bool IsDiscarding(const std::string& address) const {
    const auto found = own_targets_.find(LowerCase(address));
    return found != own_targets_.end() && found->second == kDiscard;
  }

 private:
  std::string text_;
  std::size_t lines_ = 0;
  std::unordered_set<std::string_view> led_to_;
  std::unordered_map<std::string_view, std::string_view> own_targets_;
  std::string entries_text_;
  std::unordered_set<std::string_view> entries_;
};

/// A mailbox as the passes have left it.
struct Found {
  Key key;
  std::string address;
  bool active;
  bool drop_mail;
};

std::vector<Found> ListMailboxes() {
  std::vector<Found> mailboxes;
  zeb_db::EmailTable row;
  fen_db::Result rows = zeb_db::GetCache().Query(
      "SELECT email.id, email.name, email_domain.name, email.active, email.dropmail FROM email"
      " JOIN email_domain ON email_domain.id = email.domain ORDER BY email.id");
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

/// Has the back-end read the aliases and forwards of each mailbox that may have some or that had
/// some. It walks over the whole table each time, so it is told which lines there are to see.
void CacheAliases(const Hints& hints, const std::string& table) {
  std::unordered_set<std::string> had_some;
  for (const char* rows : {"email_alias", "email_forward"}) {
    for (const std::string& key : Column(std::string("SELECT DISTINCT email FROM ") + rows)) {
      had_some.insert(key);
    }
  }
  for (const Found& found : ListMailboxes()) {
    const std::string key = std::to_string(found.key);
    const bool may_have_some = hints.IsLedTo(found.address) || hints.HasEntry(found.address);
    if (!may_have_some && !had_some.contains(key)) continue;
    MailboxRow mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>(key);
    const conf::NarrowedWalk narrowed(table, found.address);
    BackEnd().CacheAliases(mailbox);
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

/// The mailbox at the end of the way from `start`; none when the way is a circle.
std::optional<Key> EndOfWay(const std::map<Key, Key>& leads_to, Key start) {
  Key place = start;
  for (std::size_t steps = 0; steps <= leads_to.size(); ++steps) {
    const auto next = leads_to.find(place);
    if (next == leads_to.end()) return place;
    place = next->second;
  }
  return std::nullopt;
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
    if (!end) continue;
    aliases.push_back(alias);
    if (!targets.contains(alias)) continue;
    zeb_db::GetCache().Query("UPDATE email_alias SET email = " + std::to_string(*end) +
                             " WHERE email = " + std::to_string(alias));
  }
  ForKeys(aliases, "DELETE FROM email WHERE id IN (?)");
}

/// The own target of a suspended mailbox tells nothing.
void SettleDropMail(const Hints& hints, const std::vector<Found>& mailboxes) {
  std::vector<Key> to_drop;
  std::vector<Key> to_keep;
  for (const Found& mailbox : mailboxes) {
    const bool discards = hints.IsDiscarding(mailbox.address);
    if (!mailbox.active || mailbox.drop_mail == discards) continue;
    (discards ? to_drop : to_keep).push_back(mailbox.key);
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
void SettleResponders(const Hints& hints, const std::vector<Found>& mailboxes) {
  for (const std::string& key : Column("SELECT id FROM email_responder")) {
    auto responder = zeb_db::GetCache().Get<zeb_db::EmailResponderTable>(key);
    const auto mailbox =
        std::find_if(mailboxes.begin(), mailboxes.end(),
                     [&responder](const Found& found) { return found.key == responder->email; });
    const bool has_entry = mailbox != mailboxes.end() && hints.HasEntry(mailbox->address);
    if (has_entry) BackEnd().GetResponder(responder);
    if (has_entry && responder->active) continue;
    responder->Delete();
  }
}

void Settle(const Hints& hints) {
  SettleAliases();
  SettleForwards();
  const std::vector<Found> mailboxes = ListMailboxes();
  SettleDropMail(hints, mailboxes);
  SettleResponders(hints, mailboxes);
}

/// A slip, such as a table that was emptied, must not empty the panel.
void RequireNoMassDelete(const std::vector<SyncResult>& results) {
  constexpr std::size_t kFew = 10;
  for (const SyncResult& result : results) {
    if (result.kind != "domains" && result.kind != "mailboxes") continue;
    const std::size_t before = SyncDifferences::CountBefore(result.kind);
    if (result.removed <= kFew || result.removed * 2 <= before) continue;
    throw fen_err::Error("mass_delete", result.kind,
                         std::to_string(result.removed) + " of " + std::to_string(before) +
                             " would be deleted; if that is right, use --allow-mass-delete");
  }
}

}  // namespace

std::vector<SyncResult> Synchronise(const SyncOptions& options) {
  const SyncDifferences differences;
  const std::string virtual_users = TablePath("virtusertable");
  const std::string aliases = TablePath("aliases");
  const bool users_changed = IsChanged(virtual_users);
  const bool aliases_changed = IsChanged(aliases);

  BackEnd().CacheDomains();
  if (users_changed || aliases_changed) {
    const Hints hints(virtual_users, aliases);
    const SyncProgress progress(options.progress, hints.lines());
    BackEnd().CacheEmails();
    CacheAliases(hints, virtual_users);
    Settle(hints);
  }
  BackEnd().CacheWhitelist();
  BackEnd().CacheBlacklist();

  std::vector<SyncResult> results = differences.Compare();
  if (!options.allow_mass_delete) RequireNoMassDelete(results);
  return results;
}

}  // namespace panel::mail
