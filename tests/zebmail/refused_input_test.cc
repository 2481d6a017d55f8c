/// NAME
///   refused_input_test - what the command refuses, with the panel as it was

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/zebmail/next_step.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using Words = std::vector<std::string>;

struct Case {
  std::string name;
  Words words;
  std::string errors;
  std::string input{};
};

/// One panel for all cases: each must leave it as it was.
void ExpectRefused(const OwnPanel& panel, const std::vector<Case>& cases) {
  const auto before = Snapshot(panel.Path("panel"));
  for (const Case& refused : cases) {
    SCOPED_TRACE(refused.name);

    const CommandRun run = panel.Run(refused.words, refused.input);

    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(WithoutNextStep(run.errors), refused.errors);
    EXPECT_EQ(run.output, "");
    EXPECT_TRUE(Snapshot(panel.Path("panel")) == before);
  }
}

void ExpectRefused(const std::vector<Case>& cases) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org", "--default-action", "redir_email", "--redirect",
            "info@example.net"});
  ExpectRefused(panel, cases);
}

std::string NotADomain(const std::string& shown) {
  return "zebmail: value: domain: \"" + shown + "\" is not a domain name\n";
}

Case Name(const char* name, const std::string& value, const std::string& shown) {
  return {name, {"domain", "create", "--", value}, NotADomain(shown)};
}

std::string Repeated(const std::string& text, int times) {
  std::string all;
  for (; times > 0; --times) all += text;
  return all;
}

const std::string kLongLabel(64, 'a');
const std::string kLabel = std::string(63, 'a') + ".";

TEST(RefusedInput, NamesThatAreNoDomains) {
  ExpectRefused({Name("Empty", "", ""),
                 Name("LineFeed", "a.example\n@b.example", "a.example\\n@b.example"),
                 Name("CarriageReturn", "a.example\r", "a.example\\r"),
                 Name("Tab", "a.example\tdevnull", "a.example\\tdevnull"),
                 Name("Blank", "a.example devnull", "a.example devnull"),
                 Name("LeadingBlank", " a.example", " a.example"),
                 Name("Comment", "a#b.example", "a#b.example"),
                 Name("LeadingHyphen", "-a.example", "-a.example"),
                 Name("OneLabel", "localhost", "localhost"),
                 Name("TrailingDot", "a.example.", "a.example."),
                 Name("Address", "192.0.2.1", "192.0.2.1"),
                 Name("Underscore", "a_b.example", "a_b.example"),
                 Name("Slash", "../a.example", "../a.example"),
                 Name("LongLabel", kLongLabel + ".example", kLongLabel + ".example"),
                 Name("LongName", kLabel + kLabel + kLabel + kLabel + "example",
                      kLabel + kLabel + kLabel + kLabel + "example"),
                 Name("FullWidthLetters", "ｅxample.com", "ｅxample.com"),
                 Name("RightToLeftOverride", "\u202egro.elpmaxe", "\\xe2\\x80\\xaegro.elpmaxe"),
                 Name("ZeroWidthSpace", "exam\u200bple.com", "exam\\xe2\\x80\\x8bple.com"),
                 Name("TerminalEscape", "\x1b[31m.example", "\\x1b[31m.example"),
                 Name("TerminalEscapeOfLatin1", "\u009b31m.example", "\\xc2\\x9b31m.example")});
}

TEST(RefusedInput, IsShownByItsBeginningAndItsEndWhenItIsLong) {
  ExpectRefused(
      {Name("Long", std::string(5000, 'a'),
            std::string(749, 'a') + " [... 5023 bytes in all ...] " + std::string(228, 'a')),
       Name("LongAndNotAscii", std::string(400, 'a') + std::string(4000, '\x9b'),
            std::string(400, 'a') + Repeated("\\x9b", 349) + " [... 4423 bytes in all ...] " +
                Repeated("\\x9b", 228))});
}

const std::string kNone = " is none of error, ignore, redir_email, redir_domain\n";

