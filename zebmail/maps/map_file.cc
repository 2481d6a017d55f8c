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
#include <sys/stat.h>
#include <unistd.h>

#include "zebmail/maps/file.h"

namespace zebmail::maps {
namespace {

const char* const kAgain = "run this again";

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

std::optional<std::string> MarkMap(const panel::FileHandle& map,
                                   const std::filesystem::path& path) {
  Synchronise(map.get(), path);
  std::array<timespec, 2> times{};
  times[0].tv_nsec = UTIME_OMIT;
  if (clock_gettime(CLOCK_REALTIME, &times[1]) != 0) FailOn(path, errno, kAgain);
  struct stat status {};
  if (futimens(map.get(), times.data()) != 0 || fstat(map.get(), &status) != 0) {
    FailOn(path, errno, kAgain);
  }
  const bool is_kept =
      status.st_mtim.tv_sec == times[1].tv_sec && status.st_mtim.tv_nsec == times[1].tv_nsec;
  return is_kept ? std::optional(IdentityOf(status)) : std::nullopt;
}

}  // namespace zebmail::maps
