/// NAME
///   still_text - a text as it was at one moment
///
/// HOW IT FAILS
///   With FileError.

#pragma once

#include <filesystem>
#include <string>

#include <sys/stat.h>

namespace zebmail::maps {

/// How often the work begins anew because the text has changed under it.
constexpr int kAttempts = 5;

struct StillText {
  std::string bytes;
  struct stat status {};
};

/// Reads the text at `path`.
StillText ReadStill(const std::filesystem::path& path);

/// Whether what lies at `path` is what was read.
bool IsStill(const StillText& text, const std::filesystem::path& path);

}  // namespace zebmail::maps
