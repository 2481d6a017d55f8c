/// NAME
///   disk file - reading a table file and replacing it as a whole
///
/// PURPOSE
///   A table file is read by a mail server at any moment and edited by other people. Reading gives
///   its bytes together with a stamp of what was read. Replacing puts a new text in its place so
///   that the path always holds the whole old or the whole new text, with the old one's mode, owner
///   and extended attributes, and only when the file still is the one that was read.
///
/// HOW IT FAILS
///   With fen_err::Error("file", path, what is in the way), the old text being intact, and with
///   fen_err::Error("changed", path, "") when somebody else changed the file since it was read.

#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include <sys/stat.h>

#include "panel/process/file_handle.h"

namespace panel::conf {

/// What tells one state of a file from another.
struct FileStamp {
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  timespec modified{};
  timespec changed{};

  bool operator==(const FileStamp& other) const;
};

/// A file's bytes and stamp; no stamp for a file that does not exist.
struct FileContents {
  std::string bytes;
  std::optional<FileStamp> stamp;
};

/// Reads the file at `path`. A missing file reads as an empty one.
FileContents ReadWholeFile(const std::string& path);

/// The stamp of the file at `path`; none when it does not exist.
std::optional<FileStamp> StampOf(const std::string& path);

using PieceWriter = std::function<void(std::string_view)>;

/// The modes of new files: tables are for Postfix to read, notes are for the panel alone.
constexpr mode_t kPublicFile = 0644;
constexpr mode_t kPrivateFile = 0600;

/// What has to be known to take a replacement back, by another process too.
struct Replaced {
  std::string target;   ///< the path of the file itself, behind any symbolic links
  FileStamp written;    ///< of the new file; when it was put in place is not in it
  bool is_new = false;  ///< there was none before
};

/// A new text of a file, written and synchronised beside it, and not in its place yet. With its
/// owner it goes again, unless it has been put in place.
class Replacement {
 public:
  /// As ReplaceFile, which it is the first part of.
  Replacement(std::string path, const std::optional<FileStamp>& expected,
              const std::function<void(const PieceWriter&)>& produce, mode_t mode = kPublicFile);
  ~Replacement();

  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;

  const Replaced& replaced() const noexcept { return replaced_; }

  /// Puts the new text in its place and the old file beside it, until TakeBack or DropOld. Returns
  /// the stamp of the new file.
  FileStamp PutInPlace();

 private:
  std::string path_;
  std::optional<FileStamp> expected_;
  Replaced replaced_;
  FileHandle file_;
  bool is_in_place_ = false;
};

/// Puts the old file in place again if the new one stands there, and removes what was made beside
/// it. A file that somebody else has put there meanwhile stays, and so does a new one that somebody
/// has edited; returns whether there is none such.
bool TakeBack(const Replaced& replaced);

/// Removes the old file.
void DropOld(const Replaced& replaced);

/// Replaces the file at `path`, a symbolic link being followed, by the pieces that `produce` hands
/// to the writer it is given. `expected` is the stamp of the file that was read; without one the
/// file must not exist yet, and is given `mode`. Returns the stamp of the new file; when it throws,
/// nothing was replaced.
FileStamp ReplaceFile(const std::string& path, const std::optional<FileStamp>& expected,
                      const std::function<void(const PieceWriter&)>& produce,
                      mode_t mode = kPublicFile);

/// Makes a replacement outlive a crash of the machine.
void SyncFolderOf(const std::string& path);

/// Removes what a killed ReplaceFile may have left beside the file at `path`.
void RemoveLeftover(const std::string& path);

}  // namespace panel::conf
