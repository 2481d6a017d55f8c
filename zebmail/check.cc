/// NAME
///   check - whether the panel and the mail server fit together, and mending what does not
///
/// WHAT IT PRINTS
///   One line a finding: what is wrong, why it matters, what mends it; with --fix a line for each
///   thing that was mended before. With --json {ok, findings: [{check, object, what, why, mend}],
///   mended: []}. The exit status tells whether anything is wrong still. On a terminal it shows how
///   far it is, since a large panel takes a minute.

#include <algorithm>
#include <exception>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "host/fen_err.h"
#include "panel/conf/pending.h"
#include "panel/mail/advice.h"
#include "panel/mail/back_end.h"
#include "panel/mail/checks.h"
#include "panel/mail/sync.h"
#include "panel/mail/table_path.h"
#include "zebmail/invocation.h"
#include "zebmail/output.h"
#include "zebmail/progress.h"
#include "zebmail/session.h"
#include "zebmail/style.h"

namespace zebmail {
namespace {

using panel::mail::Finding;

struct Report {
  std::vector<Finding> findings;
  std::vector<std::string> mended;
};

Finding ModuleFinding(const fen_err::Error& error) {
  return {"modules",
          error.object(),
          "keeps the modules from being set up: " + error.value(),
          "no change can be made",
          "mend the cause named here",
          {}};
}

/// Sets up the modules and keeps nothing of what they write; what they would write is missing.
void FindMissingEntries(panel::mail::Panel& panel, Report& report) {
  for (const auto& file : panel.Rehearse([] {}).files) {
    report.findings.push_back({"entries",
                               file.path,
                               "lacks entries that the panel relies on",
                               "mail is not delivered as the panel says",
                               panel::mail::FixCommand(),
                               {}});
  }
}

Finding DifferenceFinding(const std::string& object, const std::string& what) {
  return {"difference",
          object,
          what,
          "mail goes by the tables, and the panel's next changes by what it knows",
          "put right in the tables what was changed there, or run: " + panel::mail::Command("sync"),
          {}};
}

std::string Describe(const panel::mail::SyncResult& result) {
  const std::size_t more = result.added + result.changed + result.removed - result.first.size();
  return "are not the same in the tables; a sync would have these " + Joined(result.first) +
         (more == 0 ? "" : " and " + std::to_string(more) + " more");
}

/// A line may be taken out and put in again at another place.
bool HaveSameLines(const std::string& left, const std::string& right) {
  const auto lines = [](const std::string& text) {
    std::multiset<std::string> all;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) all.insert(line);
    return all;
  };
  return lines(left) == lines(right);
}

/// A plug-in for another mail server need not keep what a sync reads.
bool HasTables() {
  return panel::mail::WorksForPostfix() || !panel::mail::TablePath("virtusertable").empty();
}

/// Has the tables read as sync does, and keeps nothing of it: what it would change is different.
void FindDifferences(panel::mail::Panel& panel, const Invocation& invocation, Report& report) {
  std::vector<panel::mail::SyncResult> results;
  const auto read = [&] {
    ProgressBar bar(invocation);
    results = panel::mail::Synchronise(
        {.allow_mass_delete = true, .for_comparison = true, .progress = bar.Show()});
  };
  panel::mail::Rehearsal rehearsal;
  try {
    rehearsal = panel.Rehearse(read, false);
  } catch (const fen_err::Error& error) {
    Finding finding = DifferenceFinding(
        error.object(), "keeps the tables from being read: " + error.type() + " " + error.value());
    finding.mend = "mend the cause named here, then run: " + panel::mail::Command("sync");
    report.findings.push_back(std::move(finding));
    return;
  }
  for (const auto& result : results) {
    if (!result.first.empty()) {
      report.findings.push_back(DifferenceFinding(result.kind, Describe(result)));
    }
  }
  for (const auto& file : rehearsal.files) {
    if (HaveSameLines(file.before, file.after)) continue;
    report.findings.push_back(
        DifferenceFinding(file.path, "does not go with the domains of the virtual user table"));
  }
}

/// Sets up the modules and has outstanding work made up for, as any change does.
void MakeUpPendingWork(panel::mail::Panel& panel, Report& report) {
  const std::vector<panel::conf::PendingWork> before = panel::conf::ListPendingWork();
  panel.Change([] {});
  const std::vector<panel::conf::PendingWork> after = panel::conf::ListPendingWork();
  for (const panel::conf::PendingWork& work : before) {
    const bool remains = std::any_of(after.begin(), after.end(), [&work](const auto& other) {
      return other.path == work.path && other.table == work.table;
    });
    if (!remains) report.mended.push_back(work.path + ": the outstanding tool has run");
  }
}

void Fix(const Finding& finding, Report& report) {
  if (!finding.fix) {
    report.findings.push_back(finding);
    return;
  }
  try {
    finding.fix();
    report.mended.push_back(finding.object + ": " + finding.mend);
  } catch (const std::exception& error) {
    PrintError(error);
    report.findings.push_back(finding);
  }
}

Finding UnsettledFinding(const fen_err::Error& error) {
  return {"saving",
          error.object(),
          "is of a change that can be neither kept nor taken back",
          "no change can be made, and the tables may say what the database does not",
          error.value(),
          {}};
}

std::vector<Finding> RunChecks(const Invocation& invocation) {
  ProgressBar bar(invocation);
  return panel::mail::RunChecks(bar.Show());
}

Report Examine(panel::mail::Panel& panel, bool fix, const Invocation& invocation) {
  Report report;
  if (panel.unsettled()) report.findings.push_back(UnsettledFinding(*panel.unsettled()));
  try {
    fix ? MakeUpPendingWork(panel, report) : FindMissingEntries(panel, report);
    panel::mail::BackEnd();
    if (HasTables()) FindDifferences(panel, invocation, report);
  } catch (const fen_err::Error& error) {
    report.findings.push_back(ModuleFinding(error));
  }
  for (const Finding& finding : RunChecks(invocation)) {
    if (fix) {
      Fix(finding, report);
    } else {
      report.findings.push_back(finding);
    }
  }
  return report;
}

Json AsJson(const Report& report) {
  Json findings = Json::array();
  for (const Finding& finding : report.findings) {
    findings.push_back({{"check", finding.check},
                        {"object", finding.object},
                        {"what", finding.what},
                        {"why", finding.why},
                        {"mend", finding.mend}});
  }
  return {{"ok", report.findings.empty()}, {"findings", findings}, {"mended", report.mended}};
}

std::string AsText(const Report& report) {
  std::string text;
  for (const std::string& mended : report.mended)
    text += Styled(Style::kGood, "mended: ") + Shown(mended) + "\n";
  for (const Finding& finding : report.findings) {
    text += Styled(Style::kBad, Shown(finding.object + " " + finding.what)) + "; " +
            OneLine(finding.why) + "; mend: " + ToCopy(finding.mend) + "\n";
  }
  if (report.findings.empty()) text += Styled(Style::kGood, "nothing is wrong") + "\n";
  return text;
}

/// Nothing is mended in a dry run, which so is a look and no more, nor while a killed change is not
/// settled.
Status Check(const Invocation& invocation, bool fix) {
  fix = fix && !invocation.dry_run;
  panel::mail::Notices notices = MakeNotices(invocation);
  if (!fix) notices.warning = nullptr;
  panel::mail::Panel panel(ReadConfig(invocation), std::move(notices),
                           panel::mail::Panel::Purpose::kLook);
  fix = fix && !panel.unsettled();
  const Report report = Examine(panel, fix, invocation);
  const bool is_well = report.findings.empty();
  if (is_well && invocation.quiet) return kDone;
  Print(invocation, AsJson(report), AsText(report));
  return is_well ? kDone : kFailed;
}

}  // namespace

void AddCheck(CLI::App& app, Invocation& invocation) {
  CLI::App* command = app.add_subcommand("check", "find out what is wrong, and mend it");
  const auto fix = std::make_shared<bool>(false);
  command->add_flag("--fix", *fix, "mend what can be mended");
  Explain(*command, invocation,
          "Looks at the configuration, main.cf and master.cf, the tables and their maps, the "
          "database and outstanding work, and prints a line for each thing that is wrong: what, "
          "why it matters, and what mends it. The exit status is 1 when anything is wrong still.",
          {"zebmail check", "zebmail check --fix"});
  command->callback([&invocation, fix] {
    invocation.action = [&invocation, fix] { return Check(invocation, *fix); };
  });
}

}  // namespace zebmail
