/// NAME
///   disk file - reading a table file and replacing it as a whole

#include "panel/conf/disk_file.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <vector>

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

#include "host/fen_err.h"
#include "panel/process/trust.h"

namespace panel::conf {

namespace {

[[noreturn]] void Fail(const std::string& path, const std::string& doing) {
  throw fen_err::Error("file", path, doing + ": " + std::strerror(errno));
}

FileStamp ToStamp(const struct stat& status) {
  return {status.st_dev, status.st_ino, status.st_size, status.st_mtim, status.st_ctim};
}

/// The path of the file itself, behind any symbolic links.
std::string Target(const std::string& path) {
  const std::string foreign = FindForeignLink(path);
  if (!foreign.empty()) {
    throw fen_err::Error("file", path,
                         "is not followed through " + foreign +
                             ", a symbolic link that belongs to neither root nor the user of this "
                             "process: look who has put it there, and remove it");
  }
  const std::unique_ptr<char, decltype(&std::free)> real(realpath(path.c_str(), nullptr),
                                                         &std::free);
  if (real != nullptr) return real.get();
  if (errno != ENOENT) Fail(path, "cannot be found");
  struct stat status {};
  if (lstat(path.c_str(), &status) == 0) {
    throw fen_err::Error("file", path, "is a symbolic link to a file that does not exist");
  }
  return path;
}

std::string FolderOf(const std::string& target) {
  const std::string folder = std::filesystem::path(target).parent_path();
  return folder.empty() ? "." : folder;
}

/// The new text is written here, in the same folder, so that a rename can put it in place. The name
/// is fixed: there is one operation at a time, and what a killed one left is found again.
std::string BesideOf(const std::string& target) {
  return FolderOf(target) + "/." + std::filesystem::path(target).filename().string() + ".zebmail";
}

/// The old file has this second name for a moment where two files cannot change places.
std::string OldOf(const std::string& target) {
  return BesideOf(target) + "-old";
}

/// Removes a file again that is not whole.
class Temporary {
 public:
  explicit Temporary(std::string path) : path_(std::move(path)) {}
  ~Temporary() {
    if (!path_.empty()) unlink(path_.c_str());
  }
  Temporary(const Temporary&) = delete;
  Temporary& operator=(const Temporary&) = delete;

  void Keep() { path_.clear(); }

 private:
  std::string path_;
};

/// Gathers small pieces, so that a table of many changes is not written in as many calls.
class BufferedWriter {
 public:
  BufferedWriter(int descriptor, const std::string& path) : descriptor_(descriptor), path_(path) {}

  void Add(std::string_view piece) {
    if (buffer_.size() + piece.size() > kSize) Flush();
    if (piece.size() > kSize) {
      Write(piece);
    } else {
      buffer_ += piece;
    }
  }

  void Flush() {
    Write(buffer_);
    buffer_.clear();
  }

 private:
  static constexpr std::size_t kSize = 1 << 16;

  void Write(std::string_view bytes) {
    while (!bytes.empty()) {
      const ssize_t written = write(descriptor_, bytes.data(), bytes.size());
      if (written < 0 && errno != EINTR) Fail(path_, "cannot be written");
      if (written > 0) bytes.remove_prefix(static_cast<std::size_t>(written));
    }
  }

