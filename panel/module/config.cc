/// NAME
///   config - reading the configuration file

#include "panel/module/config.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <optional>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <toml++/toml.h>
#include <unistd.h>

#include "host/fen_err.h"
#include "panel/module/config_names.h"
#include "panel/process/file_handle.h"
#include "panel/process/trust.h"
#include "panel/text/control_characters.h"

namespace panel {
namespace {

constexpr std::int64_t kLongestToolTimeout = std::int64_t{24} * 60 * 60;

/// The file names the programs that are run, as root mostly.
void RequireTrust(const std::filesystem::path& file, const FileHandle& handle) {
  struct stat status {};
  if (fstat(handle.get(), &status) != 0 || S_ISFIFO(status.st_mode)) {
    throw fen_err::Error("config", file.string(), "is a pipe, which nobody may ever write to");
  }
  const std::string fault = FindFaultInTrust(std::filesystem::absolute(file));
  if (fault.empty()) return;
  throw fen_err::Error("config", file.string(),
                       "is not used, because who can write it names the programs that zebmail "
                       "runs: " +
                           fault);
}

std::string ReadFile(const std::filesystem::path& file) {
  const auto fail = [&file] {
    throw fen_err::Error(
        "config", file.string(),
        "cannot be read (" + std::generic_category().message(errno) +
            "): run `zebmail init` to make one, or name another one with --config");
  };
  const FileHandle handle(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!handle) fail();
  RequireTrust(file, handle);
  std::string text;
  std::array<char, 4096> part{};
  for (;;) {
    const ssize_t count = read(handle.get(), part.data(), part.size());
    if (count == 0) return text;
    if (count > 0) {
      text.append(part.data(), static_cast<std::size_t>(count));
    } else if (errno != EINTR) {
      fail();
    }
  }
}

/// Takes the values out of the parsed file, checking each.
class Reader {
 public:
  explicit Reader(const std::filesystem::path& file) : file_(file) {}

  Config Read(const toml::table& document) const {
    CheckKeys(document);
    Config config;
    config.file = std::filesystem::absolute(file_);
    config.state_dir = Folder(document, "state_dir");
    config.module_dir = Folder(document, "module_dir");
    config.database = Text("database", Required(document, "database"));
    if (const toml::node* node = document.get("tool_timeout")) config.tool_timeout = Timeout(*node);
    config.param = Names(document, "param");
    config.path = Names(document, "path");
    CheckPaths(document, config.path);
    return config;
  }

  [[noreturn]] void Fail(const toml::source_region& place, const std::string& what) const {
    throw fen_err::Error("config", file_.string() + ":" + std::to_string(place.begin.line), what);
  }

 private:
  void CheckKeys(const toml::table& document) const {
    for (const auto& [key, node] : document) {
      const bool is_known =
          std::any_of(kConfigKeys.begin(), kConfigKeys.end(),
                      [name = key.str()](const ConfigKey& known) { return known.name == name; });
      if (is_known) continue;
      Fail(key.source(),
           "the key " + Quoted(key.str()) + " is not known; there are " + KnownKeys());
    }
  }

  static std::string KnownKeys() {
    std::string names;
    for (const ConfigKey& key : kConfigKeys) {
      if (!names.empty()) names += &key == &kConfigKeys.back() ? " and " : ", ";
      const std::string name(key.name);
      names += key.is_section ? "[" + name + "]" : name;
    }
    return names;
  }

  const toml::node& Required(const toml::table& document, std::string_view key) const {
    const toml::node* node = document.get(key);
    if (node == nullptr) {
      throw fen_err::Error("config", file_.string(), "the key " + Quoted(key) + " is missing");
    }
    return *node;
  }

  std::filesystem::path Folder(const toml::table& document, std::string_view key) const {
    const toml::node& node = Required(document, key);
    std::filesystem::path folder = Text(key, node);
    if (!folder.is_absolute()) {
      Fail(node.source(), "the value of " + Quoted(key) + " must be an absolute path");
    }
    return folder;
  }

  /// The values of the section `key`; none when the file has no such section.
  std::map<std::string, std::string> Names(const toml::table& document,
                                           std::string_view key) const {
    std::map<std::string, std::string> names;
    const toml::node* node = document.get(key);
    if (node == nullptr) return names;
    const toml::table* section = node->as_table();
    if (section == nullptr) Fail(node->source(), Quoted(key) + " must be a section of names");
    for (const auto& [name, value] : *section) names.emplace(name.str(), String(name, value));
    return names;
  }

  /// Tools run in another folder than their caller, so a relative path would name two files.
  void CheckPaths(const toml::table& document,
                  const std::map<std::string, std::string>& paths) const {
    for (const auto& [name, path] : paths) {
      if (path.starts_with('/')) continue;
      Fail(document["path"][name].node()->source(),
           "the path " + Quoted(name) + " must be an absolute path");
    }
  }

  std::chrono::seconds Timeout(const toml::node& node) const {
    const std::optional<std::int64_t> seconds = node.value_exact<std::int64_t>();
    if (!seconds || *seconds < 1 || *seconds > kLongestToolTimeout) {
      Fail(node.source(), "the value of \"tool_timeout\" must be a number of seconds from 1 to " +
                              std::to_string(kLongestToolTimeout));
    }
    return std::chrono::seconds(*seconds);
  }

  std::string Text(std::string_view key, const toml::node& node) const {
    std::string text = String(key, node);
    if (text.empty()) Fail(node.source(), "the value of " + Quoted(key) + " is empty");
    return text;
  }

  std::string String(std::string_view key, const toml::node& node) const {
    std::optional<std::string> text = node.value_exact<std::string>();
    if (!text) Fail(node.source(), "the value of " + Quoted(key) + " must be a text in quotes");
    if (HasControlCharacters(*text)) {
      Fail(node.source(), "the value of " + Quoted(key) + " holds a control character");
    }
    return *text;
  }

  static std::string Quoted(std::string_view key) { return '"' + std::string(key) + '"'; }

  const std::filesystem::path& file_;
};

}  // namespace

Config ReadConfig(const std::filesystem::path& file) {
  const std::string text = ReadFile(file);
  const Reader reader(file);
  try {
    return reader.Read(toml::parse(text));
  } catch (const toml::parse_error& error) {
    reader.Fail(error.source(), std::string(error.description()));
  }
}

}  // namespace panel
