/// NAME
///   domain - the commands about mail domains
///
/// WHAT THEY PRINT
///   A change confirms itself in one line, or with --json by the domain as it is now, delete by the
///   domain as it was; --quiet keeps that back. `show` and `list` print domains.

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "panel/mail/mail_module.h"
#include "zebmail/invocation.h"
#include "zebmail/output.h"
#include "zebmail/session.h"

namespace zebmail {
namespace {

using panel::mail::Domain;
using panel::mail::DomainSettings;
using panel::mail::MailModule;

/// Tells that a change was made.
void Confirm(const Invocation& invocation, const Domain& domain, const std::string& done) {
  if (invocation.quiet) return;
  if (invocation.json) {
    PrintJson(ToJson(domain));
  } else {
    std::cout << OneLine(domain.name) + ": " + done + "\n";
  }
}

/// Makes a change of the domain `name`.
template <class Work>
Status Change(const Invocation& invocation, const std::string& name, const std::string& done,
              const Work& work) {
  panel::mail::Panel panel = OpenPanel(invocation);
  MailModule mail;
  MakeChange(
      invocation, panel, [&] { work(mail); },
      [&] { Confirm(invocation, mail.ShowDomain(name), done); });
  return kDone;
}

Status Delete(const Invocation& invocation, const std::string& name) {
  panel::mail::Panel panel = OpenPanel(invocation);
  MailModule mail;
  const Domain domain = mail.ShowDomain(name);
  MakeChange(
      invocation, panel, [&] { mail.DeleteDomain(name); },
      [&] { Confirm(invocation, domain, "deleted"); });
  return kDone;
}

Status Show(const Invocation& invocation, const std::string& name) {
  const panel::mail::Panel panel = OpenPanel(invocation);
  const Domain domain = MailModule().ShowDomain(name);
  if (invocation.json) {
    PrintJson(ToJson(domain));
  } else {
    std::cout << ToText(domain);
  }
  return kDone;
}

Status List(const Invocation& invocation) {
  const panel::mail::Panel panel = OpenPanel(invocation);
  const std::vector<Domain> domains = MailModule().ListDomains();
  if (invocation.json) {
    Json document = Json::array();
    for (const Domain& domain : domains) document.push_back(ToJson(domain));
    PrintJson(document);
  } else {
    std::cout << ToTable(domains);
  }
  return kDone;
}

/// What is wrong with `text` as a number; without this, "010" would be read as 8.
std::string WholeNumber(const std::string& text) {
  constexpr std::size_t kLongest = 18;
  const bool is_number = !text.empty() && text.size() <= kLongest &&
                         text.find_first_not_of("0123456789") == std::string::npos &&
                         (text == "0" || text.front() != '0');
  return is_number ? "" : "\"" + text + "\" is not a whole number";
}

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

/// What the options of one command are read into.
struct Arguments {
  std::string name;
  DomainSettings settings;
};

using Run = std::function<Status(const Arguments&)>;

/// Adds the command `name` about one domain and returns it, for more options.
CLI::App* AddCommand(CLI::App& group, Invocation& invocation, const std::string& name,
                     const std::string& help, const std::shared_ptr<Arguments>& arguments,
                     const Run& run) {
  CLI::App* command = group.add_subcommand(name, help);
  command->add_option("NAME", arguments->name, "the domain, in Unicode or ASCII")->required();
  command->callback([&invocation, arguments, run] {
    invocation.action = [arguments, run] { return run(*arguments); };
  });
  return command;
}

}  // namespace

void AddDomain(CLI::App& app, Invocation& invocation) {
  CLI::App& group = *app.add_subcommand("domain", "mail domains");
  group.require_subcommand(0, 1);
  const auto arguments = std::make_shared<Arguments>();
  const auto change = [&invocation](const Arguments& given, const std::string& done,
                                    void (MailModule::*operation)(const std::string&)) {
    return Change(invocation, given.name, done,
                  [&](MailModule& mail) { (mail.*operation)(given.name); });
  };

  AddSettings(*AddCommand(group, invocation, "create", "make a new mail domain", arguments,
                          [&invocation](const Arguments& given) {
                            return Change(invocation, given.name, "created", [&](MailModule& mail) {
                              mail.CreateDomain(given.name, given.settings);
                            });
                          }),
              arguments->settings);
  AddSettings(
      *AddCommand(group, invocation, "update", "change what is given, keep the rest", arguments,
                  [&invocation](const Arguments& given) {
                    return Change(invocation, given.name, "updated", [&](MailModule& mail) {
                      mail.UpdateDomain(given.name, given.settings);
                    });
                  }),
      arguments->settings);
  AddCommand(group, invocation, "suspend", "refuse its mail for the time being", arguments,
             [change](const Arguments& given) {
               return change(given, "suspended", &MailModule::SuspendDomain);
             });
  AddCommand(group, invocation, "resume", "take its mail again", arguments,
             [change](const Arguments& given) {
               return change(given, "resumed", &MailModule::ResumeDomain);
             });
  AddCommand(group, invocation, "delete", "delete it with its mailboxes", arguments,
             [&invocation](const Arguments& given) { return Delete(invocation, given.name); });
  AddCommand(group, invocation, "show", "show one domain", arguments,
             [&invocation](const Arguments& given) { return Show(invocation, given.name); });
  group.add_subcommand("list", "list all domains")->callback([&invocation] {
    invocation.action = [&invocation] { return List(invocation); };
  });
}

}  // namespace zebmail
