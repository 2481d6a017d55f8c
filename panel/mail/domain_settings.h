/// NAME
///   domain_settings - checking what is asked for a domain
///
/// HOW IT FAILS
///   With fen_err::Error("value", setting, what is wrong with it).

#pragma once

#include "host/zeb_db.h"
#include "panel/mail/mail_module.h"

namespace panel::mail {

/// Brings `settings` into the row, whose other fields stay as they are. Nothing is brought in
/// unless the row makes sense as a whole afterwards.
void ApplySettings(const DomainSettings& settings, zeb_db::EmailDomainTable& row);

}  // namespace panel::mail
