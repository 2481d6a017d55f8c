/// NAME
///   main_cf - the parameters of main.cf

#include "panel/mail/main_cf.h"

#include <cerrno>
#include <fstream>
#include <functional>
#include <sstream>
#include <system_error>

#include <sys/stat.h>

#include "host/fen_err.h"
#include "panel/mail/advice.h"
#include "panel/mail/postconf.h"
#include "panel/module/config.h"
#include "panel/process/tools.h"

namespace panel::mail {
namespace {

namespace fs = std::filesystem;

const char* const kMainCf = "main.cf";

/// Calls `visit` with each "NAME = VALUE" that postconf prints for these options and `names`.
void ForEachValue(const std::vector<std::string>& options, const std::vector<std::string>& names,
                  const std::function<void(const std::string&, const std::string&)>& visit) {
  std::vector<std::string> words = options;
  words.insert(words.end(), names.begin(), names.end());
  std::istringstream lines(RunPostconf(words));
  for (std::string line; std::getline(lines, line);) {
    const std::size_t end = line.find(" =");
    if (end == std::string::npos) continue;
    const std::size_t begin = line.find_first_not_of(' ', end + 2);
    visit(line.substr(0, end), begin == std::string::npos ? "" : line.substr(begin));
  }
}

/// A folder of its own for the copy, for nobody else to see. postconf reads a main.cf by that name.
class Workplace {
 public:
  static fs::path Folder() { return CurrentConfig().state_dir / kMainCf; }

  Workplace() {
    RemoveCopyOfMainCf();
    const fs::path folder = Folder();
    if (mkdir(folder.c_str(), 0700) != 0) {
      throw fen_err::Error("file", folder.string(),
                           "cannot be created: " + std::generic_category().message(errno));
    }
  }
  ~Workplace() {
    std::error_code failed;  // the next operation removes what is left there
    fs::remove_all(Folder(), failed);
  }
  Workplace(const Workplace&) = delete;
  Workplace& operator=(const Workplace&) = delete;
};

void Write(const fs::path& path, const std::string& text) {
  std::ofstream file(path, std::ios::binary);
  file << text;
  file.close();
  if (!file) throw fen_err::Error("file", path.string(), "cannot be written");
}

/// Runs postconf on the main.cf in `folder`. In one run for all of them it would add those that are
/// new in no certain order.
void Edit(const fs::path& folder, const std::vector<Assignment>& assignments) {
  for (const Assignment& one : assignments) {
    const ToolRun run =
        RunTool({PostconfCommand().front(), "-c", folder, "-e", one.name + " = " + one.value}, "");
    if (run.result != 0) throw fen_err::Error("email", "postconf", run.output);
  }
}

}  // namespace

Parameters ReadParameters(const std::vector<std::string>& names) {
  Parameters parameters;
  for (const std::string& name : names) parameters[name];
  ForEachValue({}, names,
               [&](const auto& name, const auto& value) { parameters[name].value = value; });
  ForEachValue({"-x"}, names,
               [&](const auto& name, const auto& value) { parameters[name].expanded = value; });
  ForEachValue({"-n"}, names,
               [&](const auto& name, const auto&) { parameters[name].is_set = true; });
  return parameters;
}

std::string Expanded(const std::string& name, const std::string& text) {
  if (text.find('$') == std::string::npos) return text;
  std::string expanded;
  ForEachValue({"-x", "-o", name + "=" + text}, {name},
               [&expanded](const auto&, const auto& value) { expanded = value; });
  return expanded;
}

std::vector<Override> ReadOverrides(const std::vector<std::string>& patterns) {
  std::map<std::string, std::string> expanded;
  ForEachValue({"-Px"}, patterns,
               [&expanded](const auto& place, const auto& value) { expanded[place] = value; });
  std::vector<Override> overrides;
  ForEachValue({"-P"}, patterns, [&](const std::string& place, const std::string& value) {
    const std::size_t name = place.rfind('/');
    if (name == std::string::npos) return;
    std::string service = place.substr(0, name);
    const std::size_t type = service.rfind('/');
    if (type != std::string::npos) service[type] = ' ';
    overrides.push_back({service, place.substr(name + 1), value, expanded[place]});
  });
  return overrides;
}

conf::FileContents ReadMainCf() {
  return conf::ReadWholeFile(ConfigFolder() / kMainCf);
}

MainCfEdit EditMainCf(const conf::FileContents& before,
                      const std::vector<Assignment>& assignments) {
  MainCfEdit edit;
  edit.file = ConfigFolder() / kMainCf;
  edit.before = before;
  const Workplace workplace;
  const fs::path copy = Workplace::Folder() / kMainCf;
  Write(copy, edit.before.bytes);
  Edit(Workplace::Folder(), assignments);
  edit.after = conf::ReadWholeFile(copy).bytes;
  return edit;
}

void RemoveCopyOfMainCf() {
  std::error_code failure;
  fs::remove_all(Workplace::Folder(), failure);
  if (!failure) return;
  throw fen_err::Error("file", Workplace::Folder().string(),
                       "cannot be removed: " + failure.message());
}

void Save(const MainCfEdit& edit) {
  conf::ReplaceFile(edit.file, edit.before.stamp,
                    [&edit](const conf::PieceWriter& write) { write(edit.after); });
  conf::SyncFolderOf(edit.file);
}

fs::path ConfigFolder() {
  return PostconfValue("config_directory");
}

std::string SetCommand(const Assignment& assignment) {
  std::vector<std::string> words = PostconfCommand();
  words.insert(words.end(), {"-e", assignment.name + " = " + assignment.value});
  return ShellWords(words);
}

}  // namespace panel::mail
