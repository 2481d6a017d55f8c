/// NAME
///   host_name_checks - whether the panel finds its domains among the local host names
///
/// PURPOSE
///   Postfix takes a line of that file for several names, indented or in capital letters. The panel
///   looks for a line that is the domain's name and nothing else, and writes one where it finds
///   none; a name in another form stays when the domain is deleted, and Postfix goes on taking its
///   mail.

#pragma once

#include "panel/mail/checks.h"

namespace panel::mail {

Findings CheckHostNameLines();

}  // namespace panel::mail
