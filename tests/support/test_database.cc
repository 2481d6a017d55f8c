/// NAME
///   test_database - the database of a test's own panel

#include "tests/support/test_database.h"

#include <atomic>
#include <cstdlib>
#include <iostream>

#include <unistd.h>

#include "host/fen_err.h"
#include "panel/db/connection.h"
#include "panel/db/schema.h"
#include "tests/support/postgresql_server.h"

namespace test_support {
namespace {

constexpr const char* kTemplate = "panel_template";

/// A name that no test of the same run has used.
std::string NewName() {
  static std::atomic<int> count = 0;
  return "panel_" + std::to_string(getpid()) + "_" + std::to_string(++count);
}

void Tell(const std::filesystem::path& server, const std::string& statement) {
  panel::db::Connection(PostgresqlUrl(server, "postgres")).Query(statement);
}

}  // namespace

std::optional<std::filesystem::path> ServerOfTests() {
  const char* const folder = std::getenv(kServerVariable);
  if (folder == nullptr) return std::nullopt;
  return folder;
}

void MakeTemplateDatabase(const std::filesystem::path& server) {
  Tell(server, std::string("CREATE DATABASE ") + kTemplate);
  panel::db::Connection connection(PostgresqlUrl(server, kTemplate));
  panel::db::MigrateSchema(connection);
}

ServerDatabase::ServerDatabase(const std::filesystem::path& server)
    : ServerDatabase(server, kTemplate) {}

ServerDatabase::ServerDatabase(const std::filesystem::path& server, const std::string& copied)
    : server_(server), name_(NewName()) {
  Make(copied);
}

void ServerDatabase::Make(const std::string& copied) const {
  Tell(server_, "CREATE DATABASE " + name_ + " TEMPLATE " + copied);
}

/// The server may not be done yet with a process that was killed.
void ServerDatabase::Drop() const {
  Tell(server_, "DROP DATABASE " + name_ + " WITH (FORCE)");
}

void ServerDatabase::Replace(const ServerDatabase& copied) const {
  Drop();
  Make(copied.name());
}

ServerDatabase::~ServerDatabase() {
  try {
    Drop();
  } catch (const fen_err::Error& error) {
    std::cerr << error.what() << "\n";  // the database goes with the server
  }
}

std::string ServerDatabase::Url() const {
  return PostgresqlUrl(server_, name_);
}

TestDatabase::TestDatabase(const std::filesystem::path& file) {
  if (const auto server = ServerOfTests()) on_server_.emplace(*server);
  url_ = on_server_ ? on_server_->Url() : "sqlite3://" + file.string();
}

void TestDatabase::Keep() {
  if (on_server_) kept_.emplace(on_server_->server(), on_server_->name());
}

void TestDatabase::PutBack() const {
  if (on_server_) on_server_->Replace(kept_.value());
}

}  // namespace test_support
