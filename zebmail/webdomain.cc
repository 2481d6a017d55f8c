/// NAME
///   webdomain - the commands about the panel's web domains
///
/// WHAT THEY PRINT
///   A change confirms itself in one line, or with --json by the list as it is now. `list` prints
///   them in columns, or with --json an array of {name, owner}.

#include <memory>
#include <string>

#include "panel/mail/web_domains.h"
#include "zebmail/invocation.h"
#include "zebmail/output.h"
#include "zebmail/session.h"
#include "zebmail/table.h"

namespace zebmail {
namespace {

/// What the arguments of one command are read into.
struct Arguments {
  std::string name;
  std::int64_t owner = 0;
};

Json AsJson() {
  Json document = Json::array();
  for (const auto& domain : panel::mail::ListWebDomains()) {
    document.push_back({{"name", domain.name}, {"owner", domain.owner}});
  }
  return document;
}

Status Change(const Invocation& invocation, const Arguments& given, const std::string& done,
              const std::function<void()>& work) {
  panel::mail::Panel panel = OpenPanel(invocation);
  MakeChange(invocation, panel, work, [&] { Confirm(invocation, given.name, done, AsJson()); });
  return kDone;
}

Status List(const Invocation& invocation) {
  const panel::mail::Panel panel = OpenPanelToLook(invocation);
  std::vector<Row> rows = {{"NAME", "OWNER"}};
  for (const auto& domain : panel::mail::ListWebDomains()) {
    rows.push_back({OneLine(domain.name), std::to_string(domain.owner)});
  }
  Print(invocation, AsJson(), rows.size() == 1 ? "" : Align(rows));
  return kDone;
}

}  // namespace

void AddWebDomains(CLI::App& app, Invocation& invocation) {
  CLI::App& group = AddGroup(app, "webdomain", "the panel's web domains, which sync consults");
  const auto given = std::make_shared<Arguments>();  // of the one command that is chosen
  const auto add_change = [&](const std::string& name, const std::string& help,
                              const std::string& done, Choice choice,
                              const std::function<void()>& work) -> CLI::App& {
    CLI::App& command = AddCommand(group, invocation, name, help, [&invocation, given, done, work] {
      return Change(invocation, *given, done, work);
    });
    Takes(invocation, command.add_option("NAME", given->name, "the domain, in Unicode or ASCII"),
          {"NAME", choice})
        ->required();
    return command;
  };

  CLI::App& add = add_change("add", "have sync take over the mail domain of this name", "added",
                             Choice::kAnything,
                             [given] { panel::mail::AddWebDomain(given->name, given->owner); });
  Takes(invocation,
        add.add_option("--owner", given->owner, "the number of the panel's user who owns it"),
        {"NUMBER"})
      ->required()
      ->check(WholeNumber);
  Explain(add, invocation,
          "A mail domain that somebody has put into the tables by hand becomes one of the panel "
          "at the next sync when there is a web domain of its name.",
          {"zebmail webdomain add hand.example --owner 1", "zebmail sync"});
  Explain(add_change("remove", "forget it; its mail domain stays", "removed", Choice::kWebDomain,
                     [given] { panel::mail::RemoveWebDomain(given->name); }),
          invocation, "sync takes over no mail domain of this name any more.");
  Explain(AddCommand(group, invocation, "list", "list all web domains",
                     [&invocation] { return List(invocation); }),
          invocation, "Prints a table, or with --json an array of {name, owner}.");
}

}  // namespace zebmail
