/// NAME
///   operations - every kind of operation that the command has, on a busy panel

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "tests/reliability/busy_panel.h"

namespace reliability {

struct Operation {
  /// What tables and database say before it: the same, as always, or not, because the operation is
  /// there to bring them together.
  enum class Before { kTogether, kApart };

  Words words;
  std::string input;
  Before before = Before::kTogether;
  std::function<void(const BusyPanel&)> prepare;  ///< brings about what it is there to put right
};

/// Each of them changes the panel as it is in the beginning.
std::vector<Operation> AllOperations();

/// Words as somebody would type them.
std::string AsText(const Words& words);

}  // namespace reliability
