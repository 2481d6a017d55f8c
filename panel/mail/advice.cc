/// NAME
///   advice - what an administrator can do about work that is outstanding

#include "panel/mail/advice.h"

#include <cstdlib>
#include <memory>

#include <cxxabi.h>

#include "host/str.h"
#include "panel/mail/maps.h"
#include "panel/mail/postfix_command.h"
#include "panel/module/config.h"

namespace panel::mail {
namespace {

/// Tables are registered under the compiler's name of their class.
std::string ReadableName(const std::string& table) {
  int status = 0;
  const std::unique_ptr<char, void (*)(void*)> name(
      abi::__cxa_demangle(table.c_str(), nullptr, nullptr, &status), std::free);
  return name ? name.get() : table;
}

/// While the modules are not set up, a file may be known by its table alone.
std::string OutstandingTool(const conf::PendingWork& work) {
  if (IsReload(work)) return PostfixCommand("reload");
  for (const Map& map : Maps()) {
    if (map.text == work.path) return BuildCommand(map);
  }
  return "the tool of " + ReadableName(work.table);
}

}  // namespace

std::string ShellWord(const std::string& word) {
  static const char* const kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._-@+:,";
  if (!word.empty() && word.find_first_not_of(kPlain) == std::string::npos) return word;
  return "'" + str::Replace(word, "'", "'\\''") + "'";
}

std::string ShellWords(const std::vector<std::string>& words) {
  std::string line;
  for (const std::string& word : words) line += (line.empty() ? "" : " ") + ShellWord(word);
  return line;
}

std::string Command(const std::string& words) {
  return "zebmail --config " + ShellWord(CurrentConfig().file) + " " + words;
}

std::string ConfigureAdvice(const std::string& name) {
  return "set " + name + " under [path] in " + CurrentConfig().file.string();
}

std::string FixCommand() {
  return Command("check --fix");
}

std::string DescribeOutstandingTool(const conf::PendingWork& work) {
  return "was saved, but " + OutstandingTool(work) + " has not succeeded since";
}

std::string DescribePendingWork() {
  std::string lines;
  for (const conf::PendingWork& work : conf::ListPendingWork()) {
    lines += "outstanding: " + work.path + " " + DescribeOutstandingTool(work) + "\n";
  }
  return lines;
}

}  // namespace panel::mail
