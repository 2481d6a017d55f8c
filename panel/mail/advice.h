/// NAME
///   advice - what an administrator can do about work that is outstanding

#pragma once

#include <string>
#include <vector>

#include "panel/conf/pending.h"

namespace panel::mail {

/// `word` as a shell takes it for one word.
std::string ShellWord(const std::string& word);

/// The words as a shell takes them.
std::string ShellWords(const std::vector<std::string>& words);

/// The command line of zebmail for the panel in use, with `words` behind it.
std::string Command(const std::string& words);

/// How the path name, such as "postfix-postmap", is given another value.
std::string ConfigureAdvice(const std::string& name);

/// The command that makes up for outstanding work of the panel in use.
std::string FixCommand();

/// What is outstanding, behind the path of the file: which tool.
std::string DescribeOutstandingTool(const conf::PendingWork& work);

/// The outstanding after-save actions, one line each; empty when there are none.
std::string DescribePendingWork();

}  // namespace panel::mail
