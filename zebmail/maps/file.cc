/// NAME
///   file - files of which it matters that they are still the same

#include "zebmail/maps/file.h"

#include <cerrno>
#include <system_error>

#include <sys/file.h>
#include <unistd.h>

namespace zebmail::maps {
namespace {

const char* const kRoom = "see that its disk works and has room, and run this again";

std::string TimeText(const timespec& time) {
  return std::to_string(time.tv_sec) + "." + std::to_string(time.tv_nsec);
}

}  // namespace

void FailOn(const std::filesystem::path& path, int error, const std::string& advice) {
  throw FileError(path.string() + ": " + std::generic_category().message(error) + "; " + advice);
}

std::string IdentityOf(const struct stat& status) {
  return std::to_string(status.st_dev) + " " + std::to_string(status.st_ino) + " " +
         std::to_string(status.st_size) + " " + TimeText(status.st_mtim) + " " +
         TimeText(status.st_ctim);
}

void Lock(const panel::FileHandle& file, const std::filesystem::path& path) {
  while (flock(file.get(), LOCK_EX) != 0) {
    if (errno != EINTR) FailOn(path, errno, "let it lie on a file system that has locks");
  }
}

std::string ReadAll(int file, const std::filesystem::path& path) {
  struct stat status {};
  if (fstat(file, &status) != 0) FailOn(path, errno, kRoom);
  std::string bytes(static_cast<std::size_t>(status.st_size) + 1, '\0');
  std::size_t done = 0;
  for (;;) {
    if (done == bytes.size()) bytes.resize(2 * done);  // it has grown meanwhile
    const ssize_t count =
        pread(file, bytes.data() + done, bytes.size() - done, static_cast<off_t>(done));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) FailOn(path, errno, kRoom);
    if (count == 0) break;
    done += static_cast<std::size_t>(count);
  }
  bytes.resize(done);
  return bytes;
}

void WriteEnd(int file, const std::filesystem::path& path, std::string_view bytes,
              std::size_t offset) {
  while (!bytes.empty()) {
    const ssize_t count = pwrite(file, bytes.data(), bytes.size(), static_cast<off_t>(offset));
    if (count < 0 && errno == EINTR) continue;
    if (count < 0) FailOn(path, errno, kRoom);
    bytes.remove_prefix(static_cast<std::size_t>(count));
    offset += static_cast<std::size_t>(count);
  }
  if (ftruncate(file, static_cast<off_t>(offset)) != 0) FailOn(path, errno, kRoom);
}

void Synchronise(int file, const std::filesystem::path& path) {
  if (fsync(file) != 0) FailOn(path, errno, kRoom);
}

}  // namespace zebmail::maps
