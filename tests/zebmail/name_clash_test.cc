/// NAME
///   name_clash_test - a name in a domain is one mailbox or one alias, and nothing else

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/zebmail/next_step.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using Words = std::vector<std::string>;

/// The command must be refused for this reason, with the panel as it was.
void ExpectRefused(const OwnPanel& panel, const Words& words, const std::string& reason) {
  SCOPED_TRACE(testing::PrintToString(words));
  const auto before = Snapshot(panel.Path("panel"));

  const CommandRun run = panel.Run(words);

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(WithoutNextStep(run.errors), "zebmail: " + reason + "\n");
  EXPECT_EQ(run.output, "");
  EXPECT_TRUE(Snapshot(panel.Path("panel")) == before);
}

/// A panel with two mailboxes, info with the alias sales and office with the alias help.
class NameClash : public testing::Test {
 protected:
  NameClash() {
    panel_.Do({"alias", "add", "info@example.org", "sales"});
    panel_.Do({"mailbox", "create", "office@example.org"});
    panel_.Do({"alias", "add", "office@example.org", "help"});
  }

  std::string Place(const std::string& table, int line) const {
    return panel_.Path("panel/mail/" + table) + ":" + std::to_string(line);
  }

  MailboxPanel panel_;
};

TEST_F(NameClash, WithNamesOfThePanel) {
  ExpectRefused(panel_, {"mailbox", "create", "Info@Example.ORG"},
                "exists: mailbox: info@example.org is a mailbox");
  ExpectRefused(panel_, {"mailbox", "create", "SALES@example.org"},
                "exists: mailbox: sales@example.org is an alias of info@example.org");
  ExpectRefused(panel_, {"alias", "add", "info@example.org", "Office"},
                "exists: alias: office@example.org is a mailbox");
  ExpectRefused(panel_, {"alias", "add", "info@example.org", "info"},
                "exists: alias: info@example.org is a mailbox");
  ExpectRefused(panel_, {"alias", "add", "info@example.org", "help"},
                "exists: alias: help@example.org is an alias of office@example.org");
  ExpectRefused(panel_, {"alias", "add", "info@example.org", "sales"},
                "exists: alias: sales@example.org is an alias of info@example.org");
}

TEST_F(NameClash, OfOneAliasKeepsTheOthersOfTheCommandOut) {
  ExpectRefused(panel_, {"alias", "add", "info@example.org", "new", "help", "newer"},
                "exists: alias: help@example.org is an alias of office@example.org");
  ExpectRefused(panel_, {"alias", "add", "info@example.org", "new", "New"},
                "exists: alias: new@example.org is an alias of info@example.org");
}

/// Such an alias is looked for in another way.
TEST_F(NameClash, IsSeenForAnAliasOfManyDomainsInEachOfThem) {
  std::string lines;
  for (int number = 0; number < 120; ++number) {
    const std::string domain = "d" + std::to_string(number) + ".example";
    lines += R"({"type":"domain","name":")" + domain + R"("})" + "\n" +
             R"({"type":"mailbox","address":"office@)" + domain + R"(","aliases":["sales"]})" +
             "\n";
  }
  panel_.Do({"import", "-"}, lines);

  ExpectRefused(panel_, {"mailbox", "create", "sales@d7.example"},
                "exists: mailbox: sales@d7.example is an alias of office@d7.example");
  ExpectRefused(panel_, {"alias", "add", "info@example.org", "sales"},
                "exists: alias: sales@example.org is an alias of info@example.org");
  panel_.Do({"domain", "create", "new.example"});
  panel_.Do({"mailbox", "create", "sales@new.example"});
}

TEST_F(NameClash, DoesNotReachIntoOtherDomains) {
  panel_.Do({"domain", "create", "example.net"});

  panel_.Do({"mailbox", "create", "sales@example.net"});
  panel_.Do({"alias", "add", "sales@example.net", "info", "help"});

  EXPECT_EQ(panel_.Lookup("virtusertable", "info@example.net"), "sales@example.net");
}

