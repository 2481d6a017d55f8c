/// NAME
///   transfer_test - the whole panel out as JSON Lines, and in again

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/postgresql_server.h"
#include "tests/zebmail/hand_kept_panel.h"
#include "tests/zebmail/next_step.h"

namespace zebmail_test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

const std::string kWebDomain = R"({"type":"webdomain","name":"a.example","owner":1})"
                               "\n";

/// How the refusal of what the tables say otherwise ends.
const std::string kAdvice =
    "; make the tables say the same, or take it over with zebmail sync and change it behind that\n";

/// What `import` prints: "added changed unchanged", for each kind in the order of its lines.
std::string Counts(const std::vector<std::string>& counts) {
  const std::vector<std::string> kinds = {"webdomains", "domains", "mailboxes", "whitelist",
                                          "blacklist"};
  std::string text;
  for (std::size_t kind = 0; kind < kinds.size(); ++kind) {
    text += kinds[kind] + ": " + counts[kind].substr(0, 1) + " added, " +
            counts[kind].substr(2, 1) + " changed, " + counts[kind].substr(4) + " unchanged\n";
  }
  return text;
}

class Transfer : public testing::Test {
 protected:
  std::string Import(const std::string& lines) { return panel_.Do({"import", "-"}, lines); }
  std::string Export() { return panel_.Do({"export"}); }

  /// How an import of the lines fails. It must leave everything as it was.
  std::string FailureOf(const std::string& lines) {
    const std::string before = Everything();
    const CommandRun run = panel_.Run({"import", "-"}, lines);
    EXPECT_EQ(run.status, 1) << run.output;
    EXPECT_EQ(Everything(), before);
    EXPECT_THAT(run.errors, StartsWith("zebmail: "));
    return WithoutNextStep(run.errors).substr(std::string("zebmail: ").size());
  }

  std::string Everything() { return Export() + panel_.MailboxTables() + panel_.Tables(); }

  AnsweringPanel panel_;
};

/// A panel that has something of everything.
class TransferOfAll : public Transfer {
 protected:
  TransferOfAll() {
    panel_.Do({"webdomain", "add", "a.example", "--owner", "7"});
    panel_.Do({"domain", "create", "a.example", "--default-action", "redir_email", "--redirect",
               "info@a.example", "--owner", "7"});
    panel_.Do({"domain", "create", "bücher.example", "--ip", "127.0.0.10"});
    panel_.Do({"mailbox", "create", "info@a.example"});
    panel_.Do({"alias", "add", "info@a.example", "sales", "shop"});
    panel_.Do({"forward", "add", "info@a.example", "x@müller.example", "y@c.example"});
    panel_.Do({"responder", "on", "info@a.example", "--subject", "Away", "--text-file", "-"},
              "I am \"away\".\n");
    panel_.Do({"mailbox", "create", "drop@a.example", "--drop-mail"});
    panel_.Do({"responder", "on", "drop@a.example", "--subject", "Later", "--text-file", "-"},
              "Soon.\n");
    panel_.Do({"responder", "off", "drop@a.example"});
    panel_.Do({"mailbox", "create", "off@a.example"});
    panel_.Do({"alias", "add", "off@a.example", "other"});
    panel_.Do({"mailbox", "create", "info@bücher.example"});
    panel_.Do({"whitelist", "add", "friend@c.example", "off@a.example", "x@bücher.example"});
    panel_.Do({"blacklist", "add", "foe.example", "192.0.2.66", "2001:db8::1"});
    panel_.Do({"mailbox", "suspend", "off@a.example"});
    panel_.Do({"domain", "suspend", "bücher.example"});
  }
};

TEST_F(TransferOfAll, IsALineForEachThing) {
  EXPECT_EQ(
      Export(),
      R"({"type":"webdomain","name":"a.example","owner":7})"
      "\n"
      R"({"type":"domain","name":"a.example","active":true,"defaction":"redir_email",)"
      R"("redirect":"info@a.example","ip":"","owner":7})"
      "\n"
      R"({"type":"mailbox","address":"drop@a.example","active":true,"dropmail":true,"aliases":[],)"
      R"("forwards":[],"responder":false,"subject":"Later","text":"Soon.\n"})"
      "\n"
      R"({"type":"mailbox","address":"info@a.example","active":true,"dropmail":false,)"
      R"("aliases":["sales","shop"],"forwards":["x@müller.example","y@c.example"],)"
      R"("responder":true,"subject":"Away","text":"I am \"away\".\n"})"
      "\n"
      R"({"type":"mailbox","address":"off@a.example","active":false,"dropmail":false,)"
      R"("aliases":["other"],"forwards":[],"responder":false})"
      "\n"
      R"({"type":"domain","name":"bücher.example","active":false,"defaction":"error",)"
      R"("redirect":"","ip":"127.0.0.10","owner":0})"
      "\n"
      R"({"type":"mailbox","address":"info@bücher.example","active":true,"dropmail":false,)"
      R"("aliases":[],"forwards":[],"responder":false})"
      "\n"
      R"({"type":"whitelist","value":"friend@c.example"})"
      "\n"
      R"({"type":"whitelist","value":"off@a.example"})"
      "\n"
      R"({"type":"whitelist","value":"x@bücher.example"})"
      "\n"
      R"({"type":"blacklist","value":"192.0.2.66"})"
      "\n"
      R"({"type":"blacklist","value":"2001:db8::1"})"
      "\n"
      R"({"type":"blacklist","value":"foe.example"})"
      "\n");
}

