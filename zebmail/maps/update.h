/// NAME
///   update - bringing a map in step with its text

#pragma once

#include "zebmail/maps/arguments.h"

namespace zebmail::maps {

/// Carries out what the program was called for and returns its exit status; where that is not this
/// program's to do, Postfix's own takes its place. Throws FileError.
int CarryOut(const Arguments& arguments);

}  // namespace zebmail::maps