TEST_F(NameClash, WithLineMadeByHandInAnyCaseOfLetters) {
  panel_.SetTable("virtusertable",
                  "# by hand\nRoot@Example.ORG   admin # me\n" + panel_.Table("virtusertable"));
  const std::string by_hand = ": root@example.org is not in the panel, but in " +
                              Place("virtusertable", 2) + "; remove the line first";

  ExpectRefused(panel_, {"mailbox", "create", "root@example.org"}, "exists: mailbox" + by_hand);
  ExpectRefused(panel_, {"alias", "add", "info@example.org", "root"}, "exists: alias" + by_hand);
}

TEST_F(NameClash, IsNotSeenInCommentsContinuationsAndOtherNames) {
  panel_.SetTable("virtusertable",
                  "#root@example.org x\n xroot@example.org x\nroot@example.org.net x\n"
                  "aroot@example.org root@example.org\n" +
                      panel_.Table("virtusertable"));

  EXPECT_EQ(panel_.Run({"mailbox", "create", "root@example.org"}).output,
            "root@example.org: created\n");
}

TEST_F(NameClash, WithEntryOfTheAliases) {
  const std::string entries = panel_.Table("aliases");
  panel_.SetTable("aliases", entries + "Postmaster: root\nabuse root\n#spam: root\n");
  const std::string get_no_mail =
      "@example.org\" would get no mail: Postfix gives it to the entry of that name in ";

  ExpectRefused(panel_, {"mailbox", "create", "postfix_err_nouser@example.org"},
                "value: mailbox: \"postfix_err_nouser" + get_no_mail + Place("aliases", 1));
  ExpectRefused(panel_, {"mailbox", "create", "DevNull@example.org"},
                "value: mailbox: \"devnull" + get_no_mail + Place("aliases", 2));
  ExpectRefused(panel_, {"mailbox", "create", "postmaster@example.org"},
                "value: mailbox: \"postmaster" + get_no_mail + Place("aliases", 3));
  ExpectRefused(panel_, {"mailbox", "create", "abuse@example.org"},
                "value: mailbox: \"abuse" + get_no_mail + Place("aliases", 4));
  EXPECT_EQ(panel_.Do({"mailbox", "create", "spam@example.org"}), "spam@example.org: created\n");
}

TEST_F(NameClash, WithEntryOfTheAliasesInQuotes) {
  panel_.SetTable("aliases", panel_.Table("aliases") + "\"postmaster\": root\n");

  ExpectRefused(panel_, {"mailbox", "create", "postmaster@example.org"},
                "value: mailbox: \"postmaster@example.org\" would get no mail: Postfix gives it to "
                "the entry of that name in " +
                    Place("aliases", 3));
}

/// The line of an alias is Postfix's first stop, so that the entry is never asked.
TEST_F(NameClash, OfAliasWithEntryOfTheAliasesIsNone) {
  panel_.SetTable("aliases", panel_.Table("aliases") + "postmaster: root\n");

  panel_.Do({"alias", "add", "info@example.org", "postmaster"});

  EXPECT_EQ(panel_.Lookup("virtusertable", "postmaster@example.org"), "info@example.org");
}

TEST_F(NameClash, WithTheNameOfForwardEntries) {
  const std::string is_entry =
      "\" cannot have the name under which the aliases hold the forwards of ";

  ExpectRefused(panel_, {"mailbox", "create", "info+example.org@example.org"},
                "value: mailbox: \"info+example.org@example.org" + is_entry + "info@example.org");
  ExpectRefused(panel_, {"mailbox", "create", "not.yet+a.example@example.org"},
                "value: mailbox: \"not.yet+a.example@example.org" + is_entry + "not.yet@a.example");
  ExpectRefused(panel_, {"mailbox", "create", "a+b+c.example@example.org"},
                "value: mailbox: \"a+b+c.example@example.org" + is_entry + "a+b@c.example");
  EXPECT_EQ(panel_.Do({"mailbox", "create", "info+office@example.org"}),
            "info+office@example.org: created\n");
}

