/// NAME
///   connection - one session with the panel database

#include "panel/db/connection.h"

#include <cerrno>
#include <exception>
#include <filesystem>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

#include "host/fen_err.h"
#include "panel/db/gathering.h"
#include "panel/db/sql_text.h"
#include "panel/process/file_handle.h"

namespace panel::db {
namespace {

/// Any number will do for the panel's lock; this one reads "zebmail" in ASCII.
constexpr const char* kTakeAdvisoryLock = "SELECT pg_advisory_xact_lock(34451420575000940)";

/// Makes the file of a new database, which holds everybody's addresses, for its owner alone; SQLite
/// gives the files that it puts beside it the same mode. A file that is there is not opened here:
/// to close it again would take away the locks that this process may hold on it.
void CreateFile(const std::filesystem::path& file) {
  std::error_code error;
  const std::filesystem::path folder = file.parent_path();
  if (!std::filesystem::is_directory(folder, error)) {
    throw soci::soci_error("there is no folder " + folder.string() + "; make it first");
  }
  const FileHandle created(open(file.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!created && errno != EEXIST) {
    throw soci::soci_error("the file cannot be created: " + std::generic_category().message(errno));
  }
}

/// The database's own words, without what SOCI puts around them.
std::string OwnWords(const soci::soci_error& error) {
  std::string words = error.get_error_message();
  words.erase(words.find_last_not_of(" \n") + 1);
  for (const std::string_view mark : {"ERROR:  ", "FATAL:  ", "database. "}) {
    const std::size_t at = words.find(mark);
    if (at != std::string::npos) return words.substr(at + mark.size());
  }
  const std::size_t end = words.find(": ");
  if (words.starts_with("sqlite3_") && end != std::string::npos) return words.substr(end + 2);
  return words;
}

bool IsAboutWaiting(const std::string& words) {
  return words.find("database is locked") != std::string::npos ||
         words.find("lock timeout") != std::string::npos;
}

}  // namespace

Connection::Connection(const std::string& url, std::chrono::milliseconds patience, Access access)
    : url_(url), name_(PrintableUrl(url)), patience_(patience) {
  const Location location = ParseUrl(url);
  kind_ = location.kind;
  try {
    Open(location, access);
  } catch (const soci::soci_error& error) {
    throw fen_err::Error("database", name_, Words(error));
  }
}

Connection::~Connection() = default;

void Connection::Open(const Location& location, Access access) {
  const bool is_sqlite_to_look = kind_ == Kind::kSqlite && access == Access::kLook;
  if (kind_ == Kind::kSqlite && access == Access::kChange) CreateFile(location.file);
  session_.open(location.backend,
                location.connect_string + (is_sqlite_to_look ? " readonly=true" : ""));
  if (kind_ == Kind::kSqlite) {
    SetUpSqlite(access);
  } else {
    SetUpPostgresql(access);
  }
}

void Connection::SetUpSqlite(Access access) {
  Run("PRAGMA busy_timeout = " + std::to_string(patience_.count()));
  if (access == Access::kLook) return;
  if (Run("PRAGMA journal_mode = WAL").Cell(0) != "wal") {
    throw soci::soci_error("its file system cannot hold a write-ahead log; use a local disk");
  }
  Run("PRAGMA foreign_keys = ON");
  Run("PRAGMA cache_size = -65536");  // in KiB; a pass over a large table changes most of its pages
}

void Connection::SetUpPostgresql(Access access) {
  Run("SET client_min_messages = error");
  Run("SET client_encoding = 'UTF8'");
  Run("SET standard_conforming_strings = on");
  Run("SET lock_timeout = " + std::to_string(patience_.count()));
  if (access == Access::kLook) Run("SET default_transaction_read_only = on");
}

Rows Connection::Query(const std::string& sql, long long* affected) {
  const std::lock_guard lock(mutex_);
  InsertGathered();
  return Guard(sql, [&] { return Run(sql, affected); });
}

void Connection::BeginGathering(Gathering& gathering) {
  gatherings_.push_back(&gathering);
}

void Connection::EndGathering(const Gathering& gathering) noexcept {
  std::erase(gatherings_, &gathering);
}

Gathering* Connection::GatheringOf(const std::string& table) const noexcept {
  for (Gathering* const gathering : gatherings_) {
    if (gathering->table == table) return gathering;
  }
  return nullptr;
}

void Connection::InsertGathered() {
  for (const Gathering* const gathering : gatherings_) {
    if (gathering->buffer) gathering->buffer->Flush();
  }
}

void Connection::ForgetOwners() noexcept {
  for (Gathering* const gathering : gatherings_) gathering->owners.reset();
}

Rows Connection::Run(const std::string& sql, long long* affected) {
  soci::statement statement(session_);
  statement.alloc();
  statement.prepare(sql, soci::details::st_one_time_query);
  const int columns = statement.get_backend()->prepare_for_describe();

  std::vector<std::string> cells(static_cast<std::size_t>(columns));
  std::vector<soci::indicator> indicators(cells.size(), soci::i_ok);
  for (std::size_t i = 0; i < cells.size(); ++i) {
    statement.exchange(soci::into(cells[i], indicators[i]));
  }
  statement.define_and_bind();

  Rows rows(cells.size());
  bool has_row = statement.execute(true);
  if (affected != nullptr) *affected = statement.get_affected_rows();
  for (; has_row && !cells.empty(); has_row = statement.fetch()) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      rows.Add(indicators[i] == soci::i_null ? std::string_view() : cells[i]);
    }
  }
  return rows;
}

void Connection::Begin(Journal& journal) {
  const std::lock_guard lock(mutex_);
  if (journal_ != nullptr) {
    throw fen_err::Error("database", name_, "there is a transaction in progress already");
  }
  Query(kind_ == Kind::kSqlite ? "BEGIN IMMEDIATE" : "BEGIN");
  journal_ = &journal;
  TouchAll();
  if (kind_ == Kind::kSqlite) return;
  try {
    Query(kTakeAdvisoryLock);
  } catch (...) {
    Rollback();
    throw;
  }
}

void Connection::Commit() {
  const std::lock_guard lock(mutex_);
  Query("COMMIT");
  journal_ = nullptr;
  TouchAll();
}

void Connection::Rollback() noexcept {
  const std::lock_guard lock(mutex_);
  journal_ = nullptr;
  TouchAll();
  try {
    Run("ROLLBACK");
  } catch (const std::exception&) {
    // The database has given the transaction up by itself: after a full disk, a lost connection.
  }
}

void Connection::TouchAll() noexcept {
  for (auto& [table, generation] : generations_) ++generation;
}

/// PostgreSQL ignores whatever follows a failed statement and turns the COMMIT into a ROLLBACK
/// without a word; SQLite, after some failures, has no transaction any more and would store each
/// statement by itself.
void Connection::RequireUnspoiled(const std::string& sql) const {
  if (journal_ == nullptr || journal_->failure.empty()) return;
  throw fen_err::Error(
      "database", WithoutValues(sql),
      "not run, for an earlier statement of the transaction failed: " + journal_->failure);
}

void Connection::Fail(const std::string& sql, const soci::soci_error& error) {
  const std::string words = Words(error);
  if (journal_ != nullptr) journal_->failure = words;
  throw fen_err::Error("database", WithoutValues(sql), words);
}

std::string Connection::Words(const soci::soci_error& error) const {
  std::string words = WithoutPassword(OwnWords(error), url_);
  if (IsAboutWaiting(words)) {
    words += "; another program has been changing " + name_ + " for more than " +
             std::to_string(patience_.count() / 1000) + " seconds";
  }
  return words;
}

}  // namespace panel::db
