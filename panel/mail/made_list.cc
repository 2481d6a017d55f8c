/// NAME
///   made_list - what the panel has made outside of its own folder

#include "panel/mail/made_list.h"

#include "panel/conf/disk_file.h"
#include "panel/module/config.h"

namespace panel::mail {
namespace {

namespace fs = std::filesystem;

std::string Line(const std::string& what, const std::string& name) {
  return what + "\t" + name + "\n";
}

void Append(const std::string& lines) {
  if (lines.empty()) return;
  const std::string path = CurrentConfig().state_dir / "made";
  const conf::FileContents list = conf::ReadWholeFile(path);
  conf::ReplaceFile(
      path, list.stamp, [&](const conf::PieceWriter& write) { write(list.bytes + lines); },
      conf::kPrivateFile);
  conf::SyncFolderOf(path);
}

}  // namespace

void ListKept(const std::vector<fs::path>& paths) {
  std::string lines;
  for (const fs::path& path : paths) lines += Line("kept", path);
  Append(lines);
}

void ListMade(const std::vector<fs::path>& paths) {
  std::string lines;
  for (const fs::path& path : paths) {
    lines += Line(fs::is_directory(path) ? "folder" : "file", path);
  }
  Append(lines);
}

void ListSettings(const fs::path& folder, const std::vector<Assignment>& settings) {
  std::vector<std::string> names;
  names.reserve(settings.size());
  for (const Assignment& setting : settings) names.push_back(setting.name);
  Parameters now = ReadParameters(names);
  std::string lines = Line("main.cf", folder);
  for (const Assignment& setting : settings) {
    const Parameter& parameter = now[setting.name];
    lines += Line("set", setting.name + "\t" + setting.value);
    lines += parameter.is_set ? Line("was", setting.name + "\t" + parameter.value)
                              : Line("unset", setting.name);
  }
  Append(lines);
}

}  // namespace panel::mail
