/// NAME
///   trace - the command that shows the way of a message
///
/// WHAT IT PRINTS
///   A tree. Each address stands above what becomes of it, and what it leads to stands below it,
///   further to the right:
///
///     PATH:LINE: KEY -> VALUE; what follows      a line that decides; "PATH: no line for" for none
///     => what                                    where a copy ends
///     ! Postfix: ...                             Postfix's map answers otherwise than the text
///
///   With --json {address, steps: [{depth, file, line, key, value, what}], ends: [{address, how,
///   what}], differences: [{file, line, key, text, postfix}], notes: []}. `line` is 0 for what
///   stands in no line, `how` one of "refused", "bounced", "discarded", "mailbox", "command",
///   "file", "sent". The exit status is 1 when Postfix answers otherwise.

#include "panel/trace/trace.h"

#include <memory>
#include <string>
#include <variant>

#include "panel/conf/saving_journal.h"
#include "panel/mail/advice.h"
#include "panel/mail/panel.h"
#include "zebmail/invocation.h"
#include "zebmail/output.h"
#include "zebmail/session.h"
#include "zebmail/style.h"

namespace zebmail {
namespace {

using panel::trace::Difference;
using panel::trace::End;
using panel::trace::Heading;
using panel::trace::Step;
using panel::trace::Trace;

Json ToJson(const Trace& trace) {
  Json document = {{"address", trace.address},
                   {"steps", Json::array()},
                   {"ends", Json::array()},
                   {"differences", Json::array()},
                   {"notes", trace.notes}};
  for (const auto& event : trace.events) {
    if (const Step* const step = std::get_if<Step>(&event)) {
      document["steps"].push_back({{"depth", step->depth},
                                   {"file", step->file},
                                   {"line", step->line},
                                   {"key", step->key},
                                   {"value", step->value},
                                   {"what", step->what}});
    } else if (const End* const end = std::get_if<End>(&event)) {
      document["ends"].push_back(
          {{"address", end->address}, {"how", end->how}, {"what", end->what}});
    }
  }
  for (const Difference& difference : trace.differences) {
    document["differences"].push_back({{"file", difference.file},
                                       {"line", difference.line},
                                       {"key", difference.key},
                                       {"text", difference.text},
                                       {"postfix", difference.postfix}});
  }
  return document;
}

std::string Place(const std::string& file, std::size_t line) {
  return line == 0 ? file : file + ":" + std::to_string(line);
}

/// The parts that are there, with `separator` between them.
std::string Join(const std::string& left, const std::string& separator, const std::string& right) {
  return left.empty() || right.empty() ? left + right : left + separator + right;
}

std::string OrNothing(const std::string& text) {
  return text.empty() ? "nothing" : text;
}

std::string Margin(std::size_t depth) {
  return std::string(2 * depth, ' ');
}

std::string ToText(const Heading& heading) {
  return Margin(heading.depth) + Styled(Style::kHeading, Shown(heading.address)) + "\n";
}

/// What was looked for in vain stands behind "no line for".
std::string ToText(const Step& step) {
  const bool is_found = step.line != 0 || step.file == "mydestination";
  const std::string found = Join(step.key, " -> ", step.value);
  const std::string text = is_found || step.key.empty()
                               ? Join(found, "; ", step.what)
                               : "no line for " + Join(step.key, "; ", step.what);
  return Margin(step.depth + 1) + ShownToCopy(Join(Place(step.file, step.line), ": ", text)) + "\n";
}

Style StyleOf(const End& end) {
  if (end.how == "refused" || end.how == "bounced") return Style::kBad;
  return end.how == "discarded" ? Style::kNotice : Style::kGood;
}

std::string ToText(const End& end) {
  return Margin(end.depth + 1) + Styled(StyleOf(end), Shown("=> " + end.what)) + "\n";
}

std::string ToText(const Difference& difference) {
  const std::string text =
      difference.is_failure
          ? ShownToCopy("! Postfix cannot read " + difference.key + ": " + difference.postfix)
          : "! Postfix: " + ShownToCopy(difference.key) + " -> " +
                ShownToCopy(OrNothing(difference.postfix)) + ", where " +
                OneLine(Place(difference.file, difference.line)) + " has " +
                ShownToCopy(OrNothing(difference.text));
  return Styled(Style::kBad, text) + "\n";
}

std::size_t MarginOf(const panel::trace::Event& event) {
  return std::visit([](const auto& one) { return one.depth; }, event) + 1;
}

std::string ToText(const Trace& trace) {
  std::string text;
  auto difference = trace.differences.begin();
  for (std::size_t index = 0; index < trace.events.size(); ++index) {
    const auto& event = trace.events[index];
    text += std::visit([](const auto& one) { return ToText(one); }, event);
    for (; difference != trace.differences.end() && difference->event == index; ++difference) {
      text += Margin(MarginOf(event)) + ToText(*difference);
    }
  }
  for (const std::string& note : trace.notes)
    text += Styled(Style::kNotice, "note: ") + Shown(note) + "\n";
  if (!trace.differences.empty()) {
    text += "Postfix does not work with the tables as they are; run: " +
            ToCopy(panel::mail::FixCommand()) + "\n";
  }
  return text;
}

Status ShowTrace(const Invocation& invocation, const std::string& address) {
  const panel::mail::PanelView panel(ReadConfig(invocation));
  Trace trace = panel::trace::TraceAddress(address);
  if (panel::conf::IsJournalThere()) {
    trace.notes.emplace_back(
        "a change is being saved, or was killed while it was: some of the tables may be as the "
        "others are not");
  }
  Print(invocation, ToJson(trace), ToText(trace));
  return trace.differences.empty() ? kDone : kFailed;
}

}  // namespace

void AddTrace(CLI::App& app, Invocation& invocation) {
  const auto address = std::make_shared<std::string>();
  CLI::App& command =
      AddCommand(app, invocation, "trace", "show the way that a message to an address takes",
                 [&invocation, address] { return ShowTrace(invocation, *address); });
  Takes(invocation, command.add_option("ADDR", *address, "a mail address"),
        {"ADDR", Choice::kMailbox})
      ->required();
  Explain(command, invocation,
          "Prints a tree: each address above what becomes of it, with the line of the table that "
          "decides, PATH:LINE: KEY -> VALUE, and where each copy ends, \"=> ...\". Then Postfix's "
          "own maps are asked the same; where one answers otherwise the line begins with "
          "\"! Postfix\" and the exit status is 1. Nothing is sent.",
          {"zebmail trace sales@example.org"});
}

}  // namespace zebmail