  int descriptor_;
  const std::string& path_;
  std::string buffer_;
};

void CopyExtendedAttributes(int from, int to, const std::string& path) {
  const ssize_t size = flistxattr(from, nullptr, 0);
  if (size < 0 && errno != ENOTSUP) Fail(path, "its extended attributes cannot be read");
  if (size <= 0) return;
  std::vector<char> names(static_cast<std::size_t>(size));
  const ssize_t listed = flistxattr(from, names.data(), names.size());
  if (listed < 0) Fail(path, "its extended attributes cannot be read");
  for (const char* name = names.data(); name < names.data() + listed;
       name += std::strlen(name) + 1) {
    const ssize_t length = fgetxattr(from, name, nullptr, 0);
    if (length < 0) Fail(path, "its extended attributes cannot be read");
    std::vector<char> value(static_cast<std::size_t>(length));
    const ssize_t got = fgetxattr(from, name, value.data(), value.size());
    if (got < 0 || fsetxattr(to, name, value.data(), static_cast<std::size_t>(got), 0) != 0) {
      Fail(path, std::string("its extended attribute ") + name + " cannot be kept");
    }
  }
}

/// Gives the new file what the old one has besides its text.
void KeepAttributes(const std::string& target, int descriptor) {
  const FileHandle old(open(target.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW));
  if (!old) Fail(target, "cannot be read");
  struct stat from {};
  struct stat to {};
  if (fstat(old.get(), &from) != 0 || fstat(descriptor, &to) != 0) Fail(target, "cannot be read");
  if ((from.st_uid != to.st_uid || from.st_gid != to.st_gid) &&
      fchown(descriptor, from.st_uid, from.st_gid) != 0) {
    Fail(target, "its owner cannot be kept");
  }
  CopyExtendedAttributes(old.get(), descriptor, target);
  if (fchmod(descriptor, from.st_mode & 07777) != 0) Fail(target, "its mode cannot be kept");
}

void RequireUnchanged(const std::string& path, const std::string& target,
                      const std::optional<FileStamp>& expected) {
  if (StampOf(target) != expected) throw fen_err::Error("changed", path, "");
}

void RemoveIfThere(const std::string& path) {
  if (unlink(path.c_str()) != 0 && errno != ENOENT) Fail(path, "cannot be removed");
}

FileStamp StampOfOpen(const FileHandle& file, const std::string& path) {
  struct stat status {};
  if (fstat(file.get(), &status) != 0) Fail(path, "cannot be read");
  return ToStamp(status);
}

/// Whether the flags of renameat2(2) are not for this file system.
bool IsUnsupported() {
  return errno == EINVAL || errno == ENOSYS || errno == EOPNOTSUPP;
}

/// Puts the file at `from` to `to`, where there must be none.
bool PutWhereNoneIs(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  return IsUnsupported() && rename(from.c_str(), to.c_str()) == 0;
}

/// Gives the file a second name.
bool Link(const std::string& target, const std::string& name) {
  if (link(target.c_str(), name.c_str()) == 0) return true;
  if (!IsUnsupported() && errno != EPERM) return false;
  throw fen_err::Error("file", target,
                       "cannot be replaced: the file system of " + FolderOf(target) +
                           " has neither an exchange of two files (renameat2) nor hard links: " +
                           std::strerror(errno) + "; put the folder on one that has, such as ext4");
}

/// Has the two files change places at once or, where the file system cannot, by steps; `to` is
/// there at any moment. It takes one of the two: a copy of the old text would not get what others
/// write into the old file until the last moment.
bool ChangePlaces(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_EXCHANGE) == 0) return true;
  if (!IsUnsupported()) return false;
  const std::string old = OldOf(to);
  RemoveIfThere(old);
  return Link(to, old) && rename(from.c_str(), to.c_str()) == 0 &&
         rename(old.c_str(), from.c_str()) == 0;
}

/// Whether it is the file as it was, whatever name it was given since.
bool IsSameText(const std::optional<FileStamp>& now, const FileStamp& before) {
  return now && now->device == before.device && now->inode == before.inode &&
         now->size == before.size && now->modified.tv_sec == before.modified.tv_sec &&
         now->modified.tv_nsec == before.modified.tv_nsec;
}

/// Whether the file at `path` is the new one.
bool IsNew(const std::string& path, const Replaced& replaced) {
  const std::optional<FileStamp> now = StampOf(path);
  return now && now->device == replaced.written.device && now->inode == replaced.written.inode;
}

/// Takes the new file, which nobody has edited, out of its place and puts the old one, at `old`,
/// there. The new one is looked at once more when they have changed places.
bool PutBack(const Replaced& replaced, const std::string& old) {
  if (!IsSameText(StampOf(replaced.target), replaced.written)) return false;
  if (replaced.is_new) {
    RemoveIfThere(replaced.target);
    return true;
  }
  if (!ChangePlaces(old, replaced.target)) Fail(replaced.target, "cannot be put back");
  if (IsSameText(StampOf(old), replaced.written)) return true;
  if (!ChangePlaces(old, replaced.target)) Fail(replaced.target, "cannot be put back");
  return false;
}

std::string ReadAll(int descriptor, std::size_t size, const std::string& path) {
  std::string bytes(size, '\0');
  std::size_t filled = 0;
  while (filled < bytes.size()) {
    const ssize_t got = read(descriptor, bytes.data() + filled, bytes.size() - filled);
    if (got < 0 && errno != EINTR) Fail(path, "cannot be read");
    if (got == 0) break;
    if (got > 0) filled += static_cast<std::size_t>(got);
  }
  bytes.resize(filled);
  return bytes;
}

}  // namespace

bool FileStamp::operator==(const FileStamp& other) const {
  const auto same = [](const timespec& left, const timespec& right) {
    return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
  };
  return device == other.device && inode == other.inode && size == other.size &&
         same(modified, other.modified) && same(changed, other.changed);
}

