/// NAME
///   config_parts - the parts of zebmail.toml(5)

#include <string>

#include "packaging/manual/mdoc.h"
#include "packaging/manual/parts.h"
#include "panel/module/config.h"
#include "panel/module/config_names.h"
#include "postfix/path_defaults.h"

namespace manual {
namespace {

/// What a panel of the whole system has.
std::map<std::string, std::string, std::less<>> SystemValues() {
  const panel::Config system;
  return {{"state_dir", system.state_dir},
          {"module_dir", system.module_dir},
          {"database", system.database},
          {"tool_timeout", std::to_string(system.tool_timeout.count())}};
}

std::string Item(std::string_view name, const std::string& text) {
  return ".It Cm " + Word(name) + "\n" + Prose(text);
}

std::string List(const std::string& items) {
  return ".Bl -tag -width Ds\n" + items + ".El\n";
}

std::string Keys() {
  std::string items;
  for (const panel::ConfigKey& key : panel::kConfigKeys) {
    if (key.is_section) continue;
    const std::string value = SystemValues().at(std::string(key.name));
    const std::string more = key.name == "tool_timeout"
                                 ? " Without it " + value + "."
                                 : " The system's own panel has " + value + " here.";
    items += Item(key.name, std::string(key.text) + more);
  }
  return List(items);
}

std::string Sections() {
  std::string items;
  for (const panel::ConfigKey& key : panel::kConfigKeys) {
    if (key.is_section) items += Item("[" + std::string(key.name) + "]", std::string(key.text));
  }
  return List(items);
}

std::string DefaultOf(std::string_view name) {
  for (const auto& one : zebpriv_email_postfix::kPathDefaults) {
    if (one.name == name) return " Without it " + std::string(one.path) + ".";
  }
  return "";
}

template <class Names>
std::string ListOf(const Names& names) {
  std::string items;
  for (const panel::ConfigName& name : names) {
    items += Item(name.name, std::string(name.text) + DefaultOf(name.name));
  }
  return List(items);
}

}  // namespace

Parts ConfigParts() {
  return {{"KEYS", Keys()},
          {"SECTIONS", Sections()},
          {"PARAMETERS", ListOf(panel::kParameters)},
          {"PATHS", ListOf(panel::kPathNames)}};
}

}  // namespace manual
