/// NAME
///   manual - writing the manual pages
///
/// USAGE
///   manual SOURCE-FOLDER FOLDER
///
/// WHAT IT DOES
///   Puts into each page of the source folder, in place of a line "@NAME@", the part of that name,
///   which the programs themselves give (parts.h), and writes the page into the other folder. Runs
///   while the programs are built, and is not installed.
///
/// HOW IT FAILS
///   With status 1 and a line on standard error: for a file that cannot be read or written, a page
///   that asks for a part that there is not, or that leaves one out.

#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <set>
#include <stdexcept>
#include <string>

#include "packaging/manual/parts.h"

namespace manual {
namespace {

namespace fs = std::filesystem;

std::string Filled(std::istream& source, const Parts& parts) {
  std::string text;
  std::set<std::string> used;
  for (std::string line; std::getline(source, line);) {
    const bool is_mark = line.size() > 2 && line.starts_with('@') && line.ends_with('@');
    if (!is_mark) {
      text += line + "\n";
      continue;
    }
    const std::string name = line.substr(1, line.size() - 2);
    if (!parts.contains(name)) throw std::runtime_error("there is no part " + line);
    text += parts.at(name);
    used.insert(name);
  }
  for (const auto& [name, part] : parts) {
    if (!used.contains(name)) throw std::runtime_error("the part @" + name + "@ is nowhere");
  }
  return text;
}

void WritePage(const fs::path& from, const fs::path& to, const Parts& parts) {
  try {
    std::ifstream source(from);
    if (!source) throw std::runtime_error("cannot be read");
    std::ofstream page(to);
    page << Filled(source, parts) << std::flush;
    if (!page) throw std::runtime_error("cannot be written to " + to.string());
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(from.string() + ": " + error.what());
  }
}

void WritePages(const fs::path& from, const fs::path& to) {
  fs::create_directories(to);
  WritePage(from / "zebmail.1.in", to / "zebmail.1", CommandParts());
  WritePage(from / "zebmail.toml.5.in", to / "zebmail.toml.5", ConfigParts());
  WritePage(from / "zebmail-postmap.1.in", to / "zebmail-postmap.1", MapToolParts());
  WritePage(from / "zebmail-postalias.1.in", to / "zebmail-postalias.1", {});
}

}  // namespace
}  // namespace manual

int main(int argc, char** argv) {
  try {
    if (argc != 3) throw std::runtime_error("usage: manual SOURCE-FOLDER FOLDER");
    manual::WritePages(argv[1], argv[2]);
    return 0;
  } catch (const std::exception& error) {
    std::cerr << "manual: " << error.what() << "\n";
    return 1;
  }
}
