/// NAME
///   postfix_command - the command that starts, stops and reloads Postfix

#include "panel/mail/postfix_command.h"

#include <filesystem>
#include <vector>

#include <unistd.h>

#include "host/fen_cf.h"
#include "host/fen_proc.h"
#include "panel/mail/postconf.h"
#include "panel/module/log.h"
#include "panel/process/tools.h"
#include "panel/text/words.h"

namespace panel::mail {
namespace {

constexpr int kNotStarted = 127;

bool IsThereACommand() {
  const std::vector<std::string> words = SplitWords(fen_cf::GetPath("postfix-bin"));
  return !words.empty() && access(words.front().c_str(), X_OK) == 0;
}

/// Asked of master(8), which looks at its own lock file: what postfix(1) exits with may have
/// another cause. A tool leads a process group already, so that it cannot begin a session (-d).
bool IsMasterStopped() {
  std::vector<std::string> words = PostconfCommand();
  words.front() = std::filesystem::path(PostconfValue("daemon_directory")) / "master";
  words.insert(words.end(), {"-d", "-t"});
  return RunTool(words, "").result == 0;
}

}  // namespace

std::string PostfixCommand(const std::string& word) {
  return fen_cf::GetPath("postfix-bin") + " " + word;
}

bool IsPostfixRunning() {
  const fen_proc::Execute status(PostfixCommand("status"), fen_proc::Execute::kWaitAndCapture);
  if (status.Result() == kNotStarted) {
    throw fen_err::Error("email", "postfix-bin", status.Str());
  }
  return status.Result() == 0;
}

bool IsNeedlessReload(const fen_err::Error& failure) {
  if (failure.type() != "email" || failure.object() != "postfix_reload") return false;
  try {
    return IsThereACommand() && IsMasterStopped();
  } catch (const fen_err::Error& error) {
    LogError("mail", error);  // then the failure stays one
    return false;
  }
}

bool IsReload(const conf::PendingWork& work) {
  return work.path == fen_cf::GetPath("postfix-localhostnames") ||
         work.path == fen_cf::GetPath("postfix-master");
}

void ForgetReloads() {
  for (const conf::PendingWork& work : conf::ListPendingWork()) {
    if (IsReload(work)) conf::ForgetPendingWork(work);
  }
}

}  // namespace panel::mail
