/// NAME
///   table_lines - the lines of the virtual user table as plain words

#include "panel/mail/table_lines.h"

#include <algorithm>

#include "panel/text/byte_set.h"

namespace panel::mail {
namespace {

constexpr ByteSet kBlanks(" \t\r");
constexpr ByteSet kSeparators(" \t\r,");

/// The next word of `rest`, which is shortened by it; empty at the end.
std::string_view TakeWord(std::string_view& rest) {
  rest.remove_prefix(kSeparators.CountIn(rest));
  const std::string_view word = rest.substr(0, kSeparators.CountOutside(rest));
  rest.remove_prefix(word.size());
  return word;
}

}  // namespace

void ForEachTableLine(
    std::string_view text,
    const std::function<void(std::string_view, const std::vector<std::string_view>&)>& visit) {
  std::vector<std::string_view> targets;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    std::string_view rest = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    rest = rest.substr(0, rest.find('#'));
    if (rest.empty() || kBlanks.Has(rest.front())) continue;
    const std::string_view key = TakeWord(rest);
    targets.clear();
    for (std::string_view word = TakeWord(rest); !word.empty(); word = TakeWord(rest)) {
      targets.push_back(word);
    }
    visit(key, targets);
  }
}

}  // namespace panel::mail