TEST(RefusedInput, SettingsThatMakeNoSense) {
  ExpectRefused(
      {Case{"UnknownAction",
            {"domain", "create", "a.example", "--default-action", "Error"},
            "zebmail: value: default action: \"Error\"" + kNone},
       Case{"EmptyAction",
            {"domain", "update", "example.org", "--default-action", ""},
            "zebmail: value: default action: \"\"" + kNone},
       Case{"ActionWithLineFeed",
            {"domain", "create", "a.example", "--default-action", "error\n"},
            "zebmail: value: default action: \"error\\n\"" + kNone},
       Case{"MissingRedirect",
            {"domain", "create", "a.example", "--default-action", "redir_domain"},
            "zebmail: value: redirect: is needed for the default action redir_domain\n"},
       Case{"RedirectOfAnotherAction",
            {"domain", "update", "example.org", "--default-action", "redir_domain"},
            "zebmail: value: redirect: is needed for the default action redir_domain\n"},
       Case{"RedirectTakenAway",
            {"domain", "update", "example.org", "--redirect", ""},
            "zebmail: value: redirect: is needed for the default action redir_email\n"},
       Case{"RedirectWithoutNeed",
            {"domain", "create", "a.example", "--redirect", "info@example.net"},
            "zebmail: value: redirect: \"info@example.net\" does not go with the default action "
            "error\n"},
       Case{"RedirectToCommand",
            {"domain", "update", "example.org", "--redirect", "|/bin/sh@example.net"},
            "zebmail: value: redirect: \"|/bin/sh@example.net\" is not a mail address\n"},
       Case{"RedirectToFile",
            {"domain", "update", "example.org", "--redirect", "/etc/passwd"},
            "zebmail: value: redirect: \"/etc/passwd\" is not a mail address\n"},
       Case{"RedirectToTwoAddresses",
            {"domain", "update", "example.org", "--redirect", "a@example.net,b@example.net"},
            "zebmail: value: redirect: \"a@example.net,b@example.net\" is not a mail address\n"},
       Case{"RedirectWithSecondLine",
            {"domain", "update", "example.org", "--redirect",
             "a@example.net\n@b.example c@d.example"},
            "zebmail: value: redirect: \"a@example.net\\n@b.example c@d.example\" is not a mail "
            "address\n"},
       Case{"RedirectWithComment",
            {"domain", "update", "example.org", "--redirect", "a#@example.net"},
            "zebmail: value: redirect: \"a#@example.net\" is not a mail address\n"},
       Case{"RedirectToNoDomain",
            {"domain", "create", "a.example", "--default-action", "redir_domain", "--redirect",
             "info@example.net"},
            "zebmail: value: redirect: \"info@example.net\" is not a domain name\n"},
       Case{"RedirectToItself",
            {"domain", "create", "a.example", "--default-action", "redir_domain", "--redirect",
             "A.Example"},
            "zebmail: value: redirect: \"A.Example\" is the domain itself\n"},
       Case{"NoAddress",
            {"domain", "create", "a.example", "--ip", "192.0.2.256"},
            "zebmail: value: ip: \"192.0.2.256\" is neither an IPv4 nor an IPv6 address\n"},
       Case{"AddressWithOption",
            {"domain", "update", "example.org", "--ip", "192.0.2.1 -o x=y"},
            "zebmail: value: ip: \"192.0.2.1 -o x=y\" is neither an IPv4 nor an IPv6 address\n"}});
}

TEST(RefusedInput, DomainsThatExistOrDoNot) {
  ExpectRefused({Case{"CreateOfExisting",
                      {"domain", "create", "EXAMPLE.org"},
                      "zebmail: exists: domain: EXAMPLE.org\n"},
                 Case{"UpdateOfMissing",
                      {"domain", "update", "a.example"},
                      "zebmail: missing: domain: a.example\n"},
                 Case{"SuspendOfMissing",
                      {"domain", "suspend", "a.example"},
                      "zebmail: missing: domain: a.example\n"},
                 Case{"ResumeOfMissing",
                      {"domain", "resume", "a.example"},
                      "zebmail: missing: domain: a.example\n"},
                 Case{"DeleteOfMissing",
                      {"domain", "delete", "a.example"},
                      "zebmail: missing: domain: a.example\n"},
                 Case{"ShowOfMissing",
                      {"domain", "show", "a.example"},
                      "zebmail: missing: domain: a.example\n"},
                 Case{"SuspendOfNoDomain", {"domain", "suspend", "%"}, NotADomain("%")}});
}

struct OddName {
  const char* name;
  std::string value;
  std::string shown;
};

