/// NAME
///   shortened_findings - a report that one thing gone wrong does not fill
///
/// PURPOSE
///   What is wrong with one line of a table may be wrong with a hundred thousand of them.

#pragma once

#include <cstddef>
#include <string>

#include "panel/mail/checks.h"

namespace panel::mail {

/// The first of the findings, which are of one kind, and one finding for all others.
inline Findings Shortened(Findings findings, const std::string& mend) {
  constexpr std::size_t kMost = 20;
  if (findings.size() <= kMost) return findings;
  const std::string more = std::to_string(findings.size() - kMost);
  const Finding first = findings.front();
  findings.resize(kMost);
  findings.push_back({first.check, "and " + more + " more", "are like these", first.why, mend, {}});
  return findings;
}

}  // namespace panel::mail
