/// NAME
///   output - what zebmail prints

#include "zebmail/output.h"

#include <filesystem>
#include <iostream>
#include <sstream>

#include "host/fen_err.h"
#include "panel/text/control_characters.h"
#include "panel/text/shortened.h"
#include "zebmail/diff.h"
#include "zebmail/next_step.h"
#include "zebmail/table.h"

namespace zebmail {
namespace {

/// So much of a value is enough to know it again; it may be a whole file.
constexpr std::size_t kLongestShown = 1000;

/// Several lines, each as ToCopy, each ending in a line feed.
std::string Lines(std::string_view text) {
  std::string lines = panel::EscapeHidden(text, "\n");
  if (!lines.empty() && !lines.ends_with('\n')) lines += '\n';
  return lines;
}

std::string OrDash(const std::string& text) {
  return text.empty() ? "-" : text;
}

Cell State(bool active) {
  return active ? Cell("active") : Cell("suspended", Style::kNotice);
}

/// A line of a diff, by what it begins with; the first two name the file.
Style StyleOf(std::string_view line, bool is_name) {
  if (is_name) return Style::kHeading;
  if (line.starts_with('+')) return Style::kGood;
  return line.starts_with('-') ? Style::kBad : Style::kPlain;
}

/// A diff as a terminal shows it: what is hidden, but for tabs, is escaped.
std::string Coloured(const std::string& diff) {
  std::istringstream lines(panel::EscapeHidden(diff, "\n\t"));
  std::string text;
  int number = 0;
  for (std::string line; std::getline(lines, line); ++number) {
    text += Styled(StyleOf(line, number < 2), line) + "\n";
  }
  return text;
}

std::string Flag(const std::string& name, bool value) {
  return name + ": " + (value ? "true" : "false") + "\n";
}

}  // namespace

void PrintJson(const Json& document) {
  std::cout << document.dump(2, ' ', false, Json::error_handler_t::replace) << "\n";
}

void Print(const Invocation& invocation, const Json& document, const std::string& text) {
  if (invocation.json) {
    PrintJson(document);
  } else {
    std::cout << text;
  }
}

void Confirm(const Invocation& invocation, const std::string& name, const std::string& done,
             const Json& document) {
  if (invocation.quiet) return;
  Print(invocation, document, OneLine(name) + ": " + Styled(Style::kGood, OneLine(done)) + "\n");
}

const std::string& NameOf(const panel::mail::Domain& domain) {
  return domain.name;
}

const std::string& NameOf(const panel::mail::Mailbox& mailbox) {
  return mailbox.address;
}

const std::string& NameOf(const panel::mail::Responder& responder) {
  return responder.address;
}

Json ToJson(const panel::mail::Domain& domain) {
  return {{"name", domain.name},
          {"active", domain.active},
          {"defaction", domain.default_action},
          {"redirect", domain.redirect},
          {"ip", domain.ip}};
}

Json ToJson(const panel::mail::Mailbox& mailbox) {
  return {{"address", mailbox.address},    {"active", mailbox.active},
          {"dropmail", mailbox.drop_mail}, {"aliases", mailbox.aliases},
          {"forwards", mailbox.forwards},  {"responder", mailbox.responder}};
}

Json ToJson(const panel::mail::Responder& responder) {
  return {{"address", responder.address},
          {"active", responder.active},
          {"subject", responder.subject},
          {"text", responder.text}};
}

std::string ToText(const panel::mail::Domain& domain) {
  return "name: " + OneLine(domain.name) + "\n" + Flag("active", domain.active) +
         "defaction: " + OneLine(domain.default_action) +
         "\nredirect: " + OneLine(domain.redirect) + "\nip: " + OneLine(domain.ip) + "\n";
}

std::string ToText(const panel::mail::Mailbox& mailbox) {
  return "address: " + OneLine(mailbox.address) + "\n" + Flag("active", mailbox.active) +
         Flag("dropmail", mailbox.drop_mail) + "aliases: " + OneLine(Joined(mailbox.aliases)) +
         "\nforwards: " + OneLine(Joined(mailbox.forwards)) + "\n" +
         Flag("responder", mailbox.responder);
}

std::string ToText(const panel::mail::Responder& responder) {
  return "address: " + OneLine(responder.address) + "\n" + Flag("active", responder.active) +
         "subject: " + OneLine(responder.subject) + "\n\n" + Lines(responder.text);
}

std::string ToTable(const std::vector<panel::mail::Domain>& domains) {
  if (domains.empty()) return "";
  std::vector<Row> rows = {{"NAME", "STATE", "DEFAULT ACTION", "REDIRECT", "IP"}};
  for (const panel::mail::Domain& domain : domains) {
    rows.push_back({OneLine(domain.name), State(domain.active), OneLine(domain.default_action),
                    OrDash(OneLine(domain.redirect)), OrDash(OneLine(domain.ip))});
  }
  return Align(rows);
}

std::string ToTable(const std::vector<panel::mail::Mailbox>& mailboxes) {
  if (mailboxes.empty()) return "";
  std::vector<Row> rows = {{"ADDRESS", "STATE", "MAIL", "RESPONDER", "ALIASES", "FORWARDS"}};
  for (const panel::mail::Mailbox& mailbox : mailboxes) {
    rows.push_back({OneLine(mailbox.address), State(mailbox.active),
                    mailbox.drop_mail ? "dropped" : "kept", mailbox.responder ? "on" : "off",
                    OrDash(OneLine(Joined(mailbox.aliases))),
                    OrDash(OneLine(Joined(mailbox.forwards)))});
  }
  return Align(rows);
}

std::string ToLines(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += OneLine(name) + "\n";
  return text;
}

Json ToJson(const panel::mail::Rehearsal& rehearsal) {
  Json document = {{"files", Json::array()}, {"rows", Json::array()}, {"tools", rehearsal.tools}};
  for (const auto& file : rehearsal.files) {
    document["files"].push_back(
        {{"path", file.path}, {"diff", UnifiedDiff(file.path, file.before, file.after)}});
  }
  for (const auto& row : rehearsal.rows) {
    document["rows"].push_back({{"table", row.table}, {"what", row.what}, {"row", row.row}});
  }
  return document;
}

void PrintRehearsal(const Invocation& invocation, const panel::mail::Rehearsal& rehearsal) {
  if (invocation.json) return PrintJson(ToJson(rehearsal));
  const bool is_terminal = TerminalWidth().has_value();
  std::string text;
  for (const auto& file : rehearsal.files) {
    const std::string diff = UnifiedDiff(file.path, file.before, file.after);
    text += is_terminal ? Coloured(diff) : diff;
  }
  for (const auto& row : rehearsal.rows) {
    text += "database: " + row.what + " " + row.table + ": " + ToCopy(row.row) + "\n";
  }
  for (const std::string& tool : rehearsal.tools) text += "tool: " + ToCopy(tool) + "\n";
  std::cout << text;
}

std::string ErrorMark() {
  return StyledError(Style::kBad, "zebmail:") + " ";
}

std::string WarningMark() {
  return StyledError(Style::kNotice, "zebmail:") + " ";
}

void PrintError(const std::exception& error) {
  const auto* known = dynamic_cast<const fen_err::Error*>(&error);
  if (const auto* file = dynamic_cast<const std::filesystem::filesystem_error*>(&error)) {
    PrintError(fen_err::Error("file", file->path1().string(), file->code().message()));
    return;
  }
  if (known == nullptr) {
    PrintError(fen_err::Error("failure", error.what(), ""));
    return;
  }
  const std::size_t end_of_value = known->value().find_last_not_of("\r\n") + 1;
  const std::string value = known->value().substr(0, end_of_value);
  const bool is_output = known->type() == "email" && value.find('\n') != std::string::npos;
  std::string text = ErrorMark() + Shown(known->type());
  if (!known->object().empty()) text += ": " + Shown(known->object());
  if (!value.empty() && !is_output) text += ": " + Shown(value);
  text += "\n";
  if (is_output) text += Lines(value);
  if (const auto* partly = dynamic_cast<const panel::mail::PartlyDone*>(known)) {
    text += Lines(partly->outstanding());
  } else if (const std::string step = NextStep(*known); !step.empty()) {
    text += "next: " + ShownToCopy(step) + "\n";
  }
  std::cerr << text;
}

void PrintWarning(const std::string& text) {
  std::cerr << WarningMark() << Lines(text);
}

std::string Joined(const std::vector<std::string>& names) {
  std::string text;
  for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
  return text;
}

std::string OneLine(std::string_view text) {
  return panel::EscapeControlCharacters(text);
}

std::string ToCopy(std::string_view text) {
  return panel::EscapeHidden(text);
}

std::string ShownToCopy(std::string_view text) {
  return ToCopy(panel::Shortened(text, kLongestShown));
}

std::string Shown(std::string_view text) {
  return OneLine(panel::Shortened(text, kLongestShown));
}

}  // namespace zebmail
