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
CLI::App& About(CLI::App& command, Arguments& arguments) {
  command.add_option("ADDR", arguments.address, "the mailbox's address")->required();
  return command;
}

}  // namespace

void AddMailbox(CLI::App& app, Invocation& invocation) {
  CLI::App& group = AddGroup(app, "mailbox", "mailboxes of the mail domains");
  const auto given = std::make_shared<Arguments>();  // of the one command that is chosen
  const auto show = [given](const MailModule& mail) { return mail.ShowMailbox(given->address); };
  const auto add_change = [&](const std::string& name, const std::string& help,
                              const std::string& done, const Work& work) -> CLI::App& {
    return About(AddCommand(group, invocation, name, help,
                            [&invocation, done, work, show] {
                              return Change(invocation, done, work, show);
                            }),
                 *given);
  };

  add_change("create", "make a new mailbox", "created", [given](MailModule& mail) {
    mail.CreateMailbox(given->address, given->drop_mail);
  }).add_flag("--drop-mail", given->drop_mail, "keep no mail; forwards and responder still work");
  add_change("update", "change its settings", "updated",
             [given](MailModule& mail) {
               mail.UpdateMailbox(given->address, given->drop_mail_word == "on");
             })
      .add_option("--drop-mail", given->drop_mail_word,
                  "on: keep no mail; off: keep it; forwards and responder work either way")
      ->required()
      ->check(CLI::IsMember({"on", "off"}));
  add_change("suspend", "refuse its mail for the time being", "suspended",
             [given](MailModule& mail) { mail.SuspendMailbox(given->address); });
  add_change("resume", "take its mail again", "resumed",
             [given](MailModule& mail) { mail.ResumeMailbox(given->address); });
  About(AddCommand(group, invocation, "delete",
                   "delete it with its aliases, its forwards and its responder",
                   [&invocation, given, show] {
                     return Delete(
                         invocation,
                         [given](MailModule& mail) { mail.DeleteMailbox(given->address); }, show);
                   }),
        *given);
  About(AddCommand(group, invocation, "show", "show one mailbox",
                   [&invocation, show] { return PrintOne(invocation, show); }),
        *given);
  AddCommand(group, invocation, "list", "list all mailboxes, or those of one domain",
             [&invocation, given] {
               return PrintAll(invocation, [given](const MailModule& mail) {
                 return mail.ListMailboxes(given->domain);
               });
             })
      .add_option("DOMAIN", given->domain, "the domain, in Unicode or ASCII");
}

}  // namespace zebmail
