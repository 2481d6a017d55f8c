/// NAME
///   fail - the back-end's own failures

#pragma once

#include <string>

#include "host/fen_err.h"

namespace email {

/// A failure of the back-end itself, as opposed to one of the panel's facilities: a tool that was
/// run after a table file had been saved. It reaches the caller as a fen_err::Error of the type
/// "email", and the panel's log because it is marked for reporting.
class Fail : public fen_err::Error {
 public:
  /// `code` names what failed ("postmap", "postalias", "postfix_reload"); `detail` is what the
  /// administrator needs to see, a tool's output.
  Fail(const std::string& code, const std::string& detail);
  ~Fail() override;
};

}  // namespace email