TEST_F(TransferOfAll, ComesBackWholeInAnEmptyPanel) {
  const std::string lines = Export();
  const AnsweringPanel other;

  EXPECT_EQ(other.Do({"import", "-"}, lines),
            Counts({"1 0 0", "2 0 0", "4 0 0", "3 0 0", "3 0 0"}));

  EXPECT_EQ(other.Do({"export"}), lines);
  EXPECT_EQ(other.Lookup("virtusertable", "sales@a.example"), "info@a.example");
  EXPECT_EQ(other.Lookup("virtusertable", "off@a.example"), "postfix_err_nouser");
  EXPECT_EQ(other.Lookup("access", "xn--bcher-kva.example"), "550 Account disabled");
  EXPECT_EQ(other.Lookup("access", "foe.example"), "REJECT");
  EXPECT_THAT(
      other.Table("aliases"),
      HasSubstr("info+a.example:\tx@xn--mller-kva.example,y@c.example," + other.AnswerOf(2)));
  EXPECT_EQ(other.Run({"check"}).status, 0);
}

TEST_F(TransferOfAll, IntoThePanelItselfChangesNothing) {
  const std::string before = Everything();

  EXPECT_EQ(Import(Export()), Counts({"0 0 1", "0 0 2", "0 0 4", "0 0 3", "0 0 3"}));

  EXPECT_EQ(Everything(), before);
}

/// A panel that goes on with its tables and a database that knows nothing of them.
class MoveOfAll : public TransferOfAll {
 protected:
  /// Something of every kind more, and keys that are not those that new rows would get.
  MoveOfAll() {
    panel_.Do({"mailbox", "delete", "info@bücher.example"});
    panel_.Do({"domain", "create", "moved.example", "--default-action", "redir_domain",
               "--redirect", "c.example"});
    panel_.Run({"domain", "create", "six.example", "--ip", "2001:db8::6"});
    panel_.Do({"mailbox", "create", "away@moved.example"});
    panel_.Do({"forward", "add", "away@moved.example", "z@c.example"});
    panel_.Do({"responder", "on", "away@moved.example"});
    panel_.Do({"mailbox", "suspend", "away@moved.example"});
    panel_.Do({"mailbox", "create", "answer@moved.example", "--drop-mail"});
    panel_.Do({"responder", "on", "answer@moved.example"});
  }

  void MoveTo(const std::string& database) {
    panel_.MoveTo(database);
    panel_.ChangeDatabase([] {});  // a file is never made anew by a command
  }

  void ExpectWholeMoveTo(const std::string& database) {
    EXPECT_EQ(panel_.Do({"check"}), "nothing is wrong\n");
    const std::string lines = Export();
    const auto tables = Snapshot(panel_.Path("panel/mail"));
    const auto responders = Snapshot(panel_.Path("panel/state/responder"));
    MoveTo(database);

    EXPECT_EQ(Import(lines), Counts({"1 0 0", "4 0 0", "5 0 0", "3 0 0", "3 0 0"}));

    EXPECT_EQ(Export(), lines);
    EXPECT_EQ(Snapshot(panel_.Path("panel/mail")), tables);
    EXPECT_EQ(Snapshot(panel_.Path("panel/state/responder")), responders);
    EXPECT_EQ(panel_.Do({"check"}), "nothing is wrong\n");
    EXPECT_EQ(Import(lines), Counts({"0 0 1", "0 0 4", "0 0 5", "0 0 3", "0 0 3"}));
    ExpectToGoOn();
  }

 private:
  /// No key of a mailbox is given again.
  void ExpectToGoOn() {
    panel_.Do({"mailbox", "create", "new@moved.example"});
    panel_.Do({"responder", "on", "new@moved.example"});
    panel_.Do({"mailbox", "resume", "away@moved.example"});
    panel_.Do({"responder", "off", "answer@moved.example"});
    EXPECT_EQ(panel_.Do({"check"}), "nothing is wrong\n");
  }
};

TEST_F(MoveOfAll, ToAnotherDatabaseLeavesTheTablesAsTheyAre) {
  const test_support::TestDatabase other(panel_.Path("panel/other.db"));
  ExpectWholeMoveTo(other.url());
}

TEST_F(MoveOfAll, IsRefusedWhileTheTablesSaySomethingElse) {
  const std::string lines = Export();
  const test_support::TestDatabase other(panel_.Path("panel/other.db"));
  MoveTo(other.url());
  const std::string addresses = panel_.Table("virtusertable");
  const std::string entries = panel_.Table("aliases");
  const auto without = [](std::string text, const std::string& part) {
    return text.erase(text.find(part), part.size());
  };
  const auto failure = [&](const std::string& name, const std::string& where) {
    return "exists: standard input:" + name +
           " is in the tables, and the panel does not have it, but " + where + kAdvice;
  };

  panel_.SetTable("virtusertable", without(addresses, "shop@a.example\tinfo@a.example\n"));
  EXPECT_EQ(FailureOf(lines),
            failure("4: mailbox: info@a.example",
                    panel_.Path("panel/mail/virtusertable") +
                        " lacks the line of shop@a.example that would go with it"));
  panel_.SetTable("virtusertable", addresses);

  panel_.SetTable("aliases", without(entries, "y@c.example,"));
  EXPECT_EQ(FailureOf(lines),
            failure("4: mailbox: info@a.example",
                    panel_.Path("panel/mail/aliases") + ":3 says something else than this line"));

  panel_.SetTable("aliases", without(entries, "," + panel_.AnswerOf(1)));
  EXPECT_EQ(FailureOf(lines),
            failure("4: mailbox: info@a.example",
                    panel_.Path("panel/mail/aliases") + ":3 says something else than this line"));
}

