/// NAME
///   domain - the commands about mail domains
///
/// WHAT THEY PRINT
///   A change confirms itself in one line, or with --json by the domain as it is now, delete by the
///   domain as it was; --quiet keeps that back. `show` and `list` print domains.

#include <memory>
#include <string>

#include "zebmail/change.h"
#include "zebmail/invocation.h"

namespace zebmail {
namespace {

using panel::mail::DomainSettings;
using panel::mail::MailModule;

/// The options that say what a domain is to be like, and where their values go.
void AddSettings(CLI::App& command, DomainSettings& settings) {
  command.add_option("--default-action", settings.default_action,
                     "what becomes of mail for unknown addresses: error (it is bounced), ignore "
                     "(it is thrown away), redir_email or redir_domain (it goes to --redirect)");
  command.add_option("--redirect", settings.redirect,
                     "the address for redir_email, the domain for redir_domain");
  command.add_option(
      "--ip", settings.ip,
      "the address of this server from which the domain's mail leaves; \"\" for none");
  command.add_option("--owner", settings.owner, "the number of the panel's user who owns it")
      ->check(WholeNumber);
}

/// What the arguments of one command are read into.
struct Arguments {
  std::string name;
  DomainSettings settings;
};

/// Adds the domain that a command is about.
CLI::App& About(CLI::App& command, Arguments& arguments) {
  command.add_option("NAME", arguments.name, "the domain, in Unicode or ASCII")->required();
  return command;
}

}  // namespace

void AddDomain(CLI::App& app, Invocation& invocation) {
  CLI::App& group = AddGroup(app, "domain", "mail domains");
  const auto given = std::make_shared<Arguments>();  // of the one command that is chosen
  const auto show = [given](const MailModule& mail) { return mail.ShowDomain(given->name); };
  const auto add_change = [&](const std::string& name, const std::string& help,
                              const std::string& done, const Work& work) -> CLI::App& {
    return About(AddCommand(group, invocation, name, help,
                            [&invocation, done, work, show] {
                              return Change(invocation, done, work, show);
                            }),
                 *given);
  };

  AddSettings(
      add_change("create", "make a new mail domain", "created",
                 [given](MailModule& mail) { mail.CreateDomain(given->name, given->settings); }),
      given->settings);
  AddSettings(
      add_change("update", "change what is given, keep the rest", "updated",
                 [given](MailModule& mail) { mail.UpdateDomain(given->name, given->settings); }),
      given->settings);
  add_change("suspend", "refuse its mail for the time being", "suspended",
             [given](MailModule& mail) { mail.SuspendDomain(given->name); });
  add_change("resume", "take its mail again", "resumed",
             [given](MailModule& mail) { mail.ResumeDomain(given->name); });
  About(AddCommand(group, invocation, "delete", "delete it with its mailboxes",
                   [&invocation, given, show] {
                     return Delete(
                         invocation, [given](MailModule& mail) { mail.DeleteDomain(given->name); },
                         show);
                   }),
        *given);
  About(AddCommand(group, invocation, "show", "show one domain",
                   [&invocation, show] { return PrintOne(invocation, show); }),
        *given);
  AddCommand(group, invocation, "list", "list all domains", [&invocation] {
    return PrintAll(invocation, [](const MailModule& mail) { return mail.ListDomains(); });
  });
}

}  // namespace zebmail
