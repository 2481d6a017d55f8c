/// NAME
///   advice - what an administrator can do about work that is outstanding

#pragma once

#include <string>

namespace panel::mail {

/// The command that makes up for outstanding work of the panel in use.
std::string FixCommand();

/// The outstanding after-save actions, one line each; empty when there are none.
std::string DescribePendingWork();

}  // namespace panel::mail