/// A panel whose database knows nothing of its tables, which are made by hand.
class TakeOver : public Transfer {
 protected:
  /// The tables that an import of the lines refuses, and where it finds what is otherwise.
  void ExpectRefusal(const std::string& lines, const std::string& name, const std::string& table,
                     int line) {
    const auto tables = Snapshot(panel_.Path("panel/mail"));
    EXPECT_EQ(FailureOf(lines), "exists: standard input:" + name +
                                    " is in the tables, and the panel does not have it, but " +
                                    panel_.Path("panel/mail/" + table) + ":" +
                                    std::to_string(line) + " says something else than this line" +
                                    kAdvice);
    EXPECT_EQ(Snapshot(panel_.Path("panel/mail")), tables);
  }

  void ExpectTakenOver(const std::string& lines, const std::vector<std::string>& counts) {
    const auto tables = Snapshot(panel_.Path("panel/mail"));
    EXPECT_EQ(Import(lines), Counts(counts));
    EXPECT_EQ(Snapshot(panel_.Path("panel/mail")), tables);
  }

  void SetTables(const std::string& addresses, const std::string& access = "",
                 const std::string& entries = "") {
    panel_.SetTable("virtusertable", addresses);
    panel_.SetTable("access", access);
    panel_.SetTable("aliases",
                    "postfix_err_nouser:\t\"| exit 67\"\ndevnull:\t\"/dev/null\"\n" + entries);
    panel_.SetTable("local-host-names", "a.example\n");
  }

  const std::string domain_ = "@a.example\tpostfix_err_nouser\n";
  const std::string domain_line_ = R"({"type":"domain","name":"a.example"})"
                                   "\n";
  const std::string mailbox_line_ = R"({"type":"mailbox","address":"u@a.example"})"
                                    "\n";
  const std::string mailbox_ = "2: mailbox: u@a.example";
};

TEST_F(TakeOver, RefusesAMailboxWhoseLineLeadsElsewhere) {
  for (const std::string line :
       {"u@a.example\tevil@x.org\n", "u@a.example\tu@a.example evil@x.org\n",
        "u@a.example\tu@a.example,evil@x.org\n", "u@a.example\tu@a.example\n evil@x.org\n",
        "u@a.example\tu@b.example\n", "u@a.example\tu\n", "u@a.example\tdevnull\n",
        "u@a.example\tu+a.example\n"}) {
    SetTables(domain_ + line);
    ExpectRefusal(domain_line_ + mailbox_line_, mailbox_, "virtusertable", 2);
  }
  SetTables(domain_ + "u@a.example\tu@a.example\nu@a.example\tevil@x.org\n");
  ExpectRefusal(domain_line_ + mailbox_line_, mailbox_, "virtusertable", 3);
}

TEST_F(TakeOver, RefusesAMailboxWithOtherAliases) {
  SetTables(domain_ + "u@a.example\tu@a.example\nsales@a.example\tu@a.example\n");
  ExpectRefusal(domain_line_ + mailbox_line_, mailbox_, "virtusertable", 3);

  SetTables(domain_ + "u@a.example\tu@a.example\nsales@a.example\tevil@x.org\n");
  const std::string aliased = R"({"type":"mailbox","address":"u@a.example","aliases":["sales"]})";
  ExpectRefusal(domain_line_ + aliased, mailbox_, "virtusertable", 3);

  SetTables(domain_ + "u@a.example\tu@a.example\nsales@a.example\tu@a.example\n" +
            "shop@a.example\tsales@a.example\n");
  ExpectRefusal(domain_line_ + aliased, mailbox_, "virtusertable", 4);
}

TEST_F(TakeOver, RefusesAnAliasWhoseLineThePanelDoesNotTakeForOne) {
  const std::string aliased = R"({"type":"mailbox","address":"u@a.example","aliases":["sales"]})";
  for (const std::string line :
       {"sales@a.example\tu@a.example,\n", "Sales@a.example\tu@a.example\n",
        "sales@a.example\tu@A.example\n"}) {
    SetTables(domain_ + "u@a.example\tu@a.example\n" + line);
    ExpectRefusal(domain_line_ + aliased, mailbox_, "virtusertable", 3);
  }
  SetTables(domain_ + "u@a.example\tu@a.example\n\xe9@a.example\tu@a.example\n");
  ExpectRefusal(domain_line_ + mailbox_line_, mailbox_, "virtusertable", 3);
}

TEST_F(TakeOver, RefusesAnAliasOfAnotherName) {
  const auto failure = [this](const std::string& first, const std::string& second) {
    SetTables(domain_ + "u@a.example\tu@a.example\nv@a.example\tv@a.example\n" +
              "sales@a.example\tu@a.example\n");
    const auto line = [](const std::string& address, const std::string& aliases) {
      return R"({"type":"mailbox","address":")" + address + R"(","aliases":[)" + aliases + "]}\n";
    };
    return FailureOf(domain_line_ + line("u@a.example", first) + line("v@a.example", second));
  };
  const std::string begin = "exists: standard input:";

  EXPECT_EQ(failure(R"("u")", ""), begin + "2: alias: u@a.example is a mailbox\n");
  EXPECT_EQ(failure(R"("v")", ""), begin + "2: alias: v@a.example is a mailbox\n");
  EXPECT_EQ(failure(R"("sales","Sales")", ""),
            begin + "2: alias: sales@a.example is an alias of u@a.example\n");
  EXPECT_EQ(failure(R"("sales")", R"("sales")"),
            begin + "3: alias: sales@a.example is an alias of u@a.example\n");
}

