/// NAME
///   terminal - a program on a terminal of its own

#include "tests/support/terminal.h"

#include <array>
#include <cstdlib>
#include <stdexcept>

#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test_support {

namespace {

void SetEnvironment(const Terminal& terminal) {
  setenv("TERM", "dumb", 1);
  unsetenv("NO_COLOR");
  unsetenv("COLUMNS");
  for (const auto& [name, value] : terminal.environment) setenv(name.c_str(), value.c_str(), 1);
}

}  // namespace

OnTerminal::OnTerminal(std::vector<std::string> words, const Terminal& terminal) {
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  const winsize size = {24, terminal.columns, 0, 0};
  int end = -1;
  child_ = forkpty(&end, nullptr, nullptr, &size);
  if (child_ < 0) throw std::runtime_error("forkpty failed");
  if (child_ == 0) {
    SetEnvironment(terminal);
    execv(arguments.front(), arguments.data());
    _exit(127);
  }
  terminal_ = panel::FileHandle(end);
}

void OnTerminal::Type(const std::string& text) const {
  const ssize_t size = write(terminal_.get(), text.data(), text.size());
  if (size != static_cast<ssize_t>(text.size())) throw std::runtime_error("nothing can be typed");
}

std::string OnTerminal::ReadUntil(const std::string& text) {
  while (printed_.find(text) == std::string::npos && ReadPart()) continue;
  return printed_;
}

std::string OnTerminal::ReadAll() {
  while (ReadPart()) continue;
  return printed_;
}

bool OnTerminal::ReadPart() {
  std::array<char, 4096> part{};
  const ssize_t count = read(terminal_.get(), part.data(), part.size());
  if (count > 0) printed_.append(part.data(), static_cast<std::size_t>(count));
  return count > 0;
}

int OnTerminal::Wait() const {
  int status = 0;
  waitpid(child_, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace test_support
