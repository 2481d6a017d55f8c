/// NAME
///   db_fixture - a new panel database for each test

#include "tests/panel/db_fixture.h"

#include "tests/support/postgresql_server.h"

namespace db_test {
namespace {

/// One server for all tests of a process.
test_support::PostgresqlServer& Server() {
  static test_support::PostgresqlServer server;
  return server;
}

}  // namespace

std::string RowsOf(const std::string& sql, std::size_t columns) {
  std::string text;
  for (fen_db::Result rows = zeb_db::GetCache().Query(sql); !rows.Eof(); rows.Next()) {
    for (std::size_t i = 0; i < columns; ++i) text += (i == 0 ? "" : "|") + rows.Str(i);
    text += "\n";
  }
  return text;
}

std::string TextOf(const std::vector<panel::db::RowChange>& changes) {
  std::string text;
  for (const panel::db::RowChange& change : changes) {
    text += change.table + " " + change.what + " " + change.row + "\n";
  }
  return text;
}

void OnEachDatabase::SetUp() {
  if (IsSqlite()) {
    url_ = "sqlite3://" + folder_.Path("panel.db").string();
  } else {
    if (!test_support::PostgresqlServer::IsInstalled())
      GTEST_SKIP() << "there is no PostgreSQL server here";
    url_ = Server().MakeDatabase();
  }
  Reopen();
}

void OnEachDatabase::Reopen() {
  database_.reset();
  database_ = std::make_unique<panel::db::Database>(url_);
}

std::int64_t OnEachDatabase::AddDomain(const std::string& name) {
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  domain->New();
  domain->name = name;
  domain->defaction = "error";
  domain->Post();
  return domain->id;
}

std::int64_t OnEachDatabase::AddMailbox(std::int64_t domain, const std::string& name) {
  const auto mailbox = cache().Get<zeb_db::EmailTable>();
  mailbox->New();
  mailbox->name = name;
  mailbox->domain = domain;
  mailbox->Post();
  return mailbox->id;
}

void OnEachDatabase::AddAlias(std::int64_t mailbox, const std::string& name) {
  const auto alias = cache().Get<zeb_db::EmailAliasTable>();
  alias->New();
  alias->name = name;
  alias->email = mailbox;
  alias->Post();
}

}  // namespace db_test
