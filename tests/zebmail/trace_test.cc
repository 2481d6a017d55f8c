/// NAME
///   trace_test - the way of a message, as the command shows it
///
/// PURPOSE
///   Compares whole outputs, in which the panel's folder of tables is MAIL. The maps are real and
///   so are the answers of postmap and postalias; tests/delivery/ shows that real messages go the
///   same way.

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "panel/process/panel_lock.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using testing::HasSubstr;
using testing::Not;

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

/// A panel whose tables Postfix reads as it should, with the domain example.org.
class TracePanel : public AnsweringPanel {
 public:
  TracePanel() {
    SetSettings("");
    Do({"domain", "create", "example.org"});
  }

  /// main.cf with the panel's tables in use, and `more` settings.
  void SetSettings(const std::string& more) const {
    const std::string mail = Path("panel/mail/");
    SetMainCf(
        "compatibility_level = 3.6\n"
        "myhostname = mail.test\n"
        "myorigin = $myhostname\n"
        "inet_interfaces = 127.0.0.1\n"
        "default_database_type = hash\n"
        "recipient_delimiter = +\n"
        "propagate_unmatched_extensions = canonical\n"
        "parent_domain_matches_subdomains =\n"
        "queue_directory = " +
        Path("queue") + "\ndata_directory = " + Path("data") + "\nmydestination = " + mail +
        "local-host-names, $myhostname, localhost\nvirtual_alias_maps = hash:" + mail +
        "virtusertable\nalias_maps = hash:" + mail + "aliases\n" + more);
  }

  /// Puts lines behind the table's own and builds its map.
  void AddLines(const std::string& table, const std::string& lines) const {
    SetTable(table, Table(table) + lines);
    Build(table);
  }

  void Build(const std::string& table) const {
    const std::string tool = table == "aliases" ? "/usr/sbin/postalias" : "/usr/sbin/postmap";
    test_support::RunCommand({tool, "-c", Path("config"), Path("panel/mail/" + table)});
  }

  /// What `trace` prints, without the paths of this test.
  std::string Way(const std::string& address, int status = 0) const {
    const CommandRun run = Run({"trace", address});
    EXPECT_EQ(run.status, status);
    EXPECT_EQ(run.errors, "");
    return Shown(run.output);
  }

  nlohmann::json Json(const std::string& address) const {
    return nlohmann::json::parse(Shown(Run({"--json", "trace", address}).output));
  }

  /// "HOW ADDRESS" of each end, in order.
  std::string Ends(const std::string& address) const {
    const nlohmann::json way = Json(address);
    std::string ends;
    for (const auto& end : way["ends"]) {
      ends += (ends.empty() ? "" : ", ") + end["how"].get<std::string>() + " " +
              end["address"].get<std::string>();
    }
    return ends;
  }

 private:
  std::string Shown(const std::string& text) const {
    return Replaced(Replaced(text, Path("panel/mail"), "MAIL"), Path(""), "DIR/");
  }
};

/// The steps that are the same for each address of the domain that is not refused.
std::string Begin(const std::string& address, int line = 1, const std::string& bare = "") {
  const std::size_t at = address.rfind('@');
  const std::string local = address.substr(0, at);
  const std::string domain = address.substr(at + 1);
  const std::string top = domain.substr(domain.rfind('.'));
  const std::string with_bare = bare.empty() ? "" : " " + bare + "@" + domain;
  return address + "\n  MAIL/local-host-names:" + std::to_string(line) + ": " + domain +
         "; a domain of this server\n  MAIL/access: no line for " + address + with_bare + " " +
         domain + " " + top + " " + local + "@" + (bare.empty() ? "" : " " + bare + "@") +
         "; not refused\n";
}

std::string UnboundEnd(const std::string& domain) {
  return "mail from " + domain + "\n  MAIL/domainips: no line for @" + domain +
         "; leaves from any address\n";
}

const std::string kEnd = UnboundEnd("example.org");

const std::string kToUnknownUser =
    "  postfix_err_nouser@mail.test\n"
    "    MAIL/virtusertable: no line for postfix_err_nouser@mail.test postfix_err_nouser "
    "@mail.test\n"
    "    MAIL/aliases:1: postfix_err_nouser -> \"| exit 67\"\n"
    "    => bounced: unknown user\n";

const std::string kToDevnull =
    "  devnull@mail.test\n"
    "    MAIL/virtusertable: no line for devnull@mail.test devnull @mail.test\n"
    "    MAIL/aliases:2: devnull -> \"/dev/null\"\n"
    "    => thrown away\n";

