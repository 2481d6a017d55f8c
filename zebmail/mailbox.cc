/// NAME
///   mailbox - the commands about mailboxes

#include <memory>
#include <optional>
#include <string>

#include "zebmail/change.h"
#include "zebmail/invocation.h"

namespace zebmail {
namespace {

using panel::mail::MailModule;

/// What the arguments of one command are read into.
struct Arguments {
  std::string address;
  bool drop_mail = false;
  std::string drop_mail_word;
  std::optional<std::string> domain;
};

/// Adds the mailbox that a command is about.
CLI::App& About(CLI::App& command, Invocation& invocation, Arguments& arguments, Choice choice) {
  Takes(invocation, command.add_option("ADDR", arguments.address, "the mailbox's address"),
        {"ADDR", choice})
      ->required();
  return command;
}

}  // namespace

void AddMailbox(CLI::App& app, Invocation& invocation) {
  CLI::App& group = AddGroup(app, "mailbox", "mailboxes of the mail domains");
  const auto given = std::make_shared<Arguments>();  // of the one command that is chosen
  const auto show = [given](const MailModule& mail) { return mail.ShowMailbox(given->address); };
  const auto about = [&invocation, given](CLI::App& command,
                                          Choice choice = Choice::kMailbox) -> CLI::App& {
    return About(command, invocation, *given, choice);
  };
  const auto add_change = [&](const std::string& name, const std::string& help,
                              const std::string& done, const Work& work) -> CLI::App& {
    return AddCommand(group, invocation, name, help, [&invocation, done, work, show] {
      return Change(invocation, done, work, show);
    });
  };

  CLI::App& create = about(add_change("create", "make a new mailbox", "created",
                                      [given](MailModule& mail) {
                                        mail.CreateMailbox(given->address, given->drop_mail);
                                      }),
                           Choice::kNewMailbox);
  create.add_flag("--drop-mail", given->drop_mail,
                  "keep no mail; forwards and responder still work");
  Explain(create, invocation,
          "Its domain must be one of the panel. The mail goes to the Unix user of that name, "
          "unless mailbox_transport of main.cf names another way. The name must not be that of "
          "an alias in the domain.",
          {"zebmail mailbox create info@example.org"});
  CLI::App& update =
      about(add_change("update", "change its settings", "updated", [given](MailModule& mail) {
        mail.UpdateMailbox(given->address, given->drop_mail_word == "on");
      }));
  Takes(invocation,
        update.add_option("--drop-mail", given->drop_mail_word,
                          "on: keep no mail; off: keep it; forwards and responder work either way"),
        {"on|off", Choice::kWords, {"on", "off"}})
      ->required()
      ->check(CLI::IsMember({"on", "off"}));
  Explain(update, invocation, "Aliases, forwards and responder stay as they are.",
          {"zebmail mailbox update info@example.org --drop-mail on"});
  Explain(about(add_change("suspend", "refuse its mail for the time being", "suspended",
                           [given](MailModule& mail) { mail.SuspendMailbox(given->address); })),
          invocation,
          "Mail for its aliases bounces meanwhile. Nothing that it delivers to can be changed "
          "until it is resumed.");
  Explain(about(add_change("resume", "take its mail again", "resumed",
                           [given](MailModule& mail) { mail.ResumeMailbox(given->address); })),
          invocation, "Undoes suspend, and brings back all its aliases and forwards.");
  Explain(about(AddCommand(group, invocation, "delete",
                           "delete it with its aliases, its forwards and its responder",
                           [&invocation, given, show] {
                             return Delete(
                                 invocation,
                                 [given](MailModule& mail) { mail.DeleteMailbox(given->address); },
                                 show);
                           })),
          invocation, "Mail that is stored in it already is not touched.");
  Explain(about(AddCommand(group, invocation, "show", "show one mailbox",
                           [&invocation, show] { return PrintOne(invocation, show); })),
          invocation,
          "Prints a line for each of address, active, dropmail, aliases, forwards and responder; "
          "with --json an object with these fields.",
          {"zebmail mailbox show info@example.org --json"});
  CLI::App& list = AddCommand(group, invocation, "list",
                              "list all mailboxes, or those of one domain", [&invocation, given] {
                                return PrintAll(invocation, [given](const MailModule& mail) {
                                  return mail.ListMailboxes(given->domain);
                                });
                              });
  Takes(invocation, list.add_option("DOMAIN", given->domain, "the domain, in Unicode or ASCII"),
        {"DOMAIN", Choice::kDomain});
  Explain(list, invocation, "Prints a table, or with --json an array of what show prints.",
          {"zebmail mailbox list example.org"});
}

}  // namespace zebmail
