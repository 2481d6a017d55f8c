/// NAME
///   sender_list_test - the commands about the white and the black list, seen in the access table
///   and in what they print

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/zeb_db.h"
#include "tests/zebmail/next_step.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using testing::ElementsAre;

using Words = std::vector<std::string>;

/// Both lists as `list` shows them.
std::string Lists(const OwnPanel& panel) {
  return "-- whitelist\n" + panel.Do({"whitelist", "list"}) + "-- blacklist\n" +
         panel.Do({"blacklist", "list"});
}

/// Puts a value on the list in the database, as a table made by hand brings it there.
template <class List>
void AddRow(const OwnPanel& panel, const std::string& value) {
  panel.ChangeDatabase([&value] {
    const auto row = zeb_db::GetCache().Get<List>();
    row->New();
    row->name = value;
    row->Post();
  });
}

TEST(SenderListAdd, WritesTheVerdictOfEachValue) {
  const OwnPanel panel;

  EXPECT_EQ(panel.Do({"whitelist", "add", "friend@example.net", "example.com", "192.0.2.7"}),
            "whitelist: added friend@example.net, example.com, 192.0.2.7\n");
  EXPECT_EQ(panel.Do({"blacklist", "add", "foe@example.net", "192.0.2.8"}),
            "blacklist: added foe@example.net, 192.0.2.8\n");

  EXPECT_EQ(panel.Table("access"),
            "friend@example.net\tOK\n"
            "example.com\tOK\n"
            "connect:192.0.2.7\tOK\n"
            "foe@example.net\tREJECT\n"
            "connect:192.0.2.8\tREJECT\n");
  EXPECT_EQ(panel.Lookup("access", "connect:192.0.2.8"), "REJECT");
  EXPECT_EQ(Lists(panel),
            "-- whitelist\n192.0.2.7\nexample.com\nfriend@example.net\n"
            "-- blacklist\n192.0.2.8\nfoe@example.net\n");
  EXPECT_THAT(panel.postfix().Runs(), ElementsAre());
}

TEST(SenderListAdd, KeepsAnIp6AddressInTheFormInWhichPostfixLooksItUp) {
  const OwnPanel panel;

  panel.Do({"blacklist", "add", "2001:DB8:0:0::7", "::1"});

  EXPECT_EQ(panel.Table("access"), "connect:2001:db8::7\tREJECT\nconnect:::1\tREJECT\n");
  EXPECT_EQ(panel.Do({"blacklist", "list"}), "2001:db8::7\n::1\n");
  EXPECT_EQ(panel.Do({"blacklist", "remove", "2001:0db8::0007"}),
            "blacklist: removed 2001:db8::7\n");
  EXPECT_EQ(panel.Table("access"), "connect:::1\tREJECT\n");
}

TEST(SenderListAdd, KeepsMixedCaseInLowerCase) {
  const OwnPanel panel;

  panel.Do({"whitelist", "add", "Friend.Of@Example.NET", "EXAMPLE.Com"});

  EXPECT_EQ(panel.Table("access"), "friend.of@example.net\tOK\nexample.com\tOK\n");
  EXPECT_EQ(panel.Do({"whitelist", "list"}), "example.com\nfriend.of@example.net\n");
  panel.Do({"whitelist", "remove", "FRIEND.of@example.net", "example.COM"});
  EXPECT_EQ(panel.Table("access"), "");
}

TEST(SenderListAdd, KeepsUnicodeDomainsInAsciiAndShowsThemInUnicode) {
  const OwnPanel panel;

  EXPECT_EQ(panel.Do({"blacklist", "add", "bücher.example", "Info@bücher.example"}),
            "blacklist: added bücher.example, info@bücher.example\n");

  EXPECT_EQ(panel.Table("access"),
            "xn--bcher-kva.example\tREJECT\ninfo@xn--bcher-kva.example\tREJECT\n");
  EXPECT_EQ(panel.Do({"blacklist", "list"}), "info@bücher.example\nbücher.example\n");
  panel.Do({"blacklist", "remove", "xn--bcher-kva.example", "info@bücher.example"});
  EXPECT_EQ(panel.Table("access"), "");
}

