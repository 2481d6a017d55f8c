/// NAME
///   tables - the classes of the panel's tables

#pragma once

#include <memory>
#include <string>

#include "host/fen_db.h"

namespace panel::db {

/// A new table object of the class with the run-time type name `type_name`. Throws
/// fen_err::Error("database", type_name, ...) for a class that is none of the panel's.
std::unique_ptr<fen_db::CustomTable> MakeTable(const std::string& type_name);

/// A new object of the class of the table `sql_name`. Throws as MakeTable.
std::unique_ptr<fen_db::CustomTable> MakeTableFor(const std::string& sql_name);

}  // namespace panel::db