const std::string kAtGames =
    "  games@example.org\n"
    "    MAIL/aliases: no line for games\n"
    "    => delivered to the mailbox of the Unix user games\n";

TEST(TraceOfDefaultAction, ErrorBounces) {
  const TracePanel panel;

  EXPECT_EQ(panel.Way("nobody@example.org"), Begin("nobody@example.org") +
                                                 "  MAIL/virtusertable:1: @example.org -> "
                                                 "postfix_err_nouser\n" +
                                                 kToUnknownUser + kEnd);
}

TEST(TraceOfDefaultAction, IgnoreThrowsAway) {
  const TracePanel panel;
  panel.Do({"domain", "update", "example.org", "--default-action", "ignore"});

  EXPECT_EQ(panel.Way("nobody@example.org"),
            Begin("nobody@example.org") + "  MAIL/virtusertable:1: @example.org -> devnull\n" +
                kToDevnull + kEnd);
}

TEST(TraceOfDefaultAction, RedirectsToOneAddress) {
  const TracePanel panel;
  panel.Do({"domain", "update", "example.org", "--default-action", "redir_email", "--redirect",
            "boss@example.net"});

  EXPECT_EQ(panel.Way("nobody@example.org"),
            Begin("nobody@example.org") +
                "  MAIL/virtusertable:1: @example.org -> boss@example.net\n"
                "  boss@example.net\n"
                "    MAIL/virtusertable: no line for boss@example.net @example.net\n"
                "    => sent on to boss@example.net\n" +
                kEnd);
}

TEST(TraceOfDefaultAction, RedirectsToTheSameNameInAnotherDomain) {
  const TracePanel panel;
  panel.Do({"domain", "update", "example.org", "--default-action", "redir_domain", "--redirect",
            "example.net"});

  EXPECT_EQ(panel.Way("nobody+x@example.org"),
            Begin("nobody+x@example.org", 1, "nobody") +
                "  MAIL/virtusertable:1: @example.org -> @example.net\n"
                "  nobody+x@example.net\n"
                "    MAIL/virtusertable: no line for nobody+x@example.net nobody@example.net "
                "@example.net\n"
                "    => sent on to nobody+x@example.net\n" +
                kEnd);
}

TEST(TraceOfDefaultAction, ReachesAMailboxByAnotherDomain) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});
  panel.Do({"domain", "create", "example.com", "--default-action", "redir_domain", "--redirect",
            "example.org"});

  EXPECT_EQ(panel.Way("games@example.com"),
            Begin("games@example.com", 2) +
                "  MAIL/virtusertable:3: @example.com -> @example.org\n"
                "  games@example.org\n"
                "    MAIL/virtusertable:2: games@example.org -> games@example.org\n" +
                "    games@example.org\n"
                "      MAIL/aliases: no line for games\n"
                "      => delivered to the mailbox of the Unix user games\n" +
                UnboundEnd("example.com"));
}

TEST(TraceOfMailbox, EndsAtTheUnixUser) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});

  EXPECT_EQ(panel.Way("games@example.org"),
            Begin("games@example.org") +
                "  MAIL/virtusertable:2: games@example.org -> games@example.org\n" + kAtGames +
                kEnd);
}

TEST(TraceOfMailbox, BouncesWithoutAUnixUser) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "no-such-user@example.org"});

  EXPECT_EQ(panel.Way("no-such-user@example.org"),
            Begin("no-such-user@example.org") +
                "  MAIL/virtusertable:2: no-such-user@example.org -> no-such-user@example.org\n"
                "  no-such-user@example.org\n"
                "    MAIL/aliases: no line for no-such-user\n"
                "    => bounced: no such user, neither in the aliases nor on this system\n" +
                kEnd);
}

TEST(TraceOfMailbox, EndsAtTheMailboxTransport) {
  const TracePanel panel;
  panel.SetSettings("mailbox_transport = lmtp:unix:private/dovecot-lmtp\n");
  panel.Do({"mailbox", "create", "no-such-user@example.org"});

  EXPECT_THAT(panel.Way("no-such-user@example.org"),
              HasSubstr("    => given to lmtp:unix:private/dovecot-lmtp (mailbox_transport)\n"));
  EXPECT_EQ(panel.Ends("no-such-user@example.org"), "mailbox no-such-user@example.org");
}

