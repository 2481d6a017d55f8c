/// NAME
///   typed_line - a command line that is not complete yet, taken apart
///
/// PURPOSE
///   Finds out of the words before the last one to which command, argument or option the last one
///   belongs. The parser itself takes whole command lines only.

#pragma once

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "zebmail/invocation.h"

namespace zebmail {

struct TypedLine {
  const CLI::App* command = nullptr;     ///< the last that was named, or the program
  std::vector<std::string> arguments;    ///< of that command, which stand before
  std::set<const CLI::Option*> given;    ///< options that stand before
  std::optional<std::string> config;     ///< the value of --config
  const CLI::Option* pending = nullptr;  ///< the option that the last word is the value of
  bool options_are_over = false;         ///< "--" stands before
  bool is_wrong = false;                 ///< something before is no command, option or argument
};

/// Reads `words`, all before the last one, as words behind the program `app`.
TypedLine ReadTypedLine(const CLI::App& app, const std::vector<std::string>& words);

/// The options that can stand behind the command: its own and those of the groups around it.
std::vector<const CLI::Option*> OptionsBehind(const CLI::App& command);

/// The option called `name` among them; null when there is none.
const CLI::Option* FindOption(const CLI::App& command, const std::string& name);

}  // namespace zebmail
