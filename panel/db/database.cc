/// NAME
///   database - the panel database as the panel itself uses it

#include "panel/db/database.h"

#include <mutex>
#include <optional>

#include "host/fen_err.h"
#include "host/zeb_db.h"
#include "panel/db/connection.h"
#include "panel/db/gathering.h"
#include "panel/db/schema.h"
#include "panel/db/sql_text.h"

namespace panel::db {
namespace {

/// The database that lives, and its connection.
struct Current {
  std::mutex mutex;
  Database* database = nullptr;
  Connection* connection = nullptr;
};

Current& TheCurrent() {
  static Current current;
  return current;
}

[[noreturn]] void RefuseWithout() {
  throw fen_err::Error("database", "", "the panel database is not open");
}

void SetCurrent(Database& database, Connection& connection) {
  Current& current = TheCurrent();
  const std::lock_guard lock(current.mutex);
  if (current.database != nullptr) {
    throw fen_err::Error("database", connection.name(),
                         "another panel database is open: " + current.connection->name());
  }
  current.database = &database;
  current.connection = &connection;
}

Gathering::Owners ReadOwners(Connection& connection, const std::string& table,
                             const std::string& owner) {
  Gathering::Owners owners;
  for (Rows rows = connection.Query("SELECT DISTINCT " + owner + " FROM " + table); !rows.Eof();
       rows.Next()) {
    owners.insert(std::stoll(std::string(rows.Cell(0))));
  }
  return owners;
}

}  // namespace

Database::Database(const std::string& url, Access access)
    : connection_(std::make_unique<Connection>(url, kPatience, access)) {
  if (access == Access::kChange) MigrateSchema(*connection_);
  cache_ = std::make_unique<fen_db::Cache>(*connection_);
  SetCurrent(*this, *connection_);
}

bool Database::HasChange(const std::string& change) {
  std::optional<Transaction> behind_others;
  if (connection_->kind() == Kind::kPostgresql) {
    behind_others.emplace(*this, Transaction::Changes::kUnlisted);
  }
  Rows rows =
      connection_->Query("SELECT panel FROM last_change WHERE name = " + Quote(change, "text"));
  return !fen_db::Result(std::make_unique<Rows>(std::move(rows))).Eof();
}

Database::~Database() {
  Current& current = TheCurrent();
  const std::lock_guard lock(current.mutex);
  current.database = nullptr;
  current.connection = nullptr;
}

Connection& CurrentConnection() {
  Current& current = TheCurrent();
  const std::lock_guard lock(current.mutex);
  if (current.connection == nullptr) RefuseWithout();
  return *current.connection;
}

Transaction::Transaction(Database& database, Changes changes)
    : connection_(*database.connection_), journal_(std::make_unique<Journal>()) {
  journal_->lists_changes = changes == Changes::kListed;
  connection_.Begin(*journal_);
}

Transaction::~Transaction() {
  if (connection_.journal() == journal_.get()) connection_.Rollback();
}

void Transaction::Commit() {
  if (connection_.journal() != journal_.get()) {
    throw fen_err::Error("database", connection_.name(), "the transaction is over already");
  }
  connection_.Commit();
}

void Transaction::Commit(const std::string& panel, const std::string& change) {
  connection_.Query("INSERT INTO last_change (panel, name) VALUES (" + Quote(panel, "text") + ", " +
                    Quote(change, "text") +
                    ") ON CONFLICT (panel) DO UPDATE SET name = excluded.name");
  Commit();
}

const std::vector<RowChange>& Transaction::changes() const noexcept {
  return journal_->changes;
}

void GoOnBehindKey(const std::string& table, std::int64_t key) {
  Connection& connection = CurrentConnection();
  const std::string name = Quote(table, "text");
  const std::string last = std::to_string(key);
  if (connection.kind() == Kind::kSqlite) {
    connection.Query("UPDATE sqlite_sequence SET seq = max(seq, " + last +
                     ") WHERE name = " + name);
    connection.Query("INSERT INTO sqlite_sequence (name, seq) SELECT " + name + ", " + last +
                     " WHERE NOT EXISTS (SELECT 1 FROM sqlite_sequence WHERE name = " + name + ")");
    return;
  }
  const std::string sequence = "pg_get_serial_sequence(" + name + ", 'id')";
  connection.Query("SELECT setval(" + sequence + ", greatest(" + last +
                   ", pg_sequence_last_value(" + sequence + ")))");
}

void ChangeKey(const std::string& table, std::int64_t from, std::int64_t to) {
  Connection& connection = CurrentConnection();
  connection.Query("UPDATE " + table + " SET id = " + std::to_string(to) +
                   " WHERE id = " + std::to_string(from));
  connection.TouchAll();
}

GatheredInserts::GatheredInserts(const std::string& table, const std::string& owner)
    : connection_(CurrentConnection()),
      gathering_(std::make_unique<Gathering>(Gathering{table, owner, {}, nullptr})) {
  const std::lock_guard lock(connection_.mutex());
  if (!owner.empty() && !connection_.ListsChanges()) {
    gathering_->owners = ReadOwners(connection_, table, owner);
  }
  connection_.BeginGathering(*gathering_);
}

GatheredInserts::~GatheredInserts() {
  const std::lock_guard lock(connection_.mutex());
  connection_.EndGathering(*gathering_);
}

void GatheredInserts::Finish() {
  const std::lock_guard lock(connection_.mutex());
  connection_.InsertGathered();
}

}  // namespace panel::db

fen_db::Cache& zeb_db::GetCache() {
  auto& current = panel::db::TheCurrent();
  const std::lock_guard lock(current.mutex);
  if (current.database == nullptr) panel::db::RefuseWithout();
  return current.database->cache();
}
