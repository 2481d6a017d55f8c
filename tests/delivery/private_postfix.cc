/// NAME
///   private_postfix - a Postfix of the test's own, wired to a panel's tables

#include "tests/delivery/private_postfix.h"

#include <ctime>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <thread>

#include <unistd.h>

#include "tests/delivery/smtp_session.h"
#include "tests/support/command.h"
#include "tests/support/temp_folder.h"

namespace test_support {
namespace {

using std::chrono::steady_clock;

/// Far longer than anything here takes, so that only what never comes is given up on.
constexpr std::chrono::seconds kDeadline{60};
constexpr std::chrono::milliseconds kPause{20};

const char* const kPostfix = "/usr/sbin/postfix";

/// What the guard runs: it waits until its standard input ends, which it does when the test program
/// closes the pipe or dies, stops Postfix and makes sure of it by the master's process group.
const char* const kGuardScript =
    "trap '' HUP INT TERM\n"
    "read -r nothing\n"
    "read -r master < \"$1/queue/pid/master.pid\" || exit 0\n"
    "/usr/sbin/postfix -c \"$1/postfix\" stop\n"
    "kill -KILL \"-$master\"\n"
    "true\n";

/// A port to listen on. Test programs that run side by side have different process ids, and the
/// ports below 30000 are not given out by the kernel, so that no two get the same.
int ChoosePort() {
  for (int port = 20000 + static_cast<int>(getpid() % 10000);; ++port) {
    if (IsPortFree(port)) return port;
  }
}

/// Whether the process is of the group and not just waiting to be reaped; `stat` is its file of
/// that name in /proc.
bool IsOfGroup(const std::filesystem::path& stat, pid_t group) {
  std::ifstream file(stat);
  std::string text;
  std::getline(file, text);
  const std::size_t name_end = text.rfind(')');
  if (name_end == std::string::npos) return false;
  std::istringstream fields(text.substr(name_end + 1));
  char state = 0;
  pid_t parent = 0;
  pid_t its_group = 0;
  return fields >> state >> parent >> its_group && its_group == group && state != 'Z';
}

bool IsGroupAlive(pid_t group) {
  std::error_code gone;  // a process may end while the list is read
  for (std::filesystem::directory_iterator entry("/proc", gone), end; entry != end;
       entry.increment(gone)) {
    if (IsOfGroup(entry->path() / "stat", group)) return true;
  }
  return false;
}

bool PollUntil(const std::function<bool()>& holds) {
  for (const auto end = steady_clock::now() + kDeadline; !holds();) {
    if (steady_clock::now() > end) return false;
    std::this_thread::sleep_for(kPause);
  }
  return true;
}

}  // namespace

PrivatePostfix::PrivatePostfix(const std::filesystem::path& folder, const std::string& map_type)
    : folder_(folder), map_type_(map_type), port_(ChoosePort()) {
  SetUp();
}

PrivatePostfix::~PrivatePostfix() {
  Stop();
}

void PrivatePostfix::Start() {
  guard_.emplace(kGuardScript, folder_);
  const CommandRun run = RunCommand({kPostfix, "-c", config_dir(), "start"});
  if (run.status != 0) throw std::runtime_error("postfix start: " + run.errors + Log());
  std::ifstream(folder_ / "queue/pid/master.pid") >> master_;
  WaitUntil("Postfix to listen", [this] { return !IsPortFree(port_); });
}

void PrivatePostfix::Stop() noexcept {
  if (!guard_) return;
  guard_.reset();
  if (master_ != 0) PollUntil([this] { return !IsGroupAlive(master_); });
  master_ = 0;
}

/// A main.cf that was written just now would be read again and again by every process that starts
/// meanwhile, with a warning for each parameter; postlogd, which takes the warnings, waits for
/// itself then. So a copy is changed, and takes its place when it looks old.
void PrivatePostfix::Set(const std::string& setting) const {
  const TempFolder copy;
  std::filesystem::copy_file(config_dir() / "main.cf", copy.Path("main.cf"));
  const CommandRun run = RunCommand({"/usr/sbin/postconf", "-c", copy.path(), "-e", setting});
  if (run.status != 0) throw std::runtime_error("postconf: " + run.errors);
  MakeOld(copy.Path("main.cf"));
  std::filesystem::rename(copy.Path("main.cf"), config_dir() / "main.cf");
}

std::string PrivatePostfix::Outcome(const std::string& queue_id,
                                    const std::string& recipient) const {
  std::string outcome;
  WaitUntil("the outcome of message " + queue_id + " for " + recipient, [&] {
    std::istringstream log(Log());
    for (std::string line; std::getline(log, line);) {
      const bool is_hers = line.find("to=<" + recipient + ">") != std::string::npos;
      const bool is_outcome = line.find(" status=") != std::string::npos;
      if (is_hers && is_outcome && line.find(" " + queue_id + ": ") != std::string::npos)
        outcome = line;
    }
    return !outcome.empty();
  });
  return outcome;
}

void PrivatePostfix::WaitUntil(const std::string& what, const std::function<bool()>& holds) const {
  if (!PollUntil(holds)) throw std::runtime_error("waited in vain for " + what + "\n" + Log());
}

std::string PrivatePostfix::Mailbox(const std::string& user) const {
  const std::filesystem::path file = folder_ / "spool" / user;
  return std::filesystem::exists(file) ? ReadText(file) : "";
}

std::string PrivatePostfix::Log() const {
  const std::filesystem::path file = folder_ / "mail.log";
  return std::filesystem::exists(file) ? ReadText(file) : "";
}

void PrivatePostfix::LeaveThisSecond() const {
  if (map_type_ != "hash") return;
  const std::time_t now = std::time(nullptr);
  WaitUntil("the next second", [now] { return std::time(nullptr) > now; });
}

void PrivatePostfix::SetUp() const {
  const CommandRun run =
      RunCommand({ZEBMAIL_PRIVATE_POSTFIX "/set-up", folder_, map_type_, std::to_string(port_)});
  if (run.status != 0) throw std::runtime_error("the private Postfix: " + run.errors);
}

}  // namespace test_support
