/// NAME
///   responder_checks - whether the responders that are on do answer

#pragma once

#include "panel/mail/checks.h"

namespace panel::mail {

/// Looks for what answering takes and for a folder that serves each responder, and for folders of
/// responders that are off.
Findings CheckResponders();

}  // namespace panel::mail
