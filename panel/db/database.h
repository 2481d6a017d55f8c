/// NAME
///   database - the panel database as the panel itself uses it
///
/// PURPOSE
///   Opens the database that a URL names, brings its tables up to date, and wraps what one panel
///   operation does to it in a transaction.
///
/// WHAT A URL LOOKS LIKE
///   sqlite3:///var/lib/zebmail/panel.db   a file; what follows the two slashes is its absolute
///   path postgresql://HOST/NAME?user=U&port=P  a database on a PostgreSQL server, with the
///   parameters
///                                         that libpq knows
///
/// HOW IT FAILS
///   With fen_err::Error("database", URL or statement, the database's own words). A URL is shown
///   without its password, a statement without its values.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

#include "host/fen_db.h"
#include "panel/db/access.h"

namespace panel::db {

class Connection;
struct Gathering;
struct Journal;

/// The panel database. One lives at a time: zeb_db::GetCache() answers from it. Whatever was lent
/// by its cache must have come back before it goes.
class Database {
 public:
  /// Opens the database at `url`, makes its tables where they are missing and migrates older ones.
  /// A database of a newer version than this program knows is an error. One that is opened to look
  /// at is taken as it is.
  explicit Database(const std::string& url, Access access = Access::kChange);
  ~Database();

  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  fen_db::Cache& cache() noexcept { return *cache_; }

  /// Whether the change of this name is the last one that a panel has committed. A server may be
  /// about to commit it still, for a process that is gone; that is waited for.
  bool HasChange(const std::string& change);

 private:
  friend class Transaction;

  std::unique_ptr<Connection> connection_;
  std::unique_ptr<fen_db::Cache> cache_;
};

/// `url` as it may be shown: without the password.
std::string PrintableUrl(const std::string& url);

/// A change of one row, or a plain statement that changed rows.
struct RowChange {
  std::string table;  ///< empty for a plain statement
  std::string what;   ///< "insert", "update", "delete", or "statement"
  std::string row;    ///< one line: "name=info domain=3"; for an update "id=7 name=info active=true
                      ///< -> false", the changed columns behind those that identify the row; for a
                      ///< statement its text
};

/// The database's side of one panel operation: all of it is stored, or nothing. One lives at a
/// time.
///
/// A statement that fails spoils the transaction: what follows it is refused, Commit too, on either
/// kind of database.
class Transaction {
 public:
  /// Whether changes are listed; a pass over a large table that nobody wants to see does without.
  enum class Changes { kListed, kUnlisted };

  explicit Transaction(Database& database, Changes changes = Changes::kListed);

  /// Rolls back what was not committed.
  ~Transaction();

  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  void Commit();

  /// Commits, and has it known from then on that the change of this name is stored, until the panel
  /// commits another one. Several panels may share a database.
  void Commit(const std::string& panel, const std::string& change);

  /// Every row changed since the transaction began, in order: rows that went with the row that they
  /// belong to as well. The mark of a synchronisation pass (`tag`) is not a change worth listing.
  const std::vector<RowChange>& changes() const noexcept;

 private:
  Connection& connection_;
  std::unique_ptr<Journal> journal_;
};

/// While one lives, the new rows of a table are inserted many at a time: a row that was posted
/// waits, unless changes are listed, and its table object stands on nothing. Whoever looks at the
/// table finds it. For what adds rows by the hundred thousand and does not ask for their keys. One
/// lives at a time for a table.
class GatheredInserts {
 public:
  /// `owner` may name a column of whole numbers by which rows are deleted before new ones are
  /// posted: deleting those of an owner who has none then costs nothing.
  explicit GatheredInserts(const std::string& table, const std::string& owner = "");

  /// Drops the rows that were not inserted.
  ~GatheredInserts();

  GatheredInserts(const GatheredInserts&) = delete;
  GatheredInserts& operator=(const GatheredInserts&) = delete;

  /// Inserts the rows that wait.
  void Finish();

 private:
  Connection& connection_;
  std::unique_ptr<Gathering> gathering_;
};

/// The keys of new rows of the table go on behind this one, or wherever they were if that is
/// further.
void GoOnBehindKey(const std::string& table, std::int64_t key);

/// Gives a new row of the table, to which no other belongs yet, a key that none has.
void ChangeKey(const std::string& table, std::int64_t from, std::int64_t to);

/// A column and the value that a row must have in it, in the form in which it is stored.
struct Match {
  std::string column;
  std::variant<std::int64_t, std::string> value;

  bool operator==(const Match&) const = default;
};

/// Stands `table` on the first row, by key, that has all these values, and returns whether there is
/// one. The same as DbFind for what runs once a row: the statement is prepared only once.
bool FindRow(fen_db::CustomTable& table, const std::vector<Match>& matches);

}  // namespace panel::db
