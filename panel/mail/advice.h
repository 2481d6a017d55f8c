/// NAME
///   advice - what an administrator can do about work that is outstanding

#pragma once

#include <string>

#include "panel/conf/pending.h"

namespace panel::mail {

/// The command line of zebmail for the panel in use, with `words` behind it.
std::string Command(const std::string& words);

/// The command that makes up for outstanding work of the panel in use.
std::string FixCommand();

/// What is outstanding, behind the path of the file: the tool of which table.
std::string DescribeOutstandingTool(const conf::PendingWork& work);

/// The outstanding after-save actions, one line each; empty when there are none.
std::string DescribePendingWork();

}  // namespace panel::mail
