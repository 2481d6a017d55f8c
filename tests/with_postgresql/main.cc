/// NAME
///   with_postgresql - runs a command while a private PostgreSQL server runs
///
/// PURPOSE
///   Tests that make a panel make it on that server (tests/support/test_database.h): it is started
///   once for all of them, and ends with this program, however that ends.
///
/// USAGE
///   with_postgresql [--fsync] COMMAND [ARGUMENT...]
///   --fsync has the server wait for the disk, as servers do. Exits as the command does. A signal
///   that asks this program to end is passed on to the command, whose end is waited for.

#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string_view>

#include <sys/wait.h>
#include <unistd.h>

#include "tests/support/postgresql_server.h"
#include "tests/support/test_database.h"

namespace {

/// What is passed on, and that the command has ended.
sigset_t AwaitedSignals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGHUP, SIGINT, SIGTERM, SIGCHLD}) sigaddset(&signals, signal);
  return signals;
}

/// posix_spawn would leave two signals ignored for the command and all below it.
pid_t Start(char** words) {
  const pid_t process = fork();
  if (process < 0) throw std::runtime_error("no process can be made");
  if (process > 0) return process;
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
  execvp(*words, words);
  std::cerr << "with_postgresql: " << *words << " cannot be run\n";
  _exit(127);
}

int WaitFor(pid_t process, const sigset_t& signals) {
  int status = 0;
  while (waitpid(process, &status, WNOHANG) == 0) {
    const int signal = sigwaitinfo(&signals, nullptr);
    if (signal > 0 && signal != SIGCHLD) kill(process, signal);
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int Run(char** words, bool waits_for_disk) {
  const sigset_t signals = AwaitedSignals();
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  const test_support::PostgresqlServer server(waits_for_disk);
  test_support::MakeTemplateDatabase(server.folder());
  setenv(test_support::kServerVariable, server.folder().c_str(), 1);
  return WaitFor(Start(words), signals);
}

}  // namespace

int main(int count, char** words) {
  const bool waits_for_disk = count > 1 && std::string_view(words[1]) == "--fsync";
  char** const command = words + (waits_for_disk ? 2 : 1);
  if (*command == nullptr) {
    std::cerr << "usage: with_postgresql [--fsync] COMMAND [ARGUMENT...]\n";
    return 2;
  }
  try {
    return Run(command, waits_for_disk);
  } catch (const std::exception& error) {
    std::cerr << "with_postgresql: " << error.what() << "\n";
    return 1;
  }
}
