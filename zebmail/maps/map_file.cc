/// NAME
///   map_file - the file of an indexed map
///
/// WHY THE MAP GETS A TIME OF ITS OWN
///   The system's own times of a file go forward in steps of some milliseconds. Somebody who writes
///   to the map within the step in which it was marked would change neither its time nor perhaps
///   its size. The time that it is given here lies between the steps, so that any writing changes
///   it.

#include "zebmail/maps/map_file.h"

#include <array>
#include <cerrno>
#include <ctime>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

#include "zebmail/maps/file.h"

namespace zebmail::maps {
namespace {

const char* const kAgain = "run this again";

bool IsSame(const timespec& left, const timespec& right) {
  return left.tv_sec == right.tv_sec && left.tv_nsec == right.tv_nsec;
}

}  // namespace

bool IsChangeable(const std::string& type) {
  return type == "hash" || type == "btree" || type == "lmdb";
}

std::string SuffixOf(const std::string& type) {
  return type == "lmdb" ? ".lmdb" : ".db";
}

panel::FileHandle OpenMap(const std::filesystem::path& path) {
  panel::FileHandle map(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
  struct stat status {};
  const bool is_own = map && fstat(map.get(), &status) == 0 && S_ISREG(status.st_mode) &&
                      status.st_uid == geteuid();
  return is_own ? std::move(map) : panel::FileHandle();
}

std::optional<struct stat> MarkMap(const panel::FileHandle& map,
                                   const std::filesystem::path& path) {
  std::array<timespec, 2> times{};
  times[0].tv_nsec = UTIME_OMIT;
  if (clock_gettime(CLOCK_REALTIME, &times[1]) != 0) FailOn(path, errno, kAgain);
  if (futimens(map.get(), times.data()) != 0) FailOn(path, errno, kAgain);
  Synchronise(map.get(), path);
  struct stat status {};
  if (fstat(map.get(), &status) != 0) FailOn(path, errno, kAgain);
  return IsSame(status.st_mtim, times[1]) ? std::optional(status) : std::nullopt;
}

bool HasMarkOf(const struct stat& marked, const struct stat& now) {
  return now.st_dev == marked.st_dev && now.st_ino == marked.st_ino &&
         now.st_size == marked.st_size && IsSame(now.st_mtim, marked.st_mtim);
}

}  // namespace zebmail::maps
