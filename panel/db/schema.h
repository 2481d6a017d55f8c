/// NAME
///   schema - the tables of the panel database, and how they came to be what they are
///
/// PURPOSE
///   A database keeps the version of its tables. Each version is a step from the one before;
///   opening an older database takes the steps that it lacks, each in a transaction of its own.
///
/// TO CHANGE A TABLE
///   Append a step. One that is released stays as it is, for there are databases that took it.
///
/// HOW IT FAILS
///   With fen_err::Error("database", ...): also for a database of a version that this program does
///   not know yet.

#pragma once

#include <array>
#include <string_view>

#include "panel/db/connection.h"

namespace panel::db {

/// Brings the tables up to date.
void MigrateSchema(Connection& connection);

/// A row of `table` goes with the row of `parent` whose key is in its `column`.
struct Belonging {
  std::string_view table;
  std::string_view column;
  std::string_view parent;
};

inline constexpr std::array<Belonging, 5> kBelongings = {{
    {"email", "domain", "email_domain"},
    {"email_alias", "email", "email"},
    {"email_forward", "email", "email"},
    {"email_responder", "email", "email"},
    {"responder_text", "mailbox", "email"},
}};

}  // namespace panel::db
