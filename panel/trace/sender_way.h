/// NAME
///   sender_way - from which address mail of a domain leaves
///
/// PURPOSE
///   The domain-to-IP map is a regular-expression table: the first line whose pattern the sender
///   matches names the service of master.cf that sends the message.

#pragma once

#include <optional>
#include <string>
#include <vector>

#include "panel/trace/trace.h"

namespace panel::trace {

/// What a regular-expression table has for a key.
struct PatternLine {
  std::size_t line = 0;
  std::string pattern;  ///< with its delimiters and flags
  std::string value;
};

/// Reads the table at `path` as regexp_table(5) says. Lines that Postfix skips are skipped.
std::optional<PatternLine> FindPattern(const std::string& path, const std::string& key);

/// The steps that mail takes which is sent from `address`, and their differences, whose events
/// count from the first of these steps.
struct SenderWay {
  std::vector<Event> events;
  std::vector<Difference> differences;
};

SenderWay FollowSender(const std::string& address);

}  // namespace panel::trace