TEST(TraceOfMailbox, GoesByOtherTransportsOfMainCf) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "no-such-user@example.org"});

  panel.SetSettings("fallback_transport = lmtp:unix:private/other\n");
  EXPECT_THAT(panel.Way("no-such-user@example.org"),
              HasSubstr("=> given to lmtp:unix:private/other (fallback_transport)\n"));
  panel.SetSettings("luser_relay = lost@example.net\n");
  EXPECT_THAT(panel.Way("no-such-user@example.org"),
              HasSubstr("=> sent on to lost@example.net (luser_relay)\n"));
  panel.SetSettings("local_transport = lmtp:unix:private/local\n");
  EXPECT_THAT(panel.Way("no-such-user@example.org"),
              HasSubstr("=> given to lmtp:unix:private/local (local_transport)\n"));
}

TEST(TraceOfMailbox, ThatDropsItsMailEndsThere) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org", "--drop-mail"});

  EXPECT_EQ(panel.Way("games@example.org"),
            Begin("games@example.org") + "  MAIL/virtusertable:2: games@example.org -> devnull\n" +
                kToDevnull + kEnd);
}

TEST(TraceOfMailbox, IsTheSameInAnyCaseOfLetters) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});

  EXPECT_THAT(panel.Way("Games@EXAMPLE.org"),
              HasSubstr("  MAIL/virtusertable:2: games@example.org -> games@example.org\n" +
                        kAtGames + kEnd));
}

TEST(TraceOfMailbox, LooksForAnExtensionFirst) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});

  EXPECT_EQ(panel.Way("games+news@example.org"),
            Begin("games+news@example.org", 1, "games") +
                "  MAIL/virtusertable:2: games@example.org -> games@example.org\n"
                "  games@example.org\n"
                "    MAIL/virtusertable:2: games@example.org -> games@example.org\n"
                "    games@example.org\n"
                "      MAIL/aliases: no line for games\n"
                "      => delivered to the mailbox of the Unix user games\n" +
                kEnd);
}

TEST(TraceOfMailbox, PassesAnExtensionOnWherePostfixDoes) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});
  panel.Do({"forward", "add", "games@example.org", "boss@example.net"});
  panel.SetSettings("propagate_unmatched_extensions = canonical, virtual\n");

  EXPECT_EQ(panel.Ends("games+news@example.org"),
            "mailbox games+news@example.org, mailbox games+example.org+news@mail.test");
}

TEST(TraceOfAlias, LeadsToTheMailbox) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});
  panel.Do({"alias", "add", "games@example.org", "sales"});

  EXPECT_EQ(panel.Way("sales@example.org"),
            Begin("sales@example.org") +
                "  MAIL/virtusertable:3: sales@example.org -> games@example.org\n"
                "  games@example.org\n"
                "    MAIL/virtusertable:2: games@example.org -> games@example.org\n"
                "    games@example.org\n"
                "      MAIL/aliases: no line for games\n"
                "      => delivered to the mailbox of the Unix user games\n" +
                kEnd);
}

TEST(TraceOfForward, EndsTwice) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});
  panel.Do({"forward", "add", "games@example.org", "boss@example.net"});

  EXPECT_EQ(panel.Way("games@example.org"),
            Begin("games@example.org") +
                "  MAIL/virtusertable:2: games@example.org -> games@example.org "
                "games+example.org\n" +
                kAtGames +
                "  games+example.org@mail.test\n"
                "    MAIL/virtusertable: no line for games+example.org@mail.test games@mail.test "
                "games+example.org games @mail.test\n"
                "    MAIL/aliases:3: games+example.org -> boss@example.net\n"
                "    boss@example.net\n"
                "      MAIL/virtusertable: no line for boss@example.net @example.net\n"
                "      => sent on to boss@example.net\n" +
                kEnd);
}

/// local(8) delivers by the local part and asks the virtual user table no more.
TEST(TraceOfForward, ToAnAddressOfThisServerPassesItsLineOver) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});
  panel.Do({"mailbox", "create", "daemon@example.org"});
  panel.Do({"alias", "add", "daemon@example.org", "sales"});
  panel.Run({"forward", "add", "games@example.org", "sales@example.org"});

  const std::string way = panel.Way("games@example.org");

  EXPECT_THAT(way, HasSubstr("    sales@example.org\n"
                             "      MAIL/virtusertable:3: sales@example.org -> daemon@example.org; "
                             "not asked: what an entry of the aliases names is delivered here at "
                             "once\n"
                             "      MAIL/aliases: no line for sales\n"
                             "      => bounced: no such user"));
}

