/// NAME
///   checks - whether the panel and the mail server fit together

#include "panel/mail/checks.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <filesystem>
#include <map>
#include <system_error>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "panel/conf/pending.h"
#include "panel/mail/advice.h"
#include "panel/mail/back_end.h"
#include "panel/mail/binding_checks.h"
#include "panel/mail/host_name_checks.h"
#include "panel/mail/map_building_checks.h"
#include "panel/mail/map_contents.h"
#include "panel/mail/map_tool.h"
#include "panel/mail/maps.h"
#include "panel/mail/responder_checks.h"
#include "panel/mail/suspension_checks.h"
#include "panel/mail/table_checks.h"
#include "panel/mail/target_checks.h"
#include "panel/mail/wiring_checks.h"
#include "panel/module/config.h"
#include "panel/process/file_handle.h"
#include "panel/text/words.h"

namespace panel::mail {
namespace {

namespace fs = std::filesystem;

/// After-save work that a killed process or a failed tool left. The next change makes up for it, so
/// there is nothing to mend by the finding itself.
Findings CheckPendingWork() {
  Findings findings;
  for (const conf::PendingWork& work : conf::ListPendingWork()) {
    findings.push_back({"pending",
                        work.path,
                        DescribeOutstandingTool(work),
                        "Postfix still works with what was there before",
                        FixCommand(),
                        {}});
  }
  return findings;
}

/// The programs that the command line that is configured under `name` runs: its own, and Postfix's
/// behind that.
std::vector<std::string> ProgramsOf(const std::string& name) {
  const std::vector<std::string> words = SplitWords(fen_cf::GetPath(name));
  if (words.empty()) return {};
  const std::string behind = BehindMapTool(words).front();
  if (behind == words.front()) return {behind};
  return {words.front(), behind};
}

bool CanBeRun(const std::string& name) {
  const std::vector<std::string> programs = ProgramsOf(name);
  return !programs.empty() &&
         std::all_of(programs.begin(), programs.end(),
                     [](const std::string& program) { return access(program.c_str(), X_OK) == 0; });
}

void CheckTool(const std::string& name, const std::string& why, Findings& findings) {
  const std::vector<std::string> programs = ProgramsOf(name);
  if (programs.empty()) {
    findings.push_back({"path", name, "is not configured", why, ConfigureAdvice(name), {}});
  }
  for (const std::string& program : programs) {
    if (access(program.c_str(), X_OK) == 0) continue;
    findings.push_back({"path",
                        name,
                        program + " cannot be run: " + std::generic_category().message(errno),
                        why,
                        ConfigureAdvice(name),
                        {}});
  }
}

Findings CheckTools() {
  Findings findings;
  CheckTool("postfix-bin", "Postfix is not told to read its local host names and services anew",
            findings);
  CheckTool("postfix-postmap", "changes of mailboxes and domains do not reach Postfix", findings);
  CheckTool("postfix-postalias", "changes of the aliases do not reach Postfix", findings);
  return findings;
}

/// Why the file cannot be read; empty when it can.
std::string ReadingFailure(const std::string& path) {
  struct stat status {};
  const FileHandle file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file || fstat(file.get(), &status) != 0) return std::generic_category().message(errno);
  return S_ISREG(status.st_mode) ? "" : "not a regular file";
}

bool IsWritableByOthers(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return false;
  return status.st_uid != 0 || (status.st_mode & (S_IWGRP | S_IWOTH)) != 0;
}

struct TableFile {
  const char* name;
  const char* why;
};

constexpr std::array<TableFile, 6> kTableFiles = {{
    {"postfix-virtusertable", "Postfix knows no address of the panel"},
    {"postfix-localhostnames", "Postfix takes no mail for the domains of the panel"},
    {"postfix-accessdb", "suspended domains are not refused"},
    {"postfix-aliases", "mail for unknown addresses is not bounced"},
    {"postfix-domainips", "no domain can be bound to an address"},
    {"postfix-master", "no domain can be bound to an address"},
}};

Finding WritableByOthers(const std::string& path) {
  return {"file",
          path,
          "can be written by others than root",
          "who writes it decides where mail goes and what Postfix runs",
          "chown root " + ShellWord(path) + " && chmod go-w " + ShellWord(path),
          {}};
}

Findings CheckTableFiles() {
  Findings findings;
  for (const TableFile& file : kTableFiles) {
    const std::string path = fen_cf::GetPath(file.name);
    if (path.empty()) {
      findings.push_back(
          {"path", file.name, "is not configured", file.why, ConfigureAdvice(file.name), {}});
      continue;
    }
    const std::string failure = ReadingFailure(path);
    if (!failure.empty()) {
      findings.push_back({"file",
                          path,
                          "cannot be read: " + failure,
                          file.why,
                          "put the file in place or " + ConfigureAdvice(file.name),
                          {}});
    } else if (IsWritableByOthers(path)) {
      findings.push_back(WritableByOthers(path));
    }
  }
  return findings;
}

/// Whether others can put another file in the place of one in or below the folder. In a folder like
/// /tmp they cannot move what is not theirs, but put a map beside its table before it is built.
bool IsOpenFolder(const fs::path& folder, bool has_tables) {
  struct stat status {};
  if (stat(folder.c_str(), &status) != 0) return false;
  const bool is_sticky = (status.st_mode & S_ISVTX) != 0;
  return IsWritableByOthers(folder) && (has_tables || !is_sticky || status.st_uid != 0);
}

/// The folders of the tables and those above them, and whether each has tables in it.
std::map<fs::path, bool> TableFolders() {
  std::map<fs::path, bool> folders;
  for (const TableFile& file : kTableFiles) {
    std::error_code failed;  // a path that leads nowhere is said of the file itself
    const fs::path path = fs::canonical(fen_cf::GetPath(file.name), failed);
    if (failed) continue;
    folders[path.parent_path()] = true;
    for (fs::path folder = path.parent_path(); folder != folder.root_path();) {
      folder = folder.parent_path();
      folders.emplace(folder, false);
    }
  }
  return folders;
}

Findings CheckTableFolders() {
  Findings findings;
  for (const auto& [folder, has_tables] : TableFolders()) {
    if (IsOpenFolder(folder, has_tables)) findings.push_back(WritableByOthers(folder));
  }
  return findings;
}

/// What is wrong with the map; empty when nothing is. That there is no text, or no tool, is another
/// check's to say.
std::string FaultOf(const Map& map, const std::string& type) {
  if (!ReadingFailure(map.text).empty()) return "";
  if (IsStale(map, *SuffixOf(type))) return "is missing or older than its text";
  if (!CanBeRun(map.tool)) return "";
  try {
    return IsOfText(map, type) ? "" : "is newer than its text, but does not say the same";
  } catch (const fen_err::Error& error) {
    return "cannot be read: " + error.value();
  }
}

Findings CheckMaps() {
  Findings findings;
  std::string type;
  try {
    type = MapType();
  } catch (const fen_err::Error& error) {
    return {{"map",
             error.object(),
             "does not tell the type of the maps: " + error.value(),
             "it cannot be seen whether the maps are of the present tables",
             ConfigureAdvice("postfix-postmap"),
             {}}};
  }
  for (const Map& map : Maps()) {
    const std::string fault = FaultOf(map, type);
    if (fault.empty()) continue;
    findings.push_back({"map", map.text.string() + *SuffixOf(type), fault,
                        "Postfix works with an earlier text, or with none", RebuildCommand(map),
                        [map] { Rebuild(map); }});
  }
  const Findings of_building = CheckMapBuilding(type);
  findings.insert(findings.end(), of_building.begin(), of_building.end());
  return findings;
}

struct Check {
  Findings (*run)();
  bool is_about_postfix;  ///< and says nothing that is true of another mail server
};

constexpr std::array<Check, 11> kQuickChecks = {{
    {&CheckPendingWork, false},
    {&CheckTools, true},
    {&CheckTableFiles, true},
    {&CheckTableFolders, true},
    {&CheckMaps, true},
    {&CheckTableLines, true},
    {&CheckTargets, true},
    {&CheckHostNameLines, true},
    {&CheckSuspensions, true},
    {&CheckResponders, false},
    {&CheckBindings, true},
}};

}  // namespace

std::vector<Finding> RunChecks(const ShowProgress& progress) {
  Findings all;
  const auto add = [&all](const Findings& findings) {
    all.insert(all.end(), findings.begin(), findings.end());
  };
  std::size_t done = 0;
  const bool is_postfix = WorksForPostfix();
  for (const Check& check : kQuickChecks) {
    if (is_postfix || !check.is_about_postfix) add(check.run());
    if (progress) progress(++done, kQuickChecks.size() + 1);
  }
  if (is_postfix) add(CheckWiring(progress));
  return all;
}

}  // namespace panel::mail
