/// NAME
///   passed over - lines of a file that walks pass over
///
/// PURPOSE
///   Of several lines with one key a mail server goes by the first. Where records are read in order
///   to learn what the server does, the others must not count; they stay in the file.

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

#include "panel/conf/disk_file.h"

namespace panel::conf {

/// Some lines of a file, by their offsets in it, and the stamp of the file in which they were
/// found.
struct FoundLines {
  std::optional<FileStamp> stamp;
  std::unordered_set<std::size_t> offsets;
};

class PassedOver {
 public:
  /// While it lives, walks of this thread over the file at `path` pass over these lines. Finding a
  /// record by its key does not. One lives at a time in a thread.
  PassedOver(std::string path, const FoundLines& lines);
  ~PassedOver();

  PassedOver(const PassedOver&) = delete;
  PassedOver& operator=(const PassedOver&) = delete;

  /// What walks over the file at `path` pass over now; null when that is nothing. `stamp` is that
  /// of the text that is walked over. Throws fen_err::Error("changed", path, "") when the lines
  /// were found in another: somebody has changed the file in between, and the offsets mean nothing
  /// in it.
  static PassedOver* Of(const std::string& path, const std::optional<FileStamp>& stamp);

  /// Whether the line at `offset` is passed over. Costs next to nothing when asked for one offset
  /// after the other, as a walk does.
  bool Contains(std::size_t offset);

 private:
  std::string path_;
  std::optional<FileStamp> stamp_;
  std::vector<std::size_t> offsets_;  ///< in ascending order
  std::size_t next_ = 0;              ///< the first of them that is not before the one asked for
};

}  // namespace panel::conf
