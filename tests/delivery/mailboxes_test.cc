/// NAME
///   mailboxes_test - what becomes of mail for the mailboxes of a panel
///
/// PURPOSE
///   A mailbox ends at the Unix user of its name; that is `daemon` here, whom every system has. A
///   forward ends elsewhere, in the discard service.

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/delivery/mail_host.h"
#include "tests/delivery/smtp_sink.h"
#include "tests/support/command.h"
#include "tests/support/temp_folder.h"
#include "zebmail/answer/ascii.h"

namespace test_support {
namespace {

using testing::HasSubstr;
using testing::Not;
using zebmail::answer::ToLower;

class MailboxDelivery : public MailHost {
 protected:
  MailboxDelivery() {
    CreateDomain("example.org");
    Zebmail({"mailbox", "create", "daemon@example.org"});
  }

  /// Waits for a log line that holds all of the text; a copy to a forward is a message of its own.
  void WaitForLog(const std::string& text) const {
    postfix_.WaitUntil(text, [&] { return postfix_.Log().find(text) != std::string::npos; });
  }

  /// Sends a message and waits until a copy has gone to the forward.
  void SendAndWaitForForward(const std::string& recipient, const std::string& forward) const {
    Send(recipient);
    WaitForLog("to=<" + forward + ">");
  }

  /// Starts Postfix anew with these lines behind those of its main.cf.
  void Restart(const std::string& more) {
    const std::filesystem::path main_cf = postfix_.config_dir() / "main.cf";
    postfix_.Stop();
    WriteText(main_cf, ReadText(main_cf) + "\n" + more);
    MakeOld(main_cf);
    postfix_.Start();
  }

  /// How many messages lie in the mailbox of the Unix user, for this address.
  int Received(const std::string& address) const {
    const std::string mark = "\nX-Original-To: " + address + "\n";
    const std::string text = postfix_.Mailbox("daemon");
    int count = 0;
    for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at + 1)) {
      ++count;
    }
    return count;
  }

  const std::string mailbox_ = "daemon@example.org";
  const std::string boss_ = "boss@elsewhere.test";
};

INSTANTIATE_TEST_SUITE_P(MapTypes, MailboxDelivery, testing::Values("hash", "lmdb"),
                         [](const auto& type) { return type.param; });

TEST_P(MailboxDelivery, ReachesTheMailbox) {
  EXPECT_THAT(Send(mailbox_), HasSubstr("status=sent (delivered to mailbox)"));

  EXPECT_EQ(Received(mailbox_), 1);
}

TEST_P(MailboxDelivery, ReachesTheMailboxInAnyCaseOfLetters) {
  const std::string queue_id =
      SendMessage(postfix_.port(), "stranger@sender.test", "Daemon@EXAMPLE.org");

  EXPECT_THAT(postfix_.Outcome(queue_id, mailbox_), HasSubstr("(delivered to mailbox)"));
}

TEST_P(MailboxDelivery, ReachesTheMailboxByItsAliases) {
  Zebmail({"alias", "add", mailbox_, "sales", "office"});

  EXPECT_THAT(Send("sales@example.org"), HasSubstr("to=<daemon@example.org>"));
  EXPECT_THAT(Send("office@example.org"), HasSubstr("(delivered to mailbox)"));

  EXPECT_EQ(Received("sales@example.org"), 1);
  EXPECT_EQ(Received("office@example.org"), 1);
}

TEST_P(MailboxDelivery, EndsForRemovedAlias) {
  Zebmail({"alias", "add", mailbox_, "sales"});
  ASSERT_THAT(Send("sales@example.org"), HasSubstr("(delivered to mailbox)"));

  Zebmail({"alias", "remove", mailbox_, "sales"});

  EXPECT_THAT(Send("sales@example.org"), HasSubstr("status=bounced (user unknown)"));
}

TEST_P(MailboxDelivery, ReachesMailboxAndForward) {
  Zebmail({"forward", "add", mailbox_, boss_});

  SendAndWaitForForward(mailbox_, boss_);
  WaitForLog("(delivered to mailbox)");

  EXPECT_EQ(Received(mailbox_), 1);
}