TEST(TraceOfResponder, AnswersForTheMailbox) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});
  panel.Do({"responder", "on", "games@example.org"});

  EXPECT_THAT(panel.Way("games@example.org"),
              HasSubstr("    MAIL/aliases:3: games+example.org -> " +
                        Replaced(panel.AnswerOf(1), panel.Path(""), "DIR/") +
                        "\n    => answered for games@example.org\n" + kEnd));
  EXPECT_EQ(panel.Ends("games@example.org"),
            "mailbox games@example.org, command games+example.org@mail.test");
}

TEST(TraceOfSuspension, RefusesForTheDomain) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});
  panel.Do({"domain", "suspend", "example.org"});

  EXPECT_EQ(panel.Way("games@example.org"),
            "games@example.org\n"
            "  MAIL/local-host-names:1: example.org; a domain of this server\n"
            "  MAIL/access:1: example.org -> 550 Account disabled; refused\n"
            "  => refused: 550 Account disabled\n" +
                kEnd);
}

TEST(TraceOfSuspension, RefusesForTheMailboxAndBouncesForItsAlias) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});
  panel.Do({"alias", "add", "games@example.org", "sales"});
  panel.Do({"mailbox", "suspend", "games@example.org"});

  EXPECT_THAT(panel.Way("games@example.org"),
              HasSubstr("  MAIL/access:1: games@example.org -> 550 Account disabled; refused\n"));
  EXPECT_EQ(panel.Ends("games@example.org"), "refused games@example.org");
  EXPECT_EQ(panel.Ends("sales@example.org"), "bounced postfix_err_nouser@mail.test");
}

TEST(TraceOfAccess, KnowsTheActionsThatDecide) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});
  panel.AddLines("access",
                 "a@example.org 450 later\nb@ REJECT\nc@example.org discard quietly\n"
                 "d@example.org REDIRECT games@example.org\ne@example.org 550\n"
                 "games@example.org PREPEND X-Seen: yes\n.com DEFER now\n");
  panel.Do({"domain", "create", "example.com"});

  EXPECT_EQ(panel.Ends("a@example.org"), "refused a@example.org");
  EXPECT_EQ(panel.Ends("b@example.org"), "refused b@example.org");
  EXPECT_EQ(panel.Ends("c@example.org"), "discarded c@example.org");
  EXPECT_EQ(panel.Ends("d@example.org"), "mailbox games@example.org");
  EXPECT_EQ(panel.Ends("e@example.org"), "refused e@example.org");
  EXPECT_EQ(panel.Ends("games@example.org"), "mailbox games@example.org");
  EXPECT_EQ(panel.Ends("x@example.com"), "refused x@example.com");
  EXPECT_THAT(panel.Way("b+x@example.org"), HasSubstr("  MAIL/access:2: b@ -> REJECT; refused\n"));
}

TEST(TraceOfAccess, GoesOnForWhitelistedAddress) {
  const TracePanel panel;
  panel.Do({"whitelist", "add", "example.org"});

  EXPECT_THAT(panel.Way("nobody@example.org"),
              HasSubstr("  MAIL/access:1: example.org -> OK; not refused\n"));
  EXPECT_EQ(panel.Ends("nobody@example.org"), "bounced postfix_err_nouser@mail.test");
}

TEST(TraceOfAccess, LooksForParentDomainsWherePostfixDoes) {
  const TracePanel panel;
  panel.Do({"domain", "create", "sub.example.com"});
  panel.AddLines("access", "example.com REJECT\n");

  EXPECT_EQ(panel.Ends("x@sub.example.com"), "bounced postfix_err_nouser@mail.test");
  panel.SetSettings("parent_domain_matches_subdomains = smtpd_access_maps\n");
  EXPECT_EQ(panel.Ends("x@sub.example.com"), "refused x@sub.example.com");
}

TEST(TraceOfOtherServersAddress, IsSentOn) {
  const TracePanel panel;

  EXPECT_EQ(panel.Way("boss@example.net"),
            "boss@example.net\n"
            "  MAIL/local-host-names: no line for example.net; a domain of another server: taken "
            "from this server's own users only\n"
            "  MAIL/access: no line for boss@example.net example.net .net boss@; not refused\n"
            "  MAIL/virtusertable: no line for boss@example.net @example.net\n"
            "  => sent on to boss@example.net\n" +
                UnboundEnd("example.net"));
}