/// A comment behind a value is none to Postfix, and a line that is no UTF-8 nothing.
TEST_F(TakeOver, RefusesALineThatPostfixReadsOtherwise) {
  for (const std::string line :
       {"u@a.example\tu@a.example # main\n", "u@a.example\tu@a.example #, evil@x.org\n",
        "u@a.example\tu@a.example#\n", "u@a.example\tu@a.example # caf\xe9\n",
        "U@a.example\tu@a.example\n"}) {
    SetTables(domain_ + line);
    ExpectRefusal(domain_line_ + mailbox_line_, mailbox_, "virtusertable", 2);
  }
  SetTables(domain_ + "u@a.example\tu@a.example u+a.example\n", "",
            "u+a.example:\tx@b.example #, evil@x.org\n");
  ExpectRefusal(
      domain_line_ + R"({"type":"mailbox","address":"u@a.example","forwards":["x@b.example"]})",
      mailbox_, "aliases", 3);
  SetTables("@A.example\tpostfix_err_nouser\n");
  ExpectRefusal(domain_line_, "1: domain: a.example", "virtusertable", 1);
  SetTables(domain_, "a.example\tOK# the boss\n");
  ExpectRefusal(domain_line_ + R"({"type":"whitelist","value":"a.example"})",
                "1: domain: a.example", "access", 1);
}

TEST_F(TakeOver, RefusesADomainWithoutAHostName) {
  SetTables(domain_);
  panel_.SetTable("local-host-names", "b.example\n");
  EXPECT_EQ(FailureOf(domain_line_),
            "exists: standard input:1: domain: a.example is in the tables, and the panel does not "
            "have it, but " +
                panel_.Path("panel/mail/local-host-names") +
                " lacks the line of a.example that would go with it" + kAdvice);
}

TEST_F(TakeOver, NamesTheVerdictOfANetworksFirstAddress) {
  SetTables(domain_, "connect:2001:db8::\tOK\n");
  ExpectRefusal(domain_line_ + R"({"type":"blacklist","value":"2001:db8::"})",
                "2: blacklist: 2001:db8::", "access", 1);
}

TEST_F(TakeOver, RefusesADomainWithAnotherVerdict) {
  for (const std::string verdict : {"REJECT hi", "reject", "550 gone", "DUNNO", "FILTER smtp:x"}) {
    SetTables(domain_, "a.example\t" + verdict + "\n");
    ExpectRefusal(domain_line_, "1: domain: a.example", "access", 1);
  }
}

TEST_F(TakeOver, LeavesTheVerdictOfAListAndItsCommentAlone) {
  SetTables(domain_, "# ours\na.example\tOK  # the boss\nfoe.example\tREJECT\n");
  ExpectTakenOver(domain_line_ + R"({"type":"whitelist","value":"a.example"})",
                  {"0 0 0", "1 0 0", "0 0 0", "1 0 0", "0 0 0"});
}

TEST_F(TakeOver, RefusesASuspendedMailboxForAnActiveOne) {
  SetTables(domain_ + "u@a.example\tu@a.example\n", "u@a.example\t550 Account disabled\n");
  ExpectRefusal(domain_line_ + mailbox_line_, mailbox_, "access", 1);
}

TEST_F(TakeOver, RefusesAMailboxWhoseResponderIsOnForOneWithout) {
  SetTables(domain_ + "u@a.example\tu@a.example u+a.example\n", "",
            "u+a.example:\t" + panel_.AnswerOf(3) + "\n");
  ExpectRefusal(domain_line_ + mailbox_line_, mailbox_, "virtusertable", 2);
}

TEST_F(TakeOver, RefusesANewMailboxWithAnEntryInTheAliases) {
  SetTables(domain_, "", "u+a.example:\t" + panel_.AnswerOf(3) + "\n");
  EXPECT_EQ(FailureOf(domain_line_ + mailbox_line_),
            "exists: standard input:2: mailbox: u@a.example has no line in " +
                panel_.Path("panel/mail/virtusertable") + ", but an entry in " +
                panel_.Path("panel/mail/aliases") + ":3; put its line back, or remove the entry\n");
}

TEST_F(TakeOver, GivesNewMailboxesKeysBehindThoseOfTheAliases) {
  SetTables(domain_ + "u@a.example\tu@a.example\n", "",
            "other+b.example:\t" + panel_.AnswerOf(7) + "\n");
  Import(domain_line_ + mailbox_line_ +
         R"({"type":"mailbox","address":"new@a.example","responder":true})");
  EXPECT_THAT(panel_.Table("aliases"), HasSubstr("new+a.example:\t" + panel_.AnswerOf(9) + "\n"));
}

TEST_F(TakeOver, RefusesADomainThatSendsFromAnotherAddress) {
  panel_.Do({"domain", "create", "a.example", "--ip", "127.0.0.1"});
  const test_support::TestDatabase other(panel_.Path("panel/other.db"));
  panel_.MoveTo(other.url());
  panel_.ChangeDatabase([] {});
  for (const std::string ip : {"", "127.0.0.2", "::1"}) {
    EXPECT_THAT(FailureOf(R"({"type":"domain","name":"a.example","ip":")" + ip + R"("})"),
                HasSubstr(" says something else than this line" + kAdvice));
  }
}

