/// NAME
///   postconf - asking Postfix how it is configured

#include "panel/mail/postconf.h"

#include <algorithm>
#include <filesystem>

#include <unistd.h>

#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "panel/process/tools.h"
#include "panel/text/words.h"

namespace panel::mail {
namespace {

/// postconf with the options that postmap is configured with, so that it reads the same main.cf. It
/// stands beside postmap, unless another tool was configured in its place.
std::vector<std::string> PostconfCommand() {
  std::vector<std::string> words = SplitWords(fen_cf::GetPath("postfix-postmap"));
  if (words.empty()) words.emplace_back();
  std::filesystem::path postconf = words.front();
  postconf.replace_filename("postconf");
  if (access(postconf.c_str(), X_OK) != 0) postconf = "/usr/sbin/postconf";
  words.front() = postconf.string();
  return words;
}

}  // namespace

std::string PostconfValue(const std::string& name) {
  std::vector<std::string> words = PostconfCommand();
  words.insert(words.end(), {"-xh", name});
  ToolRun run = RunTool(words, "");
  run.output.erase(run.output.find_last_not_of(" \r\n") + 1);
  if (run.result != 0) {
    throw fen_err::Error("email", "postconf",
                         run.output +
                             "\nit was run with the options of postfix-postmap: give those "
                             "that Postfix needs there (-c DIR) under [path]");
  }
  return run.output.substr(run.output.rfind('\n') + 1);  // warnings come before it
}

}  // namespace panel::mail
