/// NAME
///   back_end - the mail server's side of the mail module
///
/// PURPOSE
///   One module registers one back-end when it is set up (email::RegisterMta); from then on every
///   change of the mail module goes through it. It lives as long as the process.

#pragma once

#include "email/mta_interface.h"

namespace panel::mail {

/// The registered back-end. Throws fen_err::Error("config", "[param] MTA", ...) when no module has
/// registered one.
email::MtaInterface& BackEnd();

/// Whether the panel in use works for Postfix, whose settings and maps it looks after as well. What
/// belongs to another mail server is the plug-in's own matter.
bool WorksForPostfix();

}  // namespace panel::mail
