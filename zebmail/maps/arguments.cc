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

/// Takes the options of this program, which come first.
class OwnOptions {
 public:
  OwnOptions(const std::vector<std::string>& words, Arguments& arguments)
      : words_(words), arguments_(arguments) {}

  /// Returns how many words they are, with the program's name.
  std::size_t Take() {
    for (; next_ < words_.size(); ++next_) {
      const std::string& word = words_[next_];
      if (word == "--explain") {
        arguments_.explain = true;
      } else if (word == "--whole") {
        arguments_.whole = true;
      } else if (word == "--state") {
        arguments_.state_dir = Value(word);
      } else if (word == "--tool") {
        arguments_.tool = Value(word);
      } else {
        break;
      }
    }
    return next_;
  }

 private:
  const std::string& Value(const std::string& option) {
    const bool is_there = next_ + 1 < words_.size() && words_[next_ + 1].starts_with('/');
    if (!is_there) throw UsageError(option + " takes an absolute path");
    return words_[++next_];
  }

  const std::vector<std::string>& words_;
  Arguments& arguments_;
  std::size_t next_ = 1;
};

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

Arguments ReadArguments(const std::vector<std::string>& words) {
  Arguments arguments;
  if (!words.empty()) arguments.name = words.front();
  arguments.format = FormatOf(arguments.name);
  arguments.tool =
      arguments.format == Format::kPostmap ? "/usr/sbin/postmap" : "/usr/sbin/postalias";
  const std::size_t own = OwnOptions(words, arguments).Take();
  arguments.rest.assign(words.begin() + static_cast<std::ptrdiff_t>(own), words.end());
  arguments.order = ReadOrder(arguments.rest);
  return arguments;
}

}  // namespace zebmail::maps
