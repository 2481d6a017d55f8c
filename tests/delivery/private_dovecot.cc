/// NAME
///   private_dovecot - an IMAP server of the test's own, to which Postfix gives mail by LMTP

#include "tests/delivery/private_dovecot.h"

#include <chrono>
#include <stdexcept>
#include <thread>

#include <unistd.h>

#include "tests/delivery/smtp_session.h"
#include "tests/support/command.h"
#include "tests/support/temp_folder.h"

namespace test_support {
namespace {

namespace fs = std::filesystem;
using std::chrono::steady_clock;

/// Far longer than anything here takes.
constexpr std::chrono::seconds kDeadline{60};
constexpr std::chrono::milliseconds kPause{20};

/// The user who owns the mailboxes; every system has him.
const char* const kOwner = "daemon";

/// What the guard runs: Dovecot, until its own standard input ends.
const char* const kGuardScript =
    "trap '' HUP INT TERM\n"
    "/usr/sbin/dovecot -F -c \"$1\" </dev/null &\n"
    "read -r nothing\n"
    "kill -TERM $!\n"
    "wait\n";

/// Below the ports that Postfix gets in the tests.
int ChoosePort() {
  for (int port = 10000 + static_cast<int>(getpid() % 10000);; ++port) {
    if (IsPortFree(port)) return port;
  }
}

}  // namespace

PrivateDovecot::PrivateDovecot(const fs::path& folder, const std::vector<std::string>& addresses)
    : folder_(folder / "dovecot"),
      socket_(folder / "queue/private/dovecot-lmtp"),
      port_(ChoosePort()) {
  SetUp(addresses);
  Start();
}

std::string PrivateDovecot::Read(const std::string& address) const {
  const CommandRun run =
      RunCommand({"curl", "--silent", "--show-error", "--user", address + ":secret",
                  "imap://127.0.0.1:" + std::to_string(port_) + "/INBOX;MAILINDEX=1"});
  if (run.status != 0) {
    throw std::runtime_error("IMAP: " + run.errors + ReadText(folder_ / "log"));
  }
  return run.output;
}

void PrivateDovecot::SetUp(const std::vector<std::string>& addresses) const {
  const std::string folder = folder_.string();
  std::string users;
  for (const std::string& address : addresses) {
    users += address + ":{PLAIN}secret:" + kOwner + ":" + kOwner + "::" + folder + "/home/" +
             address + "::\n";
  }
  WriteText(folder_ / "users", users);
  WriteText(folder_ / "log", "");
  WriteText(folder_ / "dovecot.conf",
            "base_dir = " + folder + "/run\nstate_dir = " + folder +
                "/state\nlog_path = " + folder +
                "/log\n"
                "protocols = imap lmtp\n"
                "ssl = no\n"
                "disable_plaintext_auth = no\n"
                "first_valid_uid = 1\n"
                "mail_location = maildir:~/Maildir\n"
                "passdb {\n  driver = passwd-file\n  args = " +
                folder + "/users\n}\nuserdb {\n  driver = passwd-file\n  args = " + folder +
                "/users\n}\n"
                "service imap-login {\n  inet_listener imap {\n    address = 127.0.0.1\n"
                "    port = " +
                std::to_string(port_) +
                "\n  }\n  inet_listener imaps {\n    port = 0\n  }\n}\n"
                "service lmtp {\n  unix_listener " +
                socket_.string() +
                " {\n    mode = 0600\n    user = postfix\n    group = postfix\n  }\n}\n");
  fs::create_directories(folder_ / "home");
  SetMode(folder_, 0755);
  RunCommand({"chown", kOwner, folder_ / "home"});
}

void PrivateDovecot::Start() {
  guard_.emplace(kGuardScript, folder_ / "dovecot.conf");
  const auto end = steady_clock::now() + kDeadline;
  while (!fs::exists(socket_) || IsPortFree(port_)) {
    if (steady_clock::now() > end) {
      throw std::runtime_error("Dovecot does not listen\n" + ReadText(folder_ / "log"));
    }
    std::this_thread::sleep_for(kPause);
  }
}

}  // namespace test_support
