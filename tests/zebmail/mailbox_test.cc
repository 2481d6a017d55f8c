/// NAME
///   mailbox_test - the commands about mailboxes, seen in the table files and in what they print

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/zebmail/next_step.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

/// A panel with one domain.
class DomainPanel : public AnsweringPanel {
 public:
  DomainPanel() { Do({"domain", "create", "example.org"}); }
};

TEST(MailboxCreate, WritesLineBelowThatOfItsDomain) {
  const DomainPanel panel;
  panel.Do({"domain", "create", "example.net"});

  EXPECT_EQ(panel.Do({"mailbox", "create", "info@example.org"}), "info@example.org: created\n");
  panel.Do({"mailbox", "create", "office@example.org"});
  panel.Do({"mailbox", "create", "info@example.net"});

  EXPECT_EQ(panel.MailboxTables(),
            "-- virtusertable\n"
            "@example.org\tpostfix_err_nouser\n"
            "office@example.org\toffice@example.org\n"
            "info@example.org\tinfo@example.org\n"
            "@example.net\tpostfix_err_nouser\n"
            "info@example.net\tinfo@example.net\n"
            "-- access\n"
            "-- aliases\n");
  EXPECT_EQ(panel.Lookup("virtusertable", "info@example.org"), "info@example.org");
}

TEST(MailboxCreate, LeadsToNowhereWhenItDropsItsMail) {
  const DomainPanel panel;

  panel.Do({"mailbox", "create", "info@example.org", "--drop-mail"});

  EXPECT_EQ(panel.Table("virtusertable"),
            "@example.org\tpostfix_err_nouser\n"
            "info@example.org\tdevnull\n");
}

TEST(MailboxCreate, KeepsNamesInLowerCaseAndDomainsInAscii) {
  const AnsweringPanel panel;
  panel.Do({"domain", "create", "bücher.example"});

  EXPECT_EQ(panel.Do({"mailbox", "create", "Info@bücher.Example"}),
            "info@bücher.example: created\n");

  EXPECT_EQ(panel.Table("virtusertable"),
            "@xn--bcher-kva.example\tpostfix_err_nouser\n"
            "info@xn--bcher-kva.example\tinfo@xn--bcher-kva.example\n");
}

TEST(MailboxCreate, LeavesOtherLinesOfTheTableInPlace) {
  const DomainPanel panel;
  panel.SetTable("virtusertable",
                 "# mine\n\n@example.org postfix_err_nouser # ours\n  and more\nroot@example.net "
                 "admin\r\nodd");

  EXPECT_EQ(panel.Run({"mailbox", "create", "info@example.org"}).output,
            "info@example.org: created\n");

  EXPECT_EQ(panel.Table("virtusertable"),
            "# mine\n\n@example.org postfix_err_nouser # ours\n  and more\n"
            "info@example.org\tinfo@example.org\nroot@example.net admin\r\nodd");
}

TEST(MailboxName, IsTakenInAnyCaseOfLettersAndInUnicodeOrAscii) {
  const AnsweringPanel panel;
  panel.Do({"domain", "create", "bücher.example"});
  panel.Do({"mailbox", "create", "info@bücher.example"});

  EXPECT_EQ(panel.Do({"mailbox", "suspend", "INFO@xn--bcher-kva.example"}),
            "info@bücher.example: suspended\n");
  EXPECT_EQ(panel.Do({"mailbox", "delete", "Info@bücher.EXAMPLE"}),
            "info@bücher.example: deleted\n");
}

TEST(MailboxUpdate, SwitchesDroppingOnAndOff) {
  const DomainPanel panel;
  panel.Do({"mailbox", "create", "info@example.org"});

  EXPECT_EQ(panel.Do({"mailbox", "update", "info@example.org", "--drop-mail", "on"}),
            "info@example.org: updated\n");
  EXPECT_EQ(panel.Lookup("virtusertable", "info@example.org"), "devnull");

  panel.Do({"mailbox", "update", "info@example.org", "--drop-mail", "off"});
  EXPECT_EQ(panel.Lookup("virtusertable", "info@example.org"), "info@example.org");
}

TEST(MailboxSuspend, RefusesMailUntilResumed) {
  const DomainPanel panel;
  panel.Do({"mailbox", "create", "info@example.org"});
  const std::string before = panel.MailboxTables();

  EXPECT_EQ(panel.Do({"mailbox", "suspend", "info@example.org"}), "info@example.org: suspended\n");
  EXPECT_EQ(panel.MailboxTables(),
            "-- virtusertable\n"
            "@example.org\tpostfix_err_nouser\n"
            "info@example.org\tpostfix_err_nouser\n"
            "-- access\n"
            "info@example.org\t550 Account disabled\n"
            "-- aliases\n");
  EXPECT_EQ(panel.Lookup("access", "info@example.org"), "550 Account disabled");

  EXPECT_EQ(panel.Do({"mailbox", "resume", "info@example.org"}), "info@example.org: resumed\n");
  EXPECT_EQ(panel.MailboxTables(), before);
  EXPECT_EQ(panel.Lookup("access", "info@example.org"), "");
}

