/// NAME
///   new_panel - laying out a panel

#include "zebmail/new_panel.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include "host/fen_err.h"
#include "panel/mail/map_tool.h"
#include "panel/process/beside.h"
#include "panel/process/file_handle.h"
#include "panel/process/trust.h"
#include "panel/text/words.h"
#include "zebmail/config_text.h"

namespace zebmail {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kPublicFolder = 0755;
constexpr mode_t kPassableFolder = 0711;
constexpr mode_t kPublicFile = 0644;
constexpr mode_t kPrivateFile = 0640;

constexpr std::string_view kSqlite = "sqlite3://";

/// Where the parts of a panel lie.
struct Places {
  fs::path config;
  fs::path state_dir;
  fs::path database;
  fs::path mail;
};

Places PlacesOf(const InitOptions& options) {
  if (options.root.empty()) {
    return {"/etc/zebmail/zebmail.toml", "/var/lib/zebmail", "/var/lib/zebmail/panel.db",
            "/etc/mail"};
  }
  const fs::path root = fs::absolute(options.root).lexically_normal();
  return {root / "zebmail.toml", root / "state", root / "panel.db", root / "mail"};
}

struct Table {
  const char* path_name;
  const char* file;
};

constexpr std::array<Table, 4> kSendmailTables = {{{"postfix-virtusertable", "virtusertable"},
                                                   {"postfix-localhostnames", "local-host-names"},
                                                   {"postfix-accessdb", "access"},
                                                   {"postfix-aliases", "aliases"}}};
constexpr Table kDomainIps = {"postfix-domainips", "domainips"};
constexpr Table kMaster = {"postfix-master", "master.cf"};

std::string PathOr(const panel::Config& config, const std::string& name,
                   const std::string& otherwise) {
  const auto path = config.path.find(name);
  return path == config.path.end() ? otherwise : path->second;
}

/// Tool command lines split at blanks, and a table's path is part of one.
void RefuseBlanks(const std::string& option, const std::string& path) {
  if (path.find_first_of(" \t") != std::string::npos) {
    throw fen_err::Error("value", option,
                         "\"" + path + "\" holds a blank, at which the tools' command lines split");
  }
}

/// The database's URL cannot hold a quote.
void RefuseQuotes(const std::string& option, const std::string& path) {
  if (path.find('"') == std::string::npos) return;
  throw fen_err::Error("value", option, "\"" + path + "\" holds a double quote");
}

void RefuseRelativePaths(const std::map<std::string, std::string>& paths) {
  for (const auto& [name, path] : paths) {
    if (path.starts_with('/')) continue;
    throw fen_err::Error("value", "--path " + name, "\"" + path + "\" is no absolute path");
  }
}

fs::path ModuleDir() {
  fs::path beside = panel::FindBeside("modules");
  return beside.empty() ? panel::Config().module_dir : beside;
}

/// The command that builds maps: the one that changes single entries, where it is there, or
/// Postfix's own.
std::string MapCommand(const std::string& tool, const Places& places, const std::string& options) {
  const std::string postfix = "/usr/sbin/" + tool + options;
  return panel::mail::OwnMapCommand(postfix, places.state_dir).value_or(postfix);
}

std::map<std::string, std::string> Paths(const InitOptions& options, const Places& places) {
  std::map<std::string, std::string> paths = options.paths;
  std::string with_config;
  if (!options.postfix_config.empty()) {
    const fs::path folder = fs::absolute(options.postfix_config).lexically_normal();
    with_config = " -c " + folder.string();
    paths.emplace(kMaster.path_name, folder / kMaster.file);
  }
  paths.emplace("postfix-postmap", MapCommand("postmap", places, with_config));
  paths.emplace("postfix-postalias", MapCommand("postalias", places, with_config));
  paths.emplace("postfix-bin", "/usr/sbin/postfix" + with_config);
  paths.emplace(kDomainIps.path_name, places.mail / kDomainIps.file);
  if (options.root.empty()) {
    paths.emplace(kMaster.path_name, "/etc/postfix/master.cf");
  } else {
    for (const Table& table : kSendmailTables) {
      paths.emplace(table.path_name, places.mail / table.file);
    }
    paths.emplace(kMaster.path_name, places.mail / kMaster.file);
  }
  return paths;
}

panel::Config NewConfig(const InitOptions& options, const Places& places) {
  panel::Config config;
  config.file = places.config;
  config.state_dir = places.state_dir;
  config.module_dir = ModuleDir();
  config.database = std::string(kSqlite) + places.database.string();
  config.param = options.params;
  config.param.emplace("MTA", "postfix");
  config.path = Paths(options, places);
  return config;
}

void RequireProgram(const std::string& name, const std::string& program) {
  if (access(program.c_str(), X_OK) == 0) return;
  throw fen_err::Error("missing", "[path] " + name,
                       "\"" + program +
                           "\" cannot be run: " + std::generic_category().message(errno) +
                           "; install Postfix, or give --path " + name + "=PROGRAM");
}

/// The programs of a tool's command line must be there, or nothing will reach Postfix.
void CheckTool(const panel::Config& config, const std::string& name) {
  const std::string command = PathOr(config, name, "");
  RequireProgram(name, command.substr(0, command.find(' ')));
  RequireProgram(name, panel::mail::BehindMapTool(panel::SplitWords(command)).front());
}

void CheckPostfixConfig(const std::string& folder) {
  if (folder.empty() || fs::is_regular_file(fs::path(folder) / "main.cf")) return;
  throw fen_err::Error("value", "--postfix-config", "there is no main.cf in \"" + folder + "\"");
}

void CheckUtf8(const std::string& text) {
  try {
    static_cast<void>(nlohmann::json(text).dump());
  } catch (const nlohmann::json::type_error&) {
    throw fen_err::Error("value", "a path", "is not UTF-8, which a configuration file must be");
  }
}

void CheckNewPanel(const InitOptions& options, const panel::Config& config) {
  RefuseBlanks("--root", options.root);
  RefuseQuotes("--root", options.root);
  RefuseRelativePaths(options.paths);
  RefuseBlanks("--postfix-config", options.postfix_config);
  for (const Table& table : kSendmailTables) {
    RefuseBlanks(std::string("--path ") + table.path_name, PathOr(config, table.path_name, ""));
  }
  CheckPostfixConfig(options.postfix_config);
  for (const char* name : {"postfix-bin", "postfix-postmap", "postfix-postalias"}) {
    CheckTool(config, name);
  }
}

/// What could not be used later is not made.
void RequireTrust(const fs::path& config) {
  const std::string fault = panel::FindFaultInTrust(config);
  if (!fault.empty()) throw fen_err::Error("file", config.string(), "is not made: " + fault);
}

/// Puts missing folders and files into a plan.
class Planner {
 public:
  explicit Planner(PanelPlan& plan) : plan_(plan) {}

