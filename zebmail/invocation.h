/// NAME
///   invocation - what one run of zebmail was asked for
///
/// PURPOSE
///   The options that go with every command, and how a command is handed over: each group of
///   commands adds itself to the command line and, when it is chosen, leaves its action here. The
///   actions run when the whole command line has been read.

#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "zebmail/command_tree.h"

namespace zebmail {

/// What zebmail exits with.
enum Status : int { kDone = 0, kFailed = 1, kWrongUsage = 2 };

struct Invocation {
  std::vector<std::string> words;  ///< of the command line, as they were given
  std::string config;              ///< the configuration file, as given by option or environment
  bool json = false;
  bool dry_run = false;
  bool quiet = false;

  std::function<Status()> action;

  CommandTree tree;  ///< what there is to ask for
};

/// Adds a group of commands to `app` and returns it.
CLI::App& AddGroup(CLI::App& app, const std::string& name, const std::string& help);

/// Adds a command to `group` that does `run` when it is chosen, and returns it, for its arguments.
CLI::App& AddCommand(CLI::App& group, Invocation& invocation, const std::string& name,
                     const std::string& help, std::function<Status()> run);

/// Adds the argument `name` of `command`, one or more words.
CLI::Option* AddWords(CLI::App& command, const Invocation& invocation, const std::string& name,
                      const std::string& help, std::vector<std::string>& words);

/// Says more of `command` than its line in the list of commands.
void Explain(const CLI::App& command, Invocation& invocation, const std::string& text,
             const std::vector<std::string>& examples = {});

/// Says what the value of `option` is, and returns the option.
CLI::Option* Takes(Invocation& invocation, CLI::Option* option, const Value& value);

/// What is wrong with `text` as a number that is not negative; empty when it is one.
std::string WholeNumber(const std::string& text);

/// Each adds its group of commands to `app`. Their actions refer to `invocation`, which must
/// outlive them.
void AddInit(CLI::App& app, Invocation& invocation);
void AddDomain(CLI::App& app, Invocation& invocation);
void AddMailbox(CLI::App& app, Invocation& invocation);
void AddAliasAndForward(CLI::App& app, Invocation& invocation);
void AddResponder(CLI::App& app, Invocation& invocation);
void AddSenderLists(CLI::App& app, Invocation& invocation);
void AddWebDomains(CLI::App& app, Invocation& invocation);
void AddSync(CLI::App& app, Invocation& invocation);
void AddPostfixConfig(CLI::App& app, Invocation& invocation);
void AddTransfer(CLI::App& app, Invocation& invocation);
void AddCheck(CLI::App& app, Invocation& invocation);
void AddTrace(CLI::App& app, Invocation& invocation);

}  // namespace zebmail
