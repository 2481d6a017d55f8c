/// NAME
///   bindings - which lines of Postfix's files say from which address mail leaves
///
/// PURPOSE
///   The back-end gives a bound domain a service of its own in master.cf: "smtp_" and the domain
///   with "_" for each ".", a tab, and a definition with the address at its end; and a line in the
///   domain-to-IP map that leads the domain's senders to that service. It changes one line at a
///   time and looks for the lines by their keys, so what somebody else has made of them is looked
///   at here.

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace panel::mail {

struct Service {
  std::size_t line;
  std::string name;

  /// The address in the definition, which may be empty; none when the line is not of the form in
  /// which the back-end writes its lines, so that it is somebody else's.
  std::optional<std::string> address;

  bool is_continued = false;  ///< options for Postfix stand in the lines below
};

struct SenderPattern {
  std::size_t line;
  std::string pattern;
  std::string service;  ///< without the host that may stand behind it
  bool is_continued = false;
};

struct Bindings {
  std::string master;  ///< path of master.cf
  std::string map;     ///< path of the domain-to-IP map
  std::vector<Service> services;
  std::vector<SenderPattern> patterns;

  /// The first service with this name; null when there is none.
  const Service* FindService(const std::string& name) const;

  /// The first line of the map with this pattern; null when there is none.
  const SenderPattern* FindPattern(const std::string& pattern) const;

  /// Whether a further line has this name or pattern.
  bool HasAnother(const Service& service) const;
  bool HasAnother(const SenderPattern& pattern) const;

  std::string InMaster(std::size_t line) const { return master + ":" + std::to_string(line); }
  std::string InMap(std::size_t line) const { return map + ":" + std::to_string(line); }
};

/// Reads both files; none when one of them is not configured.
std::optional<Bindings> ReadBindings();

/// What the names of all those services begin with.
inline constexpr char kServiceBegin[] = "smtp_";

/// The name of the service of a domain, and the pattern that leads to it.
std::string ServiceOf(const std::string& domain);
std::string PatternOf(const std::string& domain);

}  // namespace panel::mail
