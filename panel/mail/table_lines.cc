/// NAME
///   table_lines - the lines of the virtual user table as plain words

#include "panel/mail/table_lines.h"

#include <algorithm>
#include <map>

#include "panel/mail/names.h"
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

/// A line that has a key, by its offset in the text, and the hash of its key in lower case.
struct Keyed {
  std::size_t hash;
  std::size_t line;

  auto operator<=>(const Keyed&) const = default;
};

std::vector<Keyed> ListKeyedLines(std::string_view text) {
  std::vector<Keyed> lines;
  ForEachTableLine(text, [&](std::string_view key, const auto&) {
    const auto line = static_cast<std::size_t>(key.data() - text.data());
    lines.push_back({std::hash<std::string>{}(LowerCase(std::string(key))), line});
  });
  return lines;
}

std::string KeyAt(std::string_view text, std::size_t line) {
  std::string_view rest = text.substr(line);
  return LowerCase(std::string(TakeWord(rest)));
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

std::vector<RepeatedLine> FindRepeatedLines(std::string_view text) {
  std::vector<Keyed> lines = ListKeyedLines(text);
  std::sort(lines.begin(), lines.end());
  std::vector<RepeatedLine> repeated;
  for (auto begin = lines.begin(); begin != lines.end();) {
    const auto end = std::find_if(
        begin, lines.end(), [hash = begin->hash](const Keyed& line) { return line.hash != hash; });
    if (end - begin > 1) {
      std::map<std::string, std::size_t> firsts;
      for (; begin != end; ++begin) {
        const auto [first, is_new] = firsts.emplace(KeyAt(text, begin->line), begin->line);
        if (!is_new) repeated.push_back({begin->line, first->second});
      }
    }
    begin = end;
  }
  return repeated;
}

}  // namespace panel::mail
