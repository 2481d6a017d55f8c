/// NAME
///   connection - one session with the panel database
///
/// PURPOSE
///   The one place that knows which kind of database it is: how a session is set up, how a
///   transaction begins and how a new row's key is learnt. All the rest is the same SQL for both.
///
///   Both kinds let one transaction at a time write, and make the next one wait for it: SQLite by
///   BEGIN IMMEDIATE, PostgreSQL by an advisory lock.
///
/// WHEN A CONNECTION IS LOST
///   A server may be restarted, or a network fail. A transaction in progress is lost with the
///   connection, and the statement that finds out fails. Outside of one, and at its beginning, the
///   connection is made anew: what only reads is run again there and has not failed.
///
/// HOW IT FAILS
///   As database.h says. Objects of several threads share a connection; each holds its mutex while
///   it uses it.

#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <soci/soci.h>

#include "panel/db/access.h"
#include "panel/db/journal.h"
#include "panel/db/rows.h"
#include "panel/db/url.h"

namespace panel::db {

/// How long a statement waits for somebody else's transaction.
inline constexpr std::chrono::milliseconds kPatience{10000};

struct Gathering;

class Connection {
 public:
  explicit Connection(const std::string& url, std::chrono::milliseconds patience = kPatience,
                      Access access = Access::kChange);
  ~Connection();

  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  /// The URL as it may be shown.
  const std::string& name() const noexcept { return name_; }
  Kind kind() const noexcept { return kind_; }
  /// Another one once the connection was lost; a statement prepared on the old one ends with that.
  const std::shared_ptr<soci::session>& session() const noexcept { return session_; }
  std::recursive_mutex& mutex() noexcept { return mutex_; }

  /// Runs one statement, in which no colon outside of quotes stands for a value, and reads what it
  /// gives. `affected` is set to the number of rows that it changed.
  Rows Query(const std::string& sql, long long* affected = nullptr);

  /// Begins a transaction, about which `journal`, owned by the caller, keeps what is known.
  void Begin(Journal& journal);
  void Commit();
  void Rollback() noexcept;

  /// The journal of the transaction in progress, if there is one.
  Journal* journal() const noexcept { return journal_; }

  /// Whether what changes is to be listed in the journal.
  bool ListsChanges() const noexcept { return journal_ != nullptr && journal_->lists_changes; }

  /// A number that changes with each change of the table, and with each transaction.
  std::uint64_t& Generation(const std::string& table) { return generations_[table]; }

  /// Every table may have changed.
  void TouchAll() noexcept;

  /// From now on the new rows of a table are gathered, and no longer, those that wait being
  /// dropped.
  void BeginGathering(Gathering& gathering);
  void EndGathering(const Gathering& gathering) noexcept;

  /// What gathers the new rows of the table; null when they are inserted one by one.
  Gathering* GatheringOf(const std::string& table) const noexcept;

  /// Inserts the rows that wait.
  void InsertGathered();

  /// Any table may have got rows of anybody.
  void ForgetOwners() noexcept;

  /// Runs `work`, a part of the statement `sql`, and reports how it failed. A failure spoils the
  /// transaction in progress. Where the connection was lost and nothing with it, `work` runs again.
  template <class Work>
  auto Guard(const std::string& sql, Work work) -> decltype(work()) {
    RequireUnspoiled(sql);
    try {
      return work();
    } catch (const soci::soci_error& error) {
      RequireAnotherTry(sql, error);
    }
    try {
      return work();
    } catch (const soci::soci_error& error) {
      Fail(sql, error);
    }
  }

 private:
  void Connect();
  void Open(const Location& location);
  void SetUpSqlite();
  void SetUpPostgresql();
  Rows Run(const std::string& sql, long long* affected = nullptr);
  void RequireUnspoiled(const std::string& sql) const;
  void RequireAnotherTry(const std::string& sql, const soci::soci_error& error);
  bool IsLost() const;
  [[noreturn]] void Fail(const std::string& sql, const soci::soci_error& error);
  [[noreturn]] void FailAsLost(const std::string& sql, const soci::soci_error& error);
  std::string Words(const soci::soci_error& error) const;

  std::string url_;
  std::string name_;
  Kind kind_ = Kind::kSqlite;
  std::chrono::milliseconds patience_;
  Access access_;
  std::recursive_mutex mutex_;
  std::shared_ptr<soci::session> session_;
  Journal* journal_ = nullptr;
  std::vector<Gathering*> gatherings_;
  std::map<std::string, std::uint64_t> generations_;
};

/// The connection of the Database that lives. Throws fen_err::Error("database", ...) without one.
Connection& CurrentConnection();

}  // namespace panel::db