/// What might be taken for more than a name: by the tables, by Postfix, by a shell, by a terminal,
/// by the reader.
const std::vector<OddName>& NotLocalParts() {
  static const std::vector<OddName> names = {
      {"Empty", "", ""},
      {"LineFeed", "a\nb", "a\\nb"},
      {"TrailingLineFeed", "a\n", "a\\n"},
      {"CarriageReturn", "a\rb", "a\\rb"},
      {"Tab", "a\tdevnull", "a\\tdevnull"},
      {"Blank", "a devnull", "a devnull"},
      {"LeadingBlank", " a", " a"},
      {"TrailingBlank", "a ", "a "},
      {"Command", "|/bin/sh", "|/bin/sh"},
      {"CommandInQuotes", "\"|/bin/sh\"", "\"|/bin/sh\""},
      {"File", "/etc/passwd", "/etc/passwd"},
      {"HomeFolder", "~root", "~root"},
      {"Include", ":include:/etc/passwd", ":include:/etc/passwd"},
      {"LeadingHyphen", "-f", "-f"},
      {"LongOption", "--config", "--config"},
      {"Comma", "a,b", "a,b"},
      {"Semicolon", "a;id", "a;id"},
      {"Colon", "a:b", "a:b"},
      {"Comment", "a#b", "a#b"},
      {"LeadingComment", "#a", "#a"},
      {"Quote", "a\"b", "a\"b"},
      {"Backslash", "a\\b", "a\\\\b"},
      {"AngleBrackets", "<a>", "<a>"},
      {"Parentheses", "$(id)", "$(id)"},
      {"Redirection", "a>b", "a>b"},
      {"RouteByPercent", "a%b.example", "a%b.example"},
      {"RouteByBang", "b!a", "b!a"},
      {"At", "a@b.example", "a@b.example"},
      {"LeadingDot", ".a", ".a"},
      {"TrailingDot", "a.", "a."},
      {"TwoDots", "a..b", "a..b"},
      {"TooLong", std::string(65, 'a'), std::string(65, 'a')},
      {"NotAscii", "büro", "büro"},
      {"NotUtf8", "b\xfcro", "b\\xfcro"},
      {"FullWidthLetter", "ａ", "ａ"},
      {"CyrillicLetter", "іnfo", "іnfo"},
      {"RightToLeftOverride", "\u202eofni", "\\xe2\\x80\\xaeofni"},
      {"ZeroWidthSpace", "in\u200bfo", "in\\xe2\\x80\\x8bfo"},
      {"TerminalEscape", "\x1b[31m", "\\x1b[31m"},
      {"TerminalEscapeOfLatin1", "\u009b31m", "\\xc2\\x9b31m"},
      {"Delete", "a\x7f", "a\\x7f"},
  };
  return names;
}

/// The cases of `words` with each of the odd names behind them; `domain` follows the name.
std::vector<Case> WithOddNames(const Words& words, const std::string& domain,
                               const std::string& before, const std::string& after) {
  std::vector<Case> cases;
  for (const OddName& odd : NotLocalParts()) {
    Words all = words;
    all.push_back(odd.value + domain);
    cases.push_back({odd.name, all, "zebmail: value: " + before + odd.shown + domain + after});
  }
  return cases;
}

TEST(RefusedInput, NamesThatAreNoMailboxes) {
  const MailboxPanel panel;
  ExpectRefused(panel, WithOddNames({"mailbox", "create", "--"}, "@example.org", "mailbox: \"",
                                    "\" is not a mail address\n"));
}

TEST(RefusedInput, NamesThatAreNoAliases) {
  const MailboxPanel panel;
  ExpectRefused(panel, WithOddNames({"alias", "add", "--", "info@example.org", "good"}, "",
                                    "alias: \"", "\" is not the local part of an address\n"));
  ExpectRefused(panel, WithOddNames({"alias", "remove", "--", "info@example.org"}, "", "alias: \"",
                                    "\" is not the local part of an address\n"));
}

TEST(RefusedInput, NamesThatAreNoForwards) {
  const MailboxPanel panel;
  ExpectRefused(panel, WithOddNames({"forward", "add", "--", "info@example.org", "x@example.net"},
                                    "@example.net", "forward: \"", "\" is not a mail address\n"));
}

TEST(RefusedInput, MailboxInBrackets) {
  const MailboxPanel panel;
  ExpectRefused(panel,
                {Case{"Mailbox",
                      {"mailbox", "create", "[a@example.org]"},
                      "zebmail: value: mailbox: \"[a@example.org]\" is not a mail address\n"}});
}

