/// NAME
///   temp_folder - a folder that lives as long as a test, and the files in it

#include "tests/support/temp_folder.h"

#include <cerrno>
#include <chrono>
#include <fstream>
#include <iterator>
#include <system_error>

#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

namespace test_support {
namespace {

[[noreturn]] void Fail(const std::filesystem::path& path) {
  throw std::system_error(errno, std::generic_category(), path.string());
}

std::filesystem::path MakeFolder() {
  std::string name = std::filesystem::temp_directory_path() / "zebmail-test-XXXXXX";
  if (mkdtemp(name.data()) == nullptr) Fail(name);
  return name;
}

struct stat StatusOf(const std::filesystem::path& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) Fail(path);
  return status;
}

}  // namespace

TempFolder::TempFolder() : path_(MakeFolder()) {
  SetMode(path_, 0711);
}

TempFolder::~TempFolder() {
  std::error_code ignored;  // A test that took the folder away itself has nothing left to remove.
  std::filesystem::remove_all(path_, ignored);
}

std::string TempFolder::ReadText(const std::string& name) const {
  return test_support::ReadText(Path(name));
}

std::filesystem::path TempFolder::WriteText(const std::string& name,
                                            const std::string& text) const {
  test_support::WriteText(Path(name), text);
  return Path(name);
}

std::string ReadText(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) Fail(path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void WriteText(const std::filesystem::path& path, const std::string& text) {
  std::filesystem::create_directories(path.parent_path());
  std::ofstream file(path, std::ios::binary | std::ios::trunc);
  file << text << std::flush;
  if (!file) Fail(path);
}

mode_t ModeOf(const std::filesystem::path& path) {
  return StatusOf(path).st_mode & 07777U;
}

void SetMode(const std::filesystem::path& path, mode_t mode) {
  if (chmod(path.c_str(), mode) != 0) Fail(path);
}

Owner OwnerOf(const std::filesystem::path& path) {
  const struct stat status = StatusOf(path);
  return {status.st_uid, status.st_gid};
}

void SetOwner(const std::filesystem::path& path, const Owner& owner) {
  if (chown(path.c_str(), owner.user, owner.group) != 0) Fail(path);
}

void MakeOld(const std::filesystem::path& path) {
  const auto an_hour_ago = std::filesystem::file_time_type::clock::now() - std::chrono::hours(1);
  std::filesystem::last_write_time(path, an_hour_ago);
}

}  // namespace test_support