TEST(MailboxSuspend, TwiceLeavesOneEntry) {
  const DomainPanel panel;
  panel.Do({"mailbox", "create", "info@example.org"});

  panel.Do({"mailbox", "suspend", "info@example.org"});
  panel.Do({"mailbox", "suspend", "info@example.org"});

  EXPECT_EQ(panel.Table("access"), "info@example.org\t550 Account disabled\n");
}

TEST(MailboxSuspend, LeavesEntryThatIsThereInItsPlace) {
  const DomainPanel panel;
  panel.Do({"mailbox", "create", "info@example.org"});
  panel.SetTable("access", "info@example.org  REJECT # by hand\nspam.example REJECT\n");

  panel.Do({"mailbox", "suspend", "info@example.org"});

  EXPECT_EQ(panel.Table("access"),
            "info@example.org  550 Account disabled # by hand\nspam.example REJECT\n");
}

TEST(MailboxResume, OfActiveOneWritesItsLineAnew) {
  const DomainPanel panel;
  panel.Do({"mailbox", "create", "info@example.org"});
  panel.SetTable("virtusertable", "info@example.org\tsomething_else\n");

  panel.Do({"mailbox", "resume", "info@example.org"});

  EXPECT_EQ(panel.Table("virtusertable"), "info@example.org\tinfo@example.org\n");
}

TEST(MailboxDelete, RemovesItFromAllTables) {
  const DomainPanel panel;
  panel.Do({"mailbox", "create", "keep@example.org"});
  panel.Run({"forward", "add", "keep@example.org", "info@example.org"});
  const std::string before = panel.MailboxTables();
  panel.Do({"mailbox", "create", "info@example.org"});
  panel.Do({"alias", "add", "info@example.org", "sales", "office"});
  panel.Do({"forward", "add", "info@example.org", "boss@example.net"});
  panel.Do({"responder", "on", "info@example.org"});
  panel.Do({"mailbox", "suspend", "info@example.org"});

  EXPECT_EQ(panel.Do({"mailbox", "delete", "info@example.org"}), "info@example.org: deleted\n");

  EXPECT_EQ(panel.MailboxTables(), before);
  EXPECT_EQ(WithoutNextStep(panel.Run({"mailbox", "show", "info@example.org"}).errors),
            "zebmail: missing: mailbox: info@example.org\n");
}

TEST(MailboxDelete, AllowsItToBeCreatedAgainWithNothingOfWhatItHad) {
  const DomainPanel panel;
  panel.Do({"mailbox", "create", "info@example.org", "--drop-mail"});
  panel.Do({"alias", "add", "info@example.org", "sales"});
  panel.Do({"forward", "add", "info@example.org", "boss@example.net"});
  panel.Do({"responder", "on", "info@example.org", "--subject", "Away"});
  panel.Do({"mailbox", "delete", "info@example.org"});

  panel.Do({"mailbox", "create", "info@example.org"});

  EXPECT_EQ(panel.Do({"mailbox", "show", "info@example.org"}),
            "address: info@example.org\n"
            "active: true\n"
            "dropmail: false\n"
            "aliases: \n"
            "forwards: \n"
            "responder: false\n");
  EXPECT_THAT(panel.Do({"responder", "show", "info@example.org"}),
              testing::HasSubstr("subject: Automatic reply\n"));
}

/// Mailboxes of three domains, made in another order than the one in which they are listed.
class ManyMailboxes : public testing::Test {
 protected:
  ManyMailboxes() {
    for (const char* domain : {"bücher.example", "example.org", "empty.example"}) {
      panel_.Do({"domain", "create", domain});
    }
    panel_.Do({"mailbox", "create", "z@bücher.example", "--drop-mail"});
    panel_.Do({"mailbox", "create", "office@example.org"});
    panel_.Do({"mailbox", "create", "info@example.org"});
    panel_.Do({"alias", "add", "info@example.org", "sales", "help"});
    panel_.Do({"forward", "add", "info@example.org", "boss@müller.example"});
    panel_.Do({"responder", "on", "info@example.org"});
    panel_.Do({"mailbox", "suspend", "office@example.org"});
  }

  AnsweringPanel panel_;
};

