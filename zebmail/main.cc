/// NAME
///   zebmail - running mail on Postfix from a panel's database
///
/// WHAT IT DOES
///   Reads the command line, runs the one command it names and turns its failure into a message and
///   an exit status: 0 done, 1 failed, 2 wrong usage.

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

#include "zebmail/command_line.h"
#include "zebmail/complete.h"
#include "zebmail/output.h"

namespace zebmail {
namespace {

/// A caller may have closed these. The next file opened, the database say, would take their place
/// and get what is printed.
void KeepStandardStreams() {
  for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
    if (fcntl(stream, F_GETFD) < 0 && open("/dev/null", O_RDWR) != stream) std::abort();
  }
}

/// A file that a limit keeps from growing is one that cannot be written, and is taken back like any
/// other; by itself the signal would end the command on the spot. Tools start without this.
void TakeLimitsForErrors() {
  if (std::signal(SIGXFSZ, SIG_IGN) == SIG_ERR) std::abort();
}

/// The arguments, last one first, as the parser takes them. It has no notion of an option with an
/// empty value in one word ("--ip="), so that becomes two words.
std::vector<std::string> Arguments(int argc, char** argv) {
  std::vector<std::string> words;
  bool is_option = true;
  for (int index = 1; index < argc; ++index) {
    const std::string word = argv[index];
    is_option = is_option && word != "--";
    if (is_option && word.starts_with("--") && word.find('=') == word.size() - 1) {
      words.push_back(word.substr(0, word.size() - 1));
      words.emplace_back();
    } else {
      words.push_back(word);
    }
  }
  std::reverse(words.begin(), words.end());
  return words;
}

Status WrongUsage(const std::string& what) {
  std::cerr << ErrorMark() << "usage: " << Shown(what) << "\nSee: zebmail --help\n";
  return kWrongUsage;
}

/// Reads the command line; returns what to exit with when there is no command to be run.
std::optional<Status> Parse(CLI::App& app, const Invocation& invocation, int argc, char** argv) {
  try {
    app.parse(Arguments(argc, argv));
  } catch (const CLI::ParseError& error) {
    if (error.get_exit_code() != 0) return WrongUsage(error.what());
    app.exit(error);
    return kDone;
  }
  if (!invocation.action) return WrongUsage("a command is missing");
  return std::nullopt;
}

/// Whatever was to be printed must have been printed before the run counts as a success.
Status Printed(Status status) {
  std::cout.flush();
  if (std::cout) return status;
  std::cerr << ErrorMark() << "output: cannot be written\n"
            << "next: what the command was to do has been done; only its words are lost\n";
  return kFailed;
}

Status Run(int argc, char** argv) {
  if (IsCompletion(argc, argv)) return Complete(argc, argv);

  Invocation invocation;
  invocation.words.assign(argv, argv + argc);
  CLI::App app;
  BuildCommandLine(app, invocation);

  if (const std::optional<Status> ended = Parse(app, invocation, argc, argv))
    return Printed(*ended);
  return Printed(invocation.action());
}

}  // namespace
}  // namespace zebmail

int main(int argc, char** argv) {
  zebmail::KeepStandardStreams();
  zebmail::TakeLimitsForErrors();
  try {
    return zebmail::Run(argc, argv);
  } catch (const std::exception& error) {
    zebmail::PrintError(error);
    return zebmail::kFailed;
  }
}
