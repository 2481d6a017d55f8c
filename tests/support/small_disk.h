/// NAME
///   small_disk - a disk that can be full, for one test
///
/// PURPOSE
///   A file system in memory, of a few pages, at a folder of the test's. It is mounted where nobody
///   but this process and those that it starts can see it, so that nothing is left of it even when
///   the test is killed.
///
/// HOW IT FAILS
///   With std::system_error, which names the folder. It takes the superuser.

#pragma once

#include <cstddef>
#include <filesystem>

namespace test_support {

class SmallDisk {
 public:
  /// Mounts a disk of `size` bytes at `folder`; what lay in the folder lies on the disk.
  SmallDisk(std::filesystem::path folder, std::size_t size);
  ~SmallDisk();

  SmallDisk(const SmallDisk&) = delete;
  SmallDisk& operator=(const SmallDisk&) = delete;

  /// Fills the disk until `left` bytes, in whole pages, are free, or empties it again.
  void FillUp(std::size_t left = 0) const;
  void Empty() const;

  void SetReadOnly(bool is_read_only) const;

 private:
  std::filesystem::path Ballast() const { return folder_ / "ballast"; }

  std::filesystem::path folder_;
  std::size_t size_;
};

}  // namespace test_support
