/// NAME
///   db_server - a private PostgreSQL server
///
/// PURPOSE
///   A server for the tests alone: its files and its socket lie in a temporary folder, it listens
///   on no network address, and it is gone with the process that started it.
///
/// HOW IT FAILS
///   With std::runtime_error, which holds what the server's tools said.

#pragma once

#include <filesystem>
#include <string>
#include <vector>

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
  void Run(const std::string& program, const std::vector<std::string>& arguments) const;

  test_support::TempFolder folder_;
  std::filesystem::path home_;  // of the server's user
  int databases_ = 0;
};

}  // namespace db_test
