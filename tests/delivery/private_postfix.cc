/// NAME
///   private_postfix - a Postfix of the test's own, wired to a panel's tables

#include "tests/delivery/private_postfix.h"

#include <array>
#include <cerrno>
#include <ctime>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <pwd.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
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

std::string MainCf(const std::string& folder, const std::string& type) {
  return "compatibility_level = 3.6\n"
         "myhostname = mail.test\n"
         "myorigin = $myhostname\n"
         "queue_directory = " +
         folder +
         "/queue\n"
         "data_directory = ../data\n"
         "mail_spool_directory = ../spool\n"
         "maillog_file = " +
         folder +
         "/mail.log\n"
         "maillog_file_prefixes = " +
         folder +
         "\n"
         "inet_interfaces = 127.0.0.1\n"
         "inet_protocols = ipv4\n"
         "default_database_type = " +
         type +
         "\n"
         "biff = no\n"
         "\n"
         "disable_dns_lookups = yes\n"
         "smtp_host_lookup = native\n"
         "smtpd_peername_lookup = no\n"
         "smtpd_error_sleep_time = 0\n"
         "relayhost = [127.0.0.1]:1\n"
         "default_transport = discard:not local\n"
         "relay_transport = discard:not local\n"
         "\n"
         "mydestination = " +
         folder +
         "/mail/local-host-names, $myhostname, localhost\n"
         "virtual_alias_maps = " +
         type + ":" + folder +
         "/mail/virtusertable\n"
         "alias_maps = " +
         type + ":" + folder +
         "/mail/aliases\n"
         "sender_dependent_default_transport_maps = regexp:" +
         folder +
         "/mail/domainips\n"
         "smtpd_relay_restrictions = reject_unauth_destination\n"
         "smtpd_client_restrictions = check_client_access\n"
         "    pipemap:{regexp:" +
         folder +
         "/postfix/client-address.regexp,\n"
         "    " +
         type + ":" + folder +
         "/mail/access}\n"
         "smtpd_sender_restrictions = check_sender_access " +
         type + ":" + folder +
         "/mail/access\n"
         "smtpd_recipient_restrictions = check_recipient_access\n"
         "    " +
         type + ":" + folder + "/mail/access\n";
}

std::string MasterCf(int port) {
  return "127.0.0.1:" + std::to_string(port) +
         " inet n - n - - smtpd\n"
         "pickup     unix       n - n 60    1 pickup\n"
         "cleanup    unix       n - n -     0 cleanup\n"
         "qmgr       unix       n - n 300   1 qmgr\n"
         "rewrite    unix       - - n -     - trivial-rewrite\n"
         "bounce     unix       - - n -     0 bounce\n"
         "defer      unix       - - n -     0 bounce\n"
         "trace      unix       - - n -     0 bounce\n"
         "verify     unix       - - n -     1 verify\n"
         "flush      unix       n - n 1000? 0 flush\n"
         "proxymap   unix       - - n -     - proxymap\n"
         "proxywrite unix       - - n -     1 proxymap\n"
         "smtp       unix       - - n -     - smtp\n"
         "relay      unix       - - n -     - smtp\n"
         "error      unix       - - n -     - error\n"
         "retry      unix       - - n -     - error\n"
         "discard    unix       - - n -     - discard\n"
         "local      unix       - n n -     - local\n"
         "virtual    unix       - n n -     - virtual\n"
         "lmtp       unix       - - n -     - lmtp\n"
         "anvil      unix       - - n -     1 anvil\n"
         "scache     unix       - - n -     1 scache\n"
         "postlog    unix-dgram n - n -     1 postlogd\n";
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
  WriteConfiguration();
}

PrivatePostfix::~PrivatePostfix() {
  Stop();
}

void PrivatePostfix::Start() {
  StartGuard();
  const CommandRun run = RunCommand({kPostfix, "-c", config_dir(), "start"});
  if (run.status != 0) throw std::runtime_error("postfix start: " + run.errors + Log());
  std::ifstream(folder_ / "queue/pid/master.pid") >> master_;
  WaitUntil("Postfix to listen", [this] { return !IsPortFree(port_); });
}

void PrivatePostfix::Stop() noexcept {
  if (guard_ == 0) return;
  close(guard_pipe_);
  while (waitpid(guard_, nullptr, 0) < 0 && errno == EINTR) {
  }
  if (master_ != 0) PollUntil([this] { return !IsGroupAlive(master_); });
  guard_ = 0;
  master_ = 0;
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

void PrivatePostfix::WriteConfiguration() const {
  WriteText(config_dir() / "main.cf", MainCf(folder_, map_type_));
  MakeOld(config_dir() / "main.cf");
  WriteText(config_dir() / "master.cf", MasterCf(port_));
  WriteText(config_dir() / "client-address.regexp", "/^(.*)$/ connect:$1\n");
  for (const char* const name : {"queue", "data", "spool"})
    std::filesystem::create_directory(folder_ / name);
  const passwd* const user = getpwnam("postfix");
  if (user == nullptr) throw std::runtime_error("there is no user postfix: install Postfix");
  SetOwner(folder_ / "data", {user->pw_uid, user->pw_gid});
  SetMode(folder_ / "spool", 01777);
}

void PrivatePostfix::StartGuard() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0)
    throw std::system_error(errno, std::generic_category(), "pipe");
  guard_pipe_ = ends[1];

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSID);  // Ctrl-C must not reach it

  std::array<std::string, 5> words = {"/bin/sh", "-c", kGuardScript, "guard", folder_};
  std::array<char*, 6> arguments{};
  for (std::size_t i = 0; i < words.size(); ++i) arguments[i] = words[i].data();
  const int error =
      posix_spawn(&guard_, words[0].c_str(), &actions, &attributes, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  close(ends[0]);
  if (error != 0) throw std::system_error(error, std::generic_category(), words[0]);
}

}  // namespace test_support
