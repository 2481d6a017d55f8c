/// NAME
///   zebmail-postmap, zebmail-postalias - bringing a map in step with its text
///
/// WHAT IT DOES
///   Stands in for postmap(1), or postalias(1), where the panel runs it after each change of a
///   table. Postfix's own program reads the whole text and writes the whole map, which takes
///   seconds for a million lines; this one has it change the entries that have changed, and build
///   the whole map whenever it is not certain that this gives the same one. Anything but one map to
///   build is handed on to Postfix's program as it is. --help lists the options.
///
/// HOW IT FAILS
///   With the exit status and the words of Postfix's program; with status 1 and a line on standard
///   error that names a file and what to do; with status 64 for wrong usage.

#include <exception>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

#include <sysexits.h>

#include "zebmail/maps/arguments.h"
#include "zebmail/maps/update.h"

int main(int argc, char** argv) {
  std::vector<std::string> words(argv, argv + argc);
  if (!words.empty()) words.front() = std::filesystem::path(words.front()).filename();
  const std::string name = words.empty() ? "zebmail-postmap" : words.front();
  try {
    const zebmail::maps::Arguments arguments = zebmail::maps::ReadArguments(words);
    if (!arguments.help) return zebmail::maps::CarryOut(arguments);
    std::cout << zebmail::maps::HelpOf(name) << std::flush;
    return std::cout ? 0 : 1;
  } catch (const zebmail::maps::UsageError& error) {
    std::cerr << name << ": " << error.what() << "\n";
    return EX_USAGE;
  } catch (const std::exception& error) {
    std::cerr << name << ": " << error.what() << "\n";
    return 1;
  }
}
