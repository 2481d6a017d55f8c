/// NAME
///   unix_users - the users to whom local(8) can deliver

#include "panel/trace/unix_users.h"

#include <array>
#include <cerrno>
#include <system_error>

#include <pwd.h>

#include "host/fen_err.h"

namespace panel::trace {

std::optional<std::string> HomeOf(const std::string& name) {
  constexpr std::size_t kRoomForAnyEntry = 16384;
  std::array<char, kRoomForAnyEntry> room{};
  passwd entry{};
  passwd* found = nullptr;
  const int error = getpwnam_r(name.c_str(), &entry, room.data(), room.size(), &found);
  if (error != 0 && error != ENOENT) {
    throw fen_err::Error("system", name, std::generic_category().message(error));
  }
  if (found == nullptr) return std::nullopt;
  return entry.pw_dir;
}

}  // namespace panel::trace