TEST(WrongUsage, NamesInBracketsAreNoLists) {
  const MailboxPanel panel;
  const auto before = Snapshot(panel.Path("panel"));

  const CommandRun alias = panel.Run({"alias", "add", "info@example.org", "[a,b]"});
  const CommandRun forward = panel.Run({"forward", "add", "info@example.org", "[a@example.net]"});

  EXPECT_EQ(alias.status, 2);
  EXPECT_EQ(alias.errors,
            "zebmail: usage: NAME: \"a\" was given as a part of a word in brackets\n"
            "See: zebmail --help\n");
  EXPECT_EQ(forward.status, 2);
  EXPECT_EQ(forward.errors,
            "zebmail: usage: ADDR: \"a@example.net\" was given as a part of a word in brackets\n"
            "See: zebmail --help\n");
  EXPECT_TRUE(Snapshot(panel.Path("panel")) == before);
}

Case Forward(const char* name, const std::string& value, const std::string& shown) {
  return {name,
          {"forward", "add", "--", "info@example.org", value},
          "zebmail: value: forward: \"" + shown + "\" is not a mail address\n"};
}

TEST(RefusedInput, ForwardsThatAreMoreOrLessThanAnAddress) {
  const MailboxPanel panel;
  ExpectRefused(
      panel,
      {Forward("TwoAddresses", "a@example.net,b@example.net", "a@example.net,b@example.net"),
       Forward("AddressAndCommand", "a@example.net, \"|/bin/sh\"", "a@example.net, \"|/bin/sh\""),
       Forward("SecondEntry", "a@example.net\nroot: b@example.net",
               "a@example.net\\nroot: b@example.net"),
       Forward("Continuation", "a@example.net\n b@example.net", "a@example.net\\n b@example.net"),
       Forward("CommandWithAddress", "|/bin/sh a@example.net", "|/bin/sh a@example.net"),
       Forward("Command", "|/bin/sh", "|/bin/sh"),
       Forward("CommandInQuotes", "\"|/bin/sh\"", "\"|/bin/sh\""),
       Forward("File", "/etc/passwd", "/etc/passwd"),
       Forward("FileOfUser", "~root/.profile", "~root/.profile"),
       Forward("Include", ":include:/etc/passwd", ":include:/etc/passwd"),
       Forward("EntryOfTheAliases", "devnull", "devnull"), Forward("Empty", "", ""),
       Forward("AddressLiteral", "a@[192.0.2.1]", "a@[192.0.2.1]"),
       Forward("HostOfOneLabel", "root@localhost", "root@localhost"),
       Forward("DisplayName", "Boss <a@example.net>", "Boss <a@example.net>"),
       Forward("UnderscoreInDomain", "a@b_c.example", "a@b_c.example"),
       Forward("ZeroWidthSpaceInDomain", "a@exam\u200bple.net", "a@exam\\xe2\\x80\\x8bple.net"),
       Forward("TooLong", "a@" + kLabel + kLabel + kLabel + kLabel + "example",
               "a@" + kLabel + kLabel + kLabel + kLabel + "example")});
}

TEST(RefusedInput, MailboxesThatDoNotExist) {
  const MailboxPanel panel;
  std::vector<Case> cases;
  for (const Words& words :
       {Words{"mailbox", "update", "a@example.org", "--drop-mail", "on"},
        Words{"mailbox", "suspend", "a@example.org"}, Words{"mailbox", "resume", "a@example.org"},
        Words{"mailbox", "delete", "a@example.org"}, Words{"mailbox", "show", "a@example.org"},
        Words{"alias", "add", "a@example.org", "x"}, Words{"alias", "remove", "a@example.org", "x"},
        Words{"alias", "list", "a@example.org"},
        Words{"forward", "add", "a@example.org", "x@example.net"},
        Words{"forward", "remove", "a@example.org", "x@example.net"},
        Words{"forward", "list", "a@example.org"}, Words{"responder", "on", "a@example.org"},
        Words{"responder", "off", "a@example.org"}, Words{"responder", "show", "a@example.org"}}) {
    cases.push_back({words[1], words, "zebmail: missing: mailbox: a@example.org\n"});
  }
  ExpectRefused(panel, cases);
}

TEST(RefusedInput, MailboxesOfDomainsThatAreNotThere) {
  const MailboxPanel panel;
  ExpectRefused(
      panel,
      {Case{"Create",
            {"mailbox", "create", "info@a.example"},
            "zebmail: missing: domain: a.example\n"},
       Case{"Show",
            {"mailbox", "show", "info@a.example"},
            "zebmail: missing: mailbox: info@a.example\n"},
       Case{"List", {"mailbox", "list", "a.example"}, "zebmail: missing: domain: a.example\n"}});
}

