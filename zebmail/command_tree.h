/// NAME
///   command_tree - the commands, their options and arguments, as a user is told of them
///
/// PURPOSE
///   Each command describes itself once, where it is declared to the parser. What the parser has no
///   place for is kept beside it: what the command does in more than a line, examples, and what the
///   values of its options and arguments are. The help, the manual and the completion of the
///   command line all read it from here.

#pragma once

#include <map>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace zebmail {

/// What a command does, beyond its line in the list of commands.
struct Explanation {
  std::string text;                   ///< paragraphs with an empty line between them
  std::vector<std::string> examples;  ///< command lines
};

/// What there is to choose from for a value.
enum class Choice {
  kAnything,
  kWords,
  kFile,
  kFolder,
  kPathName,
  kParameter,
  kDomain,
  kWebDomain,
  kMailbox,
  kNewMailbox,  ///< in one of the domains
  kDomainOrMailbox,
  kAlias,    ///< of the mailbox that stands before
  kForward,  ///< of the mailbox that stands before
  kWhiteListed,
  kBlackListed,
};

/// The value of an option or argument.
struct Value {
  std::string name;  ///< as the help calls it; an argument has a name already
  Choice choice = Choice::kAnything;
  std::vector<std::string> words = {};  ///< all that there are, or else none
};

struct CommandTree {
  std::map<const CLI::App*, Explanation> explanations;
  std::map<const CLI::Option*, Value> values;
};

/// "domain create" for that command, nothing for the program itself.
std::string FullName(const CLI::App& command);

/// In the order in which they were added.
std::vector<const CLI::App*> CommandsOf(const CLI::App& group);
std::vector<const CLI::Option*> ArgumentsOf(const CLI::App& command);

/// The options of the command itself, that for its help last.
std::vector<const CLI::Option*> OptionsOf(const CLI::App& command);

/// Whether it stands for itself, or else before a value.
bool IsFlag(const CLI::Option& option);

/// Whether it can be given more than once.
bool IsRepeated(const CLI::Option& option);

/// "--ip", "NAME".
std::string NameOf(const CLI::Option& option);

/// What is known of its value.
Value ValueOf(const CommandTree& tree, const CLI::Option& option);

/// "--ip ADDR" or "--json"; for an argument "NAME".
std::string NameWithValue(const CommandTree& tree, const CLI::Option& option);

/// The parts of its command line behind its name: "NAME", "[--ip ADDR]", "[--path NAME=VALUE]...".
std::vector<std::string> UsageOf(const CommandTree& tree, const CLI::App& command);

}  // namespace zebmail
