/// NAME
///   transfer - taking the whole panel out, and bringing things in
///
/// WHAT THEY PRINT
///   `export` prints JSON Lines, as panel_lines.h describes them: the web domains, then each domain
///   with its mailboxes, then both lists; with --json one array of the same objects. `import`
///   prints a line for each kind of thing: how many were added, changed and left alone; with --json
///   an object for each kind. On a terminal it shows how far it is.

#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "panel/mail/import.h"
#include "zebmail/change.h"
#include "zebmail/input.h"
#include "zebmail/invocation.h"
#include "zebmail/output.h"
#include "zebmail/panel_lines.h"
#include "zebmail/progress.h"
#include "zebmail/session.h"

namespace zebmail {
namespace {

using panel::mail::MailModule;
using panel::mail::SenderList;
using Results = std::vector<panel::mail::ImportResult>;

/// Prints lines as they come, since a panel may be large; with --json as the elements of one array.
class LinePrinter {
 public:
  explicit LinePrinter(bool as_array) : as_array_(as_array) {}

  void Print(const std::string& line) {
    if (!as_array_) {
      std::cout << line;
      return;
    }
    std::cout << (is_first_ ? "[\n" : ",\n") << line.substr(0, line.size() - 1);
    is_first_ = false;
  }

  void End() const {
    if (as_array_) std::cout << (is_first_ ? "[]\n" : "\n]\n");
  }

 private:
  bool as_array_;
  bool is_first_ = true;
};

void PrintDomain(const MailModule& mail, const panel::mail::Domain& domain, LinePrinter& printer) {
  std::map<std::string, panel::mail::Responder> responders;
  for (auto& responder : mail.ListResponders(domain.name)) {
    responders.emplace(responder.address, responder);
  }
  printer.Print(ToLine(domain));
  for (const auto& mailbox : mail.ListMailboxes(domain.name)) {
    const auto responder = responders.find(mailbox.address);
    printer.Print(ToLine(mailbox, responder == responders.end() ? nullptr : &responder->second));
  }
}

Status Export(const Invocation& invocation) {
  const panel::mail::Panel panel = OpenPanelToLook(invocation);
  const MailModule mail;
  LinePrinter printer(invocation.json);
  for (const auto& domain : panel::mail::ListWebDomains()) printer.Print(ToLine(domain));
  for (const auto& domain : mail.ListDomains()) PrintDomain(mail, domain, printer);
  for (const SenderList list : {SenderList::kWhite, SenderList::kBlack}) {
    for (const std::string& value : ListSenders(list)) printer.Print(ToLine(list, value));
  }
  printer.End();
  return kDone;
}

Json AsJson(const Results& results) {
  Json document = Json::object();
  for (const auto& result : results) {
    document[result.kind] = {
        {"added", result.added}, {"changed", result.changed}, {"unchanged", result.unchanged}};
  }
  return document;
}

std::string AsText(const Results& results) {
  std::string text;
  for (const auto& result : results) {
    text += result.kind + ": " + std::to_string(result.added) + " added, " +
            std::to_string(result.changed) + " changed, " + std::to_string(result.unchanged) +
            " unchanged\n";
  }
  return text;
}

Status Import(const Invocation& invocation, const std::string& name) {
  Input input("FILE", name);
  const auto lines = ReadLines(input.stream(), name == "-" ? "standard input" : name);
  input.RequireRead();

  panel::mail::Panel panel = OpenPanel(invocation);
  MailModule mail;
  const WarningsOf warnings(mail);
  Results results;
  const auto work = [&] {
    ProgressBar bar(invocation);
    results = panel::mail::Import(lines, mail, bar.Show());
  };
  MakeChange(invocation, panel, work, [&] {
    if (!invocation.quiet) Print(invocation, AsJson(results), AsText(results));
  });
  return kDone;
}

}  // namespace

void AddTransfer(CLI::App& app, Invocation& invocation) {
  Explain(AddCommand(app, invocation, "export", "print the whole panel as JSON Lines",
                     [&invocation] { return Export(invocation); }),
          invocation,
          "Prints an object a line: the web domains, each domain with its mailboxes and their "
          "responders, and both lists of senders.",
          {"zebmail export > panel.jsonl"});
  const auto file = std::make_shared<std::string>();
  CLI::App& import =
      AddCommand(app, invocation, "import", "bring in what JSON Lines say, as export prints them",
                 [&invocation, file] { return Import(invocation, *file); });
  Takes(invocation, import.add_option("FILE", *file, "the file; - for standard input"),
        {"FILE", Choice::kFile})
      ->required();
  Explain(import, invocation,
          "All of it is one change, or nothing when a line is bad: each table is saved once. "
          "Prints how many of each kind were added, changed and left alone.",
          {"zebmail --dry-run import panel.jsonl", "zebmail import panel.jsonl"});
}

}  // namespace zebmail
