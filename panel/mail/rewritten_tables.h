/// NAME
///   rewritten_tables - what would be otherwise in the tables had the panel written them anew
///
/// PURPOSE
///   The back-end alone knows what its lines are to be like. So it is had write what the tables are
///   thought to say already; what is on disk is compared with the outcome, and the outcome is
///   forgotten. Lines are compared by their keys: the back-end takes some out and puts them in
///   again at the end, which says the same. So does a line with a comment behind it.

#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>

namespace panel::mail {

/// A line that would be otherwise.
struct OtherLine {
  std::string path;
  std::string key;
  std::size_t line = 0;  ///< where the file has the key; 0 when it does not
};

class RewrittenTables {
 public:
  /// Compares, and has the operation in progress forget all that it has changed.
  RewrittenTables();

  /// The line with this key in the file at `path`, if that is another now.
  std::optional<OtherLine> Find(const std::string& path, const std::string& key) const;

  /// Any line that is another now, but for the entries that the back-end itself keeps: a rehearsal
  /// may have added these before.
  std::optional<OtherLine> FindAny() const;

 private:
  std::map<std::string, std::map<std::string, std::size_t>> others_;  ///< by path and key
};

}  // namespace panel::mail
