/// NAME
///   invocation - what one run of zebmail was asked for

#include "zebmail/invocation.h"

#include <algorithm>
#include <utility>

namespace zebmail {

CLI::App& AddGroup(CLI::App& app, const std::string& name, const std::string& help) {
  CLI::App& group = *app.add_subcommand(name, help);
  group.require_subcommand(0, 1);
  return group;
}

CLI::App& AddCommand(CLI::App& group, Invocation& invocation, const std::string& name,
                     const std::string& help, std::function<Status()> run) {
  CLI::App& command = *group.add_subcommand(name, help);
  command.callback([&invocation, run = std::move(run)] { invocation.action = run; });
  return command;
}

/// Without this, "010" would be read as 8.
std::string WholeNumber(const std::string& text) {
  constexpr std::size_t kLongest = 18;
  const bool is_number = !text.empty() && text.size() <= kLongest &&
                         text.find_first_not_of("0123456789") == std::string::npos &&
                         (text == "0" || text.front() != '0');
  return is_number ? "" : "\"" + text + "\" is not a whole number";
}

/// The parser takes a word in brackets for a list of words and hands on its parts.
CLI::Option* AddWords(CLI::App& command, const Invocation& invocation, const std::string& name,
                      const std::string& help, std::vector<std::string>& words) {
  const auto require_whole = [&invocation](const std::string& word) -> std::string {
    const auto& given = invocation.words;
    const bool is_whole = std::find(given.begin(), given.end(), word) != given.end();
    return is_whole ? "" : "\"" + word + "\" was given as a part of a word in brackets";
  };
  return command.add_option(name, words, help)->required()->check(require_whole);
}

void Explain(const CLI::App& command, Invocation& invocation, const std::string& text,
             const std::vector<std::string>& examples) {
  invocation.tree.explanations[&command] = {text, examples};
}

CLI::Option* Takes(Invocation& invocation, CLI::Option* option, const Value& value) {
  invocation.tree.values[option] = value;
  return option;
}

}  // namespace zebmail