TEST_F(NameClash, OfForwardWithTheMailboxItself) {
  ExpectRefused(panel_, {"forward", "add", "info@example.org", "INFO@Example.org"},
                "value: forward: \"INFO@example.org\" is the mailbox itself");
  ExpectRefused(panel_,
                {"forward", "add", "info@example.org", "x@example.net", "Sales@example.org"},
                "value: forward: \"Sales@example.org\" is an alias of the mailbox");
  ExpectRefused(panel_, {"forward", "add", "info@example.org", "x@example.net", "x@EXAMPLE.net"},
                "exists: forward: x@example.net");
  EXPECT_EQ(panel_.Run({"forward", "add", "info@example.org", "office@example.org"}).output,
            "info@example.org: forwards added: office@example.org\n");
  ExpectRefused(panel_, {"forward", "add", "info@example.org", "office@example.org"},
                "exists: forward: office@example.org");
}

TEST_F(NameClash, OfAliasWithForwardOfTheMailbox) {
  panel_.Run({"forward", "add", "info@example.org", "new@example.org"});

  ExpectRefused(panel_, {"alias", "add", "info@example.org", "new"},
                "value: alias: \"new@example.org\" is a forward of the mailbox");
}

TEST_F(NameClash, OfAliasWithForwardInAnotherCaseOfLetters) {
  panel_.Run({"forward", "add", "info@example.org", "New@example.org"});

  ExpectRefused(panel_, {"alias", "add", "info@example.org", "new"},
                "value: alias: \"new@example.org\" is a forward of the mailbox");
}

/// Postfix would send the bounces of info's forwards to the forwards of this one.
TEST_F(NameClash, OfMailboxWithTheOwnerOfAnother) {
  ExpectRefused(panel_, {"mailbox", "create", "Owner-info@example.org"},
                "value: mailbox: \"owner-info@example.org\" cannot begin with \"owner-\": Postfix "
                "would send the bounces of another mailbox's forwards there");
}

TEST_F(NameClash, OfMailboxThatBeginsWithAPlusIsNone) {
  const std::string aliases = panel_.Table("aliases");
  panel_.SetTable("aliases", "# comment\n\n" + aliases);

  panel_.Do({"mailbox", "create", "+x@example.org"});
}

TEST_F(NameClash, OfMailboxBeforeAPlusWithEntryOfTheAliases) {
  ExpectRefused(panel_, {"mailbox", "create", "devnull+x@example.org"},
                "value: mailbox: \"devnull+x@example.org\" would get no mail: Postfix gives it to "
                "the entry of that name in " +
                    Place("aliases", 2));
}

TEST_F(NameClash, OfMailboxBeforeADelimiterOfMainCfWithEntryOfTheAliases) {
  panel_.SetMainCf(panel_.MainCf() + "recipient_delimiter = -.\n");

  ExpectRefused(panel_, {"mailbox", "create", "devnull.x@example.org"},
                "value: mailbox: \"devnull.x@example.org\" would get no mail: Postfix gives it to "
                "the entry of that name in " +
                    Place("aliases", 2));
}

/// Postfix completes the bare targets of the tables with this name.
TEST_F(NameClash, OfDomainWithTheServerItself) {
  ExpectRefused(
      panel_, {"domain", "create", "mail.test"},
      "value: domain: \"mail.test\" is the name that Postfix gives to this server itself "
      "(myorigin or myhostname in main.cf); the forwards of all mailboxes depend on it, so "
      "give the server another one first");
}

/// A line in another spelling would stay, and Postfix would take mail for it.
TEST_F(NameClash, OfMailboxWithItsOwnLineInOtherLettersKeepsItFromBeingDeleted) {
  panel_.SetTable("virtusertable",
                  panel_.Table("virtusertable") + "INFO@Example.org info@example.org\n");

  ExpectRefused(panel_, {"mailbox", "delete", "info@example.org"},
                "exists: mailbox: info@example.org has a line of its own that the panel does not "
                "know, " +
                    Place("virtusertable", 6) + "; remove it first");
}

TEST_F(NameClash, OfForwardsWithAnEntryInOtherLetters) {
  panel_.SetTable("aliases", panel_.Table("aliases") + "Info+Example.org: a@example.net\n");

  ExpectRefused(panel_, {"forward", "add", "info@example.org", "b@example.net"},
                "exists: mailbox: info@example.org has a line of its own that the panel does not "
                "know, " +
                    Place("aliases", 3) + "; remove it first");
}

}  // namespace
}  // namespace zebmail_test