/// A domain that sends from an address of its own, and what Postfix goes by there.
class TakeOverOfAddress : public TakeOver {
 protected:
  void SetBinding(const std::string& services, const std::string& patterns) {
    SetTables(domain_);
    panel_.folder().WriteText("config/master.cf", kPickup + services);
    panel_.SetTable("domainips", patterns);
  }

  std::string Master() const { return panel_.folder().ReadText("config/master.cf"); }

  void ExpectRefusalOfAddress(const std::string& where) {
    const std::string master = Master();
    EXPECT_EQ(FailureOf(line_),
              "exists: standard input:1: domain: a.example is in the tables, and "
              "the panel does not have it, but " +
                  where + kAdvice);
    EXPECT_EQ(Master(), master);
  }

  std::string InMaster(int line) const {
    return panel_.Path("config/master.cf:") + std::to_string(line) + kElse;
  }
  std::string InMap(int line) const {
    return panel_.Path("panel/mail/domainips:") + std::to_string(line) + kElse;
  }

  const std::string kElse = " says something else than this line";
  const std::string kPickup = "pickup    unix  n       -       n       60      1       pickup\n";
  const std::string line_ = R"({"type":"domain","name":"a.example","ip":"127.0.0.10"})";
  const std::string begin_ =
      "smtp_a_example\tunix - - n - - smtp -o syslog_name=postfix-127_0_0_10";
  const std::string service_ = begin_ + " -o smtp_bind_address=127.0.0.10\n";
  const std::string pattern_ = "/@a\\.example$/\tsmtp_a_example\n";
};

TEST_F(TakeOverOfAddress, LeavesTheServiceAsItIs) {
  SetBinding(service_, pattern_);
  const std::string master = Master();
  ExpectTakenOver(line_, {"0 0 0", "1 0 0", "0 0 0", "0 0 0", "0 0 0"});
  EXPECT_EQ(Master(), master);
}

TEST_F(TakeOverOfAddress, RefusesAServiceOfAnotherAddress) {
  for (const std::string end :
       {" -o smtp_bind_address=127.0.0.11\n", " -o smtp_bind_address6=::1\n",
        " -o smtp_bind_address=127.0.0.10\n  -o smtp_bind_address=127.0.0.11\n",
        " -o smtp_bind_address=127.0.0.10\n\n # more\n\t-o smtp_bind_address=127.0.0.11\n",
        " -o smtp_bind_address=127.0.0.11 -o smtp_helo_name=127.0.0.10\n"}) {
    SetBinding(begin_ + end, pattern_);
    ExpectRefusalOfAddress(InMaster(2));
  }
  SetBinding(service_ + begin_ + " -o smtp_bind_address=127.0.0.11\n", pattern_);
  ExpectRefusalOfAddress(InMaster(2));
}

TEST_F(TakeOverOfAddress, RefusesWhatDoesNotLeadToAService) {
  SetBinding("", pattern_);
  ExpectRefusalOfAddress(InMap(1));
  for (const std::string& more : std::vector<std::string>{pattern_, "  :[relay.example]\n"}) {
    SetBinding(service_, pattern_ + more);
    ExpectRefusalOfAddress(InMap(1));
  }
  SetBinding(service_, "");
  ExpectRefusalOfAddress(panel_.Path("panel/mail/domainips") +
                         R"( lacks the line of /@a\\.example$/ that would go with it)");
}

TEST_F(TakeOver, SaysThatTheLineOfTheDomainIsMissing) {
  SetTables("u@a.example\tu@a.example\n");
  const std::string table = panel_.Path("panel/mail/virtusertable");
  EXPECT_EQ(FailureOf(domain_line_ + mailbox_line_),
            "missing: standard input:2: domain: u@a.example is in " + table +
                ":1, but there is no line @a.example, by which its domain would be there too; put "
                "that in, or remove the lines of its mailboxes\n");
}

TEST_F(TakeOver, ShowsRowsAloneInADryRun) {
  SetTables(domain_ + "u@a.example\tu@a.example u+a.example\n", "",
            "u+a.example:\t" + panel_.AnswerOf(3) + "\n");
  const CommandRun run =
      panel_.Run({"--dry-run", "import", "-"},
                 domain_line_ + R"({"type":"mailbox","address":"u@a.example","responder":true})");
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_THAT(run.output, testing::Not(HasSubstr("statement")));
  EXPECT_THAT(run.output, testing::Not(HasSubstr("@@")));
  EXPECT_THAT(run.output, HasSubstr("database: insert email: name=u domain="));
}

TEST_F(TakeOver, RefusesKeysThatAreNotTheMailboxesOwn) {
  const std::string answered = R"({"type":"mailbox","address":"u@a.example","responder":true})";
  const std::string addresses = domain_ + "u@a.example\tu@a.example u+a.example\n";
  const std::string begin = "exists: standard input:2: mailbox: u@a.example is answered for in " +
                            panel_.Path("panel/mail/aliases") + ":3 as the mailbox with the key ";
  const std::string end =
      "; remove that responder from the aliases, and switch it on again behind the import\n";
  std::string beyond = panel_.AnswerOf(3);
  beyond.replace(beyond.rfind('3'), 1, "9223372036854775807");

  SetTables(addresses, "", "u+a.example:\t" + beyond + "\n");
  EXPECT_EQ(FailureOf(domain_line_ + answered),
            begin + "9223372036854775807, which is no key that a panel gives" + end);
  SetTables(addresses, "",
            "u+a.example:\t" + panel_.AnswerOf(3) + "\nv+a.example:\t" + panel_.AnswerOf(3) + "\n");
  EXPECT_EQ(FailureOf(domain_line_ + answered), begin + "3, and so is v+a.example" + end);
}

