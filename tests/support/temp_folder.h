/// NAME
///   temp_folder - a folder that lives as long as a test, and the files in it
///
/// PURPOSE
///   Gives a test a place of its own below the system's temporary folder, which is gone with
///   everything in it at the end of the test. Its mode is 0711: the users under whom Postfix runs
///   can pass through it to the files meant for them, but cannot look around.
///
/// HOW IT FAILS
///   With std::filesystem::filesystem_error or std::system_error, which names the path.

#pragma once

#include <filesystem>
#include <string>

#include <sys/types.h>

namespace test_support {

class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;

  const std::filesystem::path& path() const noexcept { return path_; }

  /// The path of `name` in the folder; the file need not exist.
  std::filesystem::path Path(const std::string& name) const { return path_ / name; }

  /// The whole text of the file `name` in the folder.
  std::string ReadText(const std::string& name) const;

  /// Makes or overwrites the file `name` in the folder and returns its path.
  std::filesystem::path WriteText(const std::string& name, const std::string& text) const;

 private:
  std::filesystem::path path_;
};

/// The whole text of the file at `path`, byte by byte.
std::string ReadText(const std::filesystem::path& path);

/// Makes or overwrites the file at `path`, with its parent folders.
void WriteText(const std::filesystem::path& path, const std::string& text);

/// The permission bits of what lies at `path`, such as 0644.
mode_t ModeOf(const std::filesystem::path& path);
void SetMode(const std::filesystem::path& path, mode_t mode);

struct Owner {
  uid_t user;
  gid_t group;
  bool operator==(const Owner&) const = default;
};

/// The owner of what lies at `path`; a symbolic link is followed.
Owner OwnerOf(const std::filesystem::path& path);
void SetOwner(const std::filesystem::path& path, const Owner& owner);

/// Makes the file look as if it had been written an hour ago. Each Postfix program reads main.cf
/// again and again, for up to two seconds, while the file is that fresh.
void MakeOld(const std::filesystem::path& path);

}  // namespace test_support
