/// NAME
///   wake_tables - making the back-end's tables known
///
/// PURPOSE
///   A table is described to the configuration cache when the back-end opens a file of it for the
///   first time, and only a table that is known can make up for outstanding after-save work. Where
///   there is such work, the tables are woken first.

#pragma once

#include "panel/db/database.h"

namespace panel::mail {

/// Rehearses the creation and deletion of a domain that cannot exist, which opens a file of every
/// table, and forgets what that did. A table file that cannot be opened does not keep the others
/// from being woken; the failure is logged.
void WakeTables(db::Database& database);

}  // namespace panel::mail
