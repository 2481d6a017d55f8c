/// NAME
///   test_database - the database of a test's own panel
///
/// PURPOSE
///   What a panel does is the same on SQLite and on PostgreSQL, so the tests that make a panel run
///   on both: in a file as a rule, and on the server that with_postgresql has started when a test
///   runs below it. There each panel gets a database of its own, which goes with it.
///
/// HOW IT FAILS
///   With fen_err::Error, when the server does not make the database.

#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace test_support {

/// What with_postgresql sets for those below it: the folder of the server's socket.
inline constexpr const char* kServerVariable = "ZEBMAIL_TEST_POSTGRESQL";

/// The folder that is set, if the tests run on PostgreSQL.
std::optional<std::filesystem::path> ServerOfTests();

/// Makes the database there whose copies the tests get: it has the panel's tables, and no rows.
void MakeTemplateDatabase(const std::filesystem::path& server);

/// A database on the server.
class ServerDatabase {
 public:
  /// A copy of the one with the panel's tables, or of the one of that name.
  explicit ServerDatabase(const std::filesystem::path& server);
  ServerDatabase(const std::filesystem::path& server, const std::string& copied);
  ~ServerDatabase();

  ServerDatabase(const ServerDatabase&) = delete;
  ServerDatabase& operator=(const ServerDatabase&) = delete;

  const std::string& name() const noexcept { return name_; }
  const std::filesystem::path& server() const noexcept { return server_; }
  std::string Url() const;

  /// Makes it anew, as a copy of another one.
  void Replace(const ServerDatabase& copied) const;

 private:
  void Make(const std::string& copied) const;
  void Drop() const;

  std::filesystem::path server_;
  std::string name_;
};

/// The database of one panel.
class TestDatabase {
 public:
  /// `file` is where it lies, when it is one.
  explicit TestDatabase(const std::filesystem::path& file);

  const std::string& url() const noexcept { return url_; }
  bool IsFile() const noexcept { return !on_server_; }

  /// Keeps what is in it now, and has that in it again and nothing else. A file is copied by
  /// whoever wants that.
  void Keep();
  void PutBack() const;

 private:
  std::optional<ServerDatabase> on_server_;
  std::optional<ServerDatabase> kept_;
  std::string url_;
};

}  // namespace test_support
