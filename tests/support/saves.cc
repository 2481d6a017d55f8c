/// NAME
///   saves - which files of a folder have been saved, and how often

#include "tests/support/saves.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include <sys/inotify.h>
#include <unistd.h>

namespace test_support {
namespace {

[[noreturn]] void Fail(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

}  // namespace

Saves::Saves(const std::filesystem::path& folder)
    : events_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {
  if (!events_) Fail("inotify");
  if (inotify_add_watch(events_.get(), folder.c_str(), IN_MOVED_TO) < 0) Fail(folder);
}

std::vector<std::string> Saves::Names() const {
  std::vector<std::string> names;
  std::array<char, 16384> events{};
  for (;;) {
    const ssize_t count = read(events_.get(), events.data(), events.size());
    if (count < 0 && errno == EAGAIN) return names;
    if (count < 0) Fail("inotify");
    for (std::size_t place = 0; place < static_cast<std::size_t>(count);) {
      inotify_event event{};
      std::memcpy(&event, &events[place], sizeof event);
      if ((event.mask & IN_Q_OVERFLOW) != 0) throw std::runtime_error("inotify: too many events");
      place += sizeof event;
      names.emplace_back(&events[place]);  // filled up with zeros
      place += event.len;
    }
  }
}

}  // namespace test_support
