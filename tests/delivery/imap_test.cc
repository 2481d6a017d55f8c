/// NAME
///   imap_test - mail for a mailbox, read back by an IMAP client
///
/// PURPOSE
///   mailbox_transport leads mailboxes to an IMAP server by LMTP, with their whole addresses: two
///   mailboxes of one name in two domains stay two.

#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/delivery/mail_host.h"
#include "tests/delivery/private_dovecot.h"
#include "tests/delivery/smtp_session.h"

namespace test_support {
namespace {

using testing::HasSubstr;

class ImapDelivery : public MailHost {
 protected:
  /// Postfix reads the setting with the reload that the domain brings.
  ImapDelivery() : dovecot_(folder_.path(), {"info@box.example", "info@other.example"}) {
    postfix_.Set("mailbox_transport=" + PrivateDovecot::Transport());
    for (const char* domain : {"box.example", "other.example"}) {
      CreateDomain(domain);
      Zebmail({"mailbox", "create", std::string("info@") + domain});
    }
  }

  /// Sends a message and waits until it lies in the mailbox.
  void Deliver(const std::string& recipient, const std::string& mailbox,
               const std::string& subject) const {
    const std::string queue_id = SendMessage(postfix_.port(), "stranger@sender.test", recipient,
                                             "Subject: " + subject + "\n");
    EXPECT_THAT(postfix_.Outcome(queue_id, mailbox), HasSubstr("status=sent (250 2.0.0 "));
  }

  PrivateDovecot dovecot_;
};

INSTANTIATE_TEST_SUITE_P(MapTypes, ImapDelivery, testing::Values("lmdb"),
                         [](const auto& type) { return type.param; });

TEST_P(ImapDelivery, ReachesTheMailboxOfTheAddress) {
  Deliver("info@box.example", "info@box.example", "One");
  Deliver("info@other.example", "info@other.example", "Two");

  EXPECT_THAT(dovecot_.Read("info@box.example"), HasSubstr("Subject: One\r\n"));
  EXPECT_THAT(dovecot_.Read("info@other.example"), HasSubstr("Subject: Two\r\n"));
}

TEST_P(ImapDelivery, ReachesTheMailboxByAnAlias) {
  Zebmail({"alias", "add", "info@box.example", "sales"});

  Deliver("sales@box.example", "info@box.example", "Three");

  EXPECT_THAT(dovecot_.Read("info@box.example"), HasSubstr("Subject: Three\r\n"));
}

}  // namespace
}  // namespace test_support
