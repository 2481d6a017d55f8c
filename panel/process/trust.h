/// NAME
///   trust - who can write what the superuser reads
///
/// PURPOSE
///   The panel runs as root and does what some of its files say. Whoever else can write such a
///   file, put another one in its place or lead its path elsewhere by a symbolic link would give
///   root orders. Those who may are root and the user of this process.

#pragma once

#include <filesystem>
#include <string>

#include <sys/stat.h>

namespace panel {

/// What is wrong with the owner and the mode of what lies at `path`, and what mends it; empty when
/// nobody else can write it.
std::string FindFaultInRights(const std::filesystem::path& path, const struct stat& status);

/// What lets others write the file or folder at `path`, or put another one in its place; empty when
/// nothing does. In a folder like /tmp others cannot move what is not theirs. The path counts as
/// far as it exists.
std::string FindFaultInTrust(const std::filesystem::path& path);

/// The first symbolic link on the way of `path` that belongs to somebody else; empty when there
/// is none.
std::filesystem::path FindForeignLink(const std::filesystem::path& path);

}  // namespace panel
