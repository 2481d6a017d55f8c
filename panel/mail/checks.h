/// NAME
///   checks - whether the panel and the mail server fit together
///
/// PURPOSE
///   Each check looks at one thing that can go wrong and tells what is wrong, why that matters and
///   which command mends it. It changes nothing; a finding that can be mended from here brings
///   along the means to do so.
///
/// HOW TO ADD ONE
///   Write a function that returns its findings and put it into the list in checks.cc, with whether
///   it is about Postfix: such a check is left out where the panel works for another mail server.

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "panel/mail/progress.h"

namespace panel::mail {

struct Finding {
  std::string check;   ///< which check found it: "pending", "path", "file", "map", "table",
                       ///< "responder", "binding", "wiring"
  std::string object;  ///< what it concerns, a path mostly
  std::string what;    ///< what is wrong
  std::string why;     ///< why it matters
  std::string mend;    ///< the command, or what else is to be done

  /// Mends it; throws when that fails. Empty when it cannot be mended from here.
  std::function<void()> fix;
};

using Findings = std::vector<Finding>;

/// The findings of all checks, in the order of the checks. Runs in an open Panel whose modules are
/// set up. Shows how many of the checks are done and, of one that takes long, how far it is.
Findings RunChecks(const ShowProgress& progress);

}  // namespace panel::mail
