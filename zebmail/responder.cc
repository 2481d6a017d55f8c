/// NAME
///   responder - the commands about auto-responders

#include <fstream>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "host/fen_err.h"
#include "zebmail/change.h"
#include "zebmail/input.h"
#include "zebmail/invocation.h"

namespace zebmail {
namespace {

using panel::mail::MailModule;

/// What the arguments of one command are read into.
struct Arguments {
  std::string mailbox;
  std::optional<std::string> subject;
  std::optional<std::string> text_file;
};

CLI::App& About(CLI::App& command, Invocation& invocation, Arguments& arguments) {
  Takes(invocation, command.add_option("MAILBOX", arguments.mailbox, "the mailbox's address"),
        {"MAILBOX", Choice::kMailbox})
      ->required();
  return command;
}

/// More than any text may have; what is longer is refused as a text.
constexpr std::size_t kMostBytes = 1 << 20;

std::string ReadTextFile(const std::string& name) {
  Input input("--text-file", name);
  std::string text(kMostBytes, '\0');
  input.stream().read(text.data(), static_cast<std::streamsize>(text.size()));
  input.RequireRead();
  text.resize(static_cast<std::size_t>(input.stream().gcount()));
  return text;
}

}  // namespace

void AddResponder(CLI::App& app, Invocation& invocation) {
  CLI::App& group = AddGroup(app, "responder", "automatic replies to mail for a mailbox");
  const auto given = std::make_shared<Arguments>();  // of the one command that is chosen
  const auto show = [given](const MailModule& mail) { return mail.ShowResponder(given->mailbox); };

  CLI::App& on = About(
      AddCommand(group, invocation, "on", "answer the senders of mail",
                 [&invocation, given, show] {
                   panel::mail::ResponderSettings settings{given->subject, {}};
                   if (given->text_file) {
                     settings.text = ReadTextFile(*given->text_file);
                   }
                   return Change(
                       invocation, "responder on",
                       [&](MailModule& mail) { mail.SwitchResponderOn(given->mailbox, settings); },
                       show);
                 }),
      invocation, *given);
  Takes(invocation, on.add_option("--subject", given->subject, "the subject of the replies"),
        {"TEXT"});
  Takes(invocation,
        on.add_option("--text-file", given->text_file,
                      "a file with the text of the replies in UTF-8; - for standard input"),
        {"FILE", Choice::kFile});
  Explain(on, invocation,
          "Each sender is answered once a week; lists, bulk mail, bounces and other automatic "
          "replies are not, nor messages that do not name the mailbox in To or Cc. An option that "
          "is not given stays as it was the last time.",
          {"zebmail responder on info@example.org --subject \"Away\" --text-file away.txt",
           "echo \"Back on Monday.\" | zebmail responder on info@example.org --text-file -"});
  CLI::App& off = About(
      AddCommand(group, invocation, "off", "answer no longer",
                 [&invocation, given, show] {
                   return Change(
                       invocation, "responder off",
                       [&](MailModule& mail) { mail.SwitchResponderOff(given->mailbox); }, show);
                 }),
      invocation, *given);
  Explain(off, invocation, "Subject and text are kept for the next time.");
  CLI::App& shown =
      About(AddCommand(group, invocation, "show", "show subject and text of the replies",
                       [&invocation, show] { return PrintOne(invocation, show); }),
            invocation, *given);
  Explain(shown, invocation,
          "Prints address, active and subject, and the text below an empty line; with --json an "
          "object with these fields and text.");
}

}  // namespace zebmail
