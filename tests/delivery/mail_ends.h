/// NAME
///   mail_ends - where a message ends, by what Postfix says
///
/// PURPOSE
///   Sends a message and collects what becomes of each copy, from the replies and the log: that of
///   the message itself and of those that local(8) makes of it.

#pragma once

#include <string>
#include <vector>

#include "tests/delivery/private_postfix.h"

namespace test_support {

/// "HOW ADDRESS" for each copy, in the order of these texts: "mailbox", "discarded" (/dev/null),
/// "command", "sent" or "bounced", and the last address on its way. For a message that was not
/// taken the reply alone.
using Ends = std::vector<std::string>;

Ends SendToItsEnds(const PrivatePostfix& postfix, const std::string& sender,
                   const std::string& recipient);

}  // namespace test_support