TEST_F(TakeOver, RefusesAKeyThatAMailboxOfThePanelHas) {
  panel_.Do({"domain", "create", "b.example"});
  panel_.Do({"mailbox", "create", "other@b.example"});
  SetTables(domain_ + "u@a.example\tu@a.example u+a.example\n" + panel_.Table("virtusertable"), "",
            "u+a.example:\t" + panel_.AnswerOf(1) + "\n");

  EXPECT_EQ(
      FailureOf(domain_line_ + R"({"type":"mailbox","address":"u@a.example","responder":true})"),
      "exists: standard input:2: mailbox: u@a.example is answered for in " +
          panel_.Path("panel/mail/aliases") +
          ":3 as the mailbox with the key 1, which another mailbox has; remove that "
          "responder from the aliases, and switch it on again behind the import\n");
}

TEST_F(TakeOver, RefusesAResponderToWhichTheMailboxDoesNotLead) {
  SetTables(domain_ + "u@a.example\tu@a.example\n", "",
            "u+a.example:\t" + panel_.AnswerOf(3) + "\n");
  ExpectRefusal(domain_line_ + R"({"type":"mailbox","address":"u@a.example","responder":true})",
                mailbox_, "virtusertable", 2);
}

class PostgresqlMoveOfAll : public MoveOfAll {
 protected:
  test_support::PostgresqlServer server_;
};

TEST_F(PostgresqlMoveOfAll, FromAFileLosesNothing) {
  ExpectWholeMoveTo(server_.MakeDatabase());
}

TEST_F(Transfer, OfAnEmptyPanelIsEmpty) {
  EXPECT_EQ(Export(), "");
  EXPECT_EQ(Import(""), Counts({"0 0 0", "0 0 0", "0 0 0", "0 0 0", "0 0 0"}));
}

TEST_F(Transfer, TakesLinesInAnyOrder) {
  Import(R"({"type":"blacklist","value":"foe@a.example"})"
         "\n\n"
         R"({"type":"mailbox","address":"info@a.example","aliases":["sales"],"active":false})"
         "\n"
         R"({"type":"domain","name":"a.example","active":false})"
         "\n");

  EXPECT_EQ(panel_.MailboxTables(),
            "-- virtusertable\n"
            "@a.example\tpostfix_err_nouser\n"
            "info@a.example\tpostfix_err_nouser\n"
            "sales@a.example\tinfo@a.example\n"
            "-- access\n"
            "foe@a.example\tREJECT\n"
            "info@a.example\t550 Account disabled\n"
            "a.example\t550 Account disabled\n"
            "-- aliases\n");
}

TEST_F(Transfer, GivesWhatALineLeavesOutToNewThings) {
  Import(R"({"type":"domain","name":"a.example"})"
         "\n"
         R"({"type":"mailbox","address":"info@a.example"})");

  EXPECT_EQ(Export(),
            R"({"type":"domain","name":"a.example","active":true,"defaction":"error",)"
            R"("redirect":"","ip":"","owner":0})"
            "\n"
            R"({"type":"mailbox","address":"info@a.example","active":true,"dropmail":false,)"
            R"("aliases":[],"forwards":[],"responder":false})"
            "\n");
}

TEST_F(TransferOfAll, LeavesAloneWhatALineLeavesOut) {
  const std::string before = Everything();

  Import(R"({"type":"domain","name":"a.example"})"
         "\n"
         R"({"type":"mailbox","address":"info@a.example"})");

  EXPECT_EQ(Everything(), before);
}

TEST_F(TransferOfAll, ChangesWhatIsOtherwise) {
  EXPECT_EQ(
      Import(R"({"type":"webdomain","name":"a.example","owner":8})"
             "\n"
             R"({"type":"domain","name":"a.example","defaction":"ignore","active":false})"
             "\n"
             R"({"type":"domain","name":"bücher.example","ip":"","active":true})"
             "\n"
             R"({"type":"mailbox","address":"info@a.example","aliases":["shop","help"],)"
             R"("forwards":[],"responder":false,"text":"Back soon.\n"})"
             "\n"
             R"({"type":"mailbox","address":"drop@a.example","dropmail":false,"responder":true})"
             "\n"
             R"({"type":"whitelist","value":"foe.example"})"
             "\n"),
      Counts({"0 1 0", "0 2 0", "0 2 0", "1 0 0", "0 0 0"}));

  EXPECT_EQ(panel_.Do({"webdomain", "list"}), "NAME       OWNER\na.example  8\n");
  EXPECT_EQ(panel_.Do({"domain", "list"}),
            "NAME            STATE      DEFAULT ACTION  REDIRECT  IP\n"
            "a.example       suspended  ignore          -         -\n"
            "bücher.example  active     error           -         -\n");
  EXPECT_EQ(panel_.Do({"mailbox", "list", "a.example"}),
            "ADDRESS         STATE      MAIL  RESPONDER  ALIASES     FORWARDS\n"
            "drop@a.example  active     kept  on         -           -\n"
            "info@a.example  active     kept  off        shop, help  -\n"
            "off@a.example   suspended  kept  off        other       -\n");
  EXPECT_THAT(panel_.Do({"responder", "show", "info@a.example"}),
              HasSubstr("subject: Away\n\nBack soon.\n"));
  EXPECT_EQ(panel_.Do({"blacklist", "list"}), "192.0.2.66\n2001:db8::1\n");
  EXPECT_EQ(panel_.Run({"check"}).status, 0);
}

