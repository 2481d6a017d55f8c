/// NAME
///   command_line - how command lines of tools are split, and shown to be typed
///
/// WHAT MUST HOLD
///   A command line splits at blanks and nowhere else, whatever a shell would make of it; joined
///   again, its words are the same. A word that is shown for a shell is that one word to it. In a
///   rehearsal a command is noted and nothing runs.

#include <algorithm>
#include <cstdint>
#include <string>
#include <vector>

#include "fuzz/support/require.h"
#include "host/fen_proc.h"
#include "panel/mail/advice.h"
#include "panel/module/path_names.h"
#include "panel/process/tools.h"
#include "panel/text/words.h"

namespace {

using fuzz::Require;

/// The words that a shell sees in a line of plain characters, quotes and backslashes.
std::vector<std::string> ShellReads(const std::string& line) {
  std::vector<std::string> words;
  bool is_in_word = false;
  bool is_quoted = false;
  for (std::size_t place = 0; place < line.size(); ++place) {
    if (line[place] == ' ' && !is_quoted) {
      is_in_word = false;
      continue;
    }
    if (!is_in_word) words.emplace_back();
    is_in_word = true;
    if (line[place] == '\'') {
      is_quoted = !is_quoted;
    } else if (line[place] == '\\' && !is_quoted) {
      words.back() += line.at(++place);
    } else {
      static const std::string_view kPlain = "/._-@+:,";
      const char byte = line[place];
      const bool is_plain = (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') ||
                            (byte >= 'A' && byte <= 'Z') ||
                            kPlain.find(byte) != std::string_view::npos;
      Require(is_quoted || is_plain, "what a shell would interpret is quoted", {{"line", line}});
      words.back() += byte;
    }
  }
  Require(!is_quoted, "quotes are closed", {{"line", line}});
  return words;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string line(reinterpret_cast<const char*>(data), size);
  const std::vector<std::string> words = panel::SplitWords(line);
  std::string letters = line;
  std::erase(letters, ' ');
  std::string joined;
  for (const std::string& word : words) {
    Require(!word.empty() && word.find(' ') == std::string::npos, "a word has no blanks",
            {{"line", line}, {"word", word}});
    joined += word;
  }
  Require(joined == letters, "nothing but blanks is lost", {{"line", line}});
  Require(panel::SplitWords(panel::JoinWords(words)) == words, "joined words split again",
          {{"line", line}});
  Require(ShellReads(panel::mail::ShellWords(words)) == words, "a shell reads the same words",
          {{"line", panel::mail::ShellWords(words)}});
  Require(ShellReads(panel::mail::ShellWord(line)) == std::vector{line}, "a shell reads one word",
          {{"line", panel::mail::ShellWord(line)}});

  const panel::ToolRehearsal rehearsal;
  const fen_proc::Execute run(line, fen_proc::Execute::kWaitAndCapture);
  Require(run.Result() == 0 && rehearsal.commands() == std::vector{line},
          "a rehearsal notes the command", {{"line", line}});
  return 0;
}
