/// NAME
///   file - files of which it matters that they are still the same
///
/// HOW IT FAILS
///   With FileError, which names the file, the reason and what to do.

#pragma once

#include <cstddef>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <string_view>

#include <sys/stat.h>

#include "panel/process/file_handle.h"

namespace zebmail::maps {

inline constexpr mode_t kPrivateFolder = 0700;
inline constexpr mode_t kPrivateFile = 0600;

/// What others must not have in a mode.
inline constexpr mode_t kOthers = 077;

class FileError : public std::runtime_error {
  using std::runtime_error::runtime_error;
};

/// Throws FileError with the reason `error`, an errno, and what the administrator is to do.
[[noreturn]] void FailOn(const std::filesystem::path& path, int error, const std::string& advice);

/// Which file this is and when it changed last, as one line of text. While it is the same, so are
/// the bytes of the file: nobody can set the time of the last change.
std::string IdentityOf(const struct stat& status);

/// Waits until no other run holds the lock of the file or folder, and takes it.
void Lock(const panel::FileHandle& file, const std::filesystem::path& path);

/// The bytes of an open file from its beginning on.
std::string ReadAll(int file, const std::filesystem::path& path);

/// Writes `bytes` at `offset`; the file ends behind them.
void WriteEnd(int file, const std::filesystem::path& path, std::string_view bytes,
              std::size_t offset);

/// Puts on the disk what was written.
void Synchronise(int file, const std::filesystem::path& path);

}  // namespace zebmail::maps
