/// NAME
///   local_names - the domains whose mail this server takes for itself
///
/// PURPOSE
///   mydestination of main.cf lists names, files of names and maps. One of the files is the panel's
///   local host names file; each of its words is a name.

#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "panel/trace/settings.h"

namespace panel::trace {

class LocalNames {
 public:
  /// Where a name stands.
  struct Place {
    std::string file;  ///< "mydestination" for a name in main.cf itself
    std::size_t line = 0;
    std::string name;  ///< as it stands there
  };

  /// `table` is the path of the panel's file.
  LocalNames(const Settings& settings, const std::string& table);

  /// Nothing for the domain of another server.
  std::optional<Place> Find(const std::string& domain);

  /// Whether Postfix reads the panel's file.
  bool HasTable() const noexcept { return has_table_; }

 private:
  void Add(const std::string& word, const std::string& file, std::size_t line);
  void AddFile(const std::string& path);
  std::optional<Place> Search(const std::string& domain) const;

  std::string table_;
  bool has_table_ = false;
  std::vector<Place> patterns_;
  std::map<std::string, std::optional<Place>> known_;
};

}  // namespace panel::trace
