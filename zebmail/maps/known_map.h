/// NAME
///   known_map - what is known of a map from the run before
///
/// PURPOSE
///   Keeps, in the folder "maps" of the panel's state, a copy of the text from which a map was
///   made, and a record of which map that is:
///
///     KEY.record   the map's name and identity, the circumstances, and what sums up the copy
///     KEY.text     the copy
///
///   KEY is a number that comes of the map's name. A map that anybody has touched since, or a copy
///   that is not whole, is not known: the record then does not say what it would have to say.
///
/// WHO MAY TOUCH IT
///   The folder belongs to the user of this process and nobody else may enter it. As long as an
///   object lives, other runs for the same map wait.
///
/// HOW IT FAILS
///   With FileError, which names the file and what to do.

#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "panel/process/file_handle.h"

namespace zebmail::maps {

class KnownMap {
 public:
  /// `map` names the map; `circumstances` are lines of text that tell what else it depends on.
  /// Waits while another run works on that map.
  KnownMap(const std::filesystem::path& state_dir, const std::string& map,
           const std::string& circumstances);

  /// The text of which the map with this identity was made; nothing when that is not known.
  std::optional<std::string> TextOf(const std::string& identity) const;

  /// To be called before the map is touched: whatever becomes of it, it is not known any more.
  void Forget();

  /// The map with this identity is made of `text`, of which the copy holds the first `same` bytes
  /// already.
  void Keep(const std::string& identity, std::string_view text, std::size_t same);

  /// The open file that stands for the lock.
  int lock() const noexcept { return record_.get(); }

 private:
  std::string circumstances_;
  std::filesystem::path record_path_;
  std::filesystem::path copy_path_;
  panel::FileHandle record_;
  panel::FileHandle copy_;
};

}  // namespace zebmail::maps
