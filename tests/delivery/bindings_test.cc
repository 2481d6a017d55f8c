/// NAME
///   bindings_test - from which address a domain's mail leaves
///
/// PURPOSE
///   Looks at it from where it arrives: a peer on the loopback network notes the address of each
///   client. Every address of that network is this machine's own. Mail comes to Postfix from a
///   stranger and leaves again, with its sender, because a domain redirects it.

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/delivery/mail_host.h"
#include "tests/delivery/smtp_session.h"
#include "tests/delivery/smtp_sink.h"
#include "tests/support/command.h"

namespace test_support {
namespace {

using testing::HasSubstr;

const char* const kOutside = "boss@elsewhere.test";
const char* const kRedirected = "anybody@redirect.example";

/// What is bound to nothing leaves from the address on which Postfix listens.
const char* const kNoOther = "127.0.0.1";

class Bindings : public MailHost {
 protected:
  /// Postfix reads the settings with the reload that the new domain brings. It must not keep a talk
  /// for the next message, since the peer has one talk at a time.
  Bindings() {
    postfix_.Set("default_transport=smtp");
    postfix_.Set("smtp_connection_cache_on_demand=no");
    postfix_.Set("relayhost=[127.0.0.1]:" + std::to_string(peer_.port()));
    CreateDomain("redirect.example", {"--default-action", "redir_email", "--redirect", kOutside});
  }

  void Bind(const std::string& domain, const std::string& address) const {
    Zebmail({"domain", "update", domain, "--ip", address});
  }

  /// Sends a message and returns the log line on what became of it.
  std::string SendFrom(const std::string& sender) const {
    return postfix_.Outcome(SendMessage(postfix_.port(), sender, kRedirected), kRedirected);
  }

  /// The address from which a message of the sender arrives.
  std::string AddressOf(const std::string& sender) const {
    EXPECT_THAT(SendFrom(sender), HasSubstr("status=sent (250 taken)"));
    const SmtpSink::Message message = peer_.Messages().back();
    EXPECT_EQ(message, (SmtpSink::Message{message.client, sender, kOutside}));
    return message.client;
  }

  /// A reload is not over when the tool that asks for it returns: waits until the sender's mail
  /// comes from the address.
  void AwaitAddress(const std::string& sender, const std::string& address) const {
    postfix_.WaitUntil("mail of " + sender + " from " + address,
                       [&] { return AddressOf(sender) == address; });
  }

