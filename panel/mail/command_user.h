/// NAME
///   command_user - the user as whom Postfix runs what the aliases name
///
/// PURPOSE
///   local(8) runs the commands of aliases(5) as the owner of the aliases file or, when that is the
///   superuser, as the user of `default_privs`. What such a command reads must be within his reach.

#pragma once

#include <filesystem>
#include <string>

#include <sys/types.h>

namespace panel::mail {

struct CommandUser {
  std::string name;
  uid_t user;
  gid_t group;
};

/// The user for the panel's aliases file. Throws fen_err::Error("missing", "user NAME", ...) for
/// one that the system does not know, and as PostconfValue.
CommandUser FindCommandUser();

/// Throws fen_err::Error("file", path, ...) when the user cannot get to what lies at `path`,
/// because it or a folder on its way is not there or is closed to him.
void RequireWithinReach(const std::filesystem::path& path, const CommandUser& user);

}  // namespace panel::mail
