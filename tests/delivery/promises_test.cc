/// NAME
///   promises_test - all that the README promises, as messages that come in and where they end
///
/// PURPOSE
///   One table: after these commands, a message from this sender to this address ends there. The
///   rows are carried out one after the other on one panel and one Postfix, each with names of its
///   own. What is sent on goes by SMTP to a peer, who notes from which address it comes.

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/delivery/mail_ends.h"
#include "tests/delivery/mail_host.h"
#include "tests/delivery/smtp_sink.h"

namespace test_support {
namespace {

using Words = std::vector<std::string>;

struct Promise {
  std::string what;
  std::vector<Words> commands;
  std::string from;
  std::string to;
  Ends ends;
};

const std::string kStranger = "stranger@sender.test";

std::string Disabled(const std::string& recipient) {
  return "550 5.7.1 <" + recipient + ">: Recipient address rejected: Account disabled";
}

std::string Unwanted(const std::string& sender) {
  return "554 5.7.1 <" + sender + ">: Sender address rejected: Access denied";
}

std::string NoRelay(const std::string& recipient) {
  return "554 5.7.1 <" + recipient + ">: Relay access denied";
}

/// daemon and games are users of every system.
std::vector<Promise> AllPromises() {
  const std::string user = "daemon@box.example";
  return {
      {"a domain that the panel does not have is refused",
       {},
       kStranger,
       "info@box.example",
       {NoRelay("info@box.example")}},

      {"a new domain bounces unknown addresses",
       {{"domain", "create", "box.example"}},
       kStranger,
       "nobody.here@box.example",
       {"bounced postfix_err_nouser@mail.test"}},
      {"ignore throws them away",
       {{"domain", "update", "box.example", "--default-action", "ignore"}},
       kStranger,
       "nobody.here@box.example",
       {"discarded devnull@mail.test"}},
      {"redir_email sends them to one address",
       {{"domain", "update", "box.example", "--default-action", "redir_email", "--redirect",
         "boss@elsewhere.test"}},
       kStranger,
       "nobody.here@box.example",
       {"sent boss@elsewhere.test"}},
      {"redir_domain sends them to the same name elsewhere",
       {{"domain", "update", "box.example", "--default-action", "redir_domain", "--redirect",
         "elsewhere.test"}},
       kStranger,
       "nobody.here@box.example",
       {"sent nobody.here@elsewhere.test"}},
      {"error bounces them again",
       {{"domain", "update", "box.example", "--default-action", "error"}},
       kStranger,
       "nobody.here@box.example",
       {"bounced postfix_err_nouser@mail.test"}},

      {"a mailbox gets its mail",
       {{"mailbox", "create", user}},
       kStranger,
       user,
       {"mailbox " + user}},
      {"an alias leads to its mailbox",
       {{"alias", "add", user, "sales", "office"}},
       kStranger,
       "office@box.example",
       {"mailbox " + user}},
      {"a removed alias bounces",
       {{"alias", "remove", user, "office"}},
       kStranger,
       "office@box.example",
       {"bounced postfix_err_nouser@mail.test"}},
      {"a forward gets a copy",
       {{"forward", "add", user, "boss@elsewhere.test", "deputy@elsewhere.test"}},
       kStranger,
       "sales@box.example",
       {"mailbox " + user, "sent boss@elsewhere.test", "sent deputy@elsewhere.test"}},
      {"a removed forward gets none",
       {{"forward", "remove", user, "deputy@elsewhere.test"}},
       kStranger,
       user,
       {"mailbox " + user, "sent boss@elsewhere.test"}},
      {"a mailbox that drops its mail forwards it only",
       {{"mailbox", "update", user, "--drop-mail", "on"}},
       kStranger,
       user,
       {"discarded devnull@mail.test", "sent boss@elsewhere.test"}},
      {"and keeps it again",
       {{"mailbox", "update", user, "--drop-mail", "off"}},
       kStranger,
       user,
       {"mailbox " + user, "sent boss@elsewhere.test"}},
      {"a responder is run beside",
       {{"responder", "on", user}},
       kStranger,
       user,
       {"command daemon+box.example@mail.test", "mailbox " + user, "sent boss@elsewhere.test"}},
      {"switched off, it leaves the forward",
       {{"responder", "off", user}},
       kStranger,
       user,
       {"mailbox " + user, "sent boss@elsewhere.test"}},

      {"a suspended mailbox is refused",
       {{"mailbox", "suspend", user}},
       kStranger,
       user,
       {Disabled(user)}},
      {"and its aliases bounce",
       {},
       kStranger,
       "sales@box.example",
       {"bounced postfix_err_nouser@mail.test"}},
      {"resumed, all of it is back",
       {{"mailbox", "resume", user}},
       kStranger,
       "sales@box.example",
       {"mailbox " + user, "sent boss@elsewhere.test"}},
      {"a suspended domain is refused",
       {{"domain", "suspend", "box.example"}},
       kStranger,
       user,
       {Disabled(user)}},
      {"as a sender too",
       {},
       user,
       "games@mail.test",
       {"550 5.7.1 <" + user + ">: Sender address rejected: Account disabled"}},
      {"resumed, it is back",
       {{"domain", "resume", "box.example"}},
       kStranger,
       "sales@box.example",
       {"mailbox " + user, "sent boss@elsewhere.test"}},

      {"a domain in Unicode is one in ASCII",
       {{"domain", "create", "bücher.example"}, {"mailbox", "create", "games@bücher.example"}},
       kStranger,
       "games@xn--bcher-kva.example",
       {"mailbox games@xn--bcher-kva.example"}},

      {"a listed sender is refused",
       {{"blacklist", "add", "spammer@sender.test"}},
       "spammer@sender.test",
       "games@mail.test",
       {Unwanted("spammer@sender.test")}},
      {"others of that domain are not",
       {},
       kStranger,
       "games@mail.test",
       {"mailbox games@mail.test"}},
      {"a listed domain is refused",
       {{"blacklist", "add", "sender.test"}},
       kStranger,
       "games@mail.test",
       {Unwanted(kStranger)}},
      {"a sender on the white list is taken all the same",
       {{"whitelist", "add", kStranger}},
       kStranger,
       "games@mail.test",
       {"mailbox games@mail.test"}},
      {"and may not relay", {}, kStranger, "boss@elsewhere.test", {NoRelay("boss@elsewhere.test")}},
      {"nor may a client on it",
       {{"whitelist", "add", "127.0.0.1", "elsewhere.test"}},
       "other@peer.test",
       "boss@elsewhere.test",
       {NoRelay("boss@elsewhere.test")}},
      {"a listed client is refused",
       {{"blacklist", "add", "127.0.0.1"}},
       "other@peer.test",
       "games@mail.test",
       {"554 5.7.1 <unknown[127.0.0.1]>: Client host rejected: Access denied"}},
      {"until it is removed",
       {{"blacklist", "remove", "127.0.0.1", "sender.test"}},
       "other@peer.test",
       "games@mail.test",
       {"mailbox games@mail.test"}},

      {"a deleted mailbox bounces",
       {{"mailbox", "delete", user}},
       kStranger,
       "sales@box.example",
       {"bounced postfix_err_nouser@mail.test"}},
  };
}

class Promises : public MailHost {
 protected:
  /// Postfix reads the settings with the reload that the first domain brings. It must not keep a
  /// talk for the next message, since the peer has one talk at a time.
  Promises() {
    postfix_.Set("default_transport=smtp");
    postfix_.Set("smtp_connection_cache_on_demand=no");
    postfix_.Set("relayhost=[127.0.0.1]:" + std::to_string(peer_.port()));
    CreateDomain("first.example");
  }