TEST(SenderListAdd, MovesAValueFromTheOtherList) {
  const OwnPanel panel;
  panel.Do({"whitelist", "add", "one@example.net", "192.0.2.7", "2001:db8::7"});

  panel.Do({"blacklist", "add", "One@example.net", "192.0.2.7", "2001:db8::7"});
  EXPECT_EQ(panel.Table("access"),
            "one@example.net\tREJECT\nconnect:192.0.2.7\tREJECT\nconnect:2001:db8::7\tREJECT\n");
  EXPECT_EQ(Lists(panel), "-- whitelist\n-- blacklist\n192.0.2.7\n2001:db8::7\none@example.net\n");

  panel.Do({"whitelist", "add", "one@example.net"});
  EXPECT_EQ(panel.Lookup("access", "one@example.net"), "OK");
  EXPECT_EQ(Lists(panel), "-- whitelist\none@example.net\n-- blacklist\n192.0.2.7\n2001:db8::7\n");
}

TEST(SenderListAdd, ReplacesAVerdictThatWasWrittenByHand) {
  const OwnPanel panel;
  panel.SetTable("access", "# mine\nexample.net   DISCARD  # for now\nother.example OK\n");

  panel.Do({"blacklist", "add", "example.net"});

  EXPECT_EQ(panel.Table("access"), "# mine\nexample.net   REJECT  # for now\nother.example OK\n");
}

TEST(SenderListRemove, RemovesTheVerdictAndLeavesTheOthers) {
  const OwnPanel panel;
  panel.SetTable("access", "# mine\n");
  panel.Do({"blacklist", "add", "one@example.net", "two@example.net", "192.0.2.7"});

  EXPECT_EQ(panel.Do({"blacklist", "remove", "192.0.2.7", "one@example.net"}),
            "blacklist: removed 192.0.2.7, one@example.net\n");

  EXPECT_EQ(panel.Table("access"), "# mine\ntwo@example.net\tREJECT\n");
  EXPECT_EQ(panel.Lookup("access", "one@example.net"), "");
  EXPECT_EQ(panel.Do({"blacklist", "list"}), "two@example.net\n");
}

TEST(SenderListRemove, TakesWhatATableMadeByHandHas) {
  for (const char* value : {"friend@", "friend@localhost", "localhost", "Friend@Example.net"}) {
    SCOPED_TRACE(value);
    const OwnPanel panel;
    panel.SetTable("access", std::string(value) + " OK\n");
    AddRow<zeb_db::EmailWhitelist>(panel, value);

    const CommandRun run = panel.Run({"whitelist", "remove", value});

    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(panel.Table("access"), "");
    EXPECT_EQ(panel.Do({"whitelist", "list"}), "");
  }
}

TEST(SenderListRemove, TakesTheClientsThatATableMadeByHandHas) {
  for (const char* value : {"192.0.2", "2001:DB8::7", "mail.example.net"}) {
    SCOPED_TRACE(value);
    const OwnPanel panel;
    panel.SetTable("access", "connect:" + std::string(value) + " REJECT\n");
    AddRow<zeb_db::EmailBlacklist>(panel, value);

    const CommandRun run = panel.Run({"blacklist", "remove", value});

    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(panel.Table("access"), "");
    EXPECT_EQ(panel.Do({"blacklist", "list"}), "");
  }
}

TEST(SenderListRemove, TakesAValueThatTheTableHasTwice) {
  const OwnPanel panel;
  panel.Do({"whitelist", "add", "friend@example.net"});
  AddRow<zeb_db::EmailWhitelist>(panel, "friend@example.net");
  EXPECT_EQ(panel.Do({"whitelist", "list"}), "friend@example.net\n");

  panel.Do({"whitelist", "remove", "friend@example.net"});

  EXPECT_EQ(panel.Do({"whitelist", "list"}), "");
  EXPECT_EQ(panel.Table("access"), "");
}