TEST_F(ManyMailboxes, AreListedByDomainAndLocalPart) {
  EXPECT_EQ(panel_.Do({"mailbox", "list"}),
            "ADDRESS             STATE      MAIL     RESPONDER  ALIASES      FORWARDS\n"
            "info@example.org    active     kept     on         sales, help  boss@müller.example\n"
            "office@example.org  suspended  kept     off        -            -\n"
            "z@bücher.example    active     dropped  off        -            -\n");
}

TEST_F(ManyMailboxes, AreListedOfOneDomain) {
  EXPECT_EQ(panel_.Do({"mailbox", "list", "bücher.example"}),
            "ADDRESS           STATE   MAIL     RESPONDER  ALIASES  FORWARDS\n"
            "z@bücher.example  active  dropped  off        -        -\n");
  EXPECT_EQ(panel_.Do({"mailbox", "list", "empty.example"}), "");
  EXPECT_EQ(panel_.Do({"--json", "mailbox", "list", "empty.example"}), "[]\n");
}

TEST_F(ManyMailboxes, AreListedAsJson) {
  EXPECT_EQ(panel_.Do({"--json", "mailbox", "list"}),
            "[\n"
            "  {\n"
            "    \"address\": \"info@example.org\",\n"
            "    \"active\": true,\n"
            "    \"dropmail\": false,\n"
            "    \"aliases\": [\n"
            "      \"sales\",\n"
            "      \"help\"\n"
            "    ],\n"
            "    \"forwards\": [\n"
            "      \"boss@müller.example\"\n"
            "    ],\n"
            "    \"responder\": true\n"
            "  },\n"
            "  {\n"
            "    \"address\": \"office@example.org\",\n"
            "    \"active\": false,\n"
            "    \"dropmail\": false,\n"
            "    \"aliases\": [],\n"
            "    \"forwards\": [],\n"
            "    \"responder\": false\n"
            "  },\n"
            "  {\n"
            "    \"address\": \"z@bücher.example\",\n"
            "    \"active\": true,\n"
            "    \"dropmail\": true,\n"
            "    \"aliases\": [],\n"
            "    \"forwards\": [],\n"
            "    \"responder\": false\n"
            "  }\n"
            "]\n");
}

TEST_F(ManyMailboxes, AreShownOneByOne) {
  EXPECT_EQ(panel_.Do({"mailbox", "show", "info@example.org"}),
            "address: info@example.org\n"
            "active: true\n"
            "dropmail: false\n"
            "aliases: sales, help\n"
            "forwards: boss@müller.example\n"
            "responder: true\n");
}

TEST(MailboxJson, ConfirmsChangeByTheMailbox) {
  const DomainPanel panel;
  const std::string created =
      "{\n"
      "  \"address\": \"info@example.org\",\n"
      "  \"active\": true,\n"
      "  \"dropmail\": true,\n"
      "  \"aliases\": [],\n"
      "  \"forwards\": [],\n"
      "  \"responder\": false\n"
      "}\n";
  const std::string suspended =
      "{\n"
      "  \"address\": \"info@example.org\",\n"
      "  \"active\": false,\n"
      "  \"dropmail\": true,\n"
      "  \"aliases\": [\n"
      "    \"sales\"\n"
      "  ],\n"
      "  \"forwards\": [],\n"
      "  \"responder\": false\n"
      "}\n";

  EXPECT_EQ(panel.Do({"--json", "mailbox", "create", "info@example.org", "--drop-mail"}), created);
  panel.Do({"alias", "add", "info@example.org", "sales"});
  EXPECT_EQ(panel.Do({"--json", "mailbox", "suspend", "info@example.org"}), suspended);
  EXPECT_EQ(panel.Do({"--json", "mailbox", "show", "info@example.org"}), suspended);
  EXPECT_EQ(panel.Do({"--json", "mailbox", "delete", "info@example.org"}), suspended);
}

TEST(MailboxQuiet, KeepsConfirmationsBack) {
  const DomainPanel panel;

  EXPECT_EQ(panel.Do({"--quiet", "mailbox", "create", "info@example.org"}), "");
  EXPECT_EQ(panel.Do({"--quiet", "mailbox", "update", "info@example.org", "--drop-mail", "on"}),
            "");
  EXPECT_EQ(panel.Do({"--quiet", "--json", "mailbox", "suspend", "info@example.org"}), "");
  EXPECT_EQ(panel.Do({"--quiet", "mailbox", "resume", "info@example.org"}), "");
  EXPECT_EQ(panel.Do({"--quiet", "mailbox", "delete", "info@example.org"}), "");
}

}  // namespace
}  // namespace zebmail_test
