/// NAME
///   maps - the indexed maps that Postfix reads in place of the text tables
///
/// PURPOSE
///   Three of the tables are read by Postfix as maps that postmap or postalias builds beside the
///   text. Normally the back-end has them built after each save; here it is seen whether they are
///   there and of the present text, and they are built where no save comes before.

#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace panel::mail {

struct Map {
  std::filesystem::path text;  ///< the table
  std::string tool;            ///< path name of the tool that builds the map
};

/// The maps of the panel in use. The modules must be set up: they set defaults for the paths.
std::vector<Map> Maps();

/// What files of the map type `type` end in, such as ".db"; none for a type that is no file which
/// postmap builds beside the text.
std::optional<std::string> SuffixOf(const std::string& type);

/// The server's default map type. Throws fen_err::Error("email", "postconf", ...) when postconf
/// does not tell, or tells a type that is no file.
std::string MapType();

/// What files of the server's default map type end in. Fails as MapType does.
std::string MapSuffix();

/// Whether the map of `map`, a file ending in `suffix`, is missing or older than its text.
bool IsStale(const Map& map, const std::string& suffix);

/// The commands that build the map: of what has changed where that will do, and wholly.
std::string BuildCommand(const Map& map);
std::string RebuildCommand(const Map& map);

/// Build the map so. Throw fen_err::Error("email", tool, its output) when the tool fails.
void Build(const Map& map);
void Rebuild(const Map& map);

}  // namespace panel::mail