TEST_P(MailboxDelivery, ReachesMailboxAndForwardByAnAlias) {
  Zebmail({"alias", "add", mailbox_, "sales"});
  Zebmail({"forward", "add", mailbox_, boss_});

  SendAndWaitForForward("sales@example.org", boss_);
  WaitForLog("(delivered to mailbox)");

  EXPECT_EQ(Received("sales@example.org"), 1);
}

TEST_P(MailboxDelivery, ReachesTheForwardAloneWhenTheMailboxDropsItsMail) {
  Zebmail({"forward", "add", mailbox_, boss_});
  Zebmail({"mailbox", "update", mailbox_, "--drop-mail", "on"});

  SendAndWaitForForward(mailbox_, boss_);
  WaitForLog("(delivered to file: /dev/null)");

  EXPECT_EQ(postfix_.Mailbox("daemon"), "");
}

TEST_P(MailboxDelivery, ReachesTheForwardStillAfterUpdatesAndTheEndOfTheResponder) {
  Zebmail({"forward", "add", mailbox_, boss_});
  Zebmail({"responder", "on", mailbox_});
  Zebmail({"mailbox", "update", mailbox_, "--drop-mail", "on"});
  Zebmail({"mailbox", "update", mailbox_, "--drop-mail", "off"});
  Zebmail({"responder", "off", mailbox_});

  SendAndWaitForForward(mailbox_, boss_);
  WaitForLog("(delivered to mailbox)");

  EXPECT_EQ(Received(mailbox_), 1);
}

TEST_P(MailboxDelivery, IsRefusedForSuspendedMailbox) {
  Zebmail({"mailbox", "suspend", mailbox_});

  EXPECT_EQ(Ask(mailbox_).text,
            "550 5.7.1 <daemon@example.org>: Recipient address rejected: Account disabled");
  EXPECT_EQ(AskForRecipient(postfix_.port(), mailbox_, "daemon@mail.test").text,
            "550 5.7.1 <daemon@example.org>: Sender address rejected: Account disabled");
  EXPECT_EQ(Ask("somebody@example.org").code, 250);
}

TEST_P(MailboxDelivery, DoesNotReachSuspendedMailboxByItsAliases) {
  Zebmail({"alias", "add", mailbox_, "sales"});
  Zebmail({"forward", "add", mailbox_, boss_});
  Zebmail({"mailbox", "suspend", mailbox_});

  EXPECT_THAT(Send("sales@example.org"), HasSubstr("status=bounced (user unknown)"));

  EXPECT_EQ(postfix_.Mailbox("daemon"), "");
  EXPECT_THAT(postfix_.Log(), Not(HasSubstr("to=<" + boss_ + ">")));
}

TEST_P(MailboxDelivery, ReachesResumedMailboxWithItsAliasesAndForwards) {
  Zebmail({"alias", "add", mailbox_, "sales"});
  Zebmail({"forward", "add", mailbox_, boss_});
  Zebmail({"mailbox", "suspend", mailbox_});
  ASSERT_EQ(Ask(mailbox_).code, 550);

  Zebmail({"mailbox", "resume", mailbox_});

  SendAndWaitForForward("sales@example.org", boss_);
  WaitForLog("(delivered to mailbox)");
  EXPECT_EQ(Received("sales@example.org"), 1);
}

TEST_P(MailboxDelivery, BouncesForDeletedMailbox) {
  Zebmail({"alias", "add", mailbox_, "sales"});
  Zebmail({"forward", "add", mailbox_, boss_});

  Zebmail({"mailbox", "delete", mailbox_});

  EXPECT_THAT(Send(mailbox_), HasSubstr("status=bounced (user unknown)"));
  EXPECT_THAT(Send("sales@example.org"), HasSubstr("status=bounced (user unknown)"));
  EXPECT_EQ(postfix_.Mailbox("daemon"), "");
  EXPECT_THAT(postfix_.Log(), Not(HasSubstr("to=<" + boss_ + ">")));
}

TEST_P(MailboxDelivery, IsRefusedForMailboxOfDeletedDomain) {
  Zebmail({"domain", "delete", "example.org"});

  EXPECT_EQ(AskUntil(554, mailbox_).text, "554 5.7.1 <daemon@example.org>: Relay access denied");
}