TEST(TraceOfUnicodeDomain, FindsItsAsciiForm) {
  const TracePanel panel;
  panel.Do({"domain", "create", "bücher.example", "--default-action", "ignore"});

  EXPECT_EQ(panel.Way("leser@bücher.example"), panel.Way("leser@xn--bcher-kva.example"));
  EXPECT_THAT(panel.Way("leser@bücher.example"),
              HasSubstr("  MAIL/virtusertable:2: @xn--bcher-kva.example -> devnull\n"));
}

TEST(TraceOfUnlistedAddress, IsRefused) {
  const TracePanel panel;
  panel.SetTable("virtusertable", "");
  panel.Build("virtusertable");

  EXPECT_THAT(panel.Way("nobody-here@example.org"),
              HasSubstr("  MAIL/virtusertable: no line for nobody-here@example.org nobody-here "
                        "@example.org\n"
                        "  => refused: 550 5.1.1 User unknown in local recipient table"));
  EXPECT_EQ(panel.Ends("games@example.org"), "mailbox games@example.org");
  EXPECT_EQ(panel.Ends("devnull@example.org"), "discarded devnull@example.org");
}

TEST(TraceOfChain, FollowsEachLine) {
  const TracePanel panel;
  panel.AddLines("virtusertable",
                 "a@example.org b@example.org\n"
                 "b@example.org c@example.org, \"x\"@example.net (not this) Z <d@example.net>\n"
                 "c@example.org daemon games\n");

  EXPECT_EQ(panel.Ends("a@example.org"),
            "mailbox daemon@mail.test, mailbox games@mail.test, sent d@example.net");
}

TEST(TraceOfChain, TellsARecipientOnce) {
  const TracePanel panel;
  panel.AddLines("virtusertable",
                 "a@example.org b@example.org c@example.org\n"
                 "b@example.org boss@example.net\nc@example.org BOSS@example.net\n");

  EXPECT_EQ(panel.Ends("a@example.org"), "sent boss@example.net");
  EXPECT_THAT(panel.Way("a@example.org"),
              HasSubstr("      as above: each recipient gets one copy\n"));
}

TEST(TraceOfCircle, IsNamed) {
  const TracePanel panel;
  panel.AddLines("virtusertable", "a@example.org b@example.org\nb@example.org a@example.org\n");

  EXPECT_EQ(
      panel.Way("a@example.org"),
      Begin("a@example.org") +
          "  MAIL/virtusertable:2: a@example.org -> b@example.org\n"
          "  b@example.org\n"
          "    MAIL/virtusertable:3: b@example.org -> a@example.org\n"
          "    a@example.org\n"
          "      MAIL/virtusertable:2: a@example.org -> b@example.org; as above\n"
          "  => refused: 451 4.6.0 Alias expansion error, try again later: a@example.org leads "
          "to itself in a circle, or over more than 1000 lines "
          "(virtual_alias_recursion_limit)\n" +
          kEnd +
          "note: the virtual user table has a line for a@example.org, but the panel knows no "
          "such mailbox or alias; zebmail sync reads the tables\n");
}

TEST(TraceOfCircle, ThatGrowsIsNamedByTheOtherLimit) {
  const TracePanel panel;
  panel.SetSettings("virtual_alias_expansion_limit = 10\n");
  panel.AddLines("virtusertable",
                 "a@example.org x@example.net b@example.org\n"
                 "b@example.org y@example.net a@example.org\n");

  EXPECT_THAT(panel.Way("a@example.org"), HasSubstr("a@example.org becomes more than 10 addresses "
                                                    "(virtual_alias_expansion_limit)\n"));
}

TEST(TraceOfCircle, EndsAtAnAddressThatNamesItself) {
  const TracePanel panel;
  panel.AddLines("virtusertable",
                 "a@example.org b@example.org\nb@example.org B@example.org a@example.org\n");

  EXPECT_EQ(panel.Ends("a@example.org"), "bounced B@example.org");
}

TEST(TraceOfCircle, InTheAliasesIsNamed) {
  const TracePanel panel;
  panel.AddLines("aliases", "one: two\ntwo: one, devnull\ngames: games, boss@example.net\n");

  EXPECT_EQ(panel.Ends("one@mail.test"), "bounced one@mail.test, discarded devnull@mail.test");
  EXPECT_THAT(panel.Way("one@mail.test"), HasSubstr("=> bounced: alias database loop for one\n"));
  EXPECT_EQ(panel.Ends("games@mail.test"), "mailbox games@mail.test, sent boss@example.net");
}

