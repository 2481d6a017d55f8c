/// NAME
///   postgresql_server - a private PostgreSQL server
///
/// PURPOSE
///   A server for the tests alone: its files and its socket lie in a temporary folder, it listens
///   on no network address, and it goes with the process that started it, also when that crashes.
///   What it stores it does not wait for the disk to have, unless a test measures it.
///
/// HOW IT FAILS
///   With std::runtime_error, which holds what the server's tools said.

#pragma once

#include <filesystem>
#include <string>

#include <sys/types.h>

#include "tests/support/temp_folder.h"

namespace test_support {

/// The URL of the database `name` on the server whose socket lies in `folder`.
std::string PostgresqlUrl(const std::filesystem::path& folder, const std::string& name);

class PostgresqlServer {
 public:
  /// Whether the server's programs are installed.
  static bool IsInstalled();

  explicit PostgresqlServer(bool waits_for_disk = false);
  ~PostgresqlServer();

  PostgresqlServer(const PostgresqlServer&) = delete;
  PostgresqlServer& operator=(const PostgresqlServer&) = delete;

  /// The folder of its socket.
  const std::filesystem::path& folder() const noexcept { return home_; }

  /// The URL of the database `name`.
  std::string Url(const std::string& name) const { return PostgresqlUrl(home_, name); }

  /// Ends it at once, as a crash does, and has it back.
  void Stop();
  void Start();

  /// Ends the connections to the database at `url`, as an administrator does, and waits until they
  /// are no more. Returns how many there were.
  int EndConnections(const std::string& url) const;

  /// What the first column of a query on the database at `url` gives first.
  static std::string Ask(const std::string& url, const std::string& query);

  /// Has new connections to the database at `url` wait in each COMMIT, behind having stored what it
  /// is to store, as for a standby server that is gone.
  void HoldCommits(const std::string& url) const;
  void ReleaseCommits(const std::string& url) const;
  void WaitForHeldCommit() const;

  /// Makes a database that is not there yet and returns its URL.
  std::string MakeDatabase();

 private:
  static std::string NameIn(const std::string& url);
  void MakeHome() const;
  void WaitUntilReady() const;

  TempFolder folder_;
  std::filesystem::path home_;  // belongs to the server's user
  bool waits_for_disk_;
  pid_t process_ = 0;
  int databases_ = 0;
};

}  // namespace test_support
