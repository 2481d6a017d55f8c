/// NAME
///   step_note - the note that the steps of a change may not all have been taken

#include "panel/mail/step_note.h"

#include <cerrno>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

#include "host/fen_err.h"
#include "panel/conf/disk_file.h"
#include "panel/module/config.h"
#include "panel/process/file_handle.h"

namespace panel::mail {
namespace {

std::string NotePath() {
  return CurrentConfig().state_dir / "steps";
}

[[noreturn]] void Fail(const std::string& path) {
  throw fen_err::Error("file", path, std::generic_category().message(errno));
}

}  // namespace

bool NoteSteps() {
  const std::string path = NotePath();
  const bool is_new = !AreStepsNoted();
  const FileHandle note(open(path.c_str(), O_WRONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!note) Fail(path);
  try {
    conf::SyncFolderOf(path);
  } catch (const fen_err::Error&) {
    if (is_new) unlink(path.c_str());
    throw;
  }
  return is_new;
}

bool AreStepsNoted() {
  const std::string path = NotePath();
  if (access(path.c_str(), F_OK) == 0) return true;
  if (errno != ENOENT) Fail(path);
  return false;
}

void ForgetSteps() {
  const std::string path = NotePath();
  if (unlink(path.c_str()) != 0 && errno != ENOENT) Fail(path);
}

}  // namespace panel::mail
