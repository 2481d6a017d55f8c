/// NAME
///   narrowed walk - walking over the lines that hold a word, and over no others
///
/// PURPOSE
///   A plug-in that looks for all records with a value walks over every record of the file. Where
///   the panel asks for such an operation many times, it knows the value as well: it says so, and
///   the walks of the operation then pass over all lines that do not hold the value as a word. What
///   the operation finds is the same, since the records that it looks for are in the others.
///
/// WHAT IS A WORD
///   What stands between blanks, commas, "#" and the ends of the line.
///
/// WHAT IT ASKS OF THE OPERATION
///   That it looks at nothing but records with the value, and neither adds such a record nor
///   changes one to have it while it walks. Taking records out is what it may do.

#pragma once

#include <string>
#include <string_view>

namespace panel::conf {

class NarrowedWalk {
 public:
  /// While it lives, walks of this thread over the file at `path` are narrowed to `word`. One lives
  /// at a time in a thread.
  NarrowedWalk(std::string path, std::string word);
  ~NarrowedWalk();

  NarrowedWalk(const NarrowedWalk&) = delete;
  NarrowedWalk& operator=(const NarrowedWalk&) = delete;

  /// The word to which walks over the file at `path` are narrowed now; null when they are not.
  static const std::string* WordFor(std::string_view path);

 private:
  std::string path_;
  std::string word_;
};

}  // namespace panel::conf
