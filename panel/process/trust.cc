/// NAME
///   trust - who can write what the superuser reads

#include "panel/process/trust.h"

#include <functional>
#include <system_error>

#include <unistd.h>

namespace panel {
namespace {

namespace fs = std::filesystem;

/// As many as the system itself follows.
constexpr int kMostLinks = 40;

bool IsTrusted(uid_t owner) {
  return owner == 0 || owner == geteuid();
}

bool IsWritableByOthers(const struct stat& status) {
  return !S_ISLNK(status.st_mode) && (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

bool IsLikeTmp(const struct stat& status) {
  return S_ISDIR(status.st_mode) && (status.st_mode & S_ISVTX) != 0;
}

/// Goes along a path as the system does, part by part and through symbolic links.
class Walk {
 public:
  /// Returns whether to go on.
  using Visit = std::function<bool(const fs::path& part, const struct stat& status)>;

  explicit Walk(const Visit& visit) : visit_(visit) {}

  /// Goes along `path` from the folder `here`; ends where the path ends to exist or `visit` wants
  /// no more, and then returns false.
  bool Along(const fs::path& path, fs::path& here) {
    if (path.is_absolute()) here = "/";
    for (const fs::path& part : path.relative_path()) {
      if (!Step(part, here)) return false;
    }
    return true;
  }

 private:
  bool Step(const fs::path& part, fs::path& here) {
    if (part.empty() || part == ".") return true;
    if (part == "..") {
      here = here.parent_path();
      return true;
    }
    const fs::path next = here / part;
    struct stat status {};
    if (lstat(next.c_str(), &status) != 0 || !visit_(next, status)) return false;
    if (S_ISLNK(status.st_mode)) return FollowLink(next, here);
    here = next;
    return true;
  }

  bool FollowLink(const fs::path& link, fs::path& here) {
    std::error_code failed;
    const fs::path target = fs::read_symlink(link, failed);
    return !failed && ++links_ <= kMostLinks && Along(target, here);
  }

  const Visit& visit_;
  int links_ = 0;
};

void GoAlong(const fs::path& path, const Walk::Visit& visit) {
  fs::path here = fs::current_path();
  Walk(visit).Along(path, here);
}

}  // namespace

std::string FindFaultInRights(const fs::path& path, const struct stat& status) {
  if (!IsTrusted(status.st_uid)) {
    return path.string() +
           " belongs to neither root nor the user of this process: look who has put it there, and "
           "remove it or run `chown -h root` on it";
  }
  if (IsWritableByOthers(status)) {
    return path.string() + " can be written by others than its owner: run `chmod go-w` on it";
  }
  return "";
}

std::string FindFaultInTrust(const fs::path& path) {
  std::string fault;
  GoAlong(path, [&fault](const fs::path& part, const struct stat& status) {
    struct stat judged = status;
    if (IsLikeTmp(status)) judged.st_mode &= ~static_cast<mode_t>(S_IWGRP | S_IWOTH);
    fault = FindFaultInRights(part, judged);
    return fault.empty();
  });
  return fault;
}

fs::path FindForeignLink(const fs::path& path) {
  fs::path link;
  GoAlong(path, [&link](const fs::path& part, const struct stat& status) {
    if (S_ISLNK(status.st_mode) && !IsTrusted(status.st_uid)) link = part;
    return link.empty();
  });
  return link;
}

}  // namespace panel
