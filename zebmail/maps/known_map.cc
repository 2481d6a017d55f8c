/// NAME
///   known_map - what is known of a map from the run before
///
/// HOW
///   A record is never taken apart: what it would have to say is made anew from the map and the
///   copy as they are now, and must be what it says. So a record that a crash has torn says
///   nothing. It is put on the disk before the map is touched and after; the copy is not, since its
///   sum tells whether all of it got there.

#include "zebmail/maps/known_map.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdint>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "panel/process/trust.h"
#include "zebmail/maps/checksum.h"
#include "zebmail/maps/file.h"

namespace zebmail::maps {
namespace {

namespace fs = std::filesystem;
using panel::FileHandle;

const char* const kMendState = "name the panel's own state_dir with --state, and see its rights";
const char* const kRemove = "remove it";

[[noreturn]] void Refuse(const std::string& fault) {
  throw FileError(fault);
}

std::string Hex(std::uint64_t number) {
  std::array<char, 16> digits{};
  char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), number, 16).ptr;
  return {digits.data(), end};
}

fs::path MakeFolder(const fs::path& state_dir) {
  fs::path folder = state_dir / "maps";
  if (mkdir(folder.c_str(), kPrivateFolder) != 0 && errno != EEXIST) {
    FailOn(folder, errno, kMendState);
  }
  const std::string fault = panel::FindFaultInTrust(folder);
  if (!fault.empty()) Refuse(fault);
  struct stat status {};
  if (lstat(folder.c_str(), &status) != 0) FailOn(folder, errno, kMendState);
  if (!S_ISDIR(status.st_mode) || (status.st_mode & kOthers) != 0) {
    Refuse(folder.string() + " is no folder that is closed to others: " + kRemove);
  }
  return folder;
}

FileHandle OpenOwn(const fs::path& path) {
  constexpr int kFlags = O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
  FileHandle file(open(path.c_str(), kFlags, kPrivateFile));
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0) FailOn(path, errno, kRemove);
  const bool is_own = S_ISREG(status.st_mode) && status.st_uid == geteuid() &&
                      status.st_nlink == 1 && (status.st_mode & kOthers) == 0;
  if (!is_own) Refuse(path.string() + " is not a file of this program alone: " + kRemove);
  return file;
}

/// The panel's database and its notes lie on that disk, too: as much as the copy takes is left.
void RequireRoom(const FileHandle& copy, const fs::path& path, std::size_t size) {
  struct statvfs disk {};
  struct stat status {};
  if (fstatvfs(copy.get(), &disk) != 0 || fstat(copy.get(), &status) != 0) {
    FailOn(path, errno, kMendState);
  }
  const std::uintmax_t room = std::uintmax_t{disk.f_bavail} * disk.f_frsize;
  if (room + static_cast<std::uintmax_t>(status.st_size) < 2 * std::uintmax_t{size}) {
    FailOn(path, ENOSPC, "see that its disk has room");
  }
}

std::string SumOf(std::string_view text) {
  return "text: " + std::to_string(text.size()) + " " + Hex(Checksum(text)) + "\n";
}

}  // namespace

KnownMap::KnownMap(const fs::path& state_dir, const std::string& map,
                   const std::string& circumstances)
    : circumstances_("record: 1\nname: " + map + "\n" + circumstances) {
  const fs::path folder = MakeFolder(state_dir);
  const std::string key = Hex(Checksum(map));
  record_path_ = folder / (key + ".record");
  copy_path_ = folder / (key + ".text");
  record_ = OpenOwn(record_path_);
  copy_ = OpenOwn(copy_path_);
  Lock(record_, record_path_);
}

std::optional<std::string> KnownMap::TextOf(const std::string& identity) const {
  const std::string record = ReadAll(record_.get(), record_path_);
  const std::string expected = circumstances_ + "map: " + identity + "\n";
  if (!record.starts_with(expected)) return std::nullopt;
  std::string text = ReadAll(copy_.get(), copy_path_);
  if (record != expected + SumOf(text)) return std::nullopt;
  return text;
}

void KnownMap::Forget() {
  WriteEnd(record_.get(), record_path_, "", 0);
  Synchronise(record_.get(), record_path_);
}

void KnownMap::Keep(const std::string& identity, std::string_view text, std::size_t same) {
  try {
    RequireRoom(copy_, copy_path_, text.size());
    WriteEnd(copy_.get(), copy_path_, text.substr(same), same);
  } catch (const FileError&) {
    if (ftruncate(copy_.get(), 0) != 0) FailOn(copy_path_, errno, kRemove);
    throw;
  }
  WriteEnd(record_.get(), record_path_, circumstances_ + "map: " + identity + "\n" + SumOf(text),
           0);
  Synchronise(record_.get(), record_path_);
}

}  // namespace zebmail::maps