  void AddFolder(const fs::path& path, mode_t mode) {
    if (fs::is_directory(path)) {
      RefuseOpenFolder(path);
    } else if (!IsPlanned(path)) {
      if (path.has_relative_path()) AddParents(path.parent_path());
      plan_.folders.push_back({path, mode});
    }
  }

  void AddFile(const fs::path& path, mode_t mode, const std::string& text) {
    AddFolder(path.parent_path(), kPublicFolder);
    if (fs::exists(path)) {
      plan_.kept.push_back(path);
    } else {
      plan_.files.push_back({path, mode, text});
    }
  }

  void AddTable(const fs::path& path) {
    AddFile(path, kPublicFile, "");
    for (const char* suffix : {".db", ".lmdb"}) {
      const fs::path map = path.string() + suffix;
      if (fs::exists(map)) plan_.kept.push_back(map);
    }
  }

 private:
  void AddParents(const fs::path& path) {
    if (fs::is_directory(path) || IsPlanned(path)) return;
    if (path.has_relative_path()) AddParents(path.parent_path());
    plan_.folders.push_back({path, kPublicFolder});
  }

  bool IsPlanned(const fs::path& path) const {
    return std::any_of(plan_.folders.begin(), plan_.folders.end(),
                       [&path](const PanelPlan::Folder& folder) { return folder.path == path; });
  }