TEST(SenderListJson, ShowsTheListAndConfirmsAChangeByIt) {
  const OwnPanel panel;
  EXPECT_EQ(panel.Do({"--json", "blacklist", "list"}), "[]\n");

  EXPECT_EQ(panel.Do({"--json", "blacklist", "add", "one@bücher.example", "192.0.2.7"}),
            "[\n  \"192.0.2.7\",\n  \"one@bücher.example\"\n]\n");
  EXPECT_EQ(panel.Do({"--json", "whitelist", "list"}), "[]\n");
  EXPECT_EQ(panel.Do({"--json", "blacklist", "remove", "192.0.2.7"}),
            "[\n  \"one@bücher.example\"\n]\n");
  EXPECT_EQ(panel.Do({"--json", "blacklist", "list"}), "[\n  \"one@bücher.example\"\n]\n");
}

TEST(SenderListQuiet, KeepsConfirmationsBackButNotTheList) {
  const OwnPanel panel;

  EXPECT_EQ(panel.Do({"--quiet", "whitelist", "add", "a@example.net", "b@example.net"}), "");
  EXPECT_EQ(panel.Do({"--quiet", "--json", "whitelist", "remove", "a@example.net"}), "");
  EXPECT_EQ(panel.Do({"--quiet", "whitelist", "list"}), "b@example.net\n");
}

TEST(SenderListDryRun, ShowsTheChangeAndMakesNone) {
  const OwnPanel panel;
  panel.Do({"whitelist", "add", "one@example.net"});
  const std::string access = panel.Path("panel/mail/access");
  const auto before = Snapshot(panel.folder().path());

  EXPECT_EQ(panel.Do({"--dry-run", "blacklist", "add", "One@example.net", "192.0.2.7"}),
            "--- " + access + "\n+++ " + access +
                "\n"
                "@@ -1 +1,2 @@\n"
                "-one@example.net\tOK\n"
                "+one@example.net\tREJECT\n"
                "+connect:192.0.2.7\tREJECT\n"
                "database: delete email_whitelist: id=1 name=one@example.net\n"
                "database: insert email_blacklist: name=one@example.net\n"
                "database: insert email_blacklist: name=192.0.2.7\n"
                "tool: " +
                panel.MapCommand("postmap", "access") + "\n");
  EXPECT_EQ(panel.Do({"--dry-run", "--json", "whitelist", "remove", "one@example.net"}),
            "{\n"
            "  \"files\": [\n"
            "    {\n"
            "      \"path\": \"" +
                access +
                "\",\n"
                "      \"diff\": \"--- " +
                access + "\\n+++ " + access +
                "\\n@@ -1 +0,0 @@\\n-one@example.net\\tOK\\n\"\n"
                "    }\n"
                "  ],\n"
                "  \"rows\": [\n"
                "    {\n"
                "      \"table\": \"email_whitelist\",\n"
                "      \"what\": \"delete\",\n"
                "      \"row\": \"id=1 name=one@example.net\"\n"
                "    }\n"
                "  ],\n"
                "  \"tools\": [\n"
                "    \"" +
                panel.MapCommand("postmap", "access") +
                "\"\n"
                "  ]\n"
                "}\n");
  EXPECT_EQ(Snapshot(panel.folder().path()), before);
}

/// Runs the commands on a panel with lists, a suspended domain and a suspended mailbox; each must
/// fail with `errors` and leave the panel as it was.
struct Refused {
  Words words;
  std::string errors;
};

void ExpectRefused(const std::vector<Refused>& all) {
  const MailboxPanel panel;
  panel.Do({"mailbox", "create", "off@example.org"});
  panel.Do({"domain", "create", "off.example"});
  panel.Do({"whitelist", "add", "friend@example.net", "off.example", "off@example.org"});
  panel.Do({"blacklist", "add", "foe@bücher.example"});
  panel.Do({"mailbox", "suspend", "off@example.org"});
  panel.Do({"domain", "suspend", "off.example"});
  const auto before = Snapshot(panel.Path("panel"));
  for (const Refused& refused : all) {
    SCOPED_TRACE(testing::PrintToString(refused.words));

    const CommandRun run = panel.Run(refused.words);

    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(WithoutNextStep(run.errors), refused.errors);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(Snapshot(panel.Path("panel")), before);
  }
}

