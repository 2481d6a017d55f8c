/// NAME
///   require - a promise that a fuzz target has found broken
///
/// PURPOSE
///   Prints the promise and the texts that break it, and ends the process, which libFuzzer takes
///   for a finding and keeps the input of.

#pragma once

#include <initializer_list>
#include <string_view>
#include <utility>

namespace fuzz {

/// Texts with the names under which they are printed. It costs nothing while promises hold.
using Evidence = std::initializer_list<std::pair<std::string_view, std::string_view>>;

/// Prints what was promised and the evidence, and ends the process.
[[noreturn]] void Report(std::string_view promise, Evidence evidence);

/// Goes on when the promise `holds`.
inline void Require(bool holds, std::string_view promise, Evidence evidence = {}) {
  if (!holds) Report(promise, evidence);
}

}  // namespace fuzz
