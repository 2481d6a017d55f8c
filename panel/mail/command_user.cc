/// NAME
///   command_user - the user as whom Postfix runs what the aliases name

#include "panel/mail/command_user.h"

#include <array>
#include <cerrno>
#include <system_error>

#include <pwd.h>
#include <sys/stat.h>

#include "host/fen_err.h"
#include "panel/mail/postconf.h"
#include "panel/mail/table_path.h"

namespace panel::mail {
namespace {

/// Looks a user up by `get`, which is getpwnam_r or getpwuid_r on his name or number.
template <class Get>
CommandUser Find(const std::string& shown, const Get& get) {
  constexpr std::size_t kRoomForAnyEntry = 16384;
  std::array<char, kRoomForAnyEntry> room{};
  passwd entry{};
  passwd* found = nullptr;
  get(&entry, room.data(), room.size(), &found);
  if (found == nullptr) {
    throw fen_err::Error("missing", "user " + shown,
                         "Postfix would run the commands of the aliases as this user; see "
                         "default_privs in postconf(5)");
  }
  return {entry.pw_name, entry.pw_uid, entry.pw_gid};
}

/// The owner of the aliases file; the superuser when there is no file yet, since he will make it.
uid_t OwnerOfAliases() {
  struct stat status {};
  const std::string aliases = TablePath("aliases");
  return stat(aliases.c_str(), &status) == 0 ? status.st_uid : 0;
}

bool MayPass(const struct stat& status, const CommandUser& user) {
  if (status.st_uid == user.user) return (status.st_mode & S_IXUSR) != 0;
  if (status.st_gid == user.group) return (status.st_mode & S_IXGRP) != 0;
  return (status.st_mode & S_IXOTH) != 0;
}

}  // namespace

CommandUser FindCommandUser() {
  const uid_t owner = OwnerOfAliases();
  if (owner != 0) {
    return Find(std::to_string(owner), [owner](auto... room) { getpwuid_r(owner, room...); });
  }
  const std::string name = PostconfValue("default_privs");
  return Find(name, [&name](auto... room) { getpwnam_r(name.c_str(), room...); });
}

void RequireWithinReach(const std::filesystem::path& path, const CommandUser& user) {
  std::filesystem::path walked;
  for (const std::filesystem::path& part : path) {
    walked /= part;
    struct stat status {};
    if (stat(walked.c_str(), &status) != 0) {
      throw fen_err::Error("file", walked.string(), std::generic_category().message(errno));
    }
    if (MayPass(status, user)) continue;
    throw fen_err::Error("file", walked.string(),
                         "is closed to the user " + user.name +
                             ", as whom Postfix runs the auto-responder: run `chmod o+x` on it");
  }
}

}  // namespace panel::mail
