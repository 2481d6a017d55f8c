/// NAME
///   wiring_parts - recognising the panel's tables in the values of main.cf
///
/// WHAT COUNTS AS THE PANEL'S TABLE
///   One file can be named in several ways. An element names a table of the panel when it names the
///   same file, by whatever path, and reads it by a type of map that is built of it: the server's
///   default type, which the panel's tools build, or another one whose map lies beside the text.
///   "proxy:" before it makes no difference.

#pragma once

#include <optional>
#include <string>
#include <utility>

#include "panel/mail/map_lookup.h"

namespace panel::mail {

/// The panel's files, as main.cf is to name them.
struct WiringParts {
  std::string default_type;  ///< type of the maps that are built
  std::string virtusertable;
  std::string aliases;
  std::string access;
  std::string local_host_names;
  std::string domain_ips;   ///< empty when it is not configured
  std::string client_rule;  ///< the file whose rule makes "connect:ADDRESS" of an address

  /// The element for a table.
  std::string MapOf(const std::string& table) const { return default_type + ":" + table; }

  /// The element for the access table as clients are looked up in it.
  std::string ClientMap() const;

  /// Whether the element is a map of the table.
  bool IsMapOf(const std::string& element, const std::string& table) const;

  /// Whether the element is the file of patterns.
  bool IsPatternMapOf(const std::string& element, const std::string& file) const;
};

/// The parts of the panel in use. Throws fen_err::Error("path", its name, ...) for a path that
/// cannot stand in main.cf, and "email" when postconf does not tell the type of the maps.
WiringParts FindWiringParts();

/// Whether both paths lead to one file; neither need exist.
bool IsSameFile(const std::string& one, const std::string& other);

/// The two maps of a "pipemap:{FIRST,SECOND}"; none for another element.
std::optional<std::pair<std::string, std::string>> ParsePipe(const std::string& element);

/// What is wrong with the map `map` for turning a client address A into "connect:A"; empty when it
/// does.
std::string FaultOfClientRule(const std::string& map);

/// The text of the file `client_rule`.
extern const char* const kClientRule;

}  // namespace panel::mail
