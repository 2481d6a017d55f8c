/// NAME
///   arguments - what the program is asked to do

#include "zebmail/maps/arguments.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <string_view>

namespace zebmail::maps {
namespace {

Format FormatOf(const std::string& program) {
  if (program.ends_with("postmap")) return Format::kPostmap;
  if (program.ends_with("postalias")) return Format::kPostalias;
  throw UsageError("\"" + program +
                   "\" is none of its names: call it zebmail-postmap or "
                   "zebmail-postalias");
}

const OwnOption* FindOwnOption(const std::string& name) {
  const auto* const found =
      std::find_if(kOwnOptions.begin(), kOwnOptions.end(),
                   [&name](const OwnOption& option) { return option.name == name; });
  return found == kOwnOptions.end() ? nullptr : found;
}

/// Takes the options of this program, which come first; returns how many words they are, with the
/// program's name.
std::size_t TakeOwnOptions(const std::vector<std::string>& words, Arguments& arguments) {
  std::size_t next = 1;
  for (; next < words.size(); ++next) {
    const OwnOption* const option = FindOwnOption(words[next]);
    if (option == nullptr) break;
    if (option->flag != nullptr) {
      arguments.*option->flag = true;
      continue;
    }
    ++next;
    if (next >= words.size() || !words[next].starts_with('/')) {
      throw UsageError(std::string(option->name) + " takes an absolute path");
    }
    arguments.*option->place = words[next];
  }
  return next;
}

/// A path that can stand in a record by itself and in the name of a map.
bool IsPlain(std::string_view path) {
  return !path.empty() && path.find(':') == std::string_view::npos &&
         std::none_of(path.begin(), path.end(),
                      [](char byte) { return static_cast<unsigned char>(byte) < ' '; });
}

/// Only what the panel asks for is understood: "[-c DIR] [TYPE:]FILE".
std::optional<Order> ReadOrder(std::vector<std::string> words) {
  Order order;
  if (words.size() == 3 && words[0] == "-c") {
    order.config_dir = words[1];
    words.erase(words.begin(), words.begin() + 2);
  }
  if (words.size() != 1 || words[0].starts_with('-')) return std::nullopt;
  const std::string& map = words[0];
  const std::size_t colon = map.find(':');
  if (colon != std::string::npos) order.type = map.substr(0, colon);
  const std::string text = colon == std::string::npos ? map : map.substr(colon + 1);
  if (colon == 0 || !IsPlain(text)) return std::nullopt;
  order.text = text;
  return order;
}

}  // namespace

std::string HelpOf(const std::string& program) {
  constexpr std::size_t kTextColumn = 20;
  std::string text =
      "Usage: " + program + " [OPTION]... [-c DIR] [TYPE:]FILE\n       " + program +
      " [OPTION]... WHATEVER-" + (program.ends_with("postmap") ? "POSTMAP" : "POSTALIAS") +
      "-TAKES\n\n"
      "Brings the map of FILE in step with it: changes the entries that have changed,\n"
      "or builds the whole map where that is not certain to give the same one. All\n"
      "else is left to Postfix's own program.\n\nOptions:\n";
  for (const OwnOption& option : kOwnOptions) {
    std::string line = "  " + std::string(option.name);
    if (!option.value.empty()) line.append(" ").append(option.value);
    line.resize(std::max(line.size() + 1, kTextColumn), ' ');
    text += line.append(option.text) + "\n";
  }
  return text;
}

Arguments ReadArguments(const std::vector<std::string>& words) {
  Arguments arguments;
  if (!words.empty()) arguments.name = words.front();
  arguments.format = FormatOf(arguments.name);
  arguments.tool =
      arguments.format == Format::kPostmap ? "/usr/sbin/postmap" : "/usr/sbin/postalias";
  const std::size_t own = TakeOwnOptions(words, arguments);
  arguments.rest.assign(words.begin() + static_cast<std::ptrdiff_t>(own), words.end());
  arguments.order = ReadOrder(arguments.rest);
  return arguments;
}

}  // namespace zebmail::maps
