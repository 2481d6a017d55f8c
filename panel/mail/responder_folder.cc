/// NAME
///   responder_folder - what the program that answers for a mailbox works with

#include "panel/mail/responder_folder.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "host/fen_err.h"
#include "panel/conf/disk_file.h"
#include "panel/module/config.h"
#include "panel/process/file_handle.h"

namespace panel::mail {
namespace {

namespace fs = std::filesystem;

/// Keeps the record and sends the answers.
const char* const kVacation = "/usr/bin/vacation";

/// Whoever may pass must know the name of what he wants.
constexpr mode_t kPassable = 0711;
constexpr mode_t kPassableForGroup = 0710;
constexpr mode_t kReadableForGroup = 0640;
constexpr mode_t kOwnersAlone = 0600;

fs::path FolderOfAll() {
  return CurrentConfig().state_dir / "responder";
}

fs::path MessageIn(const fs::path& folder) {
  return folder / "message";
}

fs::path RecordIn(const fs::path& folder) {
  return folder / "answered.db";
}

/// The one program of the panel's own that Postfix runs. It lies beside the folder of the modules,
/// unless the configuration says otherwise.
fs::path AnsweringProgram() {
  const Config& config = CurrentConfig();
  const auto configured = config.path.find("zebmail-answer");
  return configured != config.path.end() ? fs::path(configured->second)
                                         : config.module_dir.parent_path() / "zebmail-answer";
}

[[noreturn]] void Fail(const fs::path& path) {
  throw fen_err::Error("file", path.string(), std::generic_category().message(errno));
}

/// Commands of the aliases split at blanks, and are handed to a shell if they hold anything that a
/// shell takes for its own.
void RequirePlain(const fs::path& path) {
  static const std::string kPlain =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789/._+-";
  if (path.string().find_first_not_of(kPlain) == std::string::npos) return;
  throw fen_err::Error("config", path.string(),
                       "is part of a command in the aliases, so that only letters, digits and "
                       "/ . _ + - can be in it; move it, or set another state_dir or module_dir");
}

void RequireProgram(const fs::path& program, const std::string& advice) {
  if (access(program.c_str(), X_OK) == 0) return;
  throw fen_err::Error("missing", program.string(),
                       std::generic_category().message(errno) + "; " + advice);
}

void Own(const fs::path& path, uid_t user, gid_t group, mode_t mode) {
  if (chown(path.c_str(), user, group) != 0 || chmod(path.c_str(), mode) != 0) Fail(path);
}

void RequireRights(const fs::path& path, uid_t user, gid_t group, mode_t mode) {
  constexpr mode_t kAllRights = 07777;
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) Fail(path);
  if (status.st_uid == user && status.st_gid == group && (status.st_mode & kAllRights) == mode) {
    return;
  }
  throw fen_err::Error("file", path.string(),
                       "has another owner or other rights than it must have");
}

void MakeFolder(const fs::path& path) {
  if (mkdir(path.c_str(), S_IRWXU) == 0) return;
  if (errno != EEXIST) Fail(path);
  if (!fs::is_directory(path)) throw fen_err::Error("file", path.string(), "is not a folder");
}

void WriteMessage(const fs::path& path, const std::string& message) {
  conf::ReplaceFile(path.string(), conf::StampOf(path.string()),
                    [&message](const conf::PieceWriter& write) { write(message); });
}

void MakeRecord(const fs::path& path, bool anew) {
  if (anew && unlink(path.c_str()) != 0 && errno != ENOENT) Fail(path);
  const FileHandle made(open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, kOwnersAlone));
  if (!made && errno != EEXIST) Fail(path);
}

}  // namespace

fs::path ResponderFolder(std::int64_t mailbox) {
  return FolderOfAll() / std::to_string(mailbox);
}

std::string ResponderTargetBegin() {
  const fs::path program = AnsweringProgram();
  const fs::path folder = FolderOfAll();
  RequirePlain(program);
  RequirePlain(folder);
  return "\"|" + program.string() + " " + folder.string() + "/";
}

std::string ResponderTarget(std::int64_t mailbox) {
  return ResponderTargetBegin() + std::to_string(mailbox) + "\"";
}

CommandUser RequireAnswering() {
  RequireProgram(kVacation, "install the package vacation");
  RequireProgram(AnsweringProgram(), "install zebmail as a whole");
  CommandUser user = FindCommandUser();
  RequireWithinReach(AnsweringProgram(), user);
  RequireWithinReach(CurrentConfig().state_dir, user);
  return user;
}

void WriteResponderFolder(std::int64_t mailbox, const std::string& message, bool anew,
                          const CommandUser& user) {
  const fs::path folder = ResponderFolder(mailbox);
  MakeFolder(FolderOfAll());
  Own(FolderOfAll(), geteuid(), getegid(), kPassable);
  MakeFolder(folder);
  Own(folder, geteuid(), user.group, kPassableForGroup);
  WriteMessage(MessageIn(folder), message);
  Own(MessageIn(folder), geteuid(), user.group, kReadableForGroup);
  MakeRecord(RecordIn(folder), anew);
  Own(RecordIn(folder), user.user, user.group, kOwnersAlone);
  conf::SyncFolderOf(MessageIn(folder).string());
}

void RemoveResponderFolder(std::int64_t mailbox) {
  std::error_code failure;
  fs::remove_all(ResponderFolder(mailbox), failure);
  if (failure) throw fen_err::Error("file", ResponderFolder(mailbox).string(), failure.message());
}

/// What has another name was not made by the panel.
std::vector<std::int64_t> ListResponderFolders() {
  std::vector<std::int64_t> mailboxes;
  std::error_code missing;
  for (const fs::directory_entry& entry : fs::directory_iterator(FolderOfAll(), missing)) {
    const std::string name = entry.path().filename();
    std::int64_t mailbox = 0;
    std::from_chars(name.data(), name.data() + name.size(), mailbox);
    if (std::to_string(mailbox) == name) mailboxes.push_back(mailbox);
  }
  return mailboxes;
}

std::string FindFaultInResponderFolder(std::int64_t mailbox, const std::string& message,
                                       const CommandUser& user) {
  const fs::path folder = ResponderFolder(mailbox);
  try {
    RequireWithinReach(folder, user);
    RequireRights(FolderOfAll(), geteuid(), getegid(), kPassable);
    RequireRights(folder, geteuid(), user.group, kPassableForGroup);
    RequireRights(MessageIn(folder), geteuid(), user.group, kReadableForGroup);
    RequireRights(RecordIn(folder), user.user, user.group, kOwnersAlone);
    if (conf::ReadWholeFile(MessageIn(folder).string()).bytes != message) {
      return "it does not hold the message of the panel";
    }
  } catch (const fen_err::Error& error) {
    return error.object() + " " + error.value();
  }
  return "";
}

}  // namespace panel::mail
