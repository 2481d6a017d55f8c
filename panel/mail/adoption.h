/// NAME
///   adoption - taking over what the tables have already
///
/// PURPOSE
///   A panel that moves to another database, or to another machine along with its tables, finds its
///   own lines in the tables. Where the tables have what an import speaks of, and the panel does
///   not, its rows alone are made, and no line is touched: a mailbox whose entry in the aliases
///   runs its responder even keeps the key that stands there. The tables must say just what the
///   panel would write of it (adopted_things.h).
///
/// HOW IT FAILS
///   With fen_err::Error("exists", what, what is not the same) when the tables say something else.

#pragma once

#include <functional>
#include <unordered_set>
#include <vector>

#include "panel/mail/import.h"

namespace panel::mail {

/// Does a step of an import, whose failure tells the line.
using AtLine = std::function<void(const ImportLine& line, const std::function<void()>& step)>;

/// Takes over what these lines speak of, and returns the lines whose things were. Runs before the
/// change has touched any table.
std::unordered_set<const ImportLine*> TakeOver(const std::vector<ImportLine>& lines,
                                               MailModule& mail, const AtLine& at_line);

}  // namespace panel::mail
