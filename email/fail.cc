/// NAME
///   fail - the back-end's own failures

#include "email/fail.h"

namespace email {

Fail::Fail(const std::string& code, const std::string& detail)
    : fen_err::Error("email", code, detail) {
  set_report();
}

Fail::~Fail() = default;

}  // namespace email
