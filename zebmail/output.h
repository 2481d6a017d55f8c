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

/// A domain as {name, active, defaction, redirect, ip}.
Json ToJson(const panel::mail::Domain& domain);

/// One "key: value" line a field.
std::string ToText(const panel::mail::Domain& domain);

/// One line a domain below a line of headings, in columns; nothing when there are no domains.
std::string ToTable(const std::vector<panel::mail::Domain>& domains);

/// Prints what a change would do: a unified diff of each table file, the rows, the tools. As JSON
/// {files: [{path, diff}], rows: [{table, what, row}], tools: []}.
void PrintRehearsal(const Invocation& invocation, const panel::mail::Rehearsal& rehearsal);

/// Prints "zebmail: TYPE: OBJECT: VALUE". A tool's output of several lines stands below it, and
/// what is outstanding after that.
void PrintError(const std::exception& error);

/// Prints "zebmail: TEXT"; further lines of the text stand below it.
void PrintWarning(const std::string& text);

/// `text`, which is to stay one line, with control characters as "\n" or "\x1b".
std::string OneLine(std::string_view text);

}  // namespace zebmail