std::string NoValue(const std::string& list, const std::string& shown) {
  return "zebmail: value: " + list + ": \"" + shown +
         "\" is neither a mail address nor a domain nor an IP address\n";
}

Refused Hostile(const std::string& value, const std::string& shown) {
  return {{"blacklist", "add", "--", value}, NoValue("blacklist", shown)};
}

TEST(SenderListRefuses, HostileValues) {
  ExpectRefused({Hostile("", ""),
                 Hostile(" ", " "),
                 Hostile("a@example.net b@example.net", "a@example.net b@example.net"),
                 Hostile("a@example.net\nb@example.net OK", "a@example.net\\nb@example.net OK"),
                 Hostile("a@example.net\r", "a@example.net\\r"),
                 Hostile("a.example\tOK", "a.example\\tOK"),
                 Hostile("a#b@example.net", "a#b@example.net"),
                 Hostile("#example.net", "#example.net"),
                 Hostile("|/bin/sh@example.net", "|/bin/sh@example.net"),
                 Hostile("a@[192.0.2.1]", "a@[192.0.2.1]"),
                 Hostile("connect:192.0.2.1", "connect:192.0.2.1"),
                 Hostile("192.0.2.256", "192.0.2.256"),
                 Hostile("192.0.2", "192.0.2"),
                 Hostile("192.0.2.0/24", "192.0.2.0/24"),
                 Hostile("192.0.2.01", "192.0.2.01"),
                 Hostile("2001:db8::1%lo", "2001:db8::1%lo"),
                 Hostile("2001:db8::g", "2001:db8::g"),
                 Hostile("localhost", "localhost"),
                 Hostile(".example.net", ".example.net"),
                 Hostile("example.net.", "example.net."),
                 Hostile("@example.net", "@example.net"),
                 Hostile("friend@", "friend@"),
                 Hostile("<>", "<>"),
                 Hostile("*", "*"),
                 Hostile("/.*/", "/.*/"),
                 Hostile("\x1b[31m.example", "\\x1b[31m.example"),
                 Hostile("ｅxample.com", "ｅxample.com"),
                 Hostile("caf\xe9.example", "caf\\xe9.example"),
                 {{"whitelist", "add", "a+(b"}, NoValue("whitelist", "a+(b")},
                 {{"whitelist", "remove", "a b"}, NoValue("whitelist", "a b")}});
}

/// A word is one value, whatever it looks like: none may be taken apart unseen.
TEST(SenderListRefuses, ValuesInBrackets) {
  const OwnPanel panel;
  for (const char* value : {"[2001:db8::1]", "[a@example.net,b@example.net]", "[]"}) {
    for (const char* list : {"whitelist", "blacklist"}) {
      const CommandRun run = panel.Run({list, "add", value});

      EXPECT_NE(run.status, 0) << value;
      EXPECT_NE(run.errors, "") << value;
      EXPECT_EQ(run.output, "") << value;
      EXPECT_EQ(panel.Table("access"), "") << value;
    }
  }
}

TEST(SenderListRefuses, ValuesThatAreThereOrAreNot) {
  ExpectRefused(
      {{{"whitelist", "add", "Friend@example.net"},
        "zebmail: exists: whitelist: friend@example.net\n"},
       {{"blacklist", "add", "foe@xn--bcher-kva.example"},
        "zebmail: exists: blacklist: foe@bücher.example\n"},
       {{"whitelist", "remove", "nobody@example.net"},
        "zebmail: missing: whitelist: nobody@example.net\n"},
       {{"whitelist", "remove", "foe@bücher.example"},
        "zebmail: missing: whitelist: foe@bücher.example\n"},
       {{"blacklist", "remove", "friend@example.net"},
        "zebmail: missing: blacklist: friend@example.net\n"},
       {{"blacklist", "remove", "192.0.2.7"}, "zebmail: missing: blacklist: 192.0.2.7\n"}});
}

