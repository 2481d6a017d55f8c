/// NAME
///   complete - what a command line can go on with, for the shells

#include "zebmail/complete.h"

#include <algorithm>
#include <csignal>
#include <exception>
#include <iostream>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include <unistd.h>

#include "panel/mail/name_search.h"
#include "panel/module/config_names.h"
#include "panel/text/control_characters.h"
#include "zebmail/command_line.h"
#include "zebmail/session.h"
#include "zebmail/typed_line.h"

namespace zebmail {
namespace {

using panel::mail::NameSearch;
using panel::mail::SenderList;
using Words = std::vector<std::string>;

constexpr std::string_view kWord = "__complete";
constexpr unsigned kMostSeconds = 3;

const char* const kFiles = "<files>";
const char* const kFolders = "<folders>";

/// A word to go on with, and what it is.
struct Candidate {
  std::string word;
  std::string text = {};
};
using Candidates = std::vector<Candidate>;

/// Nobody waits for a completion for long: a database server may not answer at all.
extern "C" void GiveUp(int) {
  _exit(kDone);
}

bool IsPlainAscii(char character) {
  static constexpr std::string_view kSigns = "@._-+=:/,%";
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9') || kSigns.find(character) != std::string_view::npos;
}

/// Whether every shell takes the name for one word, and for nothing but its own letters, and
/// zebmail for no option.
bool IsPlain(std::string_view name) {
  if (name.empty() || name.front() == '-' || name.front() == '=') return false;
  while (!name.empty()) {
    const panel::Glyph glyph = panel::TakeGlyph(name);
    const bool is_ascii = glyph.bytes.size() == 1;
    if (glyph.is_hidden || (is_ascii && !IsPlainAscii(glyph.bytes.front()))) return false;
  }
  return true;
}

panel::mail::FoundNames Find(const Invocation& invocation, const TypedLine& line, Choice choice,
                             const std::string& typed) {
  const NameSearch search(ReadConfig(invocation));
  const std::string mailbox = line.arguments.empty() ? "" : line.arguments.front();
  switch (choice) {
    case Choice::kDomain:
      return search.Domains(typed);
    case Choice::kWebDomain:
      return search.WebDomains(typed);
    case Choice::kMailbox:
      return search.Mailboxes(typed);
    case Choice::kAlias:
      return search.AliasesOf(mailbox, typed);
    case Choice::kForward:
      return search.ForwardsOf(mailbox, typed);
    case Choice::kWhiteListed:
      return search.Senders(SenderList::kWhite, typed);
    case Choice::kBlackListed:
      return search.Senders(SenderList::kBlack, typed);
    default:
      return {};
  }
}

/// What is there already cannot be meant once more. Where names are left out, one that goes on like
/// no other keeps the shell from going on to what the rest have in common.
Candidates Names(const Invocation& invocation, const TypedLine& line, Choice choice,
                 const std::string& typed) {
  Candidates candidates;
  const Words& given = line.arguments;
  const panel::mail::FoundNames found = Find(invocation, line, choice, typed);
  for (const std::string& name : found.names) {
    const bool is_given = std::find(given.begin(), given.end(), name) != given.end();
    if (!is_given && IsPlain(name)) candidates.push_back({name});
  }
  if (!found.are_all) candidates.push_back({typed + "…", "there are more; type on"});
  return candidates;
}

/// A new address in one of the domains.
Candidates NewAddresses(const Invocation& invocation, const TypedLine& line,
                        const std::string& typed) {
  const std::size_t domain = typed.rfind('@') + 1;
  if (domain == 0) return {};
  Candidates candidates = Names(invocation, line, Choice::kDomain, typed.substr(domain));
  for (Candidate& candidate : candidates) candidate.word.insert(0, typed, 0, domain);
  return candidates;
}

/// "NAME=" for each name; behind it what `values` are.
template <class List>
Candidates Named(const List& names, const std::string& typed, const Candidates& values) {
  if (typed.find('=') != std::string::npos) return values;
  Candidates candidates;
  for (const auto& known : names) {
    candidates.push_back({std::string(known.name) + "=", std::string(known.text)});
  }
  return candidates;
}

Candidates ValuesOf(const Invocation& invocation, const TypedLine& line, const CLI::Option& option,
                    const std::string& typed) {
  const Value value = ValueOf(invocation.tree, option);
  Candidates candidates;
  switch (value.choice) {
    case Choice::kAnything:
      return {};
    case Choice::kWords:
      for (const std::string& word : value.words) candidates.push_back({word});
      return candidates;
    case Choice::kFile:
      return {{kFiles}};
    case Choice::kFolder:
      return {{kFolders}};
    case Choice::kPathName:
      return Named(panel::kPathNames, typed, {{kFiles}});
    case Choice::kParameter:
      return Named(panel::kParameters, typed, {});
    case Choice::kNewMailbox:
      return NewAddresses(invocation, line, typed);
    case Choice::kDomainOrMailbox:
      candidates = Names(invocation, line, Choice::kDomain, typed);
      for (Candidate& mailbox : Names(invocation, line, Choice::kMailbox, typed)) {
        candidates.push_back(std::move(mailbox));
      }
      return candidates;
    default:
      return Names(invocation, line, value.choice, typed);
  }
}

Candidates Commands(const CLI::App& group) {
  Candidates candidates;
  for (const CLI::App* command : CommandsOf(group)) {
    candidates.push_back({command->get_name(), command->get_description()});
  }
  return candidates;
}

Candidates Options(const TypedLine& line) {
  Candidates candidates;
  for (const CLI::Option* option : OptionsBehind(*line.command)) {
    if (line.given.contains(option) && !IsRepeated(*option)) continue;
    candidates.push_back({NameOf(*option), option->get_description()});
  }
  return candidates;
}

/// The argument that comes next; null when there is none. The last may be many.
const CLI::Option* NextArgument(const TypedLine& line) {
  const std::vector<const CLI::Option*> arguments = ArgumentsOf(*line.command);
  if (line.arguments.size() < arguments.size()) return arguments[line.arguments.size()];
  return arguments.empty() || !IsRepeated(*arguments.back()) ? nullptr : arguments.back();
}

/// The value of "--option=value", as far as it is typed.
Candidates ValuesInOneWord(const Invocation& invocation, const TypedLine& line,
                           const std::string& typed) {
  const std::size_t value = typed.find('=') + 1;
  const CLI::Option* const option = FindOption(*line.command, typed.substr(0, value - 1));
  if (option == nullptr || IsFlag(*option)) return {};
  Candidates candidates = ValuesOf(invocation, line, *option, typed.substr(value));
  for (Candidate& candidate : candidates) {
    if (candidate.word.front() != '<') candidate.word.insert(0, typed, 0, value);
  }
  return candidates;
}

Candidates WordsFor(const Invocation& invocation, const TypedLine& line, const std::string& typed) {
  if (line.is_wrong) return {};
  if (line.pending != nullptr) return ValuesOf(invocation, line, *line.pending, typed);
  if (!line.options_are_over && typed.starts_with('-')) {
    const bool has_value = typed.find('=') != std::string::npos;
    return has_value ? ValuesInOneWord(invocation, line, typed) : Options(line);
  }
  if (!CommandsOf(*line.command).empty()) return Commands(*line.command);
  const CLI::Option* const argument = NextArgument(line);
  return argument == nullptr ? Candidates() : ValuesOf(invocation, line, *argument, typed);
}

std::string AsText(const Candidates& candidates, const std::string& typed) {
  std::string text;
  for (const Candidate& candidate : candidates) {
    const bool is_for_shell = candidate.word == kFiles || candidate.word == kFolders;
    if (!is_for_shell && !candidate.word.starts_with(typed)) continue;
    text += candidate.word + (candidate.text.empty() ? "" : "\t" + candidate.text) + "\n";
  }
  return text;
}

std::string CompletionOf(Words words) {
  const std::string typed = words.empty() ? "" : words.back();
  if (!words.empty()) words.pop_back();
  Invocation invocation;
  CLI::App app;
  BuildCommandLine(app, invocation);
  const TypedLine line = ReadTypedLine(app, words);
  if (line.config) invocation.config = *line.config;
  return AsText(WordsFor(invocation, line, typed), typed);
}

}  // namespace

bool IsCompletion(int argc, char** argv) {
  return argc > 1 && argv[1] == kWord;
}

Status Complete(int argc, char** argv) {
  if (std::signal(SIGALRM, &GiveUp) == SIG_ERR) return kDone;
  alarm(kMostSeconds);
  try {
    std::cout << CompletionOf(Words(argv + 2, argv + argc));
  } catch (const std::exception&) {
    // No panel, no rights, no server: there is nothing to be offered then.
  }
  return kDone;
}

}  // namespace zebmail
