/// NAME
///   own_places - that nobody else has written where the panel keeps its own
///
/// PURPOSE
///   The journal of a change names files that root puts back, the notes name tables that root has
///   maps built of, the rows of the database become commands in the aliases. So the folder of the
///   state and that of the database must be closed to others before anything in them is opened, and
///   what lies there under the panel's names must be what the panel makes: no symbolic link, no
///   second name of another file, no pipe that would hold the panel up. Behind that check nobody
///   can put such a thing there.
///
/// HOW IT FAILS
///   With fen_err::Error("file" or "database", path, what is wrong and what to do).

#pragma once

#include "panel/module/config.h"

namespace panel::mail {

/// Requires that of the places of `config`. What does not exist is for those to say who need it.
void RequireOwnPlaces(const Config& config);

}  // namespace panel::mail
