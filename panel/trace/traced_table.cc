/// NAME
///   traced_table - a table, and the questions that a trace has asked it

#include "panel/trace/traced_table.h"

#include <utility>

#include "panel/mail/names.h"
#include "panel/mail/table_values.h"

namespace panel::trace {

TracedTable::TracedTable(const std::string& path, Format format, std::string map)
    : text_(path, format), format_(format), map_(std::move(map)) {}

const Entry* TracedTable::Find(const std::string& key) {
  const std::string wanted = mail::LowerCase(key);
  auto question = questions_.find(wanted);
  if (question == questions_.end()) {
    question = questions_.emplace(wanted, Question{text_.Find(wanted)}).first;
  }
  const std::optional<Entry>& answer = question->second.answer;
  return answer ? &*answer : nullptr;
}

const Entry* TracedTable::FindFirst(const std::vector<std::string>& keys) {
  for (const std::string& key : keys) {
    if (const Entry* const entry = Find(key)) return entry;
  }
  return nullptr;
}

void TracedTable::Tell(const std::vector<std::string>& keys, std::size_t event) {
  for (const std::string& key : keys) {
    const auto question = questions_.find(mail::LowerCase(key));
    if (question == questions_.end() || question->second.event) continue;
    question->second.event = event;
  }
}

/// postalias writes a value in a form of its own, which says the same.
bool TracedTable::Agrees(const Question& question, const std::string* answer) const {
  if (!question.answer || answer == nullptr) return !question.answer && answer == nullptr;
  if (format_ == Format::kPostmap) return question.answer->value == *answer;
  return mail::ParseValues(question.answer->value) == mail::ParseValues(*answer);
}

/// A tool's output is kept to a limit, so that long values are asked for a few at a time.
MapAnswers TracedTable::Ask() const {
  constexpr std::size_t kAtOnce = std::size_t{16} * 1024;
  MapAnswers all;
  std::vector<std::string> keys;
  std::size_t size = 0;
  for (auto question = questions_.begin(); question != questions_.end();) {
    const auto& [key, asked] = *question++;
    keys.push_back(key);
    size += key.size() + (asked.answer ? asked.answer->value.size() : 0);
    if (size < kAtOnce && question != questions_.end()) continue;
    MapAnswers some = AskMap(map_, keys);
    all.values.merge(some.values);
    all.failure = some.failure;
    if (!all.failure.empty()) break;
    keys.clear();
    size = 0;
  }
  return all;
}

std::vector<Difference> TracedTable::Compare() const {
  if (questions_.empty()) return {};
  const MapAnswers answers = Ask();
  if (!answers.failure.empty()) {
    const auto event = questions_.begin()->second.event;
    return {{event.value_or(0), path(), 0, map_, "", answers.failure, true}};
  }
  std::vector<Difference> differences;
  for (const auto& [key, question] : questions_) {
    const auto found = answers.values.find(key);
    const std::string* const answer = found == answers.values.end() ? nullptr : &found->second;
    if (Agrees(question, answer)) continue;
    differences.push_back(
        {question.event.value_or(0), path(), question.answer ? question.answer->line : 0, key,
         question.answer ? question.answer->value : "", answer != nullptr ? *answer : ""});
  }
  return differences;
}

std::vector<std::string> TracedTable::Duplicates() const {
  std::vector<std::string> notes;
  for (const auto& [key, question] : questions_) {
    if (!question.answer) continue;
    for (const std::size_t line : question.answer->ignored) {
      notes.push_back(path() + ":" + std::to_string(line) + " has " + key + " again, which line " +
                      std::to_string(question.answer->line) +
                      " has already; Postfix uses the first");
    }
  }
  return notes;
}

}  // namespace panel::trace