TEST(RefusedInput, NamesThatTheMailboxDoesNotHave) {
  const MailboxPanel panel;
  panel.Do({"alias", "add", "info@example.org", "sales"});
  panel.Do({"forward", "add", "info@example.org", "x@example.net"});
  ExpectRefused(panel,
                {Case{"Alias",
                      {"alias", "remove", "info@example.org", "sales", "office"},
                      "zebmail: missing: alias: office\n"},
                 Case{"AliasTwice",
                      {"alias", "remove", "info@example.org", "sales", "sales"},
                      "zebmail: missing: alias: sales\n"},
                 Case{"Forward",
                      {"forward", "remove", "info@example.org", "x@example.net", "y@example.net"},
                      "zebmail: missing: forward: y@example.net\n"}});
}

Case Subject(const char* name, const std::string& value, const std::string& reason) {
  return {name,
          {"responder", "on", "info@example.org", "--subject", value},
          "zebmail: value: subject: " + reason + "\n"};
}

Case Text(const char* name, const std::string& value, const std::string& reason) {
  return {name,
          {"responder", "on", "info@example.org", "--text-file", "-"},
          "zebmail: value: text: " + reason + "\n",
          value};
}

TEST(RefusedInput, SubjectsAndTextsThatAreNoPlainText) {
  const MailboxPanel panel;
  const std::string control = "holds control characters";
  ExpectRefused(panel,
                {Subject("SecondHeader", "Away\nBcc: x@example.net", control),
                 Subject("CarriageReturn", "Away\rBcc: x@example.net", control),
                 Subject("Tab", "a\tb", control), Subject("TerminalEscape", "\x1b[31m", control),
                 Subject("NotUtf8", "b\xfcro", "is not UTF-8"),
                 Subject("TooLong", std::string(401, 'a'), "is longer than 400 bytes"),
                 Text("Nul", std::string("a\0b", 3), "is not UTF-8"),
                 Text("NotUtf8", "b\xfcro", "is not UTF-8"),
                 Text("TerminalEscape", "\x1b[31m", control), Text("FormFeed", "a\fb", control),
                 Text("TooLong", std::string(65537, 'a'), "is longer than 65536 bytes"),
                 Text("FarTooLong", std::string(3 << 20, 'a'), "is longer than 65536 bytes")});
}

TEST(RefusedInput, TextFilesThatCannotBeRead) {
  const MailboxPanel panel;
  const std::string folder = panel.Path("config");
  const std::string missing = panel.Path("none");
  ExpectRefused(
      panel, {Case{"Folder",
                   {"responder", "on", "info@example.org", "--text-file", folder},
                   "zebmail: file: " + folder + ": cannot be read\n"},
              Case{"Missing",
                   {"responder", "on", "info@example.org", "--text-file", missing},
                   "zebmail: file: " + missing + ": cannot be read: No such file or directory\n"},
              Case{"Nameless",
                   {"responder", "on", "info@example.org", "--text-file", ""},
                   "zebmail: file: --text-file: names no file\n"}});
}

TEST(RefusedCreate, OfDomainThatTheTableHasAlready) {
  const OwnPanel panel;
  const std::string table = "# by hand\n@Example.ORG   somebody\n";
  panel.SetTable("virtusertable", table);

  const CommandRun run = panel.Run({"domain", "create", "example.org"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zebmail: exists: domain: example.org is not in the panel, but in " +
                            panel.Path("panel/mail/virtusertable") + ":2; remove the line first\n");
  EXPECT_EQ(panel.Table("virtusertable"), table);
  EXPECT_EQ(panel.Do({"domain", "list"}), "");
}

TEST(RefusedCreate, DoesNotTakeCommentsOrOtherDomainsForTheDomain) {
  const OwnPanel panel;
  panel.SetTable("virtusertable", "#@example.org x\n@example.org.net x\n @example.org x\n");

  EXPECT_EQ(panel.Do({"domain", "create", "example.org"}), "example.org: created\n");
}

TEST(RefusedChange, LeavesDatabaseAsItWasWhenTheTableLacksTheDomain) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  panel.SetTable("virtusertable", "");

  const CommandRun run = panel.Run({"domain", "suspend", "example.org"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(WithoutNextStep(run.errors),
            "zebmail: missing: " + panel.Path("panel/mail/virtusertable") + ": example.org\n");
  EXPECT_EQ(panel.Do({"domain", "show", "example.org"}),
            "name: example.org\nactive: true\ndefaction: error\nredirect: \nip: \n");
  EXPECT_EQ(panel.Table("access"), "");
}

}  // namespace
}  // namespace zebmail_test
