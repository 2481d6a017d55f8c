/// NAME
///   db_server - a private PostgreSQL server
///
/// PURPOSE
///   A server for the tests alone: its files and its socket lie in a temporary folder, it listens
///   on no network address, and it goes with the process that started it, also when that crashes.
///
/// HOW IT FAILS
///   With std::runtime_error, which holds what the server's tools said.

#pragma once

#include <filesystem>
#include <string>

#include <sys/types.h>

#include "tests/support/temp_folder.h"

namespace db_test {

class PostgresqlServer {
 public:
  /// Whether the server's programs are installed.
  static bool IsInstalled();

  PostgresqlServer();
  ~PostgresqlServer();

  PostgresqlServer(const PostgresqlServer&) = delete;
  PostgresqlServer& operator=(const PostgresqlServer&) = delete;

  /// The URL of the database `name`.
  std::string Url(const std::string& name) const;

  /// Makes a database that is not there yet and returns its URL.
  std::string MakeDatabase();

 private:
  void MakeHome() const;
  void Start();
  void WaitUntilReady() const;

  test_support::TempFolder folder_;
  std::filesystem::path home_;  // belongs to the server's user
  pid_t process_ = 0;
  int databases_ = 0;
};

}  // namespace db_test
