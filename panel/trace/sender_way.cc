/// NAME
///   sender_way - from which address mail of a domain leaves

#include "panel/trace/sender_way.h"

#include <algorithm>
#include <sstream>

#include <regex.h>

#include "host/fen_cf.h"
#include "panel/conf/disk_file.h"
#include "panel/mail/bindings.h"
#include "panel/trace/map_answers.h"

namespace panel::trace {
namespace {

constexpr const char* kBlanks = " \t\r\v\f";

/// A compiled pattern of Postfix's default kind: extended, in any case of letters.
class Pattern {
 public:
  Pattern(const std::string& text, int flags)
      : is_valid_(regcomp(&compiled_, text.c_str(), flags) == 0) {}
  ~Pattern() {
    if (is_valid_) regfree(&compiled_);
  }

  Pattern(const Pattern&) = delete;
  Pattern& operator=(const Pattern&) = delete;

  bool is_valid() const noexcept { return is_valid_; }
  bool Matches(const std::string& key) const {
    return regexec(&compiled_, key.c_str(), 0, nullptr, 0) == 0;
  }

 private:
  regex_t compiled_{};
  bool is_valid_;
};

/// A pattern as it stands at the beginning of a text, and what follows it.
struct Parsed {
  bool is_negated = false;
  std::string expression;
  int flags = REG_EXTENDED | REG_ICASE;
  std::string shown;
  std::string rest;
};

/// Each flag turns a default round.
bool Toggle(char flag, int& flags) {
  switch (flag) {
    case 'i':
      flags ^= REG_ICASE;
      return true;
    case 'm':
      flags ^= REG_NEWLINE;
      return true;
    case 'x':
      flags ^= REG_EXTENDED;
      return true;
    default:
      return false;
  }
}

std::optional<Parsed> Parse(const std::string& text) {
  Parsed parsed;
  std::size_t place = 0;
  while (place < text.size() && text[place] == '!') {
    parsed.is_negated = !parsed.is_negated;
    ++place;
  }
  if (place >= text.size()) return std::nullopt;
  const char delimiter = text[place++];
  while (place < text.size() && text[place] != delimiter) {
    if (text[place] == '\\' && place + 1 < text.size()) parsed.expression += text[place++];
    parsed.expression += text[place++];
  }
  if (place >= text.size()) return std::nullopt;
  ++place;
  while (place < text.size() && Toggle(text[place], parsed.flags)) ++place;
  parsed.shown = text.substr(0, place);
  const std::size_t begin = std::min(text.find_first_not_of(kBlanks, place), text.size());
  parsed.rest = text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
  return parsed;
}

/// Nothing when the pattern is none.
std::optional<bool> Fits(const Parsed& parsed, const std::string& key) {
  const Pattern pattern(parsed.expression, parsed.flags | REG_NOSUB);
  if (!pattern.is_valid()) return std::nullopt;
  return pattern.Matches(key) != parsed.is_negated;
}

/// The logical lines of a table with their numbers.
std::vector<std::pair<std::size_t, std::string>> LogicalLines(const std::string& path) {
  std::vector<std::pair<std::size_t, std::string>> lines;
  std::istringstream text(conf::ReadWholeFile(path).bytes);
  std::size_t number = 1;
  for (std::string line; std::getline(text, line); ++number) {
    const std::size_t begin = line.find_first_not_of(kBlanks);
    if (begin == std::string::npos || line[begin] == '#') continue;
    if (begin == 0) {
      lines.emplace_back(number, line);
    } else if (!lines.empty()) {
      lines.back().second += line;
    }
  }
  return lines;
}

Step MasterStep(const mail::Bindings& bindings, const std::string& name) {
  const auto service = std::find_if(bindings.services.rbegin(), bindings.services.rend(),
                                    [&name](const mail::Service& one) { return one.name == name; });
  if (service == bindings.services.rend()) {
    return {0, bindings.master, 0, name, "", "there is no such service: the mail cannot leave"};
  }
  const std::string address = service->address.value_or("");
  const std::string what = !service->address ? "leaves as that line says"
                           : address.empty() ? "leaves from any address"
                                             : "leaves from " + address;
  return {0, bindings.master, service->line, name, address, what};
}

}  // namespace

/// Of the lines between "if" and "endif" only those count whose condition holds.
std::optional<PatternLine> FindPattern(const std::string& path, const std::string& key) {
  std::size_t skipped = 0;  // how many conditions deep, counted from one that does not hold
  for (const auto& [number, line] : LogicalLines(path)) {
    const bool is_if = line.starts_with("if") && line.size() > 2 &&
                       std::string_view(kBlanks).find(line[2]) != std::string_view::npos;
    if (line.starts_with("endif")) {
      if (skipped > 0) --skipped;
    } else if (is_if) {
      const std::size_t begin = std::min(line.find_first_not_of(kBlanks, 2), line.size());
      const auto condition = Parse(line.substr(begin));
      if (skipped > 0 || !condition || !Fits(*condition, key).value_or(false)) ++skipped;
    } else if (skipped == 0) {
      const auto parsed = Parse(line);
      if (!parsed || parsed->rest.empty() || !Fits(*parsed, key).value_or(false)) continue;
      return PatternLine{number, parsed->shown, parsed->rest};
    }
  }
  return std::nullopt;
}

/// Postfix asks for the address first and for "@" and the domain then.
SenderWay FollowSender(const std::string& address) {
  SenderWay way;
  const std::string domain = address.substr(address.rfind('@') + 1);
  const std::string map = fen_cf::GetPath("postfix-domainips");
  way.events.emplace_back(Heading{0, "mail from " + domain});
  const auto bindings = mail::ReadBindings();
  if (!bindings) {
    way.events.emplace_back(
        Step{0, "", 0, "", "", "leaves from any address: no map is configured"});
    return way;
  }
  const std::vector<std::string> keys = {address, "@" + domain};
  std::optional<PatternLine> found;
  std::string asked = address;
  for (const std::string& key : keys) {
    if (found) break;
    found = FindPattern(map, key);
    asked = key;
  }
  const MapAnswers answers = AskMap("regexp:" + map, {asked});
  const auto answer = answers.values.find(asked);
  const std::string postfix = answer == answers.values.end() ? "" : answer->second;
  if (!answers.failure.empty()) {
    way.differences.push_back({1, map, 0, "regexp:" + map, "", answers.failure, true});
  } else if (postfix != (found ? found->value : "")) {
    way.differences.push_back(
        {1, map, found ? found->line : 0, asked, found ? found->value : "", postfix});
  }
  if (!found) {
    way.events.emplace_back(Step{0, map, 0, asked, "", "leaves from any address"});
    return way;
  }
  way.events.emplace_back(Step{0, map, found->line, found->pattern, found->value, ""});
  way.events.emplace_back(MasterStep(*bindings, found->value.substr(0, found->value.find(':'))));
  return way;
}

}  // namespace panel::trace
