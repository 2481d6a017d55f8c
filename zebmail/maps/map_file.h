/// NAME
///   map_file - the file of an indexed map
///
/// HOW IT FAILS
///   With FileError.

#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include <sys/stat.h>

#include "panel/process/file_handle.h"

namespace zebmail::maps {

/// Whether maps of this type can be changed entry by entry and lie in one file.
bool IsChangeable(const std::string& type);

/// What the file of a map of such a type is called behind its text's name.
std::string SuffixOf(const std::string& type);

/// The map at `path`, if it is a file that nobody but the user of this process owns; closed
/// otherwise, as when there is none.
panel::FileHandle OpenMap(const std::filesystem::path& path);

/// Gives the map a time of its own, by which any later writing is noticed, and puts it on the disk.
/// Returns its status; nothing when the file system cannot keep such a time, or when somebody has
/// written to it meanwhile.
std::optional<struct stat> MarkMap(const panel::FileHandle& map, const std::filesystem::path& path);

/// Whether the map that was marked is as it was then, whatever name it has been given since.
bool HasMarkOf(const struct stat& marked, const struct stat& now);

}  // namespace zebmail::maps
