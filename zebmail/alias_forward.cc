/// NAME
///   alias_forward - the commands about the aliases and forwards of a mailbox
///
/// WHAT THEY PRINT
///   A change confirms itself by the mailbox. `list` prints a name a line, or with --json an array.

#include <memory>
#include <string>
#include <vector>

#include "zebmail/change.h"
#include "zebmail/invocation.h"

namespace zebmail {
namespace {

using panel::mail::Mailbox;
using panel::mail::MailModule;
using Names = std::vector<std::string>;

/// What the two groups differ in.
struct Kind {
  std::string one;   ///< "alias"
  std::string many;  ///< "aliases"
  std::string option;
  std::string meaning;
  Choice choice;            ///< among those that a mailbox has
  std::string explanation;  ///< of what it is to add one
  std::string example;
  void (MailModule::*add)(const std::string& mailbox, const Names& names);
  void (MailModule::*remove)(const std::string& mailbox, const Names& names);
  Names Mailbox::*names;
};

/// What the arguments of one command are read into.
struct Arguments {
  std::string mailbox;
  Names names;
};

CLI::App& About(CLI::App& command, Invocation& invocation, Arguments& arguments) {
  Takes(invocation, command.add_option("MAILBOX", arguments.mailbox, "the mailbox's address"),
        {"MAILBOX", Choice::kMailbox})
      ->required();
  return command;
}

void AddNameGroup(CLI::App& app, Invocation& invocation, const Kind& kind) {
  CLI::App& group = AddGroup(app, kind.one, kind.many + " of mailboxes: " + kind.meaning);
  const auto given = std::make_shared<Arguments>();  // of the one command that is chosen
  const auto show = [given](const MailModule& mail) { return mail.ShowMailbox(given->mailbox); };
  const auto add_change = [&](const std::string& name, const std::string& done, Choice choice,
                              auto operation) -> CLI::App& {
    CLI::App& command = AddCommand(
        group, invocation, name, name + " " + kind.many,
        [&invocation, given, show, done, operation] {
          return Change(
              invocation, done + " " + Joined(given->names),
              [&](MailModule& mail) { (mail.*operation)(given->mailbox, given->names); }, show);
        });
    Takes(invocation,
          AddWords(About(command, invocation, *given), invocation, kind.option, kind.meaning,
                   given->names),
          {kind.option, choice});
    return command;
  };

  Explain(add_change("add", kind.many + " added:", Choice::kAnything, kind.add), invocation,
          kind.explanation, {"zebmail " + kind.one + " add info@example.org " + kind.example});
  Explain(add_change("remove", kind.many + " removed:", kind.choice, kind.remove), invocation,
          "All of them go, or none when the mailbox does not have one of them.",
          {"zebmail " + kind.one + " remove info@example.org " + kind.example});
  CLI::App& list = AddCommand(group, invocation, "list", "list the " + kind.many + " of a mailbox",
                              [&invocation, show, names = kind.names] {
                                const panel::mail::Panel panel = OpenPanelToLook(invocation);
                                const Names shown = show(MailModule()).*names;
                                Print(invocation, Json(shown), ToLines(shown));
                                return kDone;
                              });
  Explain(About(list, invocation, *given), invocation,
          "Prints one a line, or with --json an array.");
}

}  // namespace

void AddAliasAndForward(CLI::App& app, Invocation& invocation) {
  AddNameGroup(
      app, invocation,
      {"alias", "aliases", "NAME", "further local parts in the mailbox's own domain",
       Choice::kAlias,
       "Mail for the new names in the mailbox's domain goes to the mailbox. A name in a "
       "domain is one mailbox or one alias.",
       "sales office", &MailModule::AddAliases, &MailModule::RemoveAliases, &Mailbox::aliases});
  AddNameGroup(
      app, invocation,
      {"forward", "forwards", "ADDR", "addresses that get a copy of its mail", Choice::kForward,
       "Each message to the mailbox is sent to these addresses as well. With --drop-mail "
       "of mailbox update it is sent on and not kept. What is forwarded to an address of "
       "this server goes into the mailbox of that name, past its forwards and responder.",
       "boss@example.net", &MailModule::AddForwards, &MailModule::RemoveForwards,
       &Mailbox::forwards});
}

}  // namespace zebmail