TEST(SenderListRefuses, AllValuesWhenOneCannotBe) {
  ExpectRefused(
      {{{"blacklist", "add", "a@example.net", "192.0.2.7", "b@"}, NoValue("blacklist", "b@")},
       {{"blacklist", "add", "a@example.net", "foe@bücher.example"},
        "zebmail: exists: blacklist: foe@bücher.example\n"},
       {{"blacklist", "add", "a@example.net", "A@example.net"},
        "zebmail: exists: blacklist: a@example.net\n"},
       {{"blacklist", "add", "friend@example.net", "off.example"},
        "zebmail: suspended: domain: off.example cannot be listed otherwise while it is "
        "suspended; resume it first\n"},
       {{"whitelist", "remove", "friend@example.net", "nobody@example.net"},
        "zebmail: missing: whitelist: nobody@example.net\n"},
       {{"whitelist", "remove", "friend@example.net", "friend@example.net"},
        "zebmail: missing: whitelist: friend@example.net\n"}});
}

TEST(SenderListRefuses, WhatIsSuspended) {
  const std::string domain =
      "zebmail: suspended: domain: off.example cannot be listed otherwise while it is suspended; "
      "resume it first\n";
  const std::string mailbox =
      "zebmail: suspended: mailbox: off@example.org cannot be listed otherwise while it is "
      "suspended; resume it first\n";
  ExpectRefused({{{"blacklist", "add", "off.example"}, domain},
                 {{"blacklist", "add", "OFF.Example"}, domain},
                 {{"whitelist", "remove", "off.example"}, domain},
                 {{"blacklist", "add", "off@example.org"}, mailbox},
                 {{"blacklist", "add", "Off@Example.org"}, mailbox},
                 {{"whitelist", "remove", "off@example.org"}, mailbox}});
}

TEST(SenderListAdd, WarnsOfBlacklistingWhatIsTheRecipientOfMailToo) {
  const MailboxPanel panel;

  const CommandRun run = panel.Run(
      {"blacklist", "add", "example.org", "Info@example.org", "example.net", "192.0.2.7"});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors,
            "zebmail: mail to example.org is refused as well\n"
            "zebmail: mail to Info@example.org is refused as well\n");
  EXPECT_EQ(panel.Run({"whitelist", "add", "example.org"}).errors, "");
}

TEST(ListedDomain, IsRefusedWhileItIsSuspendedAndListedAgainOnceItIsResumed) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  panel.Do({"whitelist", "add", "example.org"});

  panel.Do({"domain", "suspend", "example.org"});
  EXPECT_EQ(panel.Table("access"), "example.org\t550 Account disabled\n");
  EXPECT_EQ(panel.Do({"whitelist", "list"}), "example.org\n");

  panel.Do({"domain", "update", "example.org", "--default-action", "ignore"});
  EXPECT_EQ(panel.Table("access"), "example.org\t550 Account disabled\n");

  panel.Do({"domain", "resume", "example.org"});
  EXPECT_EQ(panel.Table("access"), "example.org\tOK\n");
  EXPECT_EQ(panel.Lookup("access", "example.org"), "OK");
}

TEST(ListedDomain, IsListedAfterAnUpdateToo) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "bücher.example"});
  EXPECT_EQ(panel.Run({"blacklist", "add", "bücher.example"}).status, 0);

  panel.Do({"domain", "update", "bücher.example", "--default-action", "ignore"});

  EXPECT_EQ(panel.Table("access"), "xn--bcher-kva.example\tREJECT\n");
  EXPECT_EQ(panel.Lookup("access", "xn--bcher-kva.example"), "REJECT");
}

TEST(ListedDomain, IsListedAfterItIsDeletedAndMadeAgain) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  EXPECT_EQ(panel.Run({"blacklist", "add", "example.org"}).status, 0);
  panel.Do({"domain", "suspend", "example.org"});

  panel.Do({"domain", "delete", "example.org"});
  EXPECT_EQ(panel.Table("access"), "example.org\tREJECT\n");

  panel.Do({"domain", "create", "example.org"});
  EXPECT_EQ(panel.Table("access"), "example.org\tREJECT\n");
  EXPECT_EQ(panel.Do({"blacklist", "list"}), "example.org\n");
}

