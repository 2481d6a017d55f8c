/// NAME
///   table_checks - whether Postfix reads the tables as the panel does
///
/// PURPOSE
///   The panel changes single lines. Postfix joins a line with those below that continue it,
///   ignores a line whose key it has seen, and skips what it cannot make anything of; where
///   somebody's hand has written such lines, the two do not mean the same.

#pragma once

#include "panel/mail/checks.h"

namespace panel::mail {

Findings CheckTableLines();

}  // namespace panel::mail