/// Where "+" delimits extensions, the forward entry "daemon+example.org" could be taken for the
/// user daemon, who would get a second copy then.
TEST_P(MailboxDelivery, ReachesTheForwardWhereThePlusDelimitsExtensions) {
  Restart("recipient_delimiter = +\n");
  Zebmail({"forward", "add", mailbox_, boss_});

  SendAndWaitForForward(mailbox_, boss_);
  WaitForLog("(delivered to mailbox)");

  EXPECT_EQ(Received(mailbox_), 1);
}

/// Postfix must not add the extension to what the virtual user table leads to: an entry
/// "daemon+example.org+extension" there is none.
TEST_P(MailboxDelivery, ReachesTheForwardOfAnAddressWithAnExtension) {
  Restart("recipient_delimiter = +\npropagate_unmatched_extensions = canonical\n");
  Zebmail({"forward", "add", mailbox_, boss_});

  SendAndWaitForForward("daemon+extension@example.org", boss_);
  WaitForLog("(delivered to mailbox)");

  EXPECT_EQ(Received("daemon+extension@example.org"), 1);
}

/// Names that would mean something to a shell, to a table or to local(8), if they were taken for
/// anything but names. Mailboxes end at a server that says for whom it gets mail.
TEST_P(MailboxDelivery, ReachesMailboxesAndAliasesWhoseNamesMeanSomethingElsewhere) {
  const SmtpSink server;
  const std::string mark = folder_.Path("owned");
  std::vector<std::string> names = {"`touch$IFS" + mark + "`",
                                    "x|touch${IFS}" + mark,
                                    "x&touch${IFS}" + mark,
                                    "$HOME",
                                    "a|b",
                                    "a/b",
                                    "a-",
                                    "+x"};
  for (const char sign : std::string("`${}&'*?=_^")) names.emplace_back(1, sign);
  std::string lines = "{\"type\":\"domain\",\"name\":\"odd.example\"}\n";
  for (const std::string& name : names) {
    lines += R"({"type":"mailbox","address":")" + name + R"(@odd.example","aliases":[")" + name +
             ".alias\"]}\n";
  }
  postfix_.Set("mailbox_transport=smtp:[127.0.0.1]:" + std::to_string(server.port()));
  postfix_.Set("smtp_connection_cache_on_demand=no");

  Zebmail({"import", folder_.WriteText("odd.jsonl", lines)});

  AskUntil(250, "anybody@odd.example");
  std::vector<SmtpSink::Message> expected;
  for (const std::string& name : names) {
    const std::string mailbox = ToLower(name + "@odd.example");
    for (const std::string& recipient : {mailbox, name + ".alias@odd.example"}) {
      EXPECT_THAT(Send(recipient), HasSubstr("status=sent (250 taken)")) << recipient;
      expected.push_back({"127.0.0.1", "stranger@sender.test", mailbox});
    }
  }
  EXPECT_THAT(server.Messages(), testing::ElementsAreArray(expected));
  EXPECT_THAT(postfix_.Log(), Not(HasSubstr("(delivered to ")));
  EXPECT_FALSE(std::filesystem::exists(mark));
}

/// Forwards that would be commands to a shell, and a file to write to, if they were anything but
/// addresses.
TEST_P(MailboxDelivery, RunsNoCommandForForwardsThatLookLikeOne) {
  const std::string mark = folder_.Path("owned");
  const std::string attempts[] = {
      "`touch$IFS" + mark + "`@mail.test",
      "x|touch${IFS}" + mark + "@mail.test",
      "$HOME/" + mark.substr(1) + "@mail.test",
      "x&touch${IFS}" + mark + "@mail.test",
  };
  for (const std::string& forward : attempts) Zebmail({"forward", "add", mailbox_, forward});

  Send(mailbox_);
  for (const std::string& forward : attempts) WaitForLog("<" + forward + ">");
  WaitForLog("(delivered to mailbox)");

  EXPECT_FALSE(std::filesystem::exists(mark));
  EXPECT_EQ(Received(mailbox_), 1);
}

}  // namespace
}  // namespace test_support
