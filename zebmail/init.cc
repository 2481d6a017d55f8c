/// NAME
///   init - making a panel
///
/// WHAT IT PRINTS
///   One line for each thing that was made, or with --json {config, made: []}; in a dry run what
///   would be made, or with --json "folders" and what any dry run has. A panel that is
///   complete already is left alone, which is no failure.

#include <algorithm>
#include <iostream>
#include <memory>
#include <string>
#include <vector>

#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "panel/mail/made_list.h"
#include "panel/mail/maps.h"
#include "zebmail/invocation.h"
#include "zebmail/new_panel.h"
#include "zebmail/output.h"
#include "zebmail/session.h"

namespace zebmail {
namespace {

namespace fs = std::filesystem;

/// Without the panel's own folder there is nothing to list in.
void List(const PanelPlan& plan, const std::vector<fs::path>& made) {
  if (!fs::is_directory(plan.config.state_dir)) return;
  panel::UseConfig(plan.config);
  if (plan.is_new) panel::mail::ListKept(plan.kept);
  panel::mail::ListMade(made);
}

/// Lists what is made even when something fails: to the init that completes the panel it is old.
std::vector<fs::path> MakeAndList(const PanelPlan& plan) {
  std::vector<fs::path> made;
  try {
    MakePanel(plan, made);
  } catch (const fen_err::Error&) {
    try {
      List(plan, made);
    } catch (const fen_err::Error& error) {
      PrintWarning(error.what());
    }
    throw;
  }
  List(plan, made);
  return made;
}

/// Has the modules put their entries into the tables, and the maps built that Postfix is to find.
/// Returns the maps that were built.
std::vector<fs::path> CompletePanel(const Invocation& invocation, const panel::Config& config) {
  panel::mail::Panel panel(config, MakeNotices(invocation));
  panel.Change([] {});
  std::vector<fs::path> built;
  const std::string suffix = panel::mail::MapSuffix();
  for (const panel::mail::Map& map : panel::mail::Maps()) {
    if (!panel::mail::IsStale(map, suffix)) continue;
    panel::mail::Build(map);
    built.emplace_back(map.text.string() + suffix);
  }
  return built;
}

bool HasSettings(const InitOptions& options) {
  return !options.postfix_config.empty() || !options.paths.empty() || !options.params.empty();
}

void PrintMade(const Invocation& invocation, const InitOptions& options, const PanelPlan& plan,
               const std::vector<fs::path>& made) {
  if (invocation.quiet) return;
  if (invocation.json) {
    Json document = {{"config", plan.config.file.string()}, {"made", Json::array()}};
    for (const fs::path& path : made) document["made"].push_back(path.string());
    PrintJson(document);
    return;
  }
  std::string text;
  for (const fs::path& path : made) text += "made " + OneLine(path.string()) + "\n";
  const std::string config = OneLine(plan.config.file.string());
  if (made.empty()) text += config + ": this panel is complete; nothing was made\n";
  if (!plan.is_new && HasSettings(options)) {
    text += config + " was left as it is; the options of this run are not in it\n";
  }
  text += "next: zebmail --config " + config + " domain create NAME\n";
  std::cout << text;
}

/// The tables are made empty, so that there is nothing to show of them but their names.
void PrintPlan(const Invocation& invocation, const PanelPlan& plan) {
  panel::mail::Rehearsal rehearsal;
  Json folders = Json::array();
  std::string text;
  for (const PanelPlan::Folder& folder : plan.folders) {
    text += "make " + OneLine(folder.path.string()) + "\n";
    folders.push_back(folder.path.string());
  }
  for (const PanelPlan::File& file : plan.files) {
    text += "make " + OneLine(file.path.string()) + "\n";
    rehearsal.files.push_back({file.path.string(), "", file.text});
  }
  if (invocation.json) {
    Json document = {{"folders", folders}};
    document.update(ToJson(rehearsal));
    PrintJson(document);
  } else {
    std::cout << text;
    PrintRehearsal(invocation, rehearsal);
  }
}

Status Init(const Invocation& invocation, const InitOptions& options) {
  const PanelPlan plan = PlanPanel(options);
  if (invocation.dry_run) {
    PrintPlan(invocation, plan);
    return kDone;
  }
  std::vector<fs::path> made = MakeAndList(plan);
  const std::vector<fs::path> built = CompletePanel(invocation, plan.config);
  panel::mail::ListMade(built);
  made.insert(made.end(), built.begin(), built.end());
  PrintMade(invocation, options, plan, made);
  return kDone;
}

/// Takes "NAME=VALUE" apart.
CLI::Option* AddNamed(CLI::App& command, const std::string& option, const std::string& help,
                      std::map<std::string, std::string>& values) {
  const auto take = [option, &values](const std::string& text) {
    const std::size_t equals = text.find('=');
    if (equals == std::string::npos || equals == 0) {
      throw CLI::ValidationError(option, "\"" + text + "\" is not of the form NAME=VALUE");
    }
    values[text.substr(0, equals)] = text.substr(equals + 1);
  };
  return command
      .add_option_function<std::vector<std::string>>(
          option,
          [take](const std::vector<std::string>& texts) {
            std::for_each(texts.begin(), texts.end(), take);
          },
          help)
      ->allow_extra_args(false);
}

}  // namespace

void AddInit(CLI::App& app, Invocation& invocation) {
  CLI::App* command = app.add_subcommand("init", "make a panel, or complete one");
  const auto options = std::make_shared<InitOptions>();
  Takes(invocation,
        command->add_option(
            "--root", options->root,
            "the folder of a self-contained panel; without it the system's own folders"),
        {"DIR", Choice::kFolder});
  Takes(
      invocation,
      command->add_option("--postfix-config", options->postfix_config,
                          "the folder of the Postfix configuration, if it is not the system's own"),
      {"DIR", Choice::kFolder});
  Takes(invocation,
        AddNamed(*command, "--path", "a value for the section [path] of the configuration",
                 options->paths),
        {"NAME=VALUE", Choice::kPathName});
  Takes(invocation,
        AddNamed(*command, "--param", "a value for the section [param] of the configuration",
                 options->params),
        {"NAME=VALUE", Choice::kParameter});
  Explain(*command, invocation,
          "Makes the configuration, the database and empty tables, and builds their maps. What is "
          "there already stays as it is, and what is missing of it is made. Postfix is not "
          "touched: see postfix-config.\n\nWithout --root the panel uses /etc/zebmail, "
          "/var/lib/zebmail and /etc/mail; with it everything lies below DIR, the configuration "
          "as DIR/zebmail.toml.",
          {"zebmail init", "zebmail init --root /srv/mailpanel --postfix-config /etc/postfix"});
  command->callback([&app, &invocation, options] {
    if (app.count("--config") != 0) {
      throw CLI::ValidationError("--config", "init makes DIR/zebmail.toml; say where with --root");
    }
    invocation.action = [&invocation, options] { return Init(invocation, *options); };
  });
}

}  // namespace zebmail
