/// NAME
///   aside - building a map under another name

#include "zebmail/maps/aside.h"

#include <cerrno>
#include <climits>
#include <system_error>

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "panel/process/file_handle.h"
#include "panel/process/trust.h"
#include "zebmail/maps/file.h"
#include "zebmail/maps/map_file.h"

namespace zebmail::maps {
namespace {

namespace fs = std::filesystem;
using panel::FileHandle;

constexpr mode_t kPermissions = 07777;

const char* const kAgain = "run this again";
const char* const kLook = "look what it holds, and remove it";
const char* const kRoom = "see that its disk works and has room, and run this again";

fs::path FolderBeside(const fs::path& text) {
  return text.parent_path() / ("." + text.filename().string() + ".zebmail-map");
}

/// Another file is mounted there, which cannot be replaced by a name.
bool IsMountPoint(const fs::path& path) {
  struct statx status {};
  return statx(AT_FDCWD, path.c_str(), AT_SYMLINK_NOFOLLOW, STATX_TYPE, &status) == 0 &&
         (status.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
}

bool HasExtendedAttributes(const fs::path& path) {
  const ssize_t size = llistxattr(path.c_str(), nullptr, 0);
  return size > 0 || (size < 0 && errno != ENOTSUP);
}

/// Others may have put there what is in one that is open to them.
bool IsClosedToOthers(const struct stat& folder) {
  return S_ISDIR(folder.st_mode) && folder.st_uid == geteuid() && (folder.st_mode & kOthers) == 0;
}

/// Whether what was opened still has this name.
bool IsSame(const FileHandle& handle, const fs::path& folder) {
  struct stat opened {};
  struct stat now {};
  return handle && fstat(handle.get(), &opened) == 0 && lstat(folder.c_str(), &now) == 0 &&
         opened.st_dev == now.st_dev && opened.st_ino == now.st_ino;
}

void SynchroniseFolder(const fs::path& folder) {
  const FileHandle handle(open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!handle) FailOn(folder, errno, kAgain);
  Synchronise(handle.get(), folder);
}

void Replace(std::string& text, const std::string& old, const std::string& with) {
  for (std::size_t found = text.find(old); found != std::string::npos;
       found = text.find(old, found + with.size())) {
    text.replace(found, old.size(), with);
  }
}

}  // namespace

Aside::Aside(const fs::path& path, const std::string& suffix)
    : text_(path),
      map_(path.string() + suffix),
      folder_(FolderBeside(path)),
      text_here_(folder_ / path.filename()),
      map_here_(text_here_.string() + suffix) {
  do {
    Take();
  } while (!IsSame(lock_, folder_));
}

Aside::~Aside() {
  Clear();
  rmdir(folder_.c_str());
}

/// Waits while another run has the folder, which removes it then.
void Aside::Take() {
  if (mkdir(folder_.c_str(), kPrivateFolder) != 0 && errno != EEXIST) FailOn(folder_, errno, kRoom);
  lock_ = FileHandle(open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (!lock_ && errno == ENOENT) return;
  if (!lock_) FailOn(folder_, errno, kLook);
  struct stat status {};
  if (fstat(lock_.get(), &status) != 0) FailOn(folder_, errno, kAgain);
  if (!IsClosedToOthers(status)) FailOn(folder_, EEXIST, kLook);
  Lock(lock_, folder_);
}

void Aside::Clear() const {
  std::error_code failed;  // what stays is in the way of a copy, or of the folder's removal
  for (fs::directory_iterator entry(folder_, failed); !failed && entry != fs::directory_iterator();
       entry.increment(failed)) {
    unlink(entry->path().c_str());
  }
}

std::string Aside::FindObstacle(const fs::path& path, const std::string& suffix) {
  const fs::path map = path.string() + suffix;
  const fs::path folder = FolderBeside(path);
  std::string fault = panel::FindFaultInTrust(path.parent_path());
  if (!fault.empty()) return fault;
  if (folder.filename().string().size() > NAME_MAX) return "the name of the table is too long";
  struct stat status {};
  if (lstat(folder.c_str(), &status) == 0 && !IsClosedToOthers(status)) {
    return folder.string() + " is not a folder of this program";
  }
  if (access(path.parent_path().c_str(), W_OK) != 0) {
    return path.parent_path().string() + ": " + std::generic_category().message(errno);
  }
  if (lstat(map.c_str(), &status) != 0) return "";
  if (!S_ISREG(status.st_mode)) return map.string() + " is a link";
  if (IsMountPoint(map)) return map.string() + " is a mount point";
  if (status.st_nlink > 1) return map.string() + " has other names";
  if (status.st_uid != geteuid()) return map.string() + " belongs to somebody else";
  if (HasExtendedAttributes(map)) return map.string() + " has extended attributes";
  return "";
}

fs::path Aside::WriteText(std::string_view text, const struct stat& original) const {
  Clear();
  const FileHandle copy(
      open(text_here_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kPrivateFile));
  if (!copy) FailOn(text_here_, errno, kRoom);
  WriteEnd(copy.get(), text_here_, text, 0);
  const bool is_alike = fchown(copy.get(), original.st_uid, original.st_gid) == 0 &&
                        fchmod(copy.get(), original.st_mode & kPermissions) == 0;
  if (!is_alike) FailOn(text_here_, errno, kAgain);
  return text_here_;
}

std::string Aside::WithRealNames(std::string output) const {
  Replace(output, text_here_.string(), text_.string());
  return output;
}

std::optional<struct stat> Aside::Finish() const {
  const FileHandle map = OpenMap(map_here_);
  if (!map) FailOn(map_here_, ENOENT, "see what Postfix's program says when it is run by hand");
  struct stat old {};
  if (lstat(map_.c_str(), &old) == 0) {
    if (fchown(map.get(), old.st_uid, old.st_gid) != 0) FailOn(map_, errno, kAgain);
    if (fchmod(map.get(), old.st_mode & kPermissions) != 0) FailOn(map_, errno, kAgain);
  }
  return MarkMap(map, map_here_);
}

void Aside::MoveMap() const {
  if (rename(map_here_.c_str(), map_.c_str()) != 0) FailOn(map_, errno, kAgain);
  SynchroniseFolder(map_.parent_path());
}

}  // namespace zebmail::maps
