/// NAME
///   pending - notes of outstanding after-save actions
///
/// WHAT A NOTE IS
///   A small file in STATE_DIR/pending: the table's name on the first line, the saved file's path
///   on the second. Its own name is made of both, so that there is one note for each of them.

#include "panel/conf/pending.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <exception>
#include <filesystem>
#include <system_error>
#include <tuple>

#include <sys/stat.h>
#include <unistd.h>

#include "host/conf.h"
#include "host/fen_err.h"
#include "panel/conf/cache.h"
#include "panel/conf/disk_file.h"
#include "panel/module/config.h"
#include "panel/module/log.h"

namespace panel::conf {

namespace {

namespace fs = std::filesystem;

fs::path Folder() {
  return CurrentConfig().state_dir / "pending";
}

/// A name that tells tables and paths apart and is a valid file name of bounded length.
std::string NameOf(const PendingWork& work) {
  std::uint64_t hash = 0xcbf29ce484222325U;
  for (const char character : work.table + "\n" + work.path) {
    hash = (hash ^ static_cast<unsigned char>(character)) * 0x100000001b3U;
  }
  return std::to_string(hash) + "." + fs::path(work.path).filename().string().substr(0, 100);
}

std::string NotePath(const PendingWork& work) {
  return Folder() / NameOf(work);
}

void MakeFolder() {
  const std::string folder = Folder();
  if (mkdir(folder.c_str(), 0700) != 0 && errno != EEXIST) {
    throw fen_err::Error("file", folder, std::string("cannot be created: ") + std::strerror(errno));
  }
}

std::vector<fs::path> FilesInFolder() {
  std::vector<fs::path> files;
  std::error_code missing;
  for (const auto& entry : fs::directory_iterator(Folder(), missing)) files.push_back(entry.path());
  if (missing && missing != std::errc::no_such_file_or_directory) {
    throw fen_err::Error("file", Folder(), "cannot be read: " + missing.message());
  }
  return files;
}

/// Names of notes begin with a number.
bool IsHalfWritten(const fs::path& path) {
  return path.filename().string().starts_with('.');
}

void Remove(const fs::path& path) {
  if (unlink(path.c_str()) != 0 && errno != ENOENT) {
    throw fen_err::Error("file", path, std::string("cannot be removed: ") + std::strerror(errno));
  }
}

PendingWork ReadNote(const std::string& path) {
  const std::string text = ReadWholeFile(path).bytes;
  const std::size_t end = text.find('\n');
  if (end == std::string::npos || !text.ends_with('\n') || end + 2 >= text.size()) {
    throw fen_err::Error("file", path, "is not a note of outstanding work; remove it");
  }
  return {text.substr(0, end), text.substr(end + 1, text.size() - end - 2)};
}

/// A file that is gone since has no map to be brought in step with it.
void MakeUp(const PendingWork& work) {
  RemoveLeftover(work.path);
  if (StampOf(work.path)) {
    Cache::Known()->MakeUp(work.table, work.path);
  }
  ForgetPendingWork(work);
}

}  // namespace

std::vector<PendingWork> ListPendingWork() {
  std::vector<PendingWork> list;
  for (const fs::path& path : FilesInFolder()) {
    if (!IsHalfWritten(path)) list.push_back(ReadNote(path));
  }
  std::sort(list.begin(), list.end(), [](const PendingWork& left, const PendingWork& right) {
    return std::tie(left.path, left.table) < std::tie(right.path, right.table);
  });
  return list;
}

bool IsTableKnown(const PendingWork& work) {
  return Cache::Known() != nullptr && Cache::Known()->HasTable(work.table);
}

void MakeUpPendingWork() {
  std::exception_ptr first;
  for (const PendingWork& work : ListPendingWork()) {
    if (!IsTableKnown(work)) continue;
    try {
      MakeUp(work);
    } catch (const std::exception& error) {
      LogError("panel", error);
      if (first == nullptr) first = std::current_exception();
    }
  }
  if (first != nullptr) std::rethrow_exception(first);
}

bool IsNoted(const PendingWork& work) {
  return StampOf(NotePath(work)).has_value();
}

void NotePendingWork(const PendingWork& work) {
  MakeFolder();
  const std::string path = NotePath(work);
  ReplaceFile(
      path, StampOf(path),
      [&work](const PieceWriter& write) { write(work.table + "\n" + work.path + "\n"); },
      kPrivateFile);
  SyncFolderOf(path);
}

void ForgetPendingWork(const PendingWork& work) {
  Remove(NotePath(work));
}

void RemoveHalfWrittenNotes() {
  for (const fs::path& path : FilesInFolder()) {
    if (IsHalfWritten(path)) Remove(path);
  }
}

}  // namespace panel::conf
