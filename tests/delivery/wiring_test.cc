/// NAME
///   wiring_test - mail through a Postfix that `zebmail postfix-config --apply` has set up
///
/// PURPOSE
///   Its main.cf knows of no panel at first. What the command makes of it must be enough for mail
///   to arrive, to be refused where the panel says so, and not to be relayed.

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/delivery/private_postfix.h"
#include "tests/delivery/smtp_session.h"
#include "tests/delivery/smtp_sink.h"
#include "tests/support/command.h"
#include "tests/support/temp_folder.h"

namespace test_support {
namespace {

using testing::HasSubstr;

const std::string kStranger = "stranger@sender.test";

class WiredByCommand : public testing::TestWithParam<std::string> {
 protected:
  WiredByCommand() : postfix_(folder_.path(), GetParam()) {
    const std::string text = ReadText(MainCf());
    WriteText(MainCf(), text.substr(0, text.find("# The panel's tables.")) +
                            "mailbox_transport = smtp:[127.0.0.1]:" + std::to_string(sink_.port()) +
                            "\nmynetworks = 192.0.2.0/24\n" +  // the test is a stranger
                            "recipient_delimiter = +\n");
    MakeOld(MainCf());
    const CommandRun init = RunCommand({ZEBMAIL_BINARY, "init", "--root", folder_.path(),
                                        "--postfix-config", postfix_.config_dir()});
    EXPECT_EQ(init.status, 0) << init.errors;
  }

  std::filesystem::path MainCf() const { return postfix_.config_dir() / "main.cf"; }

  std::string Zebmail(std::vector<std::string> words) const {
    postfix_.LeaveThisSecond();
    words.insert(words.begin(), {ZEBMAIL_BINARY, "--config", folder_.Path("zebmail.toml")});
    const CommandRun run = RunCommand(words);
    EXPECT_EQ(run.status, 0) << run.output << run.errors;
    return run.output;
  }

  void WaitForReply(int code, const std::string& recipient) const {
    postfix_.WaitUntil("reply " + std::to_string(code) + " to " + recipient, [&] {
      return AskForRecipient(postfix_.port(), kStranger, recipient).code == code;
    });
  }