TEST(ListedMailbox, IsRefusedWhileItIsSuspendedAndListedAgainOnceItIsResumed) {
  const MailboxPanel panel;
  EXPECT_EQ(panel.Run({"blacklist", "add", "Info@example.org"}).status, 0);

  panel.Do({"mailbox", "suspend", "info@example.org"});
  EXPECT_EQ(panel.Table("access"), "info@example.org\t550 Account disabled\n");
  EXPECT_EQ(panel.Do({"blacklist", "list"}), "info@example.org\n");

  panel.Do({"mailbox", "update", "info@example.org", "--drop-mail", "on"});
  EXPECT_EQ(panel.Table("access"), "info@example.org\t550 Account disabled\n");

  panel.Do({"mailbox", "resume", "info@example.org"});
  EXPECT_EQ(panel.Table("access"), "info@example.org\tREJECT\n");
  EXPECT_EQ(panel.Lookup("access", "info@example.org"), "REJECT");
}

TEST(ListedMailbox, StaysSuspendedByItselfWhateverBecomesOfItsDomain) {
  const MailboxPanel panel;
  panel.Do({"whitelist", "add", "info@example.org"});
  panel.Do({"mailbox", "suspend", "info@example.org"});

  panel.Do({"domain", "suspend", "example.org"});
  EXPECT_EQ(panel.Table("access"),
            "info@example.org\t550 Account disabled\nexample.org\t550 Account disabled\n");

  panel.Do({"domain", "resume", "example.org"});
  EXPECT_EQ(panel.Table("access"), "info@example.org\t550 Account disabled\n");

  panel.Do({"mailbox", "resume", "info@example.org"});
  EXPECT_EQ(panel.Table("access"), "info@example.org\tOK\n");
}

/// The panel takes no such address, but reads one.
TEST(ListedMailbox, ByHandGivesWayWhileItsDomainIsSuspended) {
  const MailboxPanel panel;
  panel.SetTable("access", "a..b@example.org\tOK\n");
  panel.Do({"sync"});

  panel.Do({"domain", "suspend", "example.org"});

  EXPECT_EQ(panel.Table("access"), "example.org\t550 Account disabled\n");
}

