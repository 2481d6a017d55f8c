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

namespace panel::conf {

class PassedOver {
 public:
  /// While it lives, walks of this thread over the file at `path` pass over the lines at these
  /// offsets in the file. Finding a record by its key does not. One lives at a time in a thread.
  PassedOver(std::string path, std::unordered_set<std::size_t> offsets);
  ~PassedOver();

  PassedOver(const PassedOver&) = delete;
  PassedOver& operator=(const PassedOver&) = delete;

  /// The offsets that walks over the file at `path` pass over now; null when there are none.
  static const std::unordered_set<std::size_t>* Of(std::string_view path);

 private:
  std::string path_;
  std::unordered_set<std::size_t> offsets_;
};

}  // namespace panel::conf
