/// NAME
///   config_file - any text as the panel's configuration file
///
/// WHAT MUST HOLD
///   What is taken is whole: absolute folders and paths, a timeout within its bounds, no control
///   character in any value. What is not is refused as an error of the configuration that names the
///   file and says why. It may name a key with control characters: who prints an error escapes
///   them.

#include <chrono>
#include <cstdint>
#include <map>
#include <string>

#include "fuzz/support/memory_file.h"
#include "fuzz/support/require.h"
#include "host/fen_err.h"
#include "panel/module/config.h"
#include "panel/text/control_characters.h"

namespace {

using fuzz::Require;

void CheckText(const std::string& value) {
  Require(!panel::HasControlCharacters(value), "a value has no control characters",
          {{"value", value}});
}

void CheckConfig(const panel::Config& config) {
  Require(config.state_dir.is_absolute() && config.module_dir.is_absolute(),
          "folders are absolute");
  Require(!config.database.empty(), "there is a database");
  using std::chrono_literals::operator""h;
  using std::chrono_literals::operator""s;
  Require(config.tool_timeout >= 1s && config.tool_timeout <= 24h, "a tool has some time");
  CheckText(config.state_dir);
  CheckText(config.module_dir);
  CheckText(config.database);
  for (const auto& [name, value] : config.param) CheckText(value);
  for (const auto& [name, value] : config.path) {
    CheckText(value);
    Require(value.starts_with('/'), "a path is absolute", {{"name", name}, {"value", value}});
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const fuzz::MemoryFile file;
  file.Write({reinterpret_cast<const char*>(data), size});
  try {
    CheckConfig(panel::ReadConfig(file.path()));
  } catch (const fen_err::Error& error) {
    Require(error.type() == "config" && error.object().starts_with(file.path()),
            "an error is one of the configuration", {{"error", error.what()}});
    Require(!error.value().empty(), "an error says why", {{"error", error.what()}});
  }
  return 0;
}
