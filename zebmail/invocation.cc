/// NAME
///   invocation - what one run of zebmail was asked for

#include "zebmail/invocation.h"

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

}  // namespace zebmail