  /// A new domain is there when Postfix has read its local host names again.
  void Run(const Words& command) const {
    Zebmail(command);
    if (command[0] == "domain" && command[1] == "create") {
      AskUntil(250, "anybody@" + Ascii(command[2]));
    }
  }

  std::string Ascii(const std::string& domain) const {
    return domain == "bücher.example" ? "xn--bcher-kva.example" : domain;
  }

  SmtpSink peer_;
};

INSTANTIATE_TEST_SUITE_P(MapTypes, Promises, testing::Values("hash", "lmdb"),
                         [](const auto& type) { return type.param; });

TEST_P(Promises, AreKept) {
  for (const Promise& promise : AllPromises()) {
    for (const Words& command : promise.commands) Run(command);
    EXPECT_EQ(SendToItsEnds(postfix_, promise.from, promise.to), promise.ends) << promise.what;
  }
  Zebmail({"domain", "delete", "box.example"});
  EXPECT_EQ(AskUntil(554, "daemon@box.example").text, NoRelay("daemon@box.example"));
}

TEST_P(Promises, IncludeAnAnswerAndAnAddressToSendFrom) {
  Run({"domain", "create", "box.example", "--ip", "127.0.0.10"});
  Run({"mailbox", "create", "games@box.example"});
  Run({"responder", "on", "games@box.example", "--subject", "Away until Monday"});

  SendToItsEnds(postfix_, "daemon@mail.test", "games@box.example");
  postfix_.WaitUntil("the answer", [this] {
    return postfix_.Mailbox("daemon").find("Subject: Away until Monday") != std::string::npos;
  });

  Run({"domain", "create", "out.example", "--default-action", "redir_email", "--redirect",
       "boss@elsewhere.test"});
  postfix_.WaitUntil("mail from 127.0.0.10", [this] {
    SendToItsEnds(postfix_, "games@box.example", "any@out.example");
    return peer_.Messages().back() ==
           SmtpSink::Message{"127.0.0.10", "games@box.example", "boss@elsewhere.test"};
  });
}

}  // namespace
}  // namespace test_support
