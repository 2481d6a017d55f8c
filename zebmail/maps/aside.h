/// NAME
///   aside - building a map under another name
///
/// PURPOSE
///   Postfix's programs write some types of maps in place: who asks such a map meanwhile waits, and
///   a build that is killed leaves one that lacks most of its entries. So the map is built of a
///   copy of the text, in a folder beside it, and then changes places with the old one. Postfix
///   notices that its file is gone and opens the new one. It also makes certain of which text the
///   map is, whoever writes to the text meanwhile.
///
/// WHO WAITS
///   Only one run at a time has the folder, whatever it knows of the map and wherever it keeps
///   that: the others wait for it. A run that only changes entries takes it as well.
///
/// WHAT STAYS
///   `.NAME.zebmail-map` beside the text, when this program is killed; the next run removes it.
///
/// HOW IT FAILS
///   With FileError; the old map is in its place.

#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include <sys/stat.h>

#include "panel/process/file_handle.h"

namespace zebmail::maps {

class Aside {
 public:
  /// Takes the folder beside the text at `path`, which has no obstacle. What somebody else has put
  /// there is left alone.
  Aside(const std::filesystem::path& path, const std::string& suffix);

  /// Removes the folder, with what a run that was killed may have left in it.
  ~Aside();

  Aside(const Aside&) = delete;
  Aside& operator=(const Aside&) = delete;

  /// Why a map of this text has to be built in place; empty when it can be built aside.
  static std::string FindObstacle(const std::filesystem::path& path, const std::string& suffix);

  /// The open file that stands for the lock.
  int lock() const noexcept { return lock_.get(); }

  /// Puts a copy of the text there, with the owner and mode of `original`, and returns its path.
  std::filesystem::path WriteText(std::string_view text, const struct stat& original) const;

  /// `output` with the names of the text and its map in the place of those here.
  std::string WithRealNames(std::string output) const;

  /// Gives the map that was built the owner and the mode of the old one, marks it and puts it on
  /// the disk. Returns what MarkMap does.
  std::optional<struct stat> Finish() const;

  /// Puts the map in its place.
  void MoveMap() const;

 private:
  void Take();
  void Clear() const;

  std::filesystem::path text_;
  std::filesystem::path map_;
  std::filesystem::path folder_;
  std::filesystem::path text_here_;
  std::filesystem::path map_here_;
  panel::FileHandle lock_;
};

}  // namespace zebmail::maps