FileContents ReadWholeFile(const std::string& path) {
  const FileHandle file(open(Target(path).c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file) {
    if (errno == ENOENT) return {};
    Fail(path, "cannot be read");
  }
  struct stat before {};
  if (fstat(file.get(), &before) != 0) Fail(path, "cannot be read");
  if (!S_ISREG(before.st_mode)) throw fen_err::Error("file", path, "is not a regular file");

  FileContents contents;
  contents.bytes = ReadAll(file.get(), static_cast<std::size_t>(before.st_size), path);
  struct stat after {};
  if (fstat(file.get(), &after) != 0) Fail(path, "cannot be read");
  if (!(ToStamp(before) == ToStamp(after)) ||
      contents.bytes.size() != static_cast<std::size_t>(after.st_size)) {
    throw fen_err::Error("changed", path, "");
  }
  contents.stamp = ToStamp(after);
  return contents;
}

std::optional<FileStamp> StampOf(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) return ToStamp(status);
  if (errno != ENOENT) Fail(path, "cannot be read");
  return std::nullopt;
}

Replacement::Replacement(std::string path, const std::optional<FileStamp>& expected,
                         const std::function<void(const PieceWriter&)>& produce, mode_t mode)
    : path_(std::move(path)), expected_(expected) {
  replaced_.target = Target(path_);
  replaced_.is_new = !expected;
  RequireUnchanged(path_, replaced_.target, expected_);

  const std::string beside = BesideOf(replaced_.target);
  unlink(beside.c_str());
  file_ =
      FileHandle(open(beside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!file_) Fail(beside, "cannot be created");
  Temporary temporary(beside);

  BufferedWriter writer(file_.get(), beside);
  produce([&writer](std::string_view piece) { writer.Add(piece); });
  writer.Flush();
  if (expected_) {
    KeepAttributes(replaced_.target, file_.get());
  } else if (fchmod(file_.get(), mode) != 0) {
    Fail(beside, "its mode cannot be set");
  }
  if (fsync(file_.get()) != 0) Fail(beside, "cannot be written");
  replaced_.written = StampOfOpen(file_, beside);
  temporary.Keep();
}

Replacement::~Replacement() {
  if (!is_in_place_) unlink(BesideOf(replaced_.target).c_str());
}

FileStamp Replacement::PutInPlace() {
  RequireUnchanged(path_, replaced_.target, expected_);
  const std::string beside = BesideOf(replaced_.target);
  if (!(replaced_.is_new ? PutWhereNoneIs(beside, replaced_.target)
                         : ChangePlaces(beside, replaced_.target))) {
    const int error = errno;
    TakeBack(replaced_);
    if (error == EEXIST) throw fen_err::Error("changed", path_, "");
    errno = error;
    Fail(path_, "cannot be replaced");
  }
  is_in_place_ = true;
  if (expected_ && !IsSameText(StampOf(beside), *expected_)) {
    TakeBack(replaced_);
    throw fen_err::Error("changed", path_, "");
  }
  return StampOfOpen(file_, path_);
}

/// The old file is beside the new one, or has its second name where a process was killed while they
/// changed places by steps.
bool TakeBack(const Replaced& replaced) {
  const std::string beside = BesideOf(replaced.target);
  const std::string old = OldOf(replaced.target);
  const bool is_in_place = IsNew(replaced.target, replaced);
  if (is_in_place && StampOf(old) && !IsNew(old, replaced) &&
      rename(old.c_str(), beside.c_str()) != 0) {
    Fail(replaced.target, "cannot be put back");
  }
  const bool is_back = !is_in_place || PutBack(replaced, beside);
  RemoveIfThere(old);
  RemoveIfThere(beside);
  SyncFolderOf(replaced.target);
  return is_back;
}

void DropOld(const Replaced& replaced) {
  RemoveIfThere(OldOf(replaced.target));
  RemoveIfThere(BesideOf(replaced.target));
}

FileStamp ReplaceFile(const std::string& path, const std::optional<FileStamp>& expected,
                      const std::function<void(const PieceWriter&)>& produce, mode_t mode) {
  Replacement replacement(path, expected, produce, mode);
  const FileStamp stamp = replacement.PutInPlace();
  DropOld(replacement.replaced());
  return stamp;
}

void SyncFolderOf(const std::string& path) {
  const std::string name = FolderOf(Target(path));
  const FileHandle folder(open(name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder || fsync(folder.get()) != 0) Fail(name, "cannot be synchronised");
}

void RemoveLeftover(const std::string& path) {
  const std::string target = Target(path);
  RemoveIfThere(OldOf(target));
  RemoveIfThere(BesideOf(target));
}

}  // namespace panel::conf