TEST(TraceOfChain, IsFollowedAsFarAsPostfixDoes) {
  const TracePanel panel;
  std::string lines;
  std::string entries;
  for (int number = 0; number < 1000; ++number) {
    const std::string next = std::to_string(number + 1);
    lines += "v" + std::to_string(number) + "@example.org v" + next + "@example.org\n";
    entries += "e" + std::to_string(number) + ": e" + next + "\n";
  }
  panel.AddLines("virtusertable", lines + "v1000@example.org games\n");
  panel.AddLines("aliases", entries + "e1000: games\n");

  EXPECT_EQ(panel.Ends("v2@example.org"), "mailbox games@mail.test");
  EXPECT_EQ(panel.Ends("v1@example.org"), "refused v1@example.org");
  EXPECT_EQ(panel.Ends("e977@mail.test"), "mailbox games@mail.test");
  EXPECT_EQ(panel.Ends("e976@mail.test"), "bounced games@mail.test");
}

TEST(TraceOfAliases, KnowsEachKindOfValue) {
  const TracePanel panel;
  panel.folder().WriteText("more", "# people\nboss@example.net, /tmp/no\n\n|no\n");
  panel.AddLines("aliases", "all: \"|/bin/cat -u\", /var/spool/x, :include:" + panel.Path("more") +
                                ", \":include:/nowhere\", games\n");

  const nlohmann::json way = panel.Json("all@mail.test");

  std::string ends;
  for (const auto& end : way["ends"]) ends += end["what"].get<std::string>() + "\n";
  EXPECT_EQ(ends,
            "given to the command /bin/cat -u\n"
            "added to /var/spool/x\n"
            "sent on to boss@example.net\n"
            "bounced: mail to files is not allowed in a file of addresses\n"
            "bounced: mail to commands is not allowed in a file of addresses\n"
            "bounced: there is no file of addresses /nowhere\n"
            "delivered to the mailbox of the Unix user games\n");
}

/// With an owner, what the entry names goes by the virtual user table again.
TEST(TraceOfAliases, BeginsAnewForAnEntryWithAnOwner) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});
  panel.Do({"alias", "add", "games@example.org", "sales"});
  panel.AddLines("aliases", "list: sales@example.org\nowner-list: games\n");

  EXPECT_EQ(panel.Ends("list@mail.test"), "mailbox games@example.org");
}

TEST(TraceOfBinding, NamesBothLines) {
  const TracePanel panel;
  panel.Do({"domain", "update", "example.org", "--ip", "127.0.0.10"});

  EXPECT_THAT(panel.Way("nobody@example.org"),
              HasSubstr("mail from example.org\n"
                        "  MAIL/domainips:1: /@example\\.org$/ -> smtp_example_org\n"
                        "  DIR/config/master.cf:2: smtp_example_org -> 127.0.0.10; leaves from "
                        "127.0.0.10\n"));
}

TEST(TraceOfBinding, TakesTheFirstPatternThatFits) {
  const TracePanel panel;
  panel.SetTable("domainips",
                 "# hand-made\n!/@example\\.org$/ smtp_others\nif /example\\.com$/\n/./ smtp_com\n"
                 "endif\nif !/example\\.com$/\n/@EXAMPLE\\.ORG$/ smtp_gone:[relay.test]\nendif\n"
                 "/@example\\.org$/ smtp_late\n");

  EXPECT_THAT(panel.Way("nobody@example.org"),
              HasSubstr("  MAIL/domainips:7: /@EXAMPLE\\.ORG$/ -> smtp_gone:[relay.test]\n"
                        "  DIR/config/master.cf: no line for smtp_gone; there is no such service: "
                        "the mail cannot leave\n"));
}

TEST(TraceComparedWithPostfix, NamesAStaleMap) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});
  panel.SetTable("virtusertable",
                 "@example.org devnull\ngames@example.org daemon\nnew@example.org daemon\n");

  const std::string way = panel.Way("games@example.org", 1);

  EXPECT_THAT(way, HasSubstr("  MAIL/virtusertable:2: games@example.org -> daemon\n"
                             "  ! Postfix: games@example.org -> games@example.org, where "
                             "MAIL/virtusertable:2 has daemon\n"
                             "  daemon@mail.test\n"));
  EXPECT_THAT(way, HasSubstr("Postfix does not work with the tables as they are; run: "));
  EXPECT_EQ(panel.Json("new@example.org")["differences"],
            nlohmann::json::array({{{"file", "MAIL/virtusertable"},
                                    {"line", 3},
                                    {"key", "new@example.org"},
                                    {"text", "daemon"},
                                    {"postfix", ""}}}));
  panel.Do({"sync"});
  panel.Run({"check", "--fix"});
  EXPECT_THAT(panel.Way("games@example.org"), Not(HasSubstr("!")));
}

