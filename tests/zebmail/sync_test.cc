/// NAME
///   sync_test - reading tables that somebody keeps by hand, seen in what the panel knows then

#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/zeb_db.h"
#include "tests/zebmail/hand_kept_panel.h"

namespace zebmail_test {
namespace {

using testing::HasSubstr;

const std::string kMailboxHeader = "ADDRESS         STATE   MAIL  RESPONDER  ALIASES  FORWARDS\n";

/// One whose tables have these lines below the line of a.example.
class TablePanel : public HandKeptPanel {
 public:
  explicit TablePanel(const std::string& lines, const std::string& entries = "") {
    SetTable("virtusertable", "@a.example\tpostfix_err_nouser\n" + lines);
    SetEntries(entries);
    Do({"sync"});
  }

  std::string Mailboxes() const { return Do({"mailbox", "list"}); }

  /// What is shown of the mailbox behind its address.
  std::string Show(const std::string& address) const {
    const std::string text = Do({"mailbox", "show", address});
    return text.substr(text.find('\n') + 1);
  }
};

TEST(Sync, TakesOverAServerWithTablesKeptByHand) {
  const HandKeptPanel panel({"a.example", "b.example", "d.example", "e.example"});
  panel.SetTable("virtusertable",
                 "# our users\n"
                 "@a.example  postmaster@elsewhere.example # all the rest\n"
                 "info@a.example    info@a.example\n"
                 "\n"
                 "sales@a.example   info@a.example\n"
                 "@b.example\tpostfix_err_nouser\n"
                 "john@b.example\tjohn@b.example\n"
                 "@c.example\tpostfix_err_nouser\n"
                 "nobody@c.example\tnobody@c.example\n"
                 "@d.example\t@a.example\n"
                 "@e.example\tpostfix_err_nouser\n"
                 "bare\tjohn@b.example\n");
  panel.SetTable("local-host-names", "a.example # the first\nother.example\n");
  panel.SetTable("access",
                 "b.example\t550 Account disabled\n"
                 "a.example\tREJECT\n"
                 "connect:192.0.2.1 REJECT\n"
                 "foe@c.example REJECT # always\n"
                 "friend@c.example OK\n"
                 "c.example REJECT now\n");
  const std::string lines = panel.Table("virtusertable");

  EXPECT_EQ(panel.Do({"sync"}), Summary({"4 0 0", "2 0 0", "1 0 0", "0 0 0", "1 0 0", "2 0 0"}));

  EXPECT_EQ(panel.State(),
            "-- domains\n"
            "NAME       STATE      DEFAULT ACTION  REDIRECT                      IP\n"
            "a.example  active     redir_email     postmaster@elsewhere.example  -\n"
            "b.example  suspended  error           -                             -\n"
            "d.example  active     redir_domain    a.example                     -\n"
            "e.example  active     error           -                             -\n"
            "-- mailboxes\n"
            "ADDRESS         STATE   MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "info@a.example  active  kept  off        sales    -\n"
            "john@b.example  active  kept  off        -        -\n"
            "-- whitelist\n"
            "friend@c.example\n"
            "-- blacklist\n"
            "192.0.2.1\n"
            "foe@c.example\n");
  EXPECT_EQ(panel.Query("SELECT email_domain.name, users.name FROM email_domain JOIN users ON"
                        " users.id = email_domain.users ORDER BY email_domain.name",
                        2),
            "a.example|owner of a.example\n"
            "b.example|owner of b.example\n"
            "d.example|owner of d.example\n"
            "e.example|owner of e.example\n");
  EXPECT_EQ(panel.Tables(), "-- virtusertable\n" + lines +
                                "-- local-host-names\n"
                                "a.example # the first\n"
                                "other.example\n"
                                "b.example\n"
                                "d.example\n"
                                "e.example\n"
                                "-- access\n"
                                "b.example\t550 Account disabled\n"
                                "connect:192.0.2.1 REJECT\n"
                                "foe@c.example REJECT # always\n"
                                "friend@c.example OK\n"
                                "c.example REJECT now\n"
                                "-- domainips\n");
  EXPECT_EQ(panel.Lookup("access", "b.example"), "550 Account disabled");
  EXPECT_EQ(panel.Lookup("access", "a.example"), "");
}

TEST(Sync, GivesEachDomainADefaultActionThatItCanBeUpdatedWith) {
  const HandKeptPanel panel;
  panel.SetTable("virtusertable", "@a.example\tpostfix_err_nouser\n@b.example\tsomething else\n");
  panel.SetTable("access", "a.example\t550 Account disabled\n");

  panel.Do({"sync"});

  EXPECT_EQ(panel.Do({"domain", "list"}),
            "NAME       STATE      DEFAULT ACTION  REDIRECT  IP\n"
            "a.example  suspended  error           -         -\n"
            "b.example  active     error           -         -\n");
  EXPECT_EQ(panel.Run({"domain", "update", "a.example", "--owner", "7"}).errors, "");
  EXPECT_EQ(panel.Run({"domain", "update", "b.example", "--owner", "7"}).errors, "");
}

TEST(Sync, GivesAKnownSuspendedDomainWithoutAnEntryTheTargetOfTheSuspended) {
  const HandKeptPanel panel;
  panel.SetTable("virtusertable", "@a.example\tdevnull\n");
  panel.Do({"sync"});
  panel.Do({"domain", "suspend", "a.example"});
  panel.SetTable("access", "");
  panel.TouchTable();

  EXPECT_EQ(panel.Do({"sync"}), NothingNew());

  EXPECT_EQ(panel.Table("access"), "a.example\tpostfix_err_nouser\n");
}

TEST(Sync, LeavesADomainSuspendedThatItHasGivenTheTargetOfTheSuspended) {
  const HandKeptPanel panel;
  panel.SetTable("virtusertable", "@a.example\tdevnull\n");
  panel.Do({"sync"});
  panel.Do({"domain", "suspend", "a.example"});
  panel.SetTable("access", "");
  panel.Do({"sync"});

  EXPECT_EQ(panel.Do({"sync"}), NothingNew());

  EXPECT_EQ(panel.Do({"domain", "list"}),
            "NAME       STATE      DEFAULT ACTION  REDIRECT  IP\n"
            "a.example  suspended  ignore          -         -\n");
  EXPECT_EQ(panel.Table("access"), "a.example\t550 Account disabled\n");
}

TEST(Sync, MendsLocalHostNamesThatAloneHaveChanged) {
  const HandKeptPanel panel;
  panel.SetTable("virtusertable", "@a.example\tdevnull\n");
  panel.Do({"sync"});
  panel.SetTable("local-host-names", "");

  EXPECT_EQ(panel.Do({"sync"}), NothingNew());

  EXPECT_EQ(panel.Table("local-host-names"), "a.example\n");
}

TEST(Sync, PassesOverLinesThatPostfixCannotRead) {
  const HandKeptPanel panel;
  panel.SetTable("virtusertable",
                 "@a.example\tdevnull\n"
                 "info@a.example\tinfo@a.example\n"
                 "bad\xff@a.example\tinfo@a.example\n" +
                     std::string("nul@a.example\tin\0fo@a.example\n", 30) + "bare@a.example\n");

  panel.Do({"sync"});

  EXPECT_EQ(panel.Do({"mailbox", "list"}),
            "ADDRESS         STATE   MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "info@a.example  active  kept  off        -        -\n");
}

TEST(Sync, ReadsTheAddressFromWhichADomainSends) {
  const HandKeptPanel panel;
  panel.SetTable("virtusertable", "@a.example\tdevnull\n@b.example\tdevnull\n");
  panel.SetTable("domainips", "/@a\\.example$/\tsmtp_a\n");
  panel.folder().WriteText("config/master.cf",
                           "smtp_a\tunix - - n - - smtp -o smtp_bind_address=127.0.0.10\n");

  panel.Do({"sync"});

  EXPECT_EQ(panel.Do({"domain", "list"}),
            "NAME       STATE   DEFAULT ACTION  REDIRECT  IP\n"
            "a.example  active  ignore          -         127.0.0.10\n"
            "b.example  active  ignore          -         -\n");
}

TEST(Sync, ShowsDomainsInUnicodeThatTheTableHasInAscii) {
  const HandKeptPanel panel({"xn--bcher-kva.example"});
  panel.SetTable("virtusertable",
                 "@xn--bcher-kva.example\tdevnull\n"
                 "info@xn--bcher-kva.example\tinfo@xn--bcher-kva.example\n"
                 "office@xn--bcher-kva.example\tinfo@xn--bcher-kva.example\n");

  panel.Do({"sync"});

  EXPECT_EQ(panel.Do({"mailbox", "list"}),
            "ADDRESS              STATE   MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "info@bücher.example  active  kept  off        office   -\n");
}

TEST(Sync, ReadsForwardsInTheirOrder) {
  const TablePanel panel(
      "info@a.example\tinfo@a.example info+a.example\n",
      "root: admin\ninfo+a.example:  z@c.example, \"|/bin/filter x\",b@c.example\n");

  EXPECT_EQ(panel.Show("info@a.example"),
            "active: true\ndropmail: false\naliases: \n"
            "forwards: z@c.example, \"|/bin/filter x\", b@c.example\nresponder: false\n");
}

TEST(Sync, ReadsForwardsOfAMailboxWithAPlusInItsName) {
  const TablePanel panel("x+y@a.example\tx+y@a.example x+y+a.example\n",
                         "x+y+a.example: b@c.example\n");

  EXPECT_EQ(panel.Mailboxes(),
            "ADDRESS        STATE   MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "x+y@a.example  active  kept  off        -        b@c.example\n");
}

TEST(SyncAliases, AreNoMailboxes) {
  const TablePanel panel(
      "sales@a.example\tinfo@a.example\n"
      "info@a.example\tinfo@a.example\n"
      "shop@a.example\tinfo@a.example\n");

  EXPECT_EQ(panel.Mailboxes(),
            "ADDRESS         STATE   MAIL  RESPONDER  ALIASES      FORWARDS\n"
            "info@a.example  active  kept  off        sales, shop  -\n");
}

TEST(SyncAliases, OfAnAliasAreThoseOfItsMailbox) {
  const TablePanel panel(
      "most@a.example\tmore@a.example\n"
      "more@a.example\tsales@a.example\n"
      "sales@a.example\tinfo@a.example\n"
      "info@a.example\tinfo@a.example\n");

  EXPECT_EQ(panel.Do({"--json", "mailbox", "list"}),
            "[\n"
            "  {\n"
            "    \"address\": \"info@a.example\",\n"
            "    \"active\": true,\n"
            "    \"dropmail\": false,\n"
            "    \"aliases\": [\n"
            "      \"sales\",\n"
            "      \"most\",\n"
            "      \"more\"\n"
            "    ],\n"
            "    \"forwards\": [],\n"
            "    \"responder\": false\n"
            "  }\n"
            "]\n");
}

TEST(SyncAliases, OfAnAliasStayWhenOnlyTheAliasesHaveChanged) {
  const TablePanel panel(
      "more@a.example\tsales@a.example\n"
      "sales@a.example\tinfo@a.example\n"
      "info@a.example\tinfo@a.example\n");
  const std::string before = panel.State();
  panel.SetEntries("root: admin\n");

  EXPECT_EQ(panel.Do({"sync"}), NothingNew());

  EXPECT_EQ(panel.State(), before);
}

TEST(SyncAliases, InACircleStayMailboxes) {
  const TablePanel panel(
      "one@a.example\ttwo@a.example\n"
      "two@a.example\tone@a.example\n"
      "three@a.example\tone@a.example\n");

  EXPECT_EQ(panel.Query("SELECT name FROM email ORDER BY name"), "one\ntwo\n");
  EXPECT_EQ(panel.Query("SELECT name FROM email_alias ORDER BY name"), "three\n");
  const std::string before = panel.State();
  panel.TouchTable();
  EXPECT_EQ(panel.Do({"sync"}), NothingNew());
  EXPECT_EQ(panel.State(), before);
}

TEST(SyncAliases, AreNoLinesWithSeveralTargetsOrOfOtherDomains) {
  const HandKeptPanel panel;
  panel.SetTable("virtusertable",
                 "@a.example\tdevnull\n"
                 "@b.example\tinfo@a.example\n"
                 "info@a.example\tinfo@a.example\n"
                 "both@a.example\tinfo@a.example x@c.example\n"
                 "list@a.example\tinfo@a.example,x@c.example\n"
                 "info@b.example\tinfo@a.example\n");

  panel.Do({"sync"});

  EXPECT_EQ(panel.Do({"mailbox", "list"}),
            "ADDRESS         STATE   MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "both@a.example  active  kept  off        -        -\n"
            "info@a.example  active  kept  off        -        -\n"
            "list@a.example  active  kept  off        -        -\n"
            "info@b.example  active  kept  off        -        -\n");
}

TEST(SyncAliases, OfASuspendedMailboxStayItsAliases) {
  const TablePanel panel(
      "info@a.example\tpostfix_err_nouser\n"
      "sales@a.example\tinfo@a.example\n");

  EXPECT_EQ(panel.Mailboxes(),
            "ADDRESS         STATE      MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "info@a.example  suspended  kept  off        sales    -\n");
}

/// Lines of addresses in random order, some twice, each with random targets: of
/// these that are there and others, alone and several.
std::string RandomLines(unsigned seed, const std::string& separator) {
  const std::vector<std::string> others = {"user",        "postfix_err_nouser", "devnull",
                                           "x@c.example", "@a.example",         "\vm1@a.example"};
  const std::vector<std::string> begins = {",", "\v", "\f", "#", " ", "\"", "@b.example x\n"};
  std::mt19937 random(seed);
  const auto one_of = [&random](const auto& texts) { return texts[random() % texts.size()]; };
  const auto address = [&] {
    const std::string name = (random() % 20 == 0 ? "M" : "m") + std::to_string(random() % 30);
    return name + (random() % 8 == 0 ? "@b.example" : "@a.example");
  };
  std::string lines;
  for (int line = 0; line < 40; ++line) {
    const std::string key = address();
    std::string targets = random() % 3 == 0 ? key : address();
    if (random() % 5 == 0) targets = one_of(others);
    if (random() % 8 == 0) targets += (random() % 2 == 0 ? "," : " ") + address();
    if (random() % 10 == 0) lines += one_of(begins);
    lines += key + separator + targets + "\n";
  }
  return lines;
}

/// Only aliases in lines without a blank too many are told before mailboxes are made of all lines.
TEST(SyncAliases, AreTheSameWhetherTheyAreToldBeforeTheirMailboxesOrAfter) {
  for (unsigned seed = 0; seed < 10; ++seed) {
    SCOPED_TRACE(RandomLines(seed, "\t"));
    const TablePanel told(RandomLines(seed, "\t"));
    const TablePanel untold(RandomLines(seed, "\t\t"));

    EXPECT_EQ(told.State(), untold.State());
    EXPECT_EQ(told.Query("SELECT name FROM email_alias ORDER BY name"),
              untold.Query("SELECT name FROM email_alias ORDER BY name"));
  }
}

TEST(SyncCatchAll, OfAMailboxIsNoAliasAndStaysOneLine) {
  const HandKeptPanel panel;
  panel.SetTable("virtusertable", "@a.example\tinfo@a.example\ninfo@a.example\tinfo@a.example\n");

  panel.Do({"sync"});

  EXPECT_EQ(panel.Query("SELECT name FROM email_alias"), "");
  EXPECT_EQ(panel.Do({"domain", "list"}),
            "NAME       STATE   DEFAULT ACTION  REDIRECT        IP\n"
            "a.example  active  redir_email     info@a.example  -\n");
  panel.Do({"alias", "add", "info@a.example", "help"});
  EXPECT_EQ(panel.Table("virtusertable"),
            "@a.example\tinfo@a.example\n"
            "info@a.example\tinfo@a.example\n"
            "help@a.example\tinfo@a.example\n");
}

TEST(SyncDropMail, IsAnOwnTargetThatDiscards) {
  const TablePanel panel(
      "info@a.example\tdevnull\n"
      "boss@a.example\tdevnull boss+a.example # copies only\n"
      "kept@a.example\tkept@a.example\n",
      "boss+a.example: x@c.example\n");

  EXPECT_EQ(panel.Mailboxes(),
            "ADDRESS         STATE   MAIL     RESPONDER  ALIASES  FORWARDS\n"
            "boss@a.example  active  dropped  off        -        x@c.example\n"
            "info@a.example  active  dropped  off        -        -\n"
            "kept@a.example  active  kept     off        -        -\n");
}

TEST(SyncDropMail, EndsAndBeginsWithTheLine) {
  const TablePanel panel("info@a.example\tdevnull\noffice@a.example\toffice@a.example\n");
  panel.SetTable("virtusertable",
                 "@a.example\tpostfix_err_nouser\n"
                 "info@a.example\tinfo@a.example\noffice@a.example\tdevnull\n");

  EXPECT_EQ(panel.Do({"sync"}), Summary({"0 0 0", "0 2 0", "0 0 0", "0 0 0", "0 0 0", "0 0 0"}));

  EXPECT_EQ(panel.Mailboxes(),
            "ADDRESS           STATE   MAIL     RESPONDER  ALIASES  FORWARDS\n"
            "info@a.example    active  kept     off        -        -\n"
            "office@a.example  active  dropped  off        -        -\n");
}

TEST(SyncDropMail, IsNotADiscardingTargetBehindTheOwnOne) {
  const TablePanel panel("info@a.example\tinfo@a.example devnull\n");

  EXPECT_EQ(panel.Mailboxes(),
            "ADDRESS         STATE   MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "info@a.example  active  kept  off        -        -\n");
}

TEST(SyncDropMail, IsReadFromTheFirstOfSeveralLines) {
  const TablePanel panel(
      "info@a.example\tinfo@a.example\n"
      "info@a.example\tdevnull\n"
      "office@a.example\tdevnull\n"
      "office@a.example\toffice@a.example\n");

  EXPECT_EQ(panel.Mailboxes(),
            "ADDRESS           STATE   MAIL     RESPONDER  ALIASES  FORWARDS\n"
            "info@a.example    active  kept     off        -        -\n"
            "office@a.example  active  dropped  off        -        -\n");
}

TEST(SyncDropMail, OfASuspendedMailboxStaysWhatItWas) {
  const TablePanel panel("info@a.example\tdevnull\n");
  panel.Do({"mailbox", "suspend", "info@a.example"});

  EXPECT_EQ(panel.Do({"sync"}), NothingNew());

  panel.Do({"mailbox", "resume", "info@a.example"});
  EXPECT_EQ(panel.Table("virtusertable"),
            "@a.example\tpostfix_err_nouser\ninfo@a.example\tdevnull\n");
}

TEST(SyncSuspension, OfMailboxesIsReadFromTheirOnlyTarget) {
  const TablePanel panel(
      "info@a.example\tpostfix_err_nouser\n"
      "office@a.example\tpostfix_err_nouser office+a.example\n");

  EXPECT_EQ(panel.Mailboxes(),
            "ADDRESS           STATE      MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "info@a.example    suspended  kept  off        -        -\n"
            "office@a.example  active     kept  off        -        -\n");
  panel.Do({"mailbox", "resume", "info@a.example"});
  EXPECT_EQ(panel.Lookup("virtusertable", "info@a.example"), "info@a.example");
}

TEST(SyncSuspension, EndsWithTheLineAndTheEntry) {
  const HandKeptPanel panel;
  panel.SetTable("virtusertable", "@a.example\tdevnull\ninfo@a.example\tinfo@a.example\n");
  panel.Do({"sync"});
  const std::string before = panel.State();
  panel.Do({"mailbox", "suspend", "info@a.example"});
  panel.Do({"domain", "suspend", "a.example"});
  panel.SetTable("virtusertable", "@a.example\tdevnull\ninfo@a.example\tinfo@a.example\n");
  panel.SetTable("access", "a.example\tOK\n");

  EXPECT_EQ(panel.Do({"sync"}), Summary({"0 1 0", "0 1 0", "0 0 0", "0 0 0", "0 0 0", "0 0 0"}));

  EXPECT_EQ(panel.State(), before);
  EXPECT_EQ(panel.Table("access"), "");
}

/// A panel with one mailbox that answers and forwards.
class SyncResponder : public testing::Test {
 protected:
  SyncResponder() {
    panel_.Do({"forward", "add", "info@example.org", "boss@example.net"});
    panel_.Do({"responder", "on", "info@example.org", "--subject", "Away", "--text-file", "-"},
              "A\n");
    panel_.Do({"sync"});
    before_ = panel_.Do({"mailbox", "list"});
  }

  /// Gives the entry of the mailbox this value, or none.
  void SetEntry(const std::string& value) const {
    panel_.SetTable("aliases", "postfix_err_nouser:\t\"| exit 67\"\ndevnull:\t\"/dev/null\"\n" +
                                   (value.empty() ? "" : "info+example.org:\t" + value + "\n"));
  }

  std::string Mailboxes() const { return panel_.Do({"mailbox", "list"}); }

  const MailboxPanel panel_;
  std::string before_;
};

TEST_F(SyncResponder, StaysOnWhileTheAliasesHaveIt) {
  EXPECT_EQ(before_,
            "ADDRESS           STATE   MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "info@example.org  active  kept  on         -        boss@example.net\n");
  SetEntry(panel_.AnswerOf(1) + ", x@example.net");

  EXPECT_EQ(panel_.Do({"sync"}), Summary({"0 0 0", "0 0 0", "0 0 0", "1 0 1", "0 0 0", "0 0 0"}));

  EXPECT_EQ(Mailboxes(),
            "ADDRESS           STATE   MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "info@example.org  active  kept  on         -        x@example.net\n");
}

TEST_F(SyncResponder, IsOffWhenItsTargetIsGone) {
  SetEntry("boss@example.net");

  panel_.Do({"sync"});

  EXPECT_EQ(Mailboxes(),
            "ADDRESS           STATE   MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "info@example.org  active  kept  off        -        boss@example.net\n");
  EXPECT_EQ(panel_.Do({"responder", "show", "info@example.org"}),
            "address: info@example.org\nactive: false\nsubject: Away\n\nA\n");
  panel_.Do({"forward", "add", "info@example.org", "x@example.net"});
  EXPECT_EQ(panel_.Lookup("aliases", "info+example.org"), "boss@example.net, x@example.net");
}

TEST_F(SyncResponder, IsOffWhenItsEntryIsGone) {
  SetEntry("");

  panel_.Do({"sync"});

  EXPECT_EQ(Mailboxes(),
            "ADDRESS           STATE   MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "info@example.org  active  kept  off        -        -\n");
}

TEST_F(SyncResponder, OfAnotherMailboxIsNeitherAForwardNorItsOwn) {
  SetEntry(panel_.AnswerOf(99) + ", boss@example.net");

  panel_.Do({"sync"});

  EXPECT_EQ(Mailboxes(),
            "ADDRESS           STATE   MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "info@example.org  active  kept  off        -        boss@example.net\n");
}

TEST(SyncLines, OfOneKeyCountByTheFirstOfThem) {
  const HandKeptPanel panel;
  const std::string lines =
      "@a.example\tdevnull\n"
      "@a.example\tpostfix_err_nouser\n"
      "info@a.example\tinfo@a.example\n"
      "sales@a.example\tsales@a.example\n"
      "sales@a.example\tinfo@a.example\n"
      "shop@a.example\tinfo@a.example\n"
      "Shop@a.example\tinfo@a.example\n"
      "SHOP@a.example\tsales@a.example\n"
      "on@a.example\ton@a.example\n"
      "on@a.example\tpostfix_err_nouser\n"
      "off@a.example\tpostfix_err_nouser\n"
      "off@a.example\toff@a.example\n";
  panel.SetTable("virtusertable", lines);

  panel.Do({"sync"});

  EXPECT_EQ(panel.State(),
            "-- domains\n"
            "NAME       STATE   DEFAULT ACTION  REDIRECT  IP\n"
            "a.example  active  ignore          -         -\n"
            "-- mailboxes\n"
            "ADDRESS          STATE      MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "info@a.example   active     kept  off        shop     -\n"
            "off@a.example    suspended  kept  off        -        -\n"
            "on@a.example     active     kept  off        -        -\n"
            "sales@a.example  active     kept  off        -        -\n"
            "-- whitelist\n"
            "-- blacklist\n");
  EXPECT_EQ(panel.Table("virtusertable"), lines);
  EXPECT_EQ(panel.Do({"sync"}), NothingNew());
}

TEST(SyncLines, InUpperCaseAreReadAsTheyStand) {
  const TablePanel panel(
      "Info@A.Example\tInfo@A.Example\n"
      "Office@a.example\tdevnull\n"
      "Shop@A.EXAMPLE\tpostfix_err_nouser\n");

  EXPECT_EQ(panel.Mailboxes(),
            "ADDRESS           STATE      MAIL     RESPONDER  ALIASES  FORWARDS\n"
            "Info@a.example    active     kept     off        -        -\n"
            "Office@a.example  active     dropped  off        -        -\n"
            "Shop@a.example    suspended  kept     off        -        -\n");
}

TEST(SyncLines, WithCarriageReturnsAreReadWithoutThem) {
  const HandKeptPanel panel;
  const std::string lines =
      "@a.example\tdevnull\r\n"
      "info@a.example\tinfo@a.example info+a.example\r\n"
      "sales@a.example\tinfo@a.example\r\n"
      "drop@a.example\tdevnull\r\n"
      "off@a.example\tpostfix_err_nouser\r\n";
  panel.SetTable("virtusertable", lines);
  panel.SetEntries("info+a.example: x@c.example\r\n");
  panel.SetTable("access", "foe.example REJECT\r\n");

  panel.Do({"sync"});

  EXPECT_EQ(panel.State(),
            "-- domains\n"
            "NAME       STATE   DEFAULT ACTION  REDIRECT  IP\n"
            "a.example  active  ignore          -         -\n"
            "-- mailboxes\n"
            "ADDRESS         STATE      MAIL     RESPONDER  ALIASES  FORWARDS\n"
            "drop@a.example  active     dropped  off        -        -\n"
            "info@a.example  active     kept     off        sales    x@c.example\n"
            "off@a.example   suspended  kept     off        -        -\n"
            "-- whitelist\n"
            "-- blacklist\n"
            "foe.example\n");
  EXPECT_EQ(panel.Table("virtusertable"), lines);
}

TEST(SyncLines, ThatAreNoRecordsAreNothing) {
  const TablePanel panel(
      "#off@a.example\toff@a.example\n"
      "  indented@a.example\tx@c.example\n"
      "bare\tinfo@a.example\n"
      "info@a.example\tinfo@a.example\n"
      "\tsales@a.example\n");

  EXPECT_EQ(panel.Mailboxes(),
            kMailboxHeader + "info@a.example  active  kept  off        -        -\n");
}

TEST(SyncLists, KeepWhatGivesWayToASuspension) {
  const HandKeptPanel panel;
  panel.Do({"domain", "create", "a.example"});
  panel.Do({"domain", "create", "b.example"});
  panel.Do({"mailbox", "create", "info@b.example"});
  panel.Do({"whitelist", "add", "friend@a.example", "info@b.example"});
  EXPECT_EQ(panel.Run({"blacklist", "add", "a.example"}).status, 0);
  panel.Do({"domain", "suspend", "a.example"});
  panel.Do({"mailbox", "suspend", "info@b.example"});
  panel.TouchTable();
  const std::string access = panel.Table("access");

  EXPECT_EQ(panel.Do({"sync"}), NothingNew());

  EXPECT_EQ(panel.Table("access"), access);
  EXPECT_EQ(panel.Do({"whitelist", "list"}), "friend@a.example\ninfo@b.example\n");
  panel.Do({"domain", "resume", "a.example"});
  EXPECT_EQ(panel.Lookup("access", "a.example"), "REJECT");
  EXPECT_EQ(panel.Lookup("access", "friend@a.example"), "OK");
}

TEST(SyncLists, KeepTheVerdictOnADomainOfThePanel) {
  const HandKeptPanel panel;
  panel.Do({"domain", "create", "a.example"});
  EXPECT_EQ(panel.Run({"blacklist", "add", "a.example"}).status, 0);
  panel.TouchTable();

  EXPECT_EQ(panel.Do({"sync"}), NothingNew());

  EXPECT_EQ(panel.Lookup("access", "a.example"), "REJECT");
}

TEST(SyncLists, ForgetTheVerdictOnADomainOfThePanelThatWasTakenOutByHand) {
  const HandKeptPanel panel;
  panel.Do({"domain", "create", "a.example"});
  EXPECT_EQ(panel.Run({"blacklist", "add", "a.example"}).status, 0);
  panel.SetTable("access", "# by hand\n");
  panel.TouchTable();

  panel.Do({"sync"});

  EXPECT_EQ(panel.Do({"blacklist", "list"}), "");
  EXPECT_EQ(panel.Table("access"), "# by hand\n");
}

TEST(SyncAgain, ChangesNothing) {
  const HandKeptPanel panel;
  panel.SetTable("virtusertable",
                 "@a.example\tinfo@a.example\n"
                 "info@a.example\tinfo@a.example info+a.example\n"
                 "sales@a.example\tinfo@a.example\n"
                 "shop@a.example\tsales@a.example\n"
                 "drop@a.example\tdevnull\n"
                 "@b.example\tpostfix_err_nouser\n"
                 "off@b.example\tpostfix_err_nouser\n");
  panel.SetEntries("info+a.example: x@c.example, y@c.example\n");
  panel.SetTable("access",
                 "b.example\t550 Account disabled\nfriend.example OK\nfoe.example REJECT\n");
  panel.Do({"sync"});
  const auto files = panel.TableFiles();
  const std::string rows = panel.Rows();

  EXPECT_EQ(panel.Do({"sync"}), NothingNew());
  EXPECT_EQ(panel.TableFiles(), files);
  EXPECT_EQ(panel.Rows(), rows);

  panel.TouchTable();
  const auto touched = panel.TableFiles();
  EXPECT_EQ(panel.Do({"sync"}), NothingNew());
  EXPECT_EQ(panel.TableFiles(), touched);
  EXPECT_EQ(panel.Rows(), rows);
}

TEST(SyncAgain, FindsWhatThePanelItselfWrote) {
  const MailboxPanel panel;
  panel.Do({"domain", "create", "example.net", "--default-action", "redir_email", "--redirect",
            "info@example.org"});
  panel.Do({"alias", "add", "info@example.org", "sales"});
  panel.Do({"forward", "add", "info@example.org", "x@c.example"});
  panel.Do({"mailbox", "create", "drop@example.net", "--drop-mail"});
  panel.Do({"blacklist", "add", "foe.example", "192.0.2.1"});
  const std::string tables = panel.Tables() + panel.MailboxTables();

  EXPECT_EQ(panel.Do({"sync"}), NothingNew());

  EXPECT_EQ(panel.Tables() + panel.MailboxTables(), tables);
}

TEST(SyncAgain, TakesLinesAwayThatAreGone) {
  const HandKeptPanel panel;
  panel.SetTable("virtusertable",
                 "@a.example\tdevnull\ninfo@a.example\tinfo@a.example info+a.example\n"
                 "sales@a.example\tinfo@a.example\noffice@a.example\toffice@a.example\n"
                 "@b.example\tdevnull\ninfo@b.example\tinfo@b.example\n");
  panel.SetEntries("info+a.example: x@c.example\n");
  panel.SetTable("access", "friend.example OK\nfoe.example REJECT\n");
  panel.Do({"sync"});
  panel.SetTable("virtusertable",
                 "@a.example\tdevnull\ninfo@a.example\tinfo@a.example\n"
                 "info@b.example\tinfo@b.example\n");
  panel.SetEntries("");
  panel.SetTable("access", "");

  EXPECT_EQ(panel.Do({"sync"}), Summary({"0 0 1", "0 0 2", "0 0 1", "0 0 1", "0 0 1", "0 0 1"}));

  EXPECT_EQ(panel.State(),
            "-- domains\n"
            "NAME       STATE   DEFAULT ACTION  REDIRECT  IP\n"
            "a.example  active  ignore          -         -\n"
            "-- mailboxes\n" +
                kMailboxHeader +
                "info@a.example  active  kept  off        -        -\n"
                "-- whitelist\n-- blacklist\n");
}

TEST(SyncAgain, KeepsTheKeysOfMailboxesWhoseTargetsWereEdited) {
  const TablePanel panel("info@a.example\tinfo@a.example\noffice@a.example\toffice@a.example\n");
  const std::string keys = panel.Query("SELECT id, name FROM email ORDER BY id", 2);
  panel.SetTable(
      "virtusertable",
      "@a.example\tpostfix_err_nouser\n"
      "info@a.example\troot@c.example\noffice@a.example\toffice@a.example x@c.example\n");

  EXPECT_EQ(panel.Do({"sync"}), NothingNew());

  EXPECT_EQ(panel.Query("SELECT id, name FROM email ORDER BY id", 2), keys);
}

TEST(SyncAgain, MakesAMailboxOfAnAliasThatGotALineOfItsOwn) {
  const TablePanel panel("info@a.example\tinfo@a.example\nsales@a.example\tinfo@a.example\n");
  panel.SetTable("virtusertable",
                 "@a.example\tpostfix_err_nouser\n"
                 "info@a.example\tsales@a.example\nsales@a.example\tsales@a.example\n");

  EXPECT_EQ(panel.Do({"sync"}), Summary({"0 0 0", "1 0 1", "1 0 1", "0 0 0", "0 0 0", "0 0 0"}));

  EXPECT_EQ(panel.Mailboxes(),
            "ADDRESS          STATE   MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "sales@a.example  active  kept  off        info     -\n");
}

TEST(SyncAgain, LeavesRowsChangedByHandWhileTheTablesAreTheSame) {
  const TablePanel panel("info@a.example\tinfo@a.example\noffice@a.example\toffice@a.example\n");
  panel.Do({"sync"});  // the first one has written local host names
  panel.ChangeDatabase([] {
    zeb_db::GetCache().Query("DELETE FROM email WHERE name = 'info'");
    zeb_db::GetCache().Query("UPDATE email SET active = false");
  });

  EXPECT_EQ(panel.Do({"sync"}), NothingNew());
  EXPECT_EQ(panel.Query("SELECT name FROM email WHERE NOT active"), "office\n");

  panel.TouchTable();
  EXPECT_EQ(panel.Do({"sync"}), Summary({"0 0 0", "1 1 0", "0 0 0", "0 0 0", "0 0 0", "0 0 0"}));
}

TEST(SyncAgain, ReadsForwardsWhenTheAliasesAloneHaveChanged) {
  const TablePanel panel("info@a.example\tinfo@a.example info+a.example\n",
                         "info+a.example: x@c.example\n");
  panel.SetEntries("info+a.example: y@c.example, z@c.example\n");

  EXPECT_EQ(panel.Do({"sync"}), Summary({"0 0 0", "0 0 0", "0 0 0", "2 0 1", "0 0 0", "0 0 0"}));

  EXPECT_THAT(panel.Show("info@a.example"), HasSubstr("forwards: y@c.example, z@c.example\n"));
}

TEST(SyncAgain, ReadsTheListsWhenTheAccessTableAloneHasChanged) {
  const TablePanel panel("info@a.example\tinfo@a.example\n");
  panel.SetTable("access", "friend.example OK\nfoe.example REJECT\n");

  EXPECT_EQ(panel.Do({"sync"}), Summary({"0 0 0", "0 0 0", "0 0 0", "0 0 0", "1 0 0", "1 0 0"}));
}

}  // namespace
}  // namespace zebmail_test