TEST(ListedAddress, IsListedAfterItsSuspendedDomainIsDeleted) {
  const MailboxPanel panel;
  panel.Do({"whitelist", "add", "friend@example.org"});
  panel.Do({"domain", "suspend", "example.org"});
  EXPECT_EQ(panel.Table("access"), "example.org\t550 Account disabled\n");

  panel.Do({"domain", "delete", "example.org"});

  EXPECT_EQ(panel.Table("access"), "friend@example.org\tOK\n");
  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

TEST(ListedMailbox, IsListedAfterAnyOtherChange) {
  const MailboxPanel panel;
  panel.Do({"whitelist", "add", "info@example.org"});

  panel.Do({"mailbox", "update", "info@example.org", "--drop-mail", "on"});
  panel.Do({"alias", "add", "info@example.org", "sales"});
  panel.Do({"forward", "add", "info@example.org", "boss@example.net"});
  panel.Do({"responder", "on", "info@example.org"});
  panel.Do({"responder", "off", "info@example.org"});
  panel.Do({"domain", "update", "example.org", "--default-action", "ignore"});

  EXPECT_EQ(panel.Table("access"), "info@example.org\tOK\n");
}

TEST(ListedMailbox, IsListedAfterItIsDeletedAloneOrWithItsDomain) {
  const MailboxPanel panel;
  panel.Do({"mailbox", "create", "sales@example.org"});
  EXPECT_EQ(panel.Run({"blacklist", "add", "info@example.org", "example.org"}).status, 0);
  panel.Do({"whitelist", "add", "sales@example.org"});

  panel.Do({"mailbox", "delete", "info@example.org"});
  EXPECT_EQ(panel.Lookup("access", "info@example.org"), "REJECT");

  panel.Do({"domain", "delete", "example.org"});
  EXPECT_EQ(panel.Lookup("access", "info@example.org"), "REJECT");
  EXPECT_EQ(panel.Lookup("access", "sales@example.org"), "OK");
  EXPECT_EQ(panel.Lookup("access", "example.org"), "REJECT");
  EXPECT_EQ(Lists(panel),
            "-- whitelist\nsales@example.org\n-- blacklist\nexample.org\ninfo@example.org\n");
}

/// recipient_delimiter, and the one of it that is used.
struct Delimiter {
  const char* all;
  const char* used;
};

void PrintTo(const Delimiter& delimiter, std::ostream* stream) {
  *stream << delimiter.used << " of " << delimiter.all;
}

/// Postfix looks the address with its extension up before the one without.
class ListedExtension : public testing::TestWithParam<Delimiter> {
 protected:
  ListedExtension() { Separate(GetParam().all); }

  void Separate(const std::string& delimiters) const {
    panel_.SetMainCf(main_cf_ + "recipient_delimiter = " + delimiters + "\n");
  }

  static std::string With(const std::string& local, const std::string& extension) {
    return local + GetParam().used + extension + "@example.org";
  }

  const MailboxPanel panel_;

 private:
  const std::string main_cf_ = panel_.MainCf();
};

TEST_P(ListedExtension, GivesWayWhileItsMailboxIsSuspended) {
  const std::string news = With("info", "news");
  const std::string sales = With("sales", "x");
  panel_.Do({"mailbox", "create", "sales@example.org"});
  panel_.Do({"whitelist", "add", news, sales});

  panel_.Do({"mailbox", "suspend", "info@example.org"});
  EXPECT_EQ(panel_.Table("access"), sales + "\tOK\ninfo@example.org\t550 Account disabled\n");
  EXPECT_EQ(panel_.Do({"whitelist", "list"}), news + "\n" + sales + "\n");
  EXPECT_EQ(panel_.Run({"whitelist", "add", With("info", "other")}).errors,
            "zebmail: suspended: mailbox: info@example.org cannot be listed otherwise while it is "
            "suspended; resume it first\n");

  panel_.Do({"mailbox", "resume", "info@example.org"});
  EXPECT_EQ(panel_.Table("access"), sales + "\tOK\n" + news + "\tOK\n");

  panel_.Do({"mailbox", "suspend", "info@example.org"});
  panel_.Do({"mailbox", "delete", "info@example.org"});
  EXPECT_EQ(panel_.Table("access"), sales + "\tOK\n" + news + "\tOK\n");
}

TEST_P(ListedExtension, ByHandIsFoundByCheckWhileItsMailboxIsSuspended) {
  panel_.Do({"mailbox", "suspend", "info@example.org"});
  panel_.SetTable("access", panel_.Table("access") + With("info", "news") + " OK\n");

  EXPECT_THAT(panel_.Run({"check"}).output,
              testing::HasSubstr(panel_.Path("panel/mail/access") +
                                 ":2 lets mail through for the mailbox info@example.org, which "));
}

/// A mailbox may have the character in its own name.
TEST_P(ListedExtension, IsAMailboxOfItsOwnWhereThereIsOne) {
  const std::string news = With("info", "news");
  panel_.Do({"mailbox", "create", news});
  panel_.Do({"mailbox", "suspend", "info@example.org"});

  panel_.Do({"whitelist", "add", news});

  EXPECT_EQ(panel_.Lookup("access", news), "OK");
}

TEST_P(ListedExtension, IsNoneWhereMainCfHasAnotherDelimiterOrNone) {
  panel_.Do({"mailbox", "suspend", "info@example.org"});
  for (const char* const other : {"", "="}) {
    Separate(other);
    const std::string news = With("info", "news");

    panel_.Do({"whitelist", "add", news});

    EXPECT_EQ(panel_.Lookup("access", news), "OK");
    panel_.Do({"whitelist", "remove", news});
  }
}

INSTANTIATE_TEST_SUITE_P(Delimiters, ListedExtension,
                         testing::Values(Delimiter{"+", "+"}, Delimiter{"-", "-"},
                                         Delimiter{"+-", "-"}, Delimiter{".", "."}));

}  // namespace
}  // namespace zebmail_test
