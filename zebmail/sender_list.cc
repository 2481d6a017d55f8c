/// NAME
///   sender_list - the commands about the white and the black list
///
/// WHAT THEY PRINT
///   A change confirms itself in one line, or with --json by the list as it is now. `list` prints a
///   value a line, or with --json an array.

#include <memory>
#include <string>
#include <vector>

#include "panel/mail/listed_senders.h"
#include "zebmail/invocation.h"
#include "zebmail/output.h"
#include "zebmail/session.h"

namespace zebmail {
namespace {

using panel::mail::SenderList;
using panel::mail::SenderValues;

/// The access table is looked up for the recipients of mail as well.
void WarnOfRecipients(SenderList list, const SenderValues& values) {
  if (list == SenderList::kWhite) return;
  for (const std::string& value : values) {
    if (!panel::mail::ConcernsRecipients(value)) continue;
    PrintWarning("mail to " + value + " is refused as well\n");
  }
}

void AddListGroup(CLI::App& app, Invocation& invocation, SenderList list, const std::string& name,
                  const std::string& help, const std::string& explanation) {
  CLI::App& group = AddGroup(app, name, help);
  const auto given = std::make_shared<SenderValues>();  // of the one command that is chosen
  const auto add_change =
      [&](const std::string& command, const std::string& done, Choice choice,
          SenderValues (*change)(SenderList list, const SenderValues& values)) -> CLI::App& {
    CLI::App& added = AddCommand(group, invocation, command, command + " values",
                                 [&invocation, list, name, given, done, change] {
                                   panel::mail::Panel panel = OpenPanel(invocation);
                                   SenderValues changed;
                                   MakeChange(
                                       invocation, panel, [&] { changed = change(list, *given); },
                                       [&] {
                                         if (change == &panel::mail::AddToList)
                                           WarnOfRecipients(list, *given);
                                         Confirm(invocation, name, done + " " + Joined(changed),
                                                 Json(panel::mail::ListSenders(list)));
                                       });
                                   return kDone;
                                 });
    Takes(invocation,
          AddWords(added, invocation, "VALUE",
                   "a mail address, a domain, or the IP address of a client", *given),
          {"VALUE", choice});
    return added;
  };
  const Choice listed = list == SenderList::kWhite ? Choice::kWhiteListed : Choice::kBlackListed;

  Explain(add_change("add", "added", Choice::kAnything, &panel::mail::AddToList), invocation,
          explanation + " A value is on one of the lists at most.",
          {"zebmail " + name + " add somebody@sender.example sender.example 192.0.2.66"});
  Explain(add_change("remove", "removed", listed, &panel::mail::RemoveFromList), invocation,
          "All of them go, or none when one of them is not on the list.",
          {"zebmail " + name + " remove 192.0.2.66"});
  Explain(AddCommand(group, invocation, "list", "list the values",
                     [&invocation, list] {
                       const panel::mail::Panel panel = OpenPanelToLook(invocation);
                       const SenderValues values = panel::mail::ListSenders(list);
                       Print(invocation, Json(values), ToLines(values));
                       return kDone;
                     }),
          invocation, "Prints one a line, or with --json an array.");
}

}  // namespace

void AddSenderLists(CLI::App& app, Invocation& invocation) {
  AddListGroup(app, invocation, SenderList::kWhite, "whitelist", "senders whose mail is taken",
               "Their mail is taken although another rule of the access table refuses it. They "
               "still cannot relay.");
  AddListGroup(app, invocation, SenderList::kBlack, "blacklist", "senders whose mail is refused",
               "The list is about recipients too: with a domain of your own on it the mail to "
               "that domain is refused, and the command says so.");
}

}  // namespace zebmail
