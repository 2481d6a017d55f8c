/// NAME
///   own_places - that nobody else has written where the panel keeps its own

#include "panel/mail/own_places.h"

#include <string>

#include <sys/stat.h>

#include "host/fen_err.h"
#include "panel/db/url.h"
#include "panel/process/trust.h"

namespace panel::mail {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void Refuse(const std::string& type, const fs::path& path, const std::string& why) {
  throw fen_err::Error(type, path.string(), "is not used: " + why);
}

/// Others must not make files in it either, as they can in a folder like /tmp.
void RequireOwnFolder(const std::string& type, const fs::path& path) {
  std::string fault = FindFaultInTrust(path);
  struct stat status {};
  if (fault.empty() && stat(path.c_str(), &status) == 0) fault = FindFaultInRights(path, status);
  if (!fault.empty()) Refuse(type, path, fault);
}

/// What keeps the file or folder from being one that the panel has made; empty when nothing does.
std::string FaultOf(const fs::path& path, const struct stat& status, bool is_folder) {
  if (is_folder ? !S_ISDIR(status.st_mode) : !S_ISREG(status.st_mode)) {
    return std::string("it is no ") + (is_folder ? "folder" : "regular file") +
           ", so the panel has not made it: look who has put it there, and remove it";
  }
  if (!is_folder && status.st_nlink != 1) {
    return "it has another name elsewhere, so the panel has not made it: look who has put it "
           "there, and remove it";
  }
  return FindFaultInRights(path, status);
}

void RequireOwn(const std::string& type, const fs::path& path, bool is_folder) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0) return;
  const std::string fault = FaultOf(path, status, is_folder);
  if (!fault.empty()) Refuse(type, path, fault);
}

void RequireOwnState(const fs::path& state_dir) {
  RequireOwnFolder("file", state_dir);
  for (const char* const name : {"lock", "zebfen.log", "saving", "steps", "made"}) {
    RequireOwn("file", state_dir / name, false);
  }
  for (const char* const name : {"main.cf", "pending", "responder"}) {
    RequireOwn("file", state_dir / name, true);
  }
}

/// The database may lie elsewhere and be there by a link; SQLite works with the files beside it.
void RequireOwnDatabase(const fs::path& file) {
  std::error_code missing;
  const fs::path target = fs::canonical(file, missing);
  RequireOwnFolder("database", file.parent_path());
  if (missing) return;
  RequireOwnFolder("database", target.parent_path());
  RequireOwnFolder("database", file);
  for (const char* const end : {"-wal", "-shm", "-journal"}) {
    RequireOwn("database", target.string() + end, false);
  }
}

}  // namespace

void RequireOwnPlaces(const Config& config) {
  RequireOwnState(config.state_dir);
  const db::Location location = db::ParseUrl(config.database);
  if (location.kind == db::Kind::kSqlite) RequireOwnDatabase(location.file);
}

}  // namespace panel::mail