TEST_F(TransferOfAll, ChangesASuspendedMailboxThatStaysSuspended) {
  Import(R"({"type":"mailbox","address":"off@a.example","aliases":["new"]})");

  EXPECT_EQ(panel_.Lookup("virtusertable", "off@a.example"), "postfix_err_nouser");
  EXPECT_EQ(panel_.Lookup("virtusertable", "new@a.example"), "off@a.example");
  EXPECT_EQ(panel_.Lookup("virtusertable", "other@a.example"), "");
  EXPECT_EQ(panel_.Lookup("access", "off@a.example"), "550 Account disabled");
}

TEST_F(TransferOfAll, MovesAnAliasFromOneMailboxToAnother) {
  Import(R"({"type":"mailbox","address":"drop@a.example","aliases":["sales"]})"
         "\n"
         R"({"type":"mailbox","address":"info@a.example","aliases":["shop"]})");

  EXPECT_EQ(panel_.Lookup("virtusertable", "sales@a.example"), "drop@a.example");
}

TEST_F(TransferOfAll, MakesAMailboxOfWhatALaterLineTakesFromTheAliases) {
  Import(R"({"type":"mailbox","address":"sales@a.example"})"
         "\n"
         R"({"type":"mailbox","address":"info@a.example","aliases":["shop"]})");

  EXPECT_EQ(panel_.Lookup("virtusertable", "sales@a.example"), "sales@a.example");
}

TEST_F(Transfer, SavesEachTableOnceAndRunsOneToolForIt) {
  const test_support::RecordingTool postmap(panel_.folder(), "postmap");
  const test_support::RecordingTool postalias(panel_.folder(), "postalias");
  panel_.Configure("postfix-postmap", postmap.path());
  panel_.Configure("postfix-postalias", postalias.path());
  std::string lines = R"({"type":"domain","name":"a.example"})"
                      "\n";
  for (int number = 0; number < 50; ++number) {
    const std::string name = "m" + std::to_string(number);
    lines += R"({"type":"mailbox","address":")" + name + R"(@a.example","aliases":["x-)" + name +
             R"("],"forwards":["y@c.example"]})" + "\n";
  }

  Import(lines);

  EXPECT_THAT(postmap.Runs(), ElementsAre(panel_.Path("panel/mail/virtusertable")));
  EXPECT_THAT(postalias.Runs(), ElementsAre(panel_.Path("panel/mail/aliases")));
}

TEST_F(Transfer, ShowsWhatItWouldDoInADryRun) {
  const CommandRun run =
      panel_.Run({"--dry-run", "import", "-"}, R"({"type":"domain","name":"a.example"})");

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output, HasSubstr("+@a.example\tpostfix_err_nouser\n"));
  EXPECT_THAT(run.output, HasSubstr("database: insert email_domain: name=a.example"));
  EXPECT_EQ(Export(), "");
}

TEST_F(Transfer, PrintsCountsAsJson) {
  EXPECT_EQ(panel_.Do({"--json", "import", "-"}, kWebDomain),
            R"({
  "webdomains": {
    "added": 1,
    "changed": 0,
    "unchanged": 0
  },
  "domains": {
    "added": 0,
    "changed": 0,
    "unchanged": 0
  },
  "mailboxes": {
    "added": 0,
    "changed": 0,
    "unchanged": 0
  },
  "whitelist": {
    "added": 0,
    "changed": 0,
    "unchanged": 0
  },
  "blacklist": {
    "added": 0,
    "changed": 0,
    "unchanged": 0
  }
}
)");
}

TEST_F(Transfer, ShowsABarOnATerminalAndWipesItOut) {
  panel_.folder().WriteText("lines.jsonl", kWebDomain);

  const CommandRun run =
      test_support::RunCommand({"script", "--quiet", "--return", "--command",
                                std::string(ZEBMAIL_BINARY) + " --config " + panel_.config() +
                                    " import " + panel_.Path("lines.jsonl"),
                                "/dev/null"});

  EXPECT_EQ(run.status, 0);
  EXPECT_THAT(run.output, HasSubstr("\r[########################################] 2 of 2\r\033[K"));
  EXPECT_THAT(run.output, HasSubstr("webdomains: 1 added"));
}

TEST_F(Transfer, ShowsNoBarWhereThereIsNoTerminal) {
  EXPECT_EQ(panel_.Run({"import", "-"}, kWebDomain).errors, "");
}

TEST_F(Transfer, ReadsAFileAndNamesItInItsErrors) {
  const std::string file = panel_.Path("lines.jsonl");
  panel_.folder().WriteText("lines.jsonl", kWebDomain + "\n{}\n");

  const CommandRun run = panel_.Run({"import", file});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(WithoutNextStep(run.errors),
            "zebmail: value: " + file + ":3: lacks the field \"type\"\n");
  EXPECT_EQ(Export(), "");
}

TEST_F(Transfer, RefusesAFileThatCannotBeRead) {
  EXPECT_EQ(
      WithoutNextStep(panel_.Run({"import", panel_.Path("none")}).errors),
      "zebmail: file: " + panel_.Path("none") + ": cannot be read: No such file or directory\n");
  EXPECT_EQ(WithoutNextStep(panel_.Run({"import", panel_.Path("panel")}).errors),
            "zebmail: file: " + panel_.Path("panel") + ": cannot be read\n");
  EXPECT_EQ(panel_.Run({"import", ""}).errors, "zebmail: file: FILE: names no file\n");
}

