/// NAME
///   deleted_rows - the rows that a deletion takes along

#pragma once

#include <string>

#include "panel/db/connection.h"

namespace panel::db {

/// Lists in the journal of the transaction in progress the rows of `table` for which the SQL
/// `condition` holds as deleted, each kind of rows behind those that belong to it.
void ListDeletedRows(Connection& connection, const std::string& table,
                     const std::string& condition);

}  // namespace panel::db
