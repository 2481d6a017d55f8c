/// NAME
///   postfix_settings - what Postfix's configuration says about maps

#include "zebmail/maps/postfix_settings.h"

#include <filesystem>
#include <sstream>
#include <string_view>
#include <vector>

#include <unistd.h>

#include "zebmail/maps/tool.h"

namespace zebmail::maps {
namespace {

/// Without what postconf writes about a parameter that it does not know, say.
std::vector<std::string> ValueLines(const std::string& output, const std::string& postconf) {
  std::vector<std::string> values;
  std::istringstream lines(output);
  for (std::string line; std::getline(lines, line);) {
    if (!line.starts_with(postconf + ": warning: ")) values.push_back(line);
  }
  return values;
}

}  // namespace

std::optional<PostfixSettings> AskPostfix(const Arguments& arguments) {
  std::filesystem::path postconf = arguments.tool;
  postconf.replace_filename("postconf");
  if (access(postconf.c_str(), X_OK) != 0) postconf = "/usr/sbin/postconf";
  Words words = {postconf};
  if (!arguments.order->config_dir.empty()) {
    words.insert(words.end(), {"-c", arguments.order->config_dir});
  }
  words.insert(words.end(), {"-xh", "default_database_type", "smtputf8_enable", "mail_version"});

  std::string output;
  const int status = RunTool(words, "", {}, [&output](std::string_view text) { output += text; });
  const std::vector<std::string> values = ValueLines(output, postconf);
  if (status != 0 || values.size() != 3) return std::nullopt;
  return PostfixSettings{values[0],
                         "smtputf8_enable: " + values[1] + "\nmail_version: " + values[2] + "\n"};
}

}  // namespace zebmail::maps
