/// NAME
///   trace - the way of a message to an address, step by step
///
/// PURPOSE
///   Follows what Postfix does with a message that comes in by SMTP, with the tables of the panel
///   and the settings of main.cf: whether the domain is this server's, whether the access table
///   refuses the recipient, what the virtual user table and the aliases make of it, and where each
///   copy ends. It reads the texts, and then asks Postfix's maps the same questions: where they
///   answer otherwise, the way is not the one that messages take, and that is said. It changes
///   nothing.
///
/// WHAT IT DOES NOT FOLLOW
///   Other maps and restrictions of main.cf than those that the panel's tables take part in, and a
///   user's own .forward file, at which the way ends.
///
/// HOW IT FAILS
///   With fen_err::Error: "value" for what is no address, "file" for a table that cannot be read,
///   and as mail::PostconfValue.

#pragma once

#include <cstddef>
#include <string>
#include <variant>
#include <vector>

namespace panel::trace {

/// From here on it is about this address.
struct Heading {
  std::size_t depth;
  std::string address;
};

/// One question to a file, and what follows from the answer.
struct Step {
  std::size_t depth;
  std::string file;      ///< empty when the answer stands in no file
  std::size_t line = 0;  ///< 0 when it stands in no line
  std::string key{};     ///< as it stands there
  std::string value{};   ///< as it stands there
  std::string what{};    ///< what follows
};

/// Where a copy of the message ends.
struct End {
  std::size_t depth;
  std::string address;
  std::string how;  ///< "refused", "bounced", "discarded", "mailbox", "command", "file", "sent"
  std::string what;
};

using Event = std::variant<Heading, Step, End>;

/// A question that Postfix answers otherwise than the text.
struct Difference {
  std::size_t event = 0;  ///< the step that asked it
  std::string file;
  std::size_t line = 0;
  std::string key;
  std::string text;         ///< what the text answers; empty for nothing
  std::string postfix;      ///< what Postfix answers; empty for nothing
  bool is_failure = false;  ///< the map `key` cannot be asked, and `postfix` is why
};

struct Trace {
  std::string address;
  std::vector<Event> events;
  std::vector<Difference> differences;
  std::vector<std::string> notes;  ///< what else should be known
};

/// The way of a message to the address `text`, whose domain may be in Unicode. The panel must be
/// open, or looked at, and its modules set up.
Trace TraceAddress(const std::string& text);

}  // namespace panel::trace
