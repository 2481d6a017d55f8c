/// NAME
///   traced_table - a table, and the questions that a trace has asked it
///
/// PURPOSE
///   Answers from the text and remembers each question, so that Postfix's map can be asked them all
///   at once afterwards.

#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "panel/mail/text_table.h"
#include "panel/trace/map_answers.h"
#include "panel/trace/trace.h"

namespace panel::trace {

using mail::Entry;
using mail::Format;
using mail::TextTable;

class TracedTable {
 public:
  /// `map` is the one that Postfix reads in place of the text, such as "hash:/etc/mail/access".
  TracedTable(const std::string& path, Format format, std::string map);

  const std::string& path() const noexcept { return text_.path(); }

  /// What the text has for the key; null for nothing.
  const Entry* Find(const std::string& key);

  /// The first of the keys that the text has; null when it has none. The rest is not asked for.
  const Entry* FindFirst(const std::vector<std::string>& keys);

  /// The event `event` tells what came of asking for these keys.
  void Tell(const std::vector<std::string>& keys, std::size_t event);

  /// Asks the map what was asked of the text.
  std::vector<Difference> Compare() const;

  /// What the text says about entries that were found and stand there more than once.
  std::vector<std::string> Duplicates() const;

 private:
  struct Question {
    std::optional<Entry> answer;
    std::optional<std::size_t> event{};
  };

  MapAnswers Ask() const;
  bool Agrees(const Question& question, const std::string* answer) const;

  TextTable text_;
  Format format_;
  std::string map_;
  std::map<std::string, Question> questions_;
};

}  // namespace panel::trace
