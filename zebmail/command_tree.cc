/// NAME
///   command_tree - the commands, their options and arguments, as a user is told of them

#include "zebmail/command_tree.h"

#include <algorithm>

namespace zebmail {

std::string FullName(const CLI::App& command) {
  if (command.get_parent() == nullptr) return "";
  const std::string outer = FullName(*command.get_parent());
  return outer.empty() ? command.get_name() : outer + " " + command.get_name();
}

std::vector<const CLI::App*> CommandsOf(const CLI::App& group) {
  return group.get_subcommands([](const CLI::App*) { return true; });
}

std::vector<const CLI::Option*> ArgumentsOf(const CLI::App& command) {
  return command.get_options([](const CLI::Option* option) { return option->get_positional(); });
}

std::vector<const CLI::Option*> OptionsOf(const CLI::App& command) {
  std::vector<const CLI::Option*> options =
      command.get_options([](const CLI::Option* option) { return option->nonpositional(); });
  std::stable_partition(options.begin(), options.end(), [&command](const CLI::Option* option) {
    return option != command.get_help_ptr();
  });
  return options;
}

bool IsFlag(const CLI::Option& option) {
  return option.get_items_expected_max() == 0;
}

bool IsRepeated(const CLI::Option& option) {
  return option.get_items_expected_max() > 1 || option.get_expected_max() > 1;
}

std::string NameOf(const CLI::Option& option) {
  return option.get_name(option.get_positional());
}

Value ValueOf(const CommandTree& tree, const CLI::Option& option) {
  const auto known = tree.values.find(&option);
  return known == tree.values.end() ? Value{"VALUE"} : known->second;
}

std::string NameWithValue(const CommandTree& tree, const CLI::Option& option) {
  const bool is_whole = option.get_positional() || IsFlag(option);
  return is_whole ? NameOf(option) : NameOf(option) + " " + ValueOf(tree, option).name;
}

std::vector<std::string> UsageOf(const CommandTree& tree, const CLI::App& command) {
  std::vector<std::string> parts;
  const auto add = [&](const CLI::Option* option) {
    const std::string name = NameWithValue(tree, *option);
    parts.push_back((option->get_required() ? name : "[" + name + "]") +
                    (IsRepeated(*option) ? "..." : ""));
  };
  for (const CLI::Option* option : ArgumentsOf(command)) add(option);
  for (const CLI::Option* option : OptionsOf(command)) {
    if (option != command.get_help_ptr()) add(option);
  }
  if (!CommandsOf(command).empty()) parts.emplace_back("COMMAND ...");
  return parts;
}

}  // namespace zebmail
