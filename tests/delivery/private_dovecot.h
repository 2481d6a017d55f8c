/// NAME
///   private_dovecot - an IMAP server of the test's own, to which Postfix gives mail by LMTP
///
/// PURPOSE
///   Runs the Dovecot that is installed, with configuration, mailboxes and log in one folder. It
///   takes mail by the socket private/dovecot-lmtp in the queue folder of a Postfix and gives it
///   out by IMAP on a loopback port, in clear text.
///
/// HOW IT ENDS
///   A guard process of its own stops it when the object goes away and also when the test program
///   dies in whatever way.
///
/// HOW IT FAILS
///   With std::runtime_error, which holds Dovecot's log.

#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "tests/delivery/guard.h"

namespace test_support {

class PrivateDovecot {
 public:
  /// `folder` is that of the Postfix; `addresses` are the mailboxes, each with the password
  /// "secret". Returns when both sockets are there.
  PrivateDovecot(const std::filesystem::path& folder, const std::vector<std::string>& addresses);

  /// What mailbox_transport is to be.
  static std::string Transport() { return "lmtp:unix:private/dovecot-lmtp"; }

  /// The first message in the mailbox, as an IMAP client gets it.
  std::string Read(const std::string& address) const;

 private:
  void SetUp(const std::vector<std::string>& addresses) const;
  void Start();

  std::filesystem::path folder_;
  std::filesystem::path socket_;
  int port_;
  std::optional<Guard> guard_;
};

}  // namespace test_support
