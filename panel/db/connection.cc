/// NAME
///   connection - one session with the panel database

#include "panel/db/connection.h"

#include <algorithm>
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

/// Says itself what a server may have other defaults for: one snapshot for the whole transaction
/// would be taken before the wait for the lock, and show the rows as they were then.
constexpr const char* kBeginPostgresql = "BEGIN ISOLATION LEVEL READ COMMITTED READ WRITE";

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
  for (const std::string_view mark :
       {"ERROR:  ", "FATAL:  ", "database. ", "database.\n", "Connection failed. "}) {
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

/// The client library explains a failure to connect in several lines.
std::string InOneLine(const std::string& words) {
  std::string line;
  for (std::size_t begin = 0; begin < words.size();) {
    const std::size_t end = std::min(words.find('\n', begin), words.size());
    line += (line.empty() ? "" : "; ") + words.substr(begin, end - begin);
    begin = std::min(words.find_first_not_of("\n\t ", end), words.size());
  }
  return line;
}

bool OnlyReads(const std::string& sql) {
  const std::string word = FirstWord(sql);
  return word == "select" || word == "begin";
}

}  // namespace

Connection::Connection(const std::string& url, std::chrono::milliseconds patience, Access access)
    : url_(url), name_(PrintableUrl(url)), patience_(patience), access_(access) {
  Connect();
}

Connection::~Connection() = default;

void Connection::Connect() {
  const Location location = ParseUrl(url_);
  kind_ = location.kind;
  try {
    Open(location);
  } catch (const soci::soci_error& error) {
    throw fen_err::Error("database", name_, InOneLine(Words(error)));
  }
}

void Connection::Open(const Location& location) {
  const bool is_sqlite_to_look = kind_ == Kind::kSqlite && access_ == Access::kLook;
  if (kind_ == Kind::kSqlite && access_ == Access::kChange) CreateFile(location.file);
  auto opened = std::make_shared<soci::session>(
      location.backend, location.connect_string + (is_sqlite_to_look ? " readonly=true" : ""));
  const auto before = std::exchange(session_, std::move(opened));
  try {
    kind_ == Kind::kSqlite ? SetUpSqlite() : SetUpPostgresql();
  } catch (...) {
    session_ = before;  // one that is set up by half must not be worked with; this one is made anew
    throw;
  }
}

void Connection::SetUpSqlite() {
  Run("PRAGMA busy_timeout = " + std::to_string(patience_.count()));
  if (access_ == Access::kLook) return;
  if (Run("PRAGMA journal_mode = WAL").Cell(0) != "wal") {
    throw soci::soci_error("its file system cannot hold a write-ahead log; use a local disk");
  }
  Run("PRAGMA foreign_keys = ON");
  Run("PRAGMA cache_size = -65536");  // in KiB; a pass over a large table changes most of its pages
}

void Connection::SetUpPostgresql() {
  Run("SET client_min_messages = error");
  Run("SET client_encoding = 'UTF8'");
  Run("SET standard_conforming_strings = on");
  Run("SET lock_timeout = " + std::to_string(patience_.count()));
  // A machine that is gone without a word would hold the panel's lock for hours.
  Run("SET tcp_keepalives_idle = 30");
  Run("SET tcp_keepalives_interval = 10");
  Run("SET tcp_keepalives_count = 3");
  if (access_ == Access::kLook) Run("SET default_transaction_read_only = on");
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
  soci::statement statement(*session_);
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
  Query(kind_ == Kind::kSqlite ? "BEGIN IMMEDIATE" : kBeginPostgresql);
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

void Connection::RequireAnotherTry(const std::string& sql, const soci::soci_error& error) {
  if (!IsLost()) Fail(sql, error);
  if (journal_ != nullptr) FailAsLost(sql, error);
  Connect();
  TouchAll();
  if (!OnlyReads(sql)) FailAsLost(sql, error);
}

/// A file cannot be lost in this way; to ask would touch it.
bool Connection::IsLost() const {
  return kind_ == Kind::kPostgresql && !session_->is_connected();
}

void Connection::FailAsLost(const std::string& sql, const soci::soci_error& error) {
  const std::string words = Words(error);
  if (journal_ != nullptr) journal_->failure = words;
  throw fen_err::Error("database", name_,
                       std::string("the connection was lost") +
                           (sql == "COMMIT" ? " while the change was being stored: " : ": ") +
                           words.substr(0, words.find('\n')) +
                           "; see to it that the server runs and can be reached");
}

void Connection::Fail(const std::string& sql, const soci::soci_error& error) {
  if (IsLost()) FailAsLost(sql, error);
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
