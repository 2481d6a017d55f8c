/// NAME
///   journal - what is known of the transaction in progress

#pragma once

#include <map>
#include <string>
#include <vector>

#include "panel/db/database.h"

namespace panel::db {

/// The answer to whether a file has changed.
struct FileAnswer {
  bool changed;
  std::string stamp;
};

struct Journal {
  bool lists_changes = true;
  std::vector<RowChange> changes;
  std::map<std::string, FileAnswer> files;  ///< by path
  std::string failure;  ///< of the statement that spoiled it; empty as long as none has
};

}  // namespace panel::db
