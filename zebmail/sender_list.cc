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
                  const std::string& help) {
  CLI::App& group = AddGroup(app, name, help);
  const auto given = std::make_shared<SenderValues>();  // of the one command that is chosen
  const auto add_change = [&](const std::string& command, const std::string& done,
                              SenderValues (*change)(SenderList list, const SenderValues& values)) {
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
    AddWords(added, invocation, "VALUE", "a mail address, a domain, or the IP address of a client",
             *given);
  };

  add_change("add", "added", &panel::mail::AddToList);
  add_change("remove", "removed", &panel::mail::RemoveFromList);
  AddCommand(group, invocation, "list", "list the values", [&invocation, list] {
    const panel::mail::Panel panel = OpenPanelToLook(invocation);
    const SenderValues values = panel::mail::ListSenders(list);
    Print(invocation, Json(values), ToLines(values));
    return kDone;
  });
}

}  // namespace

void AddSenderLists(CLI::App& app, Invocation& invocation) {
  AddListGroup(app, invocation, SenderList::kWhite, "whitelist", "senders whose mail is taken");
  AddListGroup(app, invocation, SenderList::kBlack, "blacklist", "senders whose mail is refused");
}

}  // namespace zebmail