TEST(TraceComparedWithPostfix, NamesALineThatIsInTheMapAlone) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});
  panel.SetTable("virtusertable", "@example.org\tpostfix_err_nouser\n");

  const nlohmann::json differences = panel.Json("games@example.org")["differences"];

  ASSERT_EQ(differences.size(), 1U);
  EXPECT_EQ(differences[0]["key"], "games@example.org");
  EXPECT_EQ(differences[0]["text"], "");
  EXPECT_EQ(differences[0]["postfix"], "games@example.org");
}

TEST(TraceComparedWithPostfix, NamesAMissingMap) {
  const TracePanel panel;
  std::filesystem::remove(panel.Path("panel/mail/virtusertable.db"));

  const std::string way = panel.Way("nobody@example.org", 1);

  EXPECT_THAT(way, HasSubstr("  ! Postfix cannot read hash:MAIL/virtusertable: "
                             "MAIL/virtusertable.db: No such file or directory\n"));
}

TEST(TraceComparedWithPostfix, NamesATableThatPostfixIsNotToldOf) {
  const TracePanel panel;
  panel.SetSettings("virtual_alias_maps =\nmydestination = $myhostname\n");

  const nlohmann::json differences = panel.Json("nobody@example.org")["differences"];

  ASSERT_EQ(differences.size(), 2U);
  EXPECT_EQ(differences[0]["key"], "mydestination");
  EXPECT_EQ(differences[1]["key"], "virtual_alias_maps");
}

TEST(TraceComparedWithPostfix, NamesBothLinesOfAKeyThatIsThereTwice) {
  const TracePanel panel;
  panel.AddLines("virtusertable", "twice@example.org games\nTWICE@example.org daemon\n");

  const std::string way = panel.Way("twice@example.org");

  EXPECT_THAT(way, HasSubstr("  MAIL/virtusertable:2: twice@example.org -> games\n"));
  EXPECT_THAT(way, HasSubstr("note: MAIL/virtusertable:3 has twice@example.org again, which line 2 "
                             "has already; Postfix uses the first\n"));
}

TEST(TraceComparedWithPostfix, ReadsContinuationLinesAndCommentsAsPostfixDoes) {
  const TracePanel panel;
  panel.AddLines("virtusertable",
                 "more@example.org games\n# between\n\n\tboss@example.net\r\n"
                 "hash@example.org games # devnull\n"
                 "nothing@example.org\n");
  panel.AddLines("aliases", "\"two words\": games\nlong : daemon,\n   games\n");

  EXPECT_EQ(panel.Ends("more@example.org"), "mailbox games@mail.test, sent boss@example.net");
  EXPECT_THAT(panel.Ends("hash@example.org"), HasSubstr("mailbox games@mail.test, bounced #@"));
  EXPECT_EQ(panel.Ends("nothing@example.org"), "bounced postfix_err_nouser@mail.test");
  EXPECT_EQ(panel.Ends("long@mail.test"), "mailbox daemon@mail.test, mailbox games@mail.test");
  EXPECT_EQ(panel.Way("long@mail.test").find('!'), std::string::npos);
}

TEST(TraceComparedWithPostfix, AgreesOnLinesThatPostfixSkips) {
  const TracePanel panel;
  panel.AddLines("virtusertable", std::string("bad@example.org \xff\xfe\n\"open@example.org x\n") +
                                      "cut@example.org games\0 daemon\n");
  panel.AddLines("aliases", "at@here: games\nempty:\n");

  EXPECT_THAT(panel.Way("bad@example.org"), Not(HasSubstr("!")));
  EXPECT_THAT(panel.Way("at@mail.test"), Not(HasSubstr("!")));
  EXPECT_THAT(panel.Way("empty@mail.test"), Not(HasSubstr("!")));
}

