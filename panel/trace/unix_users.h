/// NAME
///   unix_users - the users to whom local(8) can deliver

#pragma once

#include <optional>
#include <string>

namespace panel::trace {

/// The home folder of the Unix user `name`; nothing when the system has no such user. Throws
/// fen_err::Error("system", name, why) when the system does not tell.
std::optional<std::string> HomeOf(const std::string& name);

inline bool IsUser(const std::string& name) {
  return HomeOf(name).has_value();
}

}  // namespace panel::trace
