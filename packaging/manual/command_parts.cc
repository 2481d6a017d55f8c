/// NAME
///   command_parts - the parts of zebmail(1)

#include <string>

#include "packaging/manual/mdoc.h"
#include "packaging/manual/parts.h"
#include "zebmail/command_line.h"

namespace manual {
namespace {

using zebmail::CommandTree;

/// "Fl Fl ip Ar ADDR" for an option, "Ar NAME" for an argument.
std::string Macros(const CommandTree& tree, const CLI::Option& option) {
  const std::string name = zebmail::NameOf(option);
  if (option.get_positional()) return "Ar " + Word(name);
  const std::string flag = "Fl Fl " + Word(name.substr(name.find_first_not_of('-')));
  return zebmail::IsFlag(option) ? flag : flag + " Ar " + Word(ValueOf(tree, option).name);
}

/// How the option or argument stands in a command line.
std::string Usage(const CommandTree& tree, const CLI::Option& option) {
  const std::string macros = Macros(tree, option);
  const std::string repeated = zebmail::IsRepeated(option) ? " Ns ..." : "";
  return (option.get_required() ? macros : "Oo " + macros + " Oc") + repeated;
}

std::vector<const CLI::Option*> OptionsWithoutHelp(const CLI::App& command) {
  std::vector<const CLI::Option*> options = zebmail::OptionsOf(command);
  std::erase(options, command.get_help_ptr());
  return options;
}

std::string UsageOfCommand(const CommandTree& tree, const CLI::App& command) {
  std::string usage = "Cm " + zebmail::FullName(command);
  for (const CLI::Option* option : zebmail::ArgumentsOf(command))
    usage += " " + Usage(tree, *option);
  for (const CLI::Option* option : OptionsWithoutHelp(command)) usage += " " + Usage(tree, *option);
  return usage;
}

std::string Items(const CommandTree& tree, const std::vector<const CLI::Option*>& options) {
  std::string items;
  for (const CLI::Option* option : options) {
    items += ".It " + Macros(tree, *option) + "\n" + Sentence(option->get_description());
  }
  return items.empty() ? "" : ".Bl -tag -width Ds\n" + items + ".El\n";
}

std::string Command(const CommandTree& tree, const CLI::App& command) {
  const auto explained = tree.explanations.find(&command);
  std::string item =
      ".It " + UsageOfCommand(tree, command) + "\n" + Sentence(command.get_description());
  if (explained != tree.explanations.end()) item += Prose(explained->second.text);
  std::vector<const CLI::Option*> all = zebmail::ArgumentsOf(command);
  const std::vector<const CLI::Option*> options = OptionsWithoutHelp(command);
  all.insert(all.end(), options.begin(), options.end());
  item += Items(tree, all);
  const bool has_example =
      explained != tree.explanations.end() && !explained->second.examples.empty();
  return has_example ? item + Literal(explained->second.examples) : item;
}

std::string List(const std::string& title, const std::string& items) {
  return ".Ss " + title + "\n.Bl -tag -width Ds\n" + items + ".El\n";
}

/// Those that are in no group come first.
std::string Commands(const CommandTree& tree, const CLI::App& app) {
  std::string alone;
  std::string groups;
  for (const CLI::App* command : zebmail::CommandsOf(app)) {
    std::string items;
    for (const CLI::App* inner : zebmail::CommandsOf(*command)) items += Command(tree, *inner);
    if (items.empty()) {
      alone += Command(tree, *command);
    } else {
      groups += List(Capitalised(command->get_description()), items);
    }
  }
  return groups + List("The server and the whole panel", alone);
}

}  // namespace

Parts CommandParts() {
  zebmail::Invocation invocation;
  CLI::App app;
  BuildCommandLine(app, invocation);
  std::string synopsis = ".Nm\n";
  for (const CLI::Option* option : OptionsWithoutHelp(app)) {
    synopsis += "." + Usage(invocation.tree, *option) + "\n";
  }
  return {{"SYNOPSIS", synopsis + ".Ar COMMAND ...\n"},
          {"OPTIONS", Items(invocation.tree, zebmail::OptionsOf(app))},
          {"COMMANDS", Commands(invocation.tree, app)}};
}

}  // namespace manual
