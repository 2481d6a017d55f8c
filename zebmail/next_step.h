/// NAME
///   next_step - what an administrator can do about an error
///
/// PURPOSE
///   Many errors have a fixed form, "missing: domain: example.org" say, which tells what is wrong
///   and no more. This is the one place that says what to do next. Errors whose own words say it
///   are left out.

#pragma once

#include <string>

#include "host/fen_err.h"

namespace zebmail {

/// What to do next, in one line; empty where the error says it itself. What it repeats of the error
/// is not escaped yet.
std::string NextStep(const fen_err::Error& error);

}  // namespace zebmail
