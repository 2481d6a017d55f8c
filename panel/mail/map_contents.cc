/// NAME
///   map_contents - whether a map says what its text says
///
/// HOW
///   Both may hold millions of entries in different orders, so their number and the sum of their
///   hashes are compared.

#include "panel/mail/map_contents.h"

#include <cstdint>
#include <functional>
#include <string_view>
#include <vector>

#include "host/fen_err.h"
#include "panel/mail/postconf.h"
#include "panel/mail/table_values.h"
#include "panel/mail/text_table.h"
#include "panel/process/tools.h"

namespace panel::mail {
namespace {

struct Contents {
  std::uint64_t entries = 0;
  std::uint64_t hashes = 0;

  bool operator==(const Contents&) const = default;
};

/// postalias writes values in a form of its own, which says the same.
std::string Normal(std::string_view value, Format format) {
  if (format == Format::kPostmap) return std::string(value);
  std::string text;
  for (const std::string& one : ParseValues(value)) text += one + "\n";
  return text;
}

void Add(std::string_view key, std::string_view value, Format format, Contents& contents) {
  ++contents.entries;
  contents.hashes += std::hash<std::string>{}(std::string(key) + "\n" + Normal(value, format));
}

/// What postalias adds for NIS.
bool IsOfTool(std::string_view key) {
  return key == "@" || key.starts_with("YP_");
}

Contents ContentsOfText(const Map& map, Format format) {
  Contents contents;
  TextTable(map.text, format).ForEach([&](const std::string& key, const std::string& value) {
    Add(key, value, format, contents);
  });
  return contents;
}

Contents ContentsOfMap(const Map& map, const std::string& type, Format format) {
  Contents contents;
  std::string rest;
  const auto read = [&](std::string_view output) {
    rest += output;
    std::size_t begin = 0;
    for (std::size_t end = rest.find('\n'); end != std::string::npos;
         end = rest.find('\n', begin)) {
      const std::string_view line = std::string_view(rest).substr(begin, end - begin);
      const std::size_t tab = line.find('\t');
      const std::string_view key = line.substr(0, tab);
      const bool is_entry =
          tab != std::string_view::npos && (format == Format::kPostmap || !IsOfTool(key));
      if (is_entry) Add(key, line.substr(tab + 1), format, contents);
      begin = end + 1;
    }
    rest.erase(0, begin);
  };
  std::vector<std::string> words = PostmapCommand(map.tool);
  words.insert(words.end(), {"-s", type + ":" + map.text.string()});
  const ToolRun run = RunTool(words, "", read);
  if (run.result != 0) throw fen_err::Error("email", "postmap", run.output);
  return contents;
}

}  // namespace

bool IsOfText(const Map& map, const std::string& type) {
  const Format format = map.tool == "postfix-postalias" ? Format::kPostalias : Format::kPostmap;
  return ContentsOfText(map, format) == ContentsOfMap(map, type, format);
}

}  // namespace panel::mail
