/// NAME
///   output - what zebmail prints
///
/// PURPOSE
///   Results go to standard output, as text or with --json as one JSON document; errors and
///   warnings go to standard error, always as text. Whatever comes from files, tools and users is
///   printed with its control characters escaped, so that it cannot steer the reader's terminal.

#pragma once

#include <exception>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "panel/mail/mail_module.h"
#include "panel/mail/panel.h"
#include "zebmail/invocation.h"

namespace zebmail {

/// Objects keep the order of their fields.
using Json = nlohmann::ordered_json;

/// Prints one JSON document. What is not valid UTF-8 in it is replaced.
void PrintJson(const Json& document);

/// Prints a result: `document` with --json, else `text`.
void Print(const Invocation& invocation, const Json& document, const std::string& text);

/// Tells that a change was made, in one line or by what was changed as it is now; --quiet keeps it
/// back.
void Confirm(const Invocation& invocation, const std::string& name, const std::string& done,
             const Json& document);

/// What the thing is called when a change of it is confirmed.
const std::string& NameOf(const panel::mail::Domain& domain);
const std::string& NameOf(const panel::mail::Mailbox& mailbox);
const std::string& NameOf(const panel::mail::Responder& responder);

/// A domain as {name, active, defaction, redirect, ip}.
Json ToJson(const panel::mail::Domain& domain);

/// A mailbox as {address, active, dropmail, aliases: [], forwards: [], responder}.
Json ToJson(const panel::mail::Mailbox& mailbox);

/// A responder as {address, active, subject, text}.
Json ToJson(const panel::mail::Responder& responder);

/// An array of these.
template <class T>
Json ToJson(const std::vector<T>& all) {
  Json document = Json::array();
  for (const T& one : all) document.push_back(ToJson(one));
  return document;
}

/// One "key: value" line a field.
std::string ToText(const panel::mail::Domain& domain);
std::string ToText(const panel::mail::Mailbox& mailbox);

/// The text of a responder stands below its other fields, after an empty line.
std::string ToText(const panel::mail::Responder& responder);

/// A table of them; nothing when there are none.
std::string ToTable(const std::vector<panel::mail::Domain>& domains);
std::string ToTable(const std::vector<panel::mail::Mailbox>& mailboxes);

/// One line each.
std::string ToLines(const std::vector<std::string>& names);

/// What a change would do as {files: [{path, diff}], rows: [{table, what, row}], tools: []}.
Json ToJson(const panel::mail::Rehearsal& rehearsal);

/// Prints what a change would do: a unified diff of each table file, the rows, the tools. On a
/// terminal the diff has what is hidden, but for tabs, as OneLine has it, and backslashes as they
/// stand in the table; elsewhere it is one that patch(1) takes.
void PrintRehearsal(const Invocation& invocation, const panel::mail::Rehearsal& rehearsal);

/// What errors and warnings begin with.
std::string ErrorMark();
std::string WarningMark();

/// Prints "zebmail: TYPE: OBJECT: VALUE". A tool's output of several lines stands below it, and
/// after that what is outstanding, or "next: " and what to do next.
void PrintError(const std::exception& error);

/// Prints "zebmail: TEXT"; further lines of the text stand below it.
void PrintWarning(const std::string& text);

/// The names in one line, with ", " between them.
std::string Joined(const std::vector<std::string>& names);

/// `text`, which is to stay one line, with control characters, characters that show nothing or a
/// blank and bytes that are no UTF-8 as "\n" or "\x1b", and a backslash as "\\".
std::string OneLine(std::string_view text);

/// The same with backslashes as they are, for what is to be copied: a command, a setting.
std::string ToCopy(std::string_view text);

/// The same for what may be of any length, such as a value that was refused: of a long one the
/// beginning and the end, with its length between them.
std::string Shown(std::string_view text);

/// The same with backslashes as they are: for lines of a table, which hold regular expressions.
std::string ShownToCopy(std::string_view text);

}  // namespace zebmail
