/// NAME
///   module - how the plug-in enters the panel

#include "postfix/module.h"

#include <memory>

#include "host/email.h"
#include "host/fen_cf.h"
#include "host/fen_log.h"
#include "postfix/path_defaults.h"
#include "postfix/postfix_interface.h"

namespace zebpriv_email_postfix {

namespace {

void SetPathDefaults() {
  for (const PathDefault& one : kPathDefaults) fen_cf::SetPathDefault(one.name, one.path);
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
