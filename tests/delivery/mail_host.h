/// NAME
///   mail_host - a panel and a Postfix that reads its tables, for one test
///
/// PURPOSE
///   Puts together what a mail administrator has: a panel made by `zebmail init`, run by the built
///   command alone, and a running Postfix that is wired to its tables.

#pragma once

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/delivery/private_postfix.h"
#include "tests/delivery/smtp_session.h"
#include "tests/support/temp_folder.h"

namespace test_support {

/// The parameter is the type of the maps that Postfix reads.
class MailHost : public testing::TestWithParam<std::string> {
 protected:
  MailHost();

  /// Runs zebmail with these words on the panel; the test fails unless it exits with 0. Returns
  /// what it printed.
  std::string Zebmail(const std::vector<std::string>& words) const;

  /// Adds a domain and waits until Postfix takes mail for it. A reload is not over when the tool
  /// that asks for it returns.
  void CreateDomain(const std::string& name, const std::vector<std::string>& options = {}) const;

  /// What Postfix answers to a recipient, asked by a stranger.
  SmtpReply Ask(const std::string& recipient) const;

  /// Waits until Postfix answers to the recipient with `code`, and returns the reply.
  SmtpReply AskUntil(int code, const std::string& recipient) const;

  /// Sends a message from a stranger and returns the log line on what became of it.
  std::string Send(const std::string& recipient) const;

  TempFolder folder_;
  PrivatePostfix postfix_;
};

}  // namespace test_support
