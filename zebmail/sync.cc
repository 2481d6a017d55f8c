/// NAME
///   sync - reading the mail server's tables into the database
///
/// WHAT IT PRINTS
///   A line for each kind of thing: how many were added, changed and removed; in a dry run the
///   first of them as well, and the changes of the tables. With --json an object for each kind, in
///   a dry run as the "summary" of what it shows. On a terminal it shows how far it is.

#include "panel/mail/sync.h"

#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "zebmail/invocation.h"
#include "zebmail/output.h"
#include "zebmail/progress.h"
#include "zebmail/session.h"

namespace zebmail {
namespace {

using Results = std::vector<panel::mail::SyncResult>;

Json AsJson(const Results& results) {
  Json document = Json::object();
  for (const auto& result : results) {
    document[result.kind] = {
        {"added", result.added}, {"changed", result.changed}, {"removed", result.removed}};
  }
  return document;
}

std::string AsText(const Results& results, bool with_first) {
  std::string text;
  for (const auto& result : results) {
    text += result.kind + ": " + std::to_string(result.added) + " added, " +
            std::to_string(result.changed) + " changed, " + std::to_string(result.removed) +
            " removed\n";
    if (!with_first) continue;
    for (const std::string& name : result.first) text += "  " + OneLine(name) + "\n";
    if (result.added + result.changed + result.removed > result.first.size()) text += "  ...\n";
  }
  return text;
}

void PrintDryRun(const Invocation& invocation, const Results& results,
                 const panel::mail::Rehearsal& rehearsal) {
  if (invocation.json) {
    Json document = ToJson(rehearsal);
    document["summary"] = AsJson(results);
    PrintJson(document);
  } else {
    std::cout << AsText(results, true);
    PrintRehearsal(invocation, rehearsal);
  }
}

Status Sync(const Invocation& invocation, bool allow_mass_delete) {
  panel::mail::Panel panel = OpenPanel(invocation);
  Results results;
  const auto work = [&] {
    ProgressBar bar(invocation);
    results = panel::mail::Synchronise({allow_mass_delete, false, bar.Show()});
  };
  if (invocation.dry_run) {
    const panel::mail::Rehearsal rehearsal = panel.Rehearse(work, false);
    PrintDryRun(invocation, results, rehearsal);
    return kDone;
  }
  panel.Change(work);
  if (!invocation.quiet) Print(invocation, AsJson(results), AsText(results, false));
  return kDone;
}

}  // namespace

void AddSync(CLI::App& app, Invocation& invocation) {
  const auto allow = std::make_shared<bool>(false);
  CLI::App& command =
      AddCommand(app, invocation, "sync", "read all tables of the mail server into the database",
                 [&invocation, allow] { return Sync(invocation, *allow); });
  command.add_flag("--allow-mass-delete", *allow,
                   "also when more than half of the domains or mailboxes go by that");
  Explain(command, invocation,
          "Takes what somebody has changed in the tables by hand over into the panel, which would "
          "undo it otherwise at its next change there. New mail domains are taken over when there "
          "is a web domain of their name.\n\nPrints how many domains, mailboxes and so on were "
          "added, changed and removed. It stops before it deletes more than half of the domains "
          "or mailboxes, and more than ten.",
          {"zebmail --dry-run sync", "zebmail sync"});
}

}  // namespace zebmail
