/// NAME
///   sync_differences - what a synchronisation has changed

#include "panel/mail/sync_differences.h"

#include <array>
#include <string>

#include "host/zeb_db.h"
#include "panel/mail/mail_rows.h"

namespace panel::mail {
namespace {

/// A kind of thing, and a query for the name of each and for what else is said of it.
struct Kind {
  const char* name;
  std::string query;
  bool is_sender_list = false;
};

std::array<Kind, 6> Kinds(SyncDifferences::Of what) {
  const std::string address = "email.name || '@' || email_domain.name";
  const std::string of_mailbox = " || ' of ' || " + address + " AS name, '' AS state";
  const std::string domains = " JOIN email_domain ON email_domain.id = email.domain";
  const std::string ip = what == SyncDifferences::Of::kEverything ? " || ' ' || ip" : "";
  return {{
      {"domains", "SELECT name, '' || active || ' ' || defaction || ' ' || redirect" + ip +
                      " AS state FROM email_domain"},
      {"mailboxes",
       "SELECT " + address +
           " AS name, '' || email.active || ' ' || email.dropmail AS state FROM email" + domains},
      {"aliases", "SELECT email_alias.name || '@' || email_domain.name" + of_mailbox +
                      " FROM email_alias JOIN email ON email.id = email_alias.email" + domains},
      {"forwards", "SELECT email_forward.name" + of_mailbox +
                       " FROM email_forward JOIN email ON email.id = email_forward.email" +
                       domains},
      {"whitelist", "SELECT name, '' AS state FROM email_whitelist", true},
      {"blacklist", "SELECT name, '' AS state FROM email_blacklist", true},
  }};
}

bool IsNoted(const Kind& kind, SyncDifferences::Of what) {
  return kind.is_sender_list || what != SyncDifferences::Of::kSenderLists;
}

std::string Before(const std::string& kind) {
  return "before_" + kind;
}

std::size_t Count(const std::string& source) {
  return static_cast<std::size_t>(zeb_db::GetCache().Query("SELECT count(*) FROM " + source).Int());
}

/// Counts the names that `query` gives, and puts some of them into the result.
std::size_t Gather(const std::string& query, const std::string& what, SyncResult& result) {
  const std::size_t count = Count("(" + query + ") AS names");
  if (count == 0) return 0;
  for (const std::string& name : Column(query + " LIMIT 10")) {
    result.first.push_back(what + " " + name);
  }
  return count;
}

SyncResult CompareKind(const Kind& kind) {
  SyncResult result;
  result.kind = kind.name;
  const std::string now = "(" + kind.query + ") AS now";
  const std::string before = Before(kind.name) + " AS old";
  if (Count(before) == 0) {
    result.added = Gather("SELECT now.name FROM " + now, "added", result);
    return result;
  }
  result.added = Gather("SELECT now.name FROM " + now + " LEFT JOIN " + before +
                            " ON old.name = now.name WHERE old.name IS NULL",
                        "added", result);
  result.changed = Gather("SELECT now.name FROM " + now + " JOIN " + before +
                              " ON old.name = now.name WHERE old.state <> now.state",
                          "changed", result);
  result.removed = Gather("SELECT old.name FROM " + before + " LEFT JOIN " + now +
                              " ON now.name = old.name WHERE now.name IS NULL",
                          "removed", result);
  return result;
}

}  // namespace

SyncDifferences::SyncDifferences(Of what) : what_(what) {
  for (const Kind& kind : Kinds(what_)) {
    if (!IsNoted(kind, what)) continue;
    const std::string table = Before(kind.name);
    zeb_db::GetCache().Query("DROP TABLE IF EXISTS " + table);
    zeb_db::GetCache().Query("CREATE TEMPORARY TABLE " + table + " AS " + kind.query);
    zeb_db::GetCache().Query("CREATE INDEX " + table + "_by_name ON " + table + " (name)");
  }
}

std::vector<SyncResult> SyncDifferences::Compare() const {
  std::vector<SyncResult> results;
  for (const Kind& kind : Kinds(what_)) {
    SyncResult nothing;
    nothing.kind = kind.name;
    results.push_back(IsNoted(kind, what_) ? CompareKind(kind) : nothing);
  }
  return results;
}

std::size_t SyncDifferences::CountBefore(const std::string& kind) {
  return Count(Before(kind));
}

}  // namespace panel::mail
