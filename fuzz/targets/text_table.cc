/// NAME
///   text_table - any text as a table that the panel reads as postmap or postalias would
///
/// PURPOSE
///   The first byte of the input chooses which of the two.
///
/// WHAT MUST HOLD
///   Each entry that counts is found by its key, with its value, and none has the key of another.
///   A line that repeats an entry comes behind it. A line that is no entry has none.

#include "panel/mail/text_table.h"

#include <cstdint>
#include <set>
#include <string>

#include "fuzz/support/logical_lines.h"
#include "fuzz/support/require.h"

namespace {

using fuzz::Require;
using panel::mail::Oddity;
using panel::mail::TextTable;

void CheckEntries(TextTable& table, const std::string& text) {
  std::set<std::string> keys;
  table.ForEach([&](const std::string& key, const std::string& value) {
    const fuzz::Evidence evidence = {{"text", text}, {"key", key}, {"value", value}};
    Require(keys.insert(key).second, "an entry counts once", evidence);
    Require(!value.empty(), "an entry has a value", evidence);
    const auto found = table.Find(key);
    Require(found && found->value == value && found->line > 0, "an entry is found", evidence);
    for (const std::size_t line : found->ignored) {
      Require(line > found->line, "the first of two entries counts", evidence);
    }
  });
  Require(keys.size() <= fuzz::LogicalLines(text).size(), "an entry is a line", {{"text", text}});
  for (const auto& repeat : table.FindRepeats()) {
    const fuzz::Evidence evidence = {{"text", text}, {"key", repeat.key}};
    Require(repeat.first < repeat.line && keys.contains(repeat.key),
            "a repeat is of an entry above", evidence);
    Require(repeat.offset == 0 || text[repeat.offset - 1] == '\n', "a repeat begins a line",
            evidence);
  }
}

void CheckOddities(TextTable& table, const std::string& text) {
  std::size_t last = 0;
  for (const Oddity& oddity : table.FindOddities()) {
    const fuzz::Evidence evidence = {{"text", text}, {"key", oddity.key}};
    Require(oddity.line > last, "an odd line is told of once, in order", evidence);
    Require(oddity.offset < text.size() && (oddity.offset == 0 || text[oddity.offset - 1] == '\n'),
            "an odd line is one", evidence);
    last = oddity.line;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
  TextTable table = TextTable::Of(
      text, data[0] == 'a' ? panel::mail::Format::kPostalias : panel::mail::Format::kPostmap);
  CheckEntries(table, text);
  CheckOddities(table, text);
  return 0;
}