TEST(TraceNotes, TellWhatPanelAndTablesSayDifferently) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});
  panel.Do({"mailbox", "create", "daemon@example.org"});
  panel.Do({"mailbox", "suspend", "games@example.org"});
  panel.SetTable("access", "");
  panel.Build("access");
  panel.SetTable("virtusertable",
                 "@example.org devnull\nhand@example.org devnull\n@other.test devnull\n");
  panel.Build("virtusertable");
  panel.AddLines("local-host-names", "other.test\n");

  EXPECT_THAT(
      panel.Way("games@example.org"),
      HasSubstr("note: the panel has games@example.org suspended, but the access table does "
                "not refuse its mail\n"));
  EXPECT_THAT(panel.Way("daemon@example.org"),
              HasSubstr("note: the panel has daemon@example.org, but the virtual user table has no "
                        "line for it\n"));
  EXPECT_THAT(panel.Way("hand@example.org"),
              HasSubstr("note: the virtual user table has a line for hand@example.org, but the "
                        "panel knows no such mailbox or alias; zebmail sync reads the tables\n"));
  EXPECT_THAT(panel.Way("x@other.test"), HasSubstr("note: the panel has no domain other.test\n"));
  EXPECT_THAT(panel.Way("x@example.org"), Not(HasSubstr("note: ")));
}

TEST(Trace, PrintsOneDocument) {
  const TracePanel panel;
  panel.Do({"domain", "suspend", "example.org"});

  EXPECT_EQ(panel.Json("x@example.org"), nlohmann::json::parse(R"({
    "address": "x@example.org",
    "steps": [
      {"depth": 0, "file": "MAIL/local-host-names", "line": 1, "key": "example.org", "value": "",
       "what": "a domain of this server"},
      {"depth": 0, "file": "MAIL/access", "line": 1, "key": "example.org",
       "value": "550 Account disabled", "what": "refused"},
      {"depth": 0, "file": "MAIL/domainips", "line": 0, "key": "@example.org", "value": "",
       "what": "leaves from any address"}
    ],
    "ends": [{"address": "x@example.org", "how": "refused",
              "what": "refused: 550 Account disabled"}],
    "differences": [],
    "notes": []
  })"));
}

TEST(Trace, RefusesWhatIsNoAddress) {
  const TracePanel panel;

  for (const char* text : {"", "info", "@example.org", "a b@example.org", "a\n@example.org"}) {
    const CommandRun run = panel.Run({"trace", text});
    EXPECT_EQ(run.status, 1) << text;
    EXPECT_THAT(run.errors, HasSubstr("zebmail: value: address: ")) << text;
    EXPECT_EQ(run.output, "");
  }
}

TEST(Trace, ShowsSoMuchOfALongValue) {
  const TracePanel panel;
  panel.AddLines("access", "long@example.org 550 x" + std::string(50000, 'y') + "\n");

  const CommandRun run = panel.Run({"trace", "long@example.org"});

  EXPECT_THAT(run.output, HasSubstr("long@example.org -> 550 xyyy"));
  EXPECT_THAT(run.output, HasSubstr("yyy [... "));
  EXPECT_THAT(run.output, HasSubstr(" bytes in all ...] yyy"));
  EXPECT_LT(run.output.size(), std::size_t{10000});
}

TEST(Trace, ShowsHostileBytesInOneLine) {
  const TracePanel panel;
  panel.AddLines("virtusertable", "evil@example.org \x1b[31mred\r\tx@example.net\n");

  EXPECT_THAT(panel.Way("evil@example.org"), HasSubstr("-> \\x1b[31mred\\r\\tx@example.net\n"));
}

TEST(Trace, ChangesNothing) {
  const TracePanel panel;
  panel.Do({"mailbox", "create", "games@example.org"});
  panel.SetTable("aliases", "");
  const auto before = Snapshot(panel.Path("panel/mail"));
  const std::string rows = panel.Do({"export"});

  panel.Run({"trace", "games@example.org"});

  EXPECT_EQ(Snapshot(panel.Path("panel/mail")), before);
  EXPECT_EQ(panel.Do({"export"}), rows);
}

TEST(Trace, DoesNotWaitForAnotherOperation) {
  const TracePanel panel;
  const panel::PanelLock lock(panel.Path("panel/state"), {});

  EXPECT_EQ(panel.Ends("nobody@example.org"), "bounced postfix_err_nouser@mail.test");
}

TEST(Trace, ReadsALargeTableOnce) {
  const TracePanel panel;
  std::ofstream table(panel.Path("panel/mail/virtusertable"), std::ios::app);
  for (int number = 0; number < 200000; ++number) {
    table << "user" << number << "@example.org user" << number + 1 << "@example.org\n";
  }
  table.close();
  panel.Build("virtusertable");

  EXPECT_EQ(panel.Ends("user199500@example.org"), "bounced postfix_err_nouser@mail.test");
}

}  // namespace
}  // namespace zebmail_test
