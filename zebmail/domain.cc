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
void AddSettings(CLI::App& command, Invocation& invocation, DomainSettings& settings) {
  Takes(invocation,
        command.add_option(
            "--default-action", settings.default_action,
            "what becomes of mail for unknown addresses: error (it is bounced), ignore "
            "(it is thrown away), redir_email or redir_domain (it goes to --redirect)"),
        {"ACTION", Choice::kWords, {"error", "ignore", "redir_email", "redir_domain"}});
  Takes(invocation,
        command.add_option("--redirect", settings.redirect,
                           "the address for redir_email, the domain for redir_domain"),
        {"TARGET", Choice::kDomainOrMailbox});
  Takes(invocation,
        command.add_option(
            "--ip", settings.ip,
            "the address of this server from which the domain's mail leaves; \"\" for none"),
        {"ADDR"});
  Takes(invocation,
        command.add_option("--owner", settings.owner,
                           "the number of the panel's user who owns it; 0, nobody, at first"),
        {"NUMBER"})
      ->check(WholeNumber);
}

/// What the arguments of one command are read into.
struct Arguments {
  std::string name;
  DomainSettings settings;
};

/// Adds the domain that a command is about.
CLI::App& About(CLI::App& command, Invocation& invocation, Arguments& arguments, Choice choice) {
  Takes(invocation, command.add_option("NAME", arguments.name, "the domain, in Unicode or ASCII"),
        {"NAME", choice})
      ->required();
  return command;
}

}  // namespace

void AddDomain(CLI::App& app, Invocation& invocation) {
  CLI::App& group = AddGroup(app, "domain", "mail domains");
  const auto given = std::make_shared<Arguments>();  // of the one command that is chosen
  const auto show = [given](const MailModule& mail) { return mail.ShowDomain(given->name); };
  const auto about = [&invocation, given](CLI::App& command,
                                          Choice choice = Choice::kDomain) -> CLI::App& {
    return About(command, invocation, *given, choice);
  };
  const auto add_change = [&](const std::string& name, const std::string& help,
                              const std::string& done, const Work& work) -> CLI::App& {
    return AddCommand(group, invocation, name, help, [&invocation, done, work, show] {
      return Change(invocation, done, work, show);
    });
  };

  CLI::App& create = about(
      add_change("create", "make a new mail domain", "created",
                 [given](MailModule& mail) { mail.CreateDomain(given->name, given->settings); }),
      Choice::kAnything);
  AddSettings(create, invocation, given->settings);
  Explain(create, invocation,
          "The server takes mail for the domain from then on. Mail for addresses that have no "
          "mailbox and no alias bounces, unless --default-action says otherwise.",
          {"zebmail domain create example.org",
           "zebmail domain create example.org --default-action redir_email --redirect "
           "info@example.net"});
  CLI::App& update = about(
      add_change("update", "change what is given, keep the rest", "updated",
                 [given](MailModule& mail) { mail.UpdateDomain(given->name, given->settings); }));
  AddSettings(update, invocation, given->settings);
  Explain(update, invocation,
          "Options that are not given leave the domain as it is. An address of --ip gives the "
          "domain a service of its own in master.cf.",
          {"zebmail domain update example.org --default-action ignore",
           "zebmail domain update example.org --ip 192.0.2.10",
           "zebmail domain update example.org --ip \"\""});
  Explain(
      about(add_change("suspend", "refuse its mail for the time being", "suspended",
                       [given](MailModule& mail) { mail.SuspendDomain(given->name); })),
      invocation,
      "Whoever sends mail to an address of it is told \"550 ... Account disabled\". Its mailboxes, "
      "aliases and forwards stay as they are, for resume.");
  Explain(about(add_change("resume", "take its mail again", "resumed",
                           [given](MailModule& mail) { mail.ResumeDomain(given->name); })),
          invocation, "Undoes suspend.");
  Explain(about(AddCommand(group, invocation, "delete", "delete it with its mailboxes",
                           [&invocation, given, show] {
                             return Delete(
                                 invocation,
                                 [given](MailModule& mail) { mail.DeleteDomain(given->name); },
                                 show);
                           })),
          invocation,
          "Aliases, forwards and responders of its mailboxes go as well. Mail that is stored in "
          "the mailboxes already is not touched. zebmail --dry-run shows what would go.",
          {"zebmail --dry-run domain delete example.org"});
  Explain(about(AddCommand(group, invocation, "show", "show one domain",
                           [&invocation, show] { return PrintOne(invocation, show); })),
          invocation,
          "Prints a line for each of name, active, defaction, redirect and ip; with --json an "
          "object with these fields.");
  Explain(AddCommand(group, invocation, "list", "list all domains",
                     [&invocation] {
                       return PrintAll(invocation,
                                       [](const MailModule& mail) { return mail.ListDomains(); });
                     }),
          invocation, "Prints a table, or with --json an array of what show prints.");
}

}  // namespace zebmail
