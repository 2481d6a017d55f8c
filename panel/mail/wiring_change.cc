/// NAME
///   wiring_change - making main.cf say what the panel needs

#include "panel/mail/wiring_change.h"

#include <cerrno>
#include <cstdio>
#include <functional>
#include <optional>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/fen_err.h"
#include "host/fen_proc.h"
#include "panel/mail/made_list.h"
#include "panel/mail/panel.h"
#include "panel/mail/postfix_command.h"
#include "panel/process/file_handle.h"

namespace panel::mail {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void Fail(const fs::path& path, const std::string& what) {
  throw fen_err::Error("file", path.string(), what + ": " + std::generic_category().message(errno));
}

/// Takes back, last step first, what was done for a change that does not come about.
class Undoing {
 public:
  Undoing() = default;
  ~Undoing() {
    for (auto step = steps_.rbegin(); step != steps_.rend(); ++step) (*step)();
  }
  Undoing(const Undoing&) = delete;
  Undoing& operator=(const Undoing&) = delete;

  void Add(std::function<void()> step) { steps_.push_back(std::move(step)); }
  void Forget() { steps_.clear(); }

 private:
  std::vector<std::function<void()>> steps_;
};

/// The first free name of those for copies of `path`.
fs::path CopyName(const fs::path& path) {
  fs::path copy;
  for (int number = 1; copy.empty() || fs::exists(fs::symlink_status(copy)); ++number) {
    copy = path.string() + ".zebmail-" + std::to_string(number);
  }
  return copy;
}

void WriteAll(const FileHandle& file, const fs::path& path, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t written = write(file.get(), bytes.data(), bytes.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) Fail(path, "cannot be written");
    bytes.remove_prefix(static_cast<std::size_t>(written));
  }
}

/// Keeps the bytes of the file at `path`, with its mode and owner, in a copy beside it.
fs::path KeepCopy(const fs::path& path, const std::string& bytes, Undoing& undoing) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) Fail(path, "cannot be read");
  fs::path copy = CopyName(path);
  const FileHandle file(open(copy.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
  if (!file) Fail(copy, "cannot be created");
  undoing.Add([copy] { unlink(copy.c_str()); });
  WriteAll(file, copy, bytes);
  if (fchown(file.get(), status.st_uid, status.st_gid) != 0 ||
      fchmod(file.get(), status.st_mode & 07777) != 0 || fsync(file.get()) != 0) {
    Fail(copy, "cannot be written");
  }
  conf::SyncFolderOf(copy);
  return copy;
}

/// Returns where the file is kept as it was; nowhere when there was none.
fs::path WriteClientRule(const fs::path& path, Undoing& undoing) {
  const conf::FileContents before = conf::ReadWholeFile(path);
  fs::path copy;
  if (before.stamp) {
    copy = KeepCopy(path, before.bytes, undoing);
    undoing.Add([copy, path] {
      std::error_code failed;  // the rule that stays then does what it should
      fs::rename(copy, path, failed);
    });
  } else {
    undoing.Add([path] { unlink(path.c_str()); });
  }
  conf::ReplaceFile(path, before.stamp, [](const conf::PieceWriter& put) { put(kClientRule); });
  conf::SyncFolderOf(path);
  return copy;
}

void Reload() {
  const fen_proc::Execute reload(PostfixCommand("reload"), fen_proc::Execute::kWaitAndCapture);
  if (reload.Result() == 0) return;
  throw fen_err::Error("email", "postfix-bin",
                       "main.cf is changed, but Postfix has not read it anew; mend what it names "
                       "here, then run: " +
                           PostfixCommand("reload") + "\n" + reload.Str());
}

/// Postfix does not take mail while main.cf names a file that is missing.
void RequireTables(const Wiring& wiring) {
  const WiringParts& parts = wiring.parts;
  for (const std::string& path : {parts.virtusertable, parts.aliases, parts.access,
                                  parts.local_host_names, parts.domain_ips}) {
    if (path.empty() || fs::is_regular_file(path)) continue;
    throw fen_err::Error("missing", path,
                         "main.cf would name this file, and Postfix takes no mail without it; put "
                         "it in place or run zebmail init");
  }
}

bool IsSaved(const MainCfEdit& edit) {
  return conf::ReadWholeFile(edit.file).bytes == edit.after;
}

/// Returns a failure that came when the new text was in its place already.
std::optional<fen_err::Error> SaveOrFail(const MainCfEdit& edit) {
  try {
    Save(edit);
  } catch (const fen_err::Error& error) {
    if (!IsSaved(edit)) throw;
    return error;
  }
  return std::nullopt;
}

}  // namespace

WiringChange ChangeOf(const Wiring& wiring) {
  if (!wiring.refusal.empty()) {
    throw fen_err::Error("wiring", kRecipientRestrictions, wiring.refusal);
  }
  RequireTables(wiring);
  WiringChange change;
  change.main_cf = wiring.main_cf;
  for (const Setting& setting : wiring.settings) {
    if (!setting.faults.empty()) change.assignments.push_back({setting.name, setting.value});
  }
  change.client_rule = wiring.parts.client_rule;
  change.writes_client_rule = !wiring.client_rule_fault.empty();
  const std::string suffix = MapSuffix();
  for (const Map& map : Maps()) {
    if (IsStale(map, suffix)) change.maps.push_back(map);
  }
  return change;
}

WiringResult Apply(const WiringChange& change) {
  WiringResult result;
  conf::RemoveLeftover(ConfigFolder() / "main.cf");
  conf::RemoveLeftover(change.client_rule);
  if (change.IsEmpty()) return result;
  // Asked before anything is changed, so that a command that cannot be started keeps all as it is.
  const bool is_running = IsPostfixRunning();
  Undoing undoing;
  std::optional<fen_err::Error> failure;
  if (change.writes_client_rule) {
    result.copy_of_client_rule = WriteClientRule(change.client_rule, undoing);
    if (result.copy_of_client_rule.empty()) ListMade({change.client_rule});
  }
  for (const Map& map : change.maps) Build(map);
  if (!change.assignments.empty()) {
    const MainCfEdit edit = EditMainCf(change.main_cf, change.assignments);
    result.copy = KeepCopy(edit.file, edit.before.bytes, undoing);
    ListMade({result.copy});
    ListSettings(edit.file.parent_path(), change.assignments);
    failure = SaveOrFail(edit);
  }
  undoing.Forget();
  if (is_running) Reload();
  result.is_reloaded = is_running;
  if (failure) throw PartlyDone(*failure, "the settings are made, and Postfix goes by them\n");
  return result;
}

std::vector<conf::Operation::Change> ChangedFiles(const WiringChange& change) {
  std::vector<conf::Operation::Change> files;
  if (change.writes_client_rule) {
    const std::string path = change.client_rule;
    files.push_back({path, conf::ReadWholeFile(path).bytes, kClientRule});
  }
  if (!change.assignments.empty()) {
    const MainCfEdit edit = EditMainCf(change.main_cf, change.assignments);
    files.push_back({edit.file, edit.before.bytes, edit.after});
  }
  return files;
}

std::vector<std::string> ToolsOf(const WiringChange& change) {
  std::vector<std::string> tools;
  if (change.IsEmpty()) return tools;
  for (const Map& map : change.maps) tools.push_back(BuildCommand(map));
  if (IsPostfixRunning()) tools.push_back(PostfixCommand("reload"));
  return tools;
}

}  // namespace panel::mail
