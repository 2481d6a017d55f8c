/// NAME
///   map_lookup - what Postfix finds in its maps
///
/// HOW IT FAILS
///   With fen_err::Error("email", "postmap", its output) when the map cannot be opened.

#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace panel::mail {

/// A map as a type and a name, "proxy:" left out; none for an element of a list that is no map.
struct MapName {
  std::string type;
  std::string name;
};
std::optional<MapName> ParseMap(const std::string& element);

/// What a map answers, by key; keys that it does not have are left out.
using Answers = std::map<std::string, std::string>;

/// What the map `map`, such as "hash:/etc/aliases", answers to `keys`.
Answers LookUp(const std::string& map, const std::vector<std::string>& keys);

/// What Postfix says of a line of a map that is read as text (regexp, pcre).
struct Complaint {
  std::size_t line;
  std::string text;  ///< "ignoring unrecognized request"
};

/// All that it says of such a map.
std::vector<Complaint> ComplaintsOf(const MapName& map);

/// LookUp, or what a caller does around it.
using LookUpFunction =
    std::function<Answers(const std::string& map, const std::vector<std::string>& keys)>;

}  // namespace panel::mail
