/// NAME
///   still_text - a text as it was at one moment

#include "zebmail/maps/still_text.h"

#include <cerrno>

#include <fcntl.h>
#include <unistd.h>

#include "panel/process/file_handle.h"
#include "zebmail/maps/file.h"

namespace zebmail::maps {

StillText ReadStill(const std::filesystem::path& path) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const panel::FileHandle file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
    StillText text;
    if (!file || fstat(file.get(), &text.status) != 0) FailOn(path, errno, "put the table there");
    text.bytes = ReadAll(file.get(), path);
    if (IsStill(text, path)) return text;
  }
  throw FileError(path.string() + " changes all the time; run this again when it does not");
}

bool IsStill(const StillText& text, const std::filesystem::path& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && IdentityOf(status) == IdentityOf(text.status);
}

}  // namespace zebmail::maps
