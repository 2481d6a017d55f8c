/// NAME
///   output - what zebmail prints

#include "zebmail/output.h"

#include <algorithm>
#include <filesystem>
#include <iostream>

#include <unistd.h>

#include "host/fen_err.h"
#include "panel/text/control_characters.h"
#include "panel/text/shortened.h"
#include "zebmail/diff.h"

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

/// How many columns `text` takes, counting each character of Unicode as one.
std::size_t Width(const std::string& text) {
  return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0) != 0x80;
  }));
}

std::string OrDash(const std::string& text) {
  return text.empty() ? "-" : text;
}

std::string State(bool active) {
  return active ? "active" : "suspended";
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
  if (!invocation.quiet) Print(invocation, document, OneLine(name) + ": " + OneLine(done) + "\n");
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

std::string Align(const std::vector<Row>& rows) {
  std::vector<std::size_t> widths(rows.front().size());
  for (const Row& row : rows) {
    for (std::size_t column = 0; column < row.size(); ++column) {
      widths[column] = std::max(widths[column], Width(row[column]));
    }
  }
  std::string text;
  for (const Row& row : rows) {
    for (std::size_t column = 0; column + 1 < row.size(); ++column) {
      text += row[column] + std::string(widths[column] - Width(row[column]) + 2, ' ');
    }
    text += row.back() + "\n";
  }
  return text;
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
  std::string text;
  for (const auto& file : rehearsal.files) {
    text += UnifiedDiff(file.path, file.before, file.after);
  }
  if (isatty(STDOUT_FILENO) != 0) text = panel::EscapeHidden(text, "\n\t");
  for (const auto& row : rehearsal.rows) {
    text += "database: " + row.what + " " + row.table + ": " + ToCopy(row.row) + "\n";
  }
  for (const std::string& tool : rehearsal.tools) text += "tool: " + ToCopy(tool) + "\n";
  std::cout << text;
}

void PrintError(const std::exception& error) {
  const auto* known = dynamic_cast<const fen_err::Error*>(&error);
  if (const auto* file = dynamic_cast<const std::filesystem::filesystem_error*>(&error)) {
    PrintError(fen_err::Error("file", file->path1().string(), file->code().message()));
    return;
  }
  if (known == nullptr) {
    std::cerr << "zebmail: failure: " << Shown(error.what()) << "\n";
    return;
  }
  const std::size_t end_of_value = known->value().find_last_not_of("\r\n") + 1;
  const std::string value = known->value().substr(0, end_of_value);
  const bool is_output = known->type() == "email" && value.find('\n') != std::string::npos;
  std::string text = "zebmail: " + Shown(known->type());
  if (!known->object().empty()) text += ": " + Shown(known->object());
  if (!value.empty() && !is_output) text += ": " + Shown(value);
  text += "\n";
  if (is_output) text += Lines(value);
  if (const auto* partly = dynamic_cast<const panel::mail::PartlyDone*>(known)) {
    text += Lines(partly->outstanding());
  }
  std::cerr << text;
}

void PrintWarning(const std::string& text) {
  std::cerr << "zebmail: " << Lines(text);
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
