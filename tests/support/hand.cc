/// NAME
///   hand - somebody who changes a table while the panel works on it

#include "tests/support/hand.h"

#include <fstream>
#include <map>

#include "tests/support/temp_folder.h"

namespace test_support {

namespace fs = std::filesystem;

namespace {

void Append(const fs::path& path, const std::string& line) {
  std::ofstream(path, std::ios::binary | std::ios::app) << line;
}

void RenameOver(const fs::path& path, const std::string& text) {
  const fs::path other = path.parent_path() / "written-by-hand";
  WriteText(other, text);
  fs::rename(other, path);
}

void WriteThroughLink(const fs::path& path, const std::string& text) {
  const fs::path link = fs::path(path.string() + "-link");
  fs::create_symlink(path, link);
  WriteText(link, text);
  fs::remove(link);
}

}  // namespace

const std::vector<Manner>& AllManners() {
  static const std::vector<Manner> manners = {Manner::kInPlace, Manner::kAppended,
                                              Manner::kRenamedOver, Manner::kThroughLink,
                                              Manner::kKeepingTime};
  return manners;
}

std::string NameOf(Manner manner) {
  static const std::map<Manner, std::string> names = {{Manner::kInPlace, "InPlace"},
                                                      {Manner::kAppended, "Appended"},
                                                      {Manner::kRenamedOver, "RenamedOver"},
                                                      {Manner::kThroughLink, "ThroughLink"},
                                                      {Manner::kKeepingTime, "KeepingTime"}};
  return names.at(manner);
}

void AddLine(const fs::path& path, const std::string& line, Manner manner) {
  const auto time = fs::last_write_time(path);
  switch (manner) {
    case Manner::kInPlace:
      WriteText(path, ReadText(path) + line);
      break;
    case Manner::kAppended:
      Append(path, line);
      break;
    case Manner::kRenamedOver:
      RenameOver(path, ReadText(path) + line);
      break;
    case Manner::kThroughLink:
      WriteThroughLink(path, ReadText(path) + line);
      break;
    case Manner::kKeepingTime:
      Append(path, line);
      fs::last_write_time(path, time);
      break;
  }
}

}  // namespace test_support
