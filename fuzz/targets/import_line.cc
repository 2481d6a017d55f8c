/// NAME
///   import_line - any text as JSON Lines to be imported
///
/// WHAT MUST HOLD
///   Each line is taken as one thing of the panel, or the first that is none is refused by its
///   place. What was read, written as `export` writes it and read again, is the same.

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <string>
#include <variant>
#include <vector>

#include "fuzz/support/require.h"
#include "host/fen_err.h"
#include "zebmail/panel_lines.h"

namespace {

using fuzz::Require;
using panel::mail::DomainLine;
using panel::mail::ImportLine;
using panel::mail::MailboxLine;
using panel::mail::SenderLine;
using panel::mail::WebDomain;

std::string ToLine(const WebDomain& line) {
  return zebmail::ToLine(line);
}

std::string ToLine(const SenderLine& line) {
  return zebmail::ToLine(line.list, line.value);
}

std::string ToLine(const DomainLine& line) {
  panel::mail::Domain domain;
  domain.name = line.name;
  domain.active = line.active.value_or(true);
  domain.default_action = line.settings.default_action.value_or("error");
  domain.redirect = line.settings.redirect.value_or("");
  domain.ip = line.settings.ip.value_or("");
  domain.owner = line.settings.owner.value_or(0);
  return zebmail::ToLine(domain);
}

std::string ToLine(const MailboxLine& line) {
  panel::mail::Mailbox mailbox;
  mailbox.address = line.address;
  mailbox.active = line.active.value_or(true);
  mailbox.drop_mail = line.drop_mail.value_or(false);
  mailbox.aliases = line.aliases.value_or(std::vector<std::string>());
  mailbox.forwards = line.forwards.value_or(std::vector<std::string>());
  mailbox.responder = line.responder.value_or(false);
  panel::mail::Responder responder;
  responder.subject = line.answer.subject.value_or("");
  responder.text = line.answer.text.value_or("");
  return zebmail::ToLine(mailbox, &responder);
}

std::string Written(const std::vector<ImportLine>& lines) {
  std::string text;
  for (const ImportLine& line : lines) {
    text += std::visit([](const auto& said) { return ToLine(said); }, line.said);
  }
  return text;
}

std::vector<ImportLine> Read(const std::string& text) {
  std::istringstream stream(text);
  return zebmail::ReadLines(stream, "fuzzed");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<ImportLine> lines;
  try {
    lines = Read(std::string(reinterpret_cast<const char*>(data), size));
  } catch (const fen_err::Error& error) {
    Require(
        error.type() == "value" && error.object().starts_with("fuzzed:") && !error.value().empty(),
        "a bad line is refused by its place", {{"error", error.what()}});
    return 0;
  }
  const std::string written = Written(lines);
  Require(
      std::count(written.begin(), written.end(), '\n') == static_cast<std::ptrdiff_t>(lines.size()),
      "a thing is written as one line", {{"written", written}});
  Require(Written(Read(written)) == written, "what was written reads back as itself",
          {{"written", written}});
  return 0;
}
