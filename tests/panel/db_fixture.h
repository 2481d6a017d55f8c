/// NAME
///   db_fixture - a new panel database for each test
///
/// PURPOSE
///   What the panel database does is the same on SQLite and on PostgreSQL: a test that derives its
///   fixture from OnEachDatabase runs on both. The PostgreSQL half is skipped where no server is
///   installed.

#pragma once

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "host/zeb_db.h"
#include "panel/db/database.h"
#include "tests/support/temp_folder.h"

namespace db_test {

/// The message of the fen_err::Error that `action` throws; "no error" without one.
template <class Action>
std::string ErrorOf(Action action) {
  try {
    action();
  } catch (const fen_err::Error& error) {
    return error.what();
  }
  return "no error";
}

/// The rows that `sql` gives, a line each, columns separated by "|", on the database that is open.
std::string RowsOf(const std::string& sql, std::size_t columns = 1);

/// The changes, a line each: table, what and row.
std::string TextOf(const std::vector<panel::db::RowChange>& changes);

class OnEachDatabase : public testing::TestWithParam<std::string> {
 protected:
  void SetUp() override;
  void TearDown() override { database_.reset(); }

  static bool IsSqlite() { return GetParam() == "Sqlite"; }
  const std::string& url() const { return url_; }
  panel::db::Database& database() { return *database_; }
  fen_db::Cache& cache() { return database_->cache(); }

  void Close() { database_.reset(); }
  void Reopen();

  /// A mail domain with this name; returns its key.
  std::int64_t AddDomain(const std::string& name);

  /// A mailbox of that domain; returns its key.
  std::int64_t AddMailbox(std::int64_t domain, const std::string& name);

  /// An alias of that mailbox.
  void AddAlias(std::int64_t mailbox, const std::string& name);

 private:
  test_support::TempFolder folder_;
  std::string url_;
  std::unique_ptr<panel::db::Database> database_;
};

/// The kinds of database, for INSTANTIATE_TEST_SUITE_P.
inline auto EachDatabase() {
  return testing::Values("Sqlite", "Postgresql");
}

inline std::string NameOfKind(const testing::TestParamInfo<std::string>& info) {
  return info.param;
}

}  // namespace db_test
