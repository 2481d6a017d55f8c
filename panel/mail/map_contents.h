/// NAME
///   map_contents - whether a map says what its text says
///
/// PURPOSE
///   A map may be newer than its text and still be of another one: it was restored from a backup,
///   or a killed tool has left half of it.

#pragma once

#include <string>

#include "panel/mail/maps.h"

namespace panel::mail {

/// Whether the map of `map`, of this type, holds just the entries of the text. Throws
/// fen_err::Error("email", "postmap", its output) when it cannot be read.
bool IsOfText(const Map& map, const std::string& type);

}  // namespace panel::mail
