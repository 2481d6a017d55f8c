/// NAME
///   config_text - writing a configuration file

#include "zebmail/config_text.h"

#include <algorithm>
#include <map>

#include "host/fen_err.h"
#include "panel/text/control_characters.h"

namespace zebmail {
namespace {

std::string Quoted(const std::string& name, const std::string& text) {
  if (panel::HasControlCharacters(text)) {
    throw fen_err::Error("value", name, "\"" + text + "\" holds a control character");
  }
  std::string quoted = "\"";
  for (const char character : text) {
    if (character == '"' || character == '\\') quoted += '\\';
    quoted += character;
  }
  return quoted + "\"";
}

/// A key without quotes where TOML allows that.
std::string Key(const std::string& name) {
  const bool is_bare = !name.empty() && std::all_of(name.begin(), name.end(), [](char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '-' || character == '_';
  });
  return is_bare ? name : Quoted(name, name);
}

std::string Line(const std::string& name, const std::string& value) {
  return Key(name) + " = " + Quoted(name, value) + "\n";
}

std::string Section(const std::string& name, const std::map<std::string, std::string>& values) {
  std::string text = "\n[" + name + "]\n";
  for (const auto& [key, value] : values) text += Line(key, value);
  return text;
}

}  // namespace

std::string ConfigText(const panel::Config& config) {
  return Line("state_dir", config.state_dir) + Line("module_dir", config.module_dir) +
         Line("database", config.database) +
         "tool_timeout = " + std::to_string(config.tool_timeout.count()) + "\n" +
         Section("param", config.param) + Section("path", config.path);
}

}  // namespace zebmail