  /// Postfix executes what the tables say, so nobody else may put a file in their place.
  static void RefuseOpenFolder(const fs::path& path) {
    if ((fs::status(path).permissions() & fs::perms::others_write) == fs::perms::none) return;
    throw fen_err::Error("file", path.string(),
                         "can be written by everybody: run `chmod o-w` on it");
  }

  PanelPlan& plan_;
};

void PlanTables(const panel::Config& config, const Places& places, Planner& planner) {
  for (const Table& table : kSendmailTables) {
    planner.AddTable(PathOr(config, table.path_name, fs::path("/etc/mail") / table.file));
  }
  for (const Table& table : {kDomainIps, kMaster}) {
    const fs::path path = PathOr(config, table.path_name, "");
    if (path.parent_path() == places.mail) planner.AddTable(path);
  }
}

fs::path AsidePath(const fs::path& path) {
  std::string name(".");
  name.append(path.filename()).append(".new").append(std::to_string(getpid()));
  return path.parent_path() / name;
}

/// Writes the whole file under a name of its own first, so that nobody ever sees a part of it.
/// Returns whether the file was made; one that exists by now stays.
bool MakeFile(const PanelPlan::File& file) {
  const auto fail = [&file] {
    throw fen_err::Error("file", file.path.string(),
                         "cannot be made: " + std::generic_category().message(errno));
  };
  const fs::path aside = AsidePath(file.path);
  const panel::FileHandle handle(
      open(aside.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!handle) fail();
  std::string_view rest = file.text;
  bool is_good = fchmod(handle.get(), file.mode) == 0;
  while (is_good && !rest.empty()) {
    const ssize_t count = write(handle.get(), rest.data(), rest.size());
    is_good = count > 0;
    if (is_good) rest.remove_prefix(static_cast<std::size_t>(count));
  }
  is_good = is_good && fsync(handle.get()) == 0 && link(aside.c_str(), file.path.c_str()) == 0;
  const int error = errno;
  unlink(aside.c_str());
  errno = error;
  if (!is_good && error != EEXIST) fail();
  return is_good;
}

void MakeFolder(const PanelPlan::Folder& folder) {
  if ((mkdir(folder.path.c_str(), folder.mode) != 0 && errno != EEXIST) ||
      chmod(folder.path.c_str(), folder.mode) != 0) {
    throw fen_err::Error("file", folder.path.string(),
                         "cannot be made: " + std::generic_category().message(errno));
  }
}

}  // namespace

PanelPlan PlanPanel(const InitOptions& options) {
  const Places places = PlacesOf(options);
  PanelPlan plan;
  plan.is_new = !fs::exists(places.config);
  plan.config = plan.is_new ? NewConfig(options, places) : panel::ReadConfig(places.config);
  const std::string text = ConfigText(plan.config);
  CheckUtf8(text);
  if (plan.is_new) CheckNewPanel(options, plan.config);

  RequireTrust(places.config);

  Planner planner(plan);
  // What answers for mailboxes runs in an unprivileged user's name and works in a folder below.
  planner.AddFolder(plan.config.state_dir, kPassableFolder);
  if (plan.config.database.starts_with(kSqlite)) {
    planner.AddFile(plan.config.database.substr(kSqlite.size()), kPrivateFile, "");
  }
  PlanTables(plan.config, places, planner);
  planner.AddFile(places.config, kPrivateFile, text);
  return plan;
}

void MakePanel(const PanelPlan& plan, std::vector<fs::path>& made) {
  for (const PanelPlan::Folder& folder : plan.folders) {
    MakeFolder(folder);
    made.push_back(folder.path);
  }
  for (const PanelPlan::File& file : plan.files) {
    if (MakeFile(file)) made.push_back(file.path);
  }
}

}  // namespace zebmail
