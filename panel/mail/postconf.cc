/// NAME
///   postconf - asking Postfix how it is configured

#include "panel/mail/postconf.h"

#include <filesystem>
#include <sstream>

#include <unistd.h>

#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "panel/conf/disk_file.h"
#include "panel/mail/map_tool.h"
#include "panel/mail/names.h"
#include "panel/process/tools.h"
#include "panel/text/words.h"

namespace panel::mail {
namespace {

/// `output` without the lines that the tool has written about what it does not like in main.cf, an
/// unused parameter say.
std::string WithoutWarnings(const std::string& output, const std::string& tool) {
  std::istringstream lines(output);
  std::string text;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(tool + ": warning: ")) continue;
    text += (text.empty() ? "" : "\n") + line;
  }
  return text;
}

}  // namespace

/// Another tool may be configured in the place of postmap.
std::vector<std::string> PostconfCommand(const std::string& tool) {
  std::vector<std::string> words = BehindMapTool(SplitWords(fen_cf::GetPath(tool)));
  if (words.empty()) words.emplace_back();
  std::filesystem::path postconf = words.front();
  postconf.replace_filename("postconf");
  if (access(postconf.c_str(), X_OK) != 0) postconf = "/usr/sbin/postconf";
  words.front() = postconf.string();
  return words;
}

std::vector<std::string> PostmapCommand(const std::string& tool) {
  std::vector<std::string> words = PostconfCommand(tool);
  words.front() = std::filesystem::path(words.front()).replace_filename("postmap").string();
  return words;
}

std::string RunPostconf(const std::vector<std::string>& options) {
  std::vector<std::string> words = PostconfCommand();
  words.insert(words.end(), options.begin(), options.end());
  ToolRun run = RunTool(words, "");
  run.output.erase(run.output.find_last_not_of(" \r\n") + 1);
  if (run.result != 0) {
    throw fen_err::Error("email", "postconf",
                         WithoutWarnings(run.output, words.front()) +
                             "\nit was run with the options of postfix-postmap: give those "
                             "that Postfix needs there (-c DIR) under [path]");
  }
  return WithoutWarnings(run.output, words.front());
}

std::string PostconfValue(const std::string& name) {
  return RunPostconf({"-xh", name});
}

std::string HostName(const std::string& name) {
  std::string value = PostconfValue(name);
  if (value.starts_with('/')) value = conf::ReadWholeFile(value).bytes;
  return LowerCase(value.substr(0, value.find_first_of(" \t\r\n")));
}

}  // namespace panel::mail
