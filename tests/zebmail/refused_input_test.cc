/// NAME
///   refused_input_test - what the command refuses, with the panel as it was

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using Words = std::vector<std::string>;

struct Case {
  const char* name;
  Words words;
  std::string errors;
};

/// One panel for all cases: each must leave it as it was.
void ExpectRefused(const std::vector<Case>& cases) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org", "--default-action", "redir_email", "--redirect",
            "info@example.net"});
  const auto before = Snapshot(panel.Path("panel"));
  for (const Case& refused : cases) {
    SCOPED_TRACE(refused.name);

    const CommandRun run = panel.Run(refused.words);

    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, refused.errors);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(Snapshot(panel.Path("panel")), before);
  }
}

std::string NotADomain(const std::string& shown) {
  return "zebmail: value: domain: \"" + shown + "\" is not a domain name\n";
}

Case Name(const char* name, const std::string& value, const std::string& shown) {
  return {name, {"domain", "create", "--", value}, NotADomain(shown)};
}

const std::string kLongLabel(64, 'a');
const std::string kLabel = std::string(63, 'a') + ".";

TEST(RefusedInput, NamesThatAreNoDomains) {
  ExpectRefused({Name("Empty", "", ""),
                 Name("LineFeed", "a.example\n@b.example", "a.example\\n@b.example"),
                 Name("CarriageReturn", "a.example\r", "a.example\\x0d"),
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
  EXPECT_EQ(run.errors,
            "zebmail: missing: " + panel.Path("panel/mail/virtusertable") + ": example.org\n");
  EXPECT_EQ(panel.Do({"domain", "show", "example.org"}),
            "name: example.org\nactive: true\ndefaction: error\nredirect: \nip: \n");
  EXPECT_EQ(panel.Table("access"), "");
}

}  // namespace
}  // namespace zebmail_test
