/// NAME
///   memory_file - a file that lies nowhere but in memory, for what reads files only

#pragma once

#include <string>
#include <string_view>

#include "panel/process/file_handle.h"

namespace fuzz {

class MemoryFile {
 public:
  MemoryFile();

  int handle() const { return file_.get(); }

  /// By which it can be opened.
  std::string path() const;

  /// Makes `text` all that the file holds, to be read from its beginning.
  void Write(std::string_view text) const;

 private:
  panel::FileHandle file_;
};

}  // namespace fuzz
