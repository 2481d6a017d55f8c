/// NAME
///   row_text - a row as a line that people read

#pragma once

#include <string>
#include <vector>

#include "host/fen_db.h"

namespace panel::db {

/// The columns that are not empty, "name=info domain=3 active=true", behind "id=7" when the row has
/// its key.
std::string RowText(const std::vector<fen_db::Field*>& fields);

/// What identifies the row and the columns whose value is not the one in `before`: "id=7 name=info
/// active=true -> false". Empty when nothing worth listing has changed.
std::string ChangeText(const std::vector<fen_db::Field*>& fields,
                       const std::vector<std::string>& before);

}  // namespace panel::db