TEST_F(Transfer, RefusesTheWholeForOneBadLine) {
  const std::string good = R"({"type":"domain","name":"a.example"})"
                           "\n"
                           R"({"type":"mailbox","address":"info@a.example"})"
                           "\n";

  EXPECT_EQ(FailureOf(good + R"({"type":"mailbox","address":"info@b.example"})"),
            "missing: standard input:3: domain: b.example\n");
  EXPECT_EQ(FailureOf(good + R"({"type":"mailbox","address":"shop@a.example","aliases":["info"]})"),
            "exists: standard input:3: alias: info@a.example is a mailbox\n");
  EXPECT_EQ(FailureOf(good + R"({"type":"mailbox","address":"a b@a.example"})"),
            "value: standard input:3: mailbox: \"a b@a.example\" is not a mail address\n");
  EXPECT_EQ(FailureOf(good + R"({"type":"mailbox","address":"x@a.example","forwards":["| rm"]})"),
            "value: standard input:3: forward: \"| rm\" is not a mail address\n");
  EXPECT_EQ(FailureOf(good + R"({"type":"domain","name":"c.example","defaction":"drop"})"),
            "value: standard input:3: default action: \"drop\" is none of error, ignore, "
            "redir_email, redir_domain\n");
  EXPECT_EQ(
      FailureOf(good + R"({"type":"blacklist","value":"foe\n@c.example"})"),
      "value: standard input:3: blacklist: \"foe\\n@c.example\" is neither a mail address nor a "
      "domain nor an IP address\n");
}

TEST_F(Transfer, RefusesTwoLinesOfOneThing) {
  EXPECT_EQ(
      FailureOf(R"({"type":"domain","name":"bücher.example"})"
                "\n"
                R"({"type":"domain","name":"xn--bcher-kva.example"})"),
      "exists: standard input:2: domain: bücher.example is in standard input:1 already; leave "
      "one of the two lines\n");
  EXPECT_EQ(
      FailureOf(R"({"type":"domain","name":"a.example"})"
                "\n"
                R"({"type":"mailbox","address":"info@a.example"})"
                "\n"
                R"({"type":"mailbox","address":"INFO@A.example"})"),
      "exists: standard input:3: mailbox: info@a.example is in standard input:2 already; leave "
      "one of the two lines\n");
  EXPECT_EQ(
      FailureOf(R"({"type":"whitelist","value":"friend.example"})"
                "\n"
                R"({"type":"blacklist","value":"friend.example"})"),
      "exists: standard input:2: sender: friend.example is in standard input:1 already; leave "
      "one of the two lines\n");
}

TEST_F(Transfer, DoesNotReadADeviceForEver) {
  EXPECT_EQ(WithoutNextStep(panel_.Run({"import", "/dev/zero"}).errors),
            "zebmail: value: /dev/zero:1: is longer than 67108864 bytes\n");
}

TEST_F(Transfer, RefusesWhatIsNoLineOfAPanel) {
  const std::string place = "value: standard input:1: ";
  EXPECT_THAT(FailureOf("a.example\n"), StartsWith(place + "is no JSON: parse error at line 1"));
  EXPECT_THAT(FailureOf("{\"type\":\"domain\",\"name\":\"\xff\"}"),
              StartsWith(place + "is no JSON"));
  EXPECT_EQ(FailureOf(R"({"type":"webdomain","name":"a.example","owner":1e400})"),
            place + "cannot be read: number overflow parsing '1e400'\n");
  EXPECT_EQ(FailureOf("[]"), place + "is no JSON object\n");
  EXPECT_EQ(FailureOf("{}"), place + "lacks the field \"type\"\n");
  EXPECT_EQ(FailureOf(R"({"type":1})"), place + "\"type\" is not a text\n");
  EXPECT_EQ(FailureOf(R"({"type":"user"})"), place + "has the unknown type \"user\"\n");
  EXPECT_EQ(FailureOf(R"({"type":"domain"})"), place + "lacks the field \"name\"\n");
  EXPECT_EQ(FailureOf(R"({"type":"webdomain","name":"a.example"})"),
            place + "lacks the field \"owner\"\n");
  EXPECT_EQ(FailureOf(R"({"type":"domain","name":"a.example","activ":true})"),
            place + "has an unknown field \"activ\"\n");
  EXPECT_EQ(FailureOf(R"({"type":"domain","name":"a.example","name":"b.example"})"),
            place + "has the field \"name\" twice\n");
  EXPECT_EQ(FailureOf(R"({"type":"domain","name":"a.example","active":"yes"})"),
            place + "\"active\" is not true or false\n");
  EXPECT_EQ(FailureOf(R"({"type":"domain","name":"a.example","owner":-1})"),
            place + "\"owner\" is not a whole number that is not negative\n");
  EXPECT_EQ(FailureOf(R"({"type":"domain","name":"a.example","owner":9223372036854775808})"),
            place + "\"owner\" is not a whole number that is not negative\n");
  EXPECT_EQ(FailureOf(R"({"type":"mailbox","address":"x@a.example","aliases":"x"})"),
            place + "\"aliases\" is not a list of texts\n");
  EXPECT_EQ(FailureOf(R"({"type":"mailbox","address":"x@a.example","aliases":[1]})"),
            place + "\"aliases\" is not a list of texts\n");
}

TEST_F(Transfer, RefusesAResponderWithABadText) {
  EXPECT_THAT(FailureOf(R"({"type":"domain","name":"a.example"})"
                        "\n"
                        R"({"type":"mailbox","address":"x@a.example","subject":"a\nBcc: x"})"),
              StartsWith("value: standard input:2: subject: "));
}

}  // namespace
}  // namespace zebmail_test
