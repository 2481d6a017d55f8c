/// NAME
///   memory_file - a file that lies nowhere but in memory, for what reads files only

#include "fuzz/support/memory_file.h"

#include <cerrno>
#include <cstring>

#include <sys/mman.h>
#include <unistd.h>

#include "fuzz/support/require.h"

namespace fuzz {

MemoryFile::MemoryFile() : file_(memfd_create("fuzzed", MFD_CLOEXEC)) {
  Require(static_cast<bool>(file_), "a file in memory can be made", {{"error", strerror(errno)}});
}

std::string MemoryFile::path() const {
  return "/proc/self/fd/" + std::to_string(file_.get());
}

void MemoryFile::Write(std::string_view text) const {
  const bool is_written =
      ftruncate(file_.get(), 0) == 0 &&
      pwrite(file_.get(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size()) &&
      lseek(file_.get(), 0, SEEK_SET) == 0;
  Require(is_written, "a file in memory can be written", {{"error", strerror(errno)}});
}

}  // namespace fuzz