  SmtpSink peer_;
};

INSTANTIATE_TEST_SUITE_P(MapTypes, Bindings, testing::Values("lmdb"),
                         [](const auto& type) { return type.param; });

TEST_P(Bindings, HaveADomainsMailLeaveFromItsAddress) {
  CreateDomain("shop.example", {"--ip", "127.0.0.10"});
  AwaitAddress("info@shop.example", "127.0.0.10");

  EXPECT_THAT(SendFrom("info@shop.example"), HasSubstr(" postfix-127_0_0_10/smtp["));
  EXPECT_EQ(AddressOf("Nobody.Here@SHOP.Example"), "127.0.0.10");
}

TEST_P(Bindings, LeaveTheMailOfOtherSendersAlone) {
  CreateDomain("shop.example", {"--ip", "127.0.0.10"});
  AwaitAddress("info@shop.example", "127.0.0.10");

  for (const char* sender :
       {"info@redirect.example", "stranger@sender.test", "info@sub.shop.example",
        "info@shop.example.org", "info@my-shop.example", "info@shopxexample", ""}) {
    EXPECT_EQ(AddressOf(sender), kNoOther) << sender;
  }
}

TEST_P(Bindings, OfTwoDomainsDoNotMeet) {
  CreateDomain("shop.example", {"--ip", "127.0.0.10"});
  CreateDomain("news.shop.example", {"--ip", "127.0.0.11"});
  CreateDomain("same.example", {"--ip", "127.0.0.10"});
  AwaitAddress("info@same.example", "127.0.0.10");

  EXPECT_EQ(AddressOf("info@shop.example"), "127.0.0.10");
  EXPECT_EQ(AddressOf("info@news.shop.example"), "127.0.0.11");
  Zebmail({"domain", "delete", "shop.example"});
  AwaitAddress("info@shop.example", kNoOther);
  EXPECT_EQ(AddressOf("info@same.example"), "127.0.0.10");
}

TEST_P(Bindings, FollowAMoveToAnotherAddress) {
  CreateDomain("shop.example", {"--ip", "127.0.0.10"});
  AwaitAddress("info@shop.example", "127.0.0.10");

  Bind("shop.example", "127.0.0.11");

  AwaitAddress("info@shop.example", "127.0.0.11");
  EXPECT_THAT(SendFrom("info@shop.example"), HasSubstr(" postfix-127_0_0_11/smtp["));
}

TEST_P(Bindings, EndWhenTheyAreClearedAndCanBeMadeAgain) {
  CreateDomain("shop.example");
  EXPECT_EQ(AddressOf("info@shop.example"), kNoOther);

  Bind("shop.example", "127.0.0.10");
  AwaitAddress("info@shop.example", "127.0.0.10");
  Bind("shop.example", "");
  AwaitAddress("info@shop.example", kNoOther);
  Bind("shop.example", "127.0.0.11");
  AwaitAddress("info@shop.example", "127.0.0.11");
}

TEST_P(Bindings, EndWithTheirDomain) {
  CreateDomain("shop.example", {"--ip", "127.0.0.10"});
  AwaitAddress("info@shop.example", "127.0.0.10");

  Zebmail({"domain", "delete", "shop.example"});

  AwaitAddress("info@shop.example", kNoOther);
}

TEST_P(Bindings, ToAnIp6AddressLetMailLeaveToPeersThatHaveNone) {
  CreateDomain("shop.example", {"--ip", "::1"});

  EXPECT_EQ(AddressOf("info@shop.example"), kNoOther);
  postfix_.WaitUntil("a message through the service of the domain", [this] {
    return SendFrom("info@shop.example").find(" postfix-__1/smtp[") != std::string::npos;
  });
}

TEST_P(Bindings, ToAnAddressThatIsNotThereLetMailLeaveFromAnother) {
  CreateDomain("shop.example", {"--ip", "203.0.113.10"});

  postfix_.WaitUntil("a message through the service of the domain", [this] {
    return SendFrom("info@shop.example").find(" postfix-203_0_113_10/smtp[") != std::string::npos;
  });
  EXPECT_EQ(AddressOf("info@shop.example"), kNoOther);
}

TEST_P(Bindings, AreAcceptedByPostfixInEveryForm) {
  CreateDomain("shop.example", {"--ip", "127.0.0.10"});
  CreateDomain("six.example", {"--ip", "::1"});
  CreateDomain("cleared.example", {"--ip", "127.0.0.10"});
  CreateDomain("deleted.example", {"--ip", "127.0.0.10"});
  Bind("cleared.example", "");
  Zebmail({"domain", "delete", "deleted.example"});

  const CommandRun check = RunCommand({"/usr/sbin/postfix", "-c", postfix_.config_dir(), "check"});
  const CommandRun services = RunCommand({"/usr/sbin/postconf", "-c", postfix_.config_dir(), "-M"});

  EXPECT_EQ(check.status, 0);
  EXPECT_EQ(check.errors, "");
  EXPECT_EQ(services.status, 0);
  EXPECT_EQ(services.errors, "");
  EXPECT_THAT(services.output, HasSubstr("smtp_cleared_example unix"));
  EXPECT_THAT(services.output, testing::Not(HasSubstr("smtp_deleted_example")));
  AwaitAddress("info@shop.example", "127.0.0.10");
}

}  // namespace
}  // namespace test_support
