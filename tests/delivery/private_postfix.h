/// NAME
///   private_postfix - a Postfix of the test's own, wired to a panel's tables
///
/// PURPOSE
///   Runs the Postfix that is installed, beside whatever else runs on the machine and without
///   touching it: configuration, queue, data, mailboxes and log lie in one folder, the one service
///   that listens does so on a loopback port, and nothing ever leaves the machine, because every
///   destination that is not local ends in the discard service.
///
/// HOW IT IS WIRED
///   By scripts/private-postfix, which the quickstart uses as well: the local host names file,
///   $myhostname and localhost are local; virtual users and aliases are looked up in their tables;
///   the access table is asked for recipients, senders and, by its "connect:" keys, clients. The
///   commands that it runs can send mail into it by sendmail(1).
///
/// HOW IT ENDS
///   A guard process of its own stops it when the object goes away and also when the test program
///   dies in whatever way. No process is left then.
///
/// HOW IT FAILS
///   With std::runtime_error, which tells what was waited for and holds the whole mail log.

#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include <sys/types.h>

#include "tests/delivery/guard.h"

namespace test_support {

class PrivatePostfix {
 public:
  /// Writes the configuration DIR/postfix for the tables in DIR/mail, where DIR is `folder`.
  /// `map_type` is what postmap and postalias build: "hash" or "lmdb".
  PrivatePostfix(const std::filesystem::path& folder, const std::string& map_type);
  ~PrivatePostfix();
  PrivatePostfix(const PrivatePostfix&) = delete;
  PrivatePostfix& operator=(const PrivatePostfix&) = delete;

  /// Starts Postfix and waits until it listens. The tables and their maps must be there.
  void Start();

  /// Stops Postfix and waits until its last process is gone. Does nothing when it is not running.
  void Stop() noexcept;

  /// Changes main.cf by a setting such as "default_transport=smtp", which a running Postfix reads
  /// with its next reload.
  void Set(const std::string& setting) const;

  std::filesystem::path config_dir() const { return folder_ / "postfix"; }
  int port() const noexcept { return port_; }

  /// The master process, 0 when it is not running.
  pid_t master() const noexcept { return master_; }

  /// Waits for the log line that tells what became of a recipient of the message `queue_id`, and
  /// returns it. `recipient` is the address as the sender gave it.
  std::string Outcome(const std::string& queue_id, const std::string& recipient) const;

  /// Waits until `holds` does. `what` says what that is, for the message of a failure.
  void WaitUntil(const std::string& what, const std::function<bool()>& holds) const;

  /// The text of the local user's mailbox, empty when there is none.
  std::string Mailbox(const std::string& user) const;

  /// The mail log so far.
  std::string Log() const;

  /// Postfix compares the times of a hash map in whole seconds: a process that has read a map does
  /// not see that it was built anew within the same second. Waits until the clock has left it, if
  /// the maps are of that kind.
  void LeaveThisSecond() const;

 private:
  void SetUp() const;

  std::filesystem::path folder_;
  std::string map_type_;
  int port_;
  pid_t master_ = 0;
  std::optional<Guard> guard_;
};

}  // namespace test_support
