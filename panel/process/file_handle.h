/// NAME
///   file_handle - owning an open file

#pragma once

#include <utility>

#include <unistd.h>

namespace panel {

/// A file descriptor that is closed with its owner. Negative when there is none.
class FileHandle {
 public:
  FileHandle() = default;
  explicit FileHandle(int descriptor) noexcept : descriptor_(descriptor) {}
  FileHandle(FileHandle&& other) noexcept : descriptor_(std::exchange(other.descriptor_, -1)) {}
  FileHandle& operator=(FileHandle&& other) noexcept {
    std::swap(descriptor_, other.descriptor_);
    return *this;
  }
  ~FileHandle() {
    if (descriptor_ >= 0) close(descriptor_);
  }

  FileHandle(const FileHandle&) = delete;
  FileHandle& operator=(const FileHandle&) = delete;

  int get() const noexcept { return descriptor_; }
  explicit operator bool() const noexcept { return descriptor_ >= 0; }

 private:
  int descriptor_ = -1;
};

}  // namespace panel
