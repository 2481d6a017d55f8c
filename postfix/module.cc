/// NAME
///   module - how the plug-in enters the panel

#include "postfix/module.h"

#include <memory>

#include "host/email.h"
#include "host/fen_cf.h"
#include "host/fen_log.h"
#include "postfix/postfix_interface.h"

namespace zebpriv_email_postfix {

namespace {

void SetPathDefaults() {
  // The blank behind "postfix-bin" keeps this default out of the way of a reload, which looks up
  // the name without it: a server is reloaded only where the panel's configuration says how.
  fen_cf::SetPathDefault("postfix-bin ", "/usr/sbin/postfix");
  fen_cf::SetPathDefault("postfix-virtusertable", "/etc/mail/virtusertable");
  fen_cf::SetPathDefault("postfix-localhostnames", "/etc/mail/local-host-names");
  fen_cf::SetPathDefault("postfix-accessdb", "/etc/mail/access");
  fen_cf::SetPathDefault("postfix-aliases", "/etc/mail/aliases");
  fen_cf::SetPathDefault("postfix-postmap", "/usr/sbin/postmap");
  fen_cf::SetPathDefault("postfix-postalias", "/usr/sbin/postalias");
}

}  // namespace

__email_filterModule::__email_filterModule() : zeb_api::Module("email_filter") {
  if (fen_cf::GetParam("MTA") != "postfix") return;
  SetPathDefaults();
  auto mta = std::make_unique<PostfixInterface>();
  email::RegisterMta(mta.release());
}

// Loading the plug-in makes these two objects, in this order: the log channel first, so that
// whatever happens from the registration on has a place to be logged.
static fen_log::Module log_module("email", "zebfen");

// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
zeb_api::RegisterModule<__email_filterModule> __email_filterFabric("email_interface");

}  // namespace zebpriv_email_postfix
