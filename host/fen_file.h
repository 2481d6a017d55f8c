/// NAME
///   fen_file - where files are looked for

#pragma once

#include <string>
#include <utility>

namespace fen_file::safe {

/// The folder that a relative path starts from. The empty folder, the only one that table files
/// need, leaves every path as it is.
class Folder {
 public:
  Folder() = default;
  explicit Folder(std::string path) : path_(std::move(path)) {}

  /// `path` itself when it is absolute or the folder is empty, else `path` below the folder.
  std::string Resolve(const std::string& path) const {
    return path_.empty() || path.starts_with('/') ? path : path_ + "/" + path;
  }

 private:
  std::string path_;
};

}  // namespace fen_file::safe
