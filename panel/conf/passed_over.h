/// NAME
///   passed over - lines of a file that walks pass over
///
/// PURPOSE
///   Of several lines with one key a mail server goes by the first. Where records are read in order
///   to learn what the server does, the others must not count; they stay in the file.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

namespace panel::conf {

class PassedOver {
 public:
  /// While it lives, walks of this thread over the file at `path` pass over the lines at these
  /// offsets in the file. Finding a record by its key does not. One lives at a time in a thread.
  PassedOver(std::string path, const std::unordered_set<std::size_t>& offsets);
  ~PassedOver();

  PassedOver(const PassedOver&) = delete;
  PassedOver& operator=(const PassedOver&) = delete;

  /// What walks over the file at `path` pass over now; null when that is nothing.
  static PassedOver* Of(std::string_view path);

  /// Whether the line at `offset` is passed over. Costs next to nothing when asked for one offset
  /// after the other, as a walk does.
  bool Contains(std::size_t offset);

 private:
  std::string path_;
  std::vector<std::size_t> offsets_;  ///< in ascending order
  std::size_t next_ = 0;              ///< the first of them that is not before the one asked for
};

}  // namespace panel::conf
