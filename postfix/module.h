/// NAME
///   module - how the plug-in enters the panel
///
/// PURPOSE
///   The panel loads the plug-in and builds this module, which offers the Postfix back-end to the
///   mail module, provided that the panel's mail server (the parameter "MTA") is Postfix.

#pragma once

#include "host/zeb_api.h"

namespace zebpriv_email_postfix {

// The panel knows the class by this name.
// NOLINTNEXTLINE(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
class __email_filterModule : public zeb_api::Module {
 public:
  /// For the MTA "postfix", byte for byte: sets the defaults of the path names and registers the
  /// back-end with the mail module. For any other: nothing. Throws what those throw; what was built
  /// is gone then.
  __email_filterModule();
};

}  // namespace zebpriv_email_postfix
