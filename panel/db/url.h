/// NAME
///   url - where the panel database is
///
/// HOW IT FAILS
///   With fen_err::Error("database", URL, what to write). The URL is shown without its password.

#pragma once

#include <filesystem>
#include <string>

namespace panel::db {

enum class Kind { kSqlite, kPostgresql };

struct Location {
  Kind kind;
  std::string backend;         ///< what SOCI calls it
  std::string connect_string;  ///< what SOCI connects with
  std::filesystem::path file;  ///< of an SQLite database
};

/// Takes a database URL apart.
Location ParseUrl(const std::string& url);

/// `text`, a message of the database, without the password of `url`.
std::string WithoutPassword(const std::string& text, const std::string& url);

}  // namespace panel::db
