/// NAME
///   small_disk - a disk that can be full, for one test

#include "tests/support/small_disk.h"

#include <cerrno>
#include <string>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>

#include "panel/process/file_handle.h"
#include "tests/support/temp_folder.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const fs::path& path) {
  throw std::system_error(errno, std::generic_category(), path.string());
}

/// From here on nobody else sees what this process mounts.
void HideMounts() {
  static const bool are_hidden =
      unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0;
  if (!are_hidden) Fail("/");
}

std::string Options(std::size_t size) {
  return "mode=0755,size=" + std::to_string(size);
}

}  // namespace

SmallDisk::SmallDisk(fs::path folder, std::size_t size) : folder_(std::move(folder)), size_(size) {
  HideMounts();
  const TempFolder aside;
  fs::copy(folder_, aside.path(), fs::copy_options::recursive);
  if (mount("tmpfs", folder_.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, Options(size_).c_str()) != 0) {
    Fail(folder_);
  }
  fs::copy(aside.path(), folder_, fs::copy_options::recursive);
}

SmallDisk::~SmallDisk() {
  umount2(folder_.c_str(), MNT_DETACH);
}

void SmallDisk::FillUp(std::size_t left) const {
  struct statvfs status {};
  if (statvfs(folder_.c_str(), &status) != 0) Fail(folder_);
  const auto size = static_cast<off_t>(status.f_bavail * status.f_frsize - left);
  const panel::FileHandle file(
      open(Ballast().c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!file || (size > 0 && (errno = posix_fallocate(file.get(), 0, size)) != 0)) Fail(Ballast());
}

void SmallDisk::Empty() const {
  fs::remove(Ballast());
}

void SmallDisk::SetReadOnly(bool is_read_only) const {
  const unsigned long flags =
      MS_REMOUNT | MS_NOSUID | MS_NODEV | (is_read_only ? 0UL + MS_RDONLY : 0UL);
  if (mount("tmpfs", folder_.c_str(), "tmpfs", flags, Options(size_).c_str()) != 0) Fail(folder_);
}

}  // namespace test_support