  TempFolder folder_;
  SmtpSink sink_;
  PrivatePostfix postfix_;
};

INSTANTIATE_TEST_SUITE_P(MapTypes, WiredByCommand, testing::Values("hash", "lmdb"),
                         [](const auto& type) { return type.param; });

TEST_P(WiredByCommand, ReceivesForMailboxesAndRefusesWhatIsSuspended) {
  Zebmail({"postfix-config", "--apply"});
  MakeOld(MainCf());
  postfix_.Start();
  Zebmail({"domain", "create", "example.org"});
  Zebmail({"mailbox", "create", "info@example.org"});
  Zebmail({"alias", "add", "info@example.org", "sales"});
  EXPECT_EQ(Zebmail({"check"}), "nothing is wrong\n");
  WaitForReply(250, "info@example.org");

  for (const std::string recipient : {"info@example.org", "sales+news@example.org"}) {
    const std::string queue_id = SendMessage(postfix_.port(), kStranger, recipient);
    EXPECT_THAT(postfix_.Outcome(queue_id, "info@example.org"), HasSubstr("status=sent"));
  }
  const SmtpSink::Message message{"127.0.0.1", kStranger, "info@example.org"};
  EXPECT_THAT(sink_.Messages(), testing::ElementsAre(message, message));

  const std::string unknown = SendMessage(postfix_.port(), kStranger, "nobody@example.org");
  EXPECT_THAT(postfix_.Outcome(unknown, "nobody@example.org"),
              HasSubstr("status=bounced (user unknown)"));

  Zebmail({"domain", "suspend", "example.org"});
  EXPECT_EQ(AskForRecipient(postfix_.port(), kStranger, "info@example.org").text,
            "550 5.7.1 <info@example.org>: Recipient address rejected: Account disabled");
}

TEST_P(WiredByCommand, TakesTheSettingsWhileItRuns) {
  postfix_.Start();
  EXPECT_THAT(Zebmail({"postfix-config", "--apply"}), testing::EndsWith("\nreloaded Postfix\n"));
  MakeOld(MainCf());

  Zebmail({"domain", "create", "example.org"});

  WaitForReply(250, "anybody@example.org");
}

/// As Postfix is shipped, a domain in the access table stands for the domains below it as well.
TEST_P(WiredByCommand, RefusesADomainBelowOneThatIsSuspendedOrBlacklisted) {
  const std::string below = "info@shop.example.org";
  Zebmail({"postfix-config", "--apply"});
  MakeOld(MainCf());
  postfix_.Start();
  Zebmail({"domain", "create", "example.org"});
  Zebmail({"domain", "create", "shop.example.org"});
  WaitForReply(250, below);

  Zebmail({"domain", "suspend", "example.org"});
  EXPECT_EQ(AskForRecipient(postfix_.port(), kStranger, below).text,
            "550 5.7.1 <info@shop.example.org>: Recipient address rejected: Account disabled");
  EXPECT_EQ(AskForRecipient(postfix_.port(), below, "root@mail.test").text,
            "550 5.7.1 <info@shop.example.org>: Sender address rejected: Account disabled");

  Zebmail({"domain", "resume", "example.org"});
  EXPECT_EQ(AskForRecipient(postfix_.port(), kStranger, below).code, 250);

  Zebmail({"blacklist", "add", "example.org"});
  EXPECT_EQ(AskForRecipient(postfix_.port(), below, "root@mail.test").text,
            "554 5.7.1 <info@shop.example.org>: Sender address rejected: Access denied");
  EXPECT_EQ(AskForRecipient(postfix_.port(), kStranger, below).text,
            "554 5.7.1 <info@shop.example.org>: Recipient address rejected: Access denied");
}

TEST_P(WiredByCommand, TakesADomainBelowASuspendedOneWhereEachStandsForItselfAlone) {
  postfix_.Set("parent_domain_matches_subdomains=");
  Zebmail({"postfix-config", "--apply"});
  MakeOld(MainCf());
  postfix_.Start();
  Zebmail({"domain", "create", "example.org"});
  Zebmail({"domain", "create", "shop.example.org"});
  WaitForReply(250, "info@shop.example.org");

  Zebmail({"domain", "suspend", "example.org"});

  WaitForReply(550, "info@example.org");
  EXPECT_EQ(AskForRecipient(postfix_.port(), kStranger, "info@shop.example.org").code, 250);
}

TEST_P(WiredByCommand, IsNoOpenRelayForListedSendersAndRecipients) {
  Zebmail({"postfix-config", "--apply"});
  MakeOld(MainCf());
  postfix_.Start();
  Zebmail({"whitelist", "add", "friend.example"});

  EXPECT_EQ(AskForRecipient(postfix_.port(), "somebody@friend.example", "x@elsewhere.test").code,
            454);
  EXPECT_EQ(AskForRecipient(postfix_.port(), kStranger, "somebody@friend.example").code, 454);
}

/// As of submission, though this one is not for users who log in.
TEST_P(WiredByCommand, RefusesWhereAServiceHasAListOfItsOwnOnceThatIsMended) {
  const std::filesystem::path master_cf = postfix_.config_dir() / "master.cf";
  std::string services = ReadText(master_cf);
  const std::string port = std::to_string(postfix_.port());
  const std::size_t end = services.find(" smtpd\n", services.find("127.0.0.1:" + port)) + 7;
  services.insert(end, "  -o smtpd_recipient_restrictions=permit_auth_destination,reject\n");
  services.erase(services.find("127.0.0.1:" + port), 10);
  WriteText(master_cf, services);
  Zebmail({"postfix-config", "--apply"});
  MakeOld(MainCf());
  postfix_.Start();
  Zebmail({"domain", "create", "example.org"});
  Zebmail({"mailbox", "create", "info@example.org"});
  Zebmail({"domain", "suspend", "example.org"});
  WaitForReply(250, "info@example.org");

  const CommandRun check =
      RunCommand({ZEBMAIL_BINARY, "--config", folder_.Path("zebmail.toml"), "check"});
  EXPECT_EQ(check.status, 1);
  EXPECT_THAT(check.output, testing::StartsWith("master.cf " + port + " inet has a "));
  const std::string mend = check.output.substr(check.output.find("; mend: ") + 8);
  const CommandRun mended = RunCommand({"/bin/sh", "-c", mend});

  EXPECT_EQ(mended.status, 0) << mended.errors;
  EXPECT_EQ(Zebmail({"check"}), "nothing is wrong\n");
  WaitForReply(550, "info@example.org");
  Zebmail({"domain", "resume", "example.org"});
  WaitForReply(250, "info@example.org");
  EXPECT_EQ(AskForRecipient(postfix_.port(), kStranger, "x@elsewhere.test").code, 454);
}

}  // namespace
}  // namespace test_support
