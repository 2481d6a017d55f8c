/// NAME
///   postfix-config - the settings by which Postfix uses the panel's tables
///
/// WHAT IT PRINTS
///   The parameters as they would stand in main.cf, complete, with comments between them, so that
///   all of it can be put into main.cf. With --apply, which sets those that will not do, a line for
///   each thing that was done. In a dry run the changes of main.cf and of the rule for client
///   addresses. With --json {settings: [{name, value, present, faults: [], left_out: []}], refusal,
///   client_rule: {file, fault, written, copy}, mailbox_transport: {value, suggested}, applied:
///   [names], built: [tables], copy: path or "", reloaded}: what is wrong with a value and what was
///   done, in a run without --apply nothing.
///
/// WHAT IT LEAVES TO THE ADMINISTRATOR
///   mailbox_transport, which moves the mail of all local users.

#include <memory>
#include <string>
#include <vector>

#include "panel/mail/mailbox_ends.h"
#include "panel/mail/shadow_checks.h"
#include "panel/mail/wiring.h"
#include "panel/mail/wiring_change.h"
#include "zebmail/invocation.h"
#include "zebmail/output.h"
#include "zebmail/session.h"

namespace zebmail {
namespace {

using panel::mail::MailboxEnds;
using panel::mail::Setting;
using panel::mail::Wiring;
using panel::mail::WiringChange;
using panel::mail::WiringResult;

/// What is known of main.cf, and what became of it.
struct Report {
  Wiring wiring;
  MailboxEnds ends;
  panel::mail::Findings types;  ///< maps of another type than the tools build
  WiringChange change;
  WiringResult result;
  bool is_applied = false;
};

/// What is known of main.cf before anything is changed.
Report Look() {
  Report report;
  report.wiring = panel::mail::PlanWiring();
  report.ends = panel::mail::FindMailboxEnds();
  report.types = panel::mail::CheckTypes(report.wiring);
  return report;
}

/// What is wrong with the setting that --apply leaves to the administrator.
std::vector<std::string> LeftOf(const Setting& setting, const Report& report) {
  std::vector<std::string> left;
  for (const auto& finding : report.types) {
    if (finding.object == setting.name) left.push_back(finding.what + ": " + finding.mend);
  }
  return left;
}

std::string Comment(const std::string& text) {
  return "# " + ToCopy(text) + "\n";
}

std::string AsText(const Setting& setting, const Report& report) {
  std::string text;
  for (const auto& fault : setting.faults) text += Comment("main.cf " + fault.what);
  for (const std::string& left : LeftOf(setting, report)) text += Comment("main.cf " + left);
  if (text.empty()) text += Comment("in main.cf already");
  for (const std::string& element : setting.left_out) {
    text += Comment("without " + element + " of the default, which cannot be opened");
  }
  return text + ToCopy(setting.name + " = " + setting.value) + "\n\n";
}

std::string ClientRuleAsText(const Wiring& wiring) {
  const std::string& file = wiring.parts.client_rule;
  const std::string rule(panel::mail::kClientRule);
  if (wiring.client_rule_fault.empty()) return "";
  return Comment(file + " must hold the one rule " + rule.substr(0, rule.find('\n')) + ", but " +
                 wiring.client_rule_fault) +
         "\n";
}

std::string MailboxTransportAsText(const MailboxEnds& ends) {
  if (!ends.transport().empty()) {
    return Comment("mailboxes end at: mailbox_transport = " + ends.transport());
  }
  const std::string now =
      "mailbox_transport is not set: mailboxes end at the Unix users of their "
      "names";
  if (ends.suggestion.empty()) return Comment(now);
  return Comment(now) + Comment("Dovecot is installed; to give it the mail of all local users:") +
         Comment("mailbox_transport = " + ends.suggestion);
}

std::string SettingsAsText(const Report& report) {
  std::string text;
  for (const Setting& setting : report.wiring.settings) text += AsText(setting, report);
  if (!report.wiring.refusal.empty()) {
    text +=
        Comment(std::string(panel::mail::kRecipientRestrictions) + ": " + report.wiring.refusal) +
        "\n";
  }
  return text + ClientRuleAsText(report.wiring) + MailboxTransportAsText(report.ends);
}

std::string DoneAsText(const Report& report) {
  const WiringChange& change = report.change;
  std::string text;
  for (const Setting& setting : report.wiring.settings) {
    for (const std::string& left : LeftOf(setting, report)) {
      text += "left to you: " + ToCopy(setting.name + " " + left) + "\n";
    }
  }
  if (change.IsEmpty()) {
    return text.empty() ? "nothing to do: Postfix uses the tables of this panel already\n" : text;
  }
  if (!report.result.copy_of_client_rule.empty()) {
    text += "kept " +
            OneLine(change.client_rule.string() + " as it was in " +
                    report.result.copy_of_client_rule.string()) +
            "\n";
  }
  if (change.writes_client_rule) text += "wrote " + OneLine(change.client_rule.string()) + "\n";
  for (const auto& map : change.maps)
    text += "built the map of " + OneLine(map.text.string()) + "\n";
  if (!report.result.copy.empty()) {
    text += "kept main.cf as it was in " + OneLine(report.result.copy.string()) + "\n";
  }
  for (const auto& one : change.assignments) {
    text += "set " + ToCopy(one.name + " = " + one.value) + "\n";
  }
  return text + (report.result.is_reloaded ? "reloaded Postfix\n"
                                           : "Postfix does not run: nothing to reload\n");
}

Json AsJson(const Setting& setting, const Report& report) {
  const std::vector<std::string> left = LeftOf(setting, report);
  Json faults = Json::array();
  for (const auto& fault : setting.faults) faults.push_back(fault.what);
  const bool is_mended = report.is_applied || faults.empty();
  for (const std::string& fault : left) faults.push_back(fault);
  return {{"name", setting.name},
          {"value", setting.value},
          {"present", is_mended && left.empty()},
          {"faults", faults},
          {"left_out", setting.left_out}};
}

Json AsJson(const Report& report) {
  Json settings = Json::array();
  for (const Setting& setting : report.wiring.settings) {
    settings.push_back(AsJson(setting, report));
  }
  Json applied = Json::array();
  Json built = Json::array();
  for (const auto& one : report.change.assignments) applied.push_back(one.name);
  for (const auto& map : report.change.maps) built.push_back(map.text.string());
  return {{"settings", settings},
          {"refusal", report.wiring.refusal},
          {"client_rule",
           {{"file", report.wiring.parts.client_rule},
            {"fault", report.wiring.client_rule_fault},
            {"written", report.change.writes_client_rule},
            {"copy", report.result.copy_of_client_rule.string()}}},
          {"mailbox_transport",
           {{"value", report.ends.transport()}, {"suggested", report.ends.suggestion}}},
          {"applied", applied},
          {"built", built},
          {"copy", report.result.copy.string()},
          {"reloaded", report.result.is_reloaded}};
}

/// The modules set the paths of the tables, so they are rehearsed at least.
Status ShowDryRun(const Invocation& invocation, panel::mail::Panel& panel) {
  panel::mail::Rehearsal rehearsal = panel.Rehearse([] {});
  const WiringChange change = panel::mail::ChangeOf(panel::mail::PlanWiring());
  for (auto& file : panel::mail::ChangedFiles(change)) rehearsal.files.push_back(std::move(file));
  for (auto& tool : panel::mail::ToolsOf(change)) rehearsal.tools.push_back(std::move(tool));
  PrintRehearsal(invocation, rehearsal);
  return kDone;
}

Status Show(const Invocation& invocation, panel::mail::Panel& panel) {
  panel.Rehearse([] {});
  const Report report = Look();
  Print(invocation, AsJson(report), SettingsAsText(report));
  return kDone;
}

Status Apply(const Invocation& invocation, panel::mail::Panel& panel) {
  panel.Change([] {});
  Report report = Look();
  report.change = panel::mail::ChangeOf(report.wiring);
  report.result = panel::mail::Apply(report.change);
  report.is_applied = true;
  if (!invocation.quiet) Print(invocation, AsJson(report), DoneAsText(report));
  return kDone;
}

Status PostfixConfig(const Invocation& invocation, bool apply) {
  panel::mail::Panel panel = apply ? OpenPanel(invocation) : OpenPanelToLook(invocation);
  if (invocation.dry_run) return ShowDryRun(invocation, panel);
  return apply ? Apply(invocation, panel) : Show(invocation, panel);
}

}  // namespace

void AddPostfixConfig(CLI::App& app, Invocation& invocation) {
  const auto apply = std::make_shared<bool>(false);
  CLI::App& command = AddCommand(
      app, invocation, "postfix-config", "the settings of main.cf that make Postfix use the tables",
      [&invocation, apply] { return PostfixConfig(invocation, *apply); });
  command.add_flag("--apply", *apply, "make them");
  Explain(command, invocation,
          "Prints the settings as they would stand in main.cf, and what of them is there already. "
          "With --apply those that are missing are set: what main.cf has stays, a copy of it is "
          "kept, and Postfix is reloaded. mailbox_transport, which moves the mail of all local "
          "users, is left to you.",
          {"zebmail postfix-config", "zebmail --dry-run postfix-config",
           "zebmail postfix-config --apply"});
}

}  // namespace zebmail
