/// NAME
///   terminal_output_test - what a terminal gets that a pipe does not: folded columns and colours

#include <chrono>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/str.h"
#include "tests/support/terminal.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using test_support::Terminal;

const std::string kHeading = "\x1b[1m";
const std::string kGreen = "\x1b[32m";
const std::string kYellow = "\x1b[33m";
const std::string kRed = "\x1b[31m";
const std::string kEnd = "\x1b[0m";

/// One that knows colours.
Terminal Coloured() {
  return {.columns = 80, .environment = {{"TERM", "xterm-256color"}}};
}

/// What the command prints on the terminal, with plain line feeds.
std::string Shown(const OwnPanel& panel, std::vector<std::string> words,
                  const Terminal& terminal = {}) {
  words.insert(words.begin(), {ZEBMAIL_BINARY, "--config", panel.config()});
  test_support::OnTerminal run(words, terminal);
  std::string printed = run.ReadAll();
  run.Wait();
  return str::Replace(printed, "\r\n", "\n");
}

/// The same without the bar that shows how far a check is, which is wiped out at its end.
std::string ShownAtTheEnd(const OwnPanel& panel, const std::vector<std::string>& words) {
  const std::string wiping = "\r\x1b[K";
  const std::string printed = Shown(panel, words, Coloured());
  const std::size_t end_of_bar = printed.rfind(wiping);
  return end_of_bar == std::string::npos ? printed : printed.substr(end_of_bar + wiping.size());
}

/// A panel with a mailbox that leads to many.
class WidePanel : public MailboxPanel {
 public:
  WidePanel() {
    Do({"mailbox", "create", "a@example.org"});
    Do({"alias", "add", "info@example.org", "sales", "office", "support", "billing", "orders"});
    Do({"forward", "add", "info@example.org", "boss@example.net", "x@a-long-domain.example"});
  }

  /// The lines of the list as they are through a pipe.
  std::string Lines() const {
    return "ADDRESS           STATE   MAIL  RESPONDER  ALIASES                                  "
           "FORWARDS\n"
           "a@example.org     active  kept  off        -                                        -\n"
           "info@example.org  active  kept  off        sales, office, support, billing, orders  "
           "boss@example.net, x@a-long-domain.example\n";
  }
};

TEST(Table, IsOneLineARowThroughAPipe) {
  const WidePanel panel;

  EXPECT_EQ(panel.Do({"mailbox", "list"}), panel.Lines());
}

TEST(Table, IsOneLineARowOnATerminalThatIsWideEnough) {
  const WidePanel panel;

  EXPECT_EQ(Shown(panel, {"mailbox", "list"}, {.columns = 125}), panel.Lines());
}

TEST(Table, FoldsWideColumnsOnATerminal) {
  const WidePanel panel;

  EXPECT_EQ(Shown(panel, {"mailbox", "list"}, {.columns = 80}),
            "ADDRESS           STATE   MAIL  RESPONDER  ALIASES            FORWARDS\n"
            "a@example.org     active  kept  off        -                  -\n"
            "info@example.org  active  kept  off        sales, office,     boss@example.net,\n"
            "                                           support, billing,  x@a-long-domain.ex\n"
            "                                           orders             ample\n");
}

TEST(Table, IsABlockARowOnANarrowTerminal) {
  const WidePanel panel;

  EXPECT_EQ(Shown(panel, {"mailbox", "list"}, {.columns = 60}),
            "ADDRESS: a@example.org\n"
            "STATE: active\n"
            "MAIL: kept\n"
            "RESPONDER: off\n"
            "ALIASES: -\n"
            "FORWARDS: -\n"
            "\n"
            "ADDRESS: info@example.org\n"
            "STATE: active\n"
            "MAIL: kept\n"
            "RESPONDER: off\n"
            "ALIASES: sales, office, support, billing, orders\n"
            "FORWARDS: boss@example.net, x@a-long-domain.example\n");
}

TEST(Table, GoesByColumnsOfTheEnvironmentWhereTheTerminalDoesNotTell) {
  const WidePanel panel;
  const auto with = [&panel](const std::string& columns) {
    return Shown(panel, {"mailbox", "list"}, {.columns = 0, .environment = {{"COLUMNS", columns}}});
  };
  const std::string usual = Shown(panel, {"mailbox", "list"}, {.columns = 80});

  EXPECT_EQ(with("125"), panel.Lines());
  for (const char* const wrong : {"", "0", "-1", "wide", "125x", "99999999999999999999"}) {
    EXPECT_EQ(with(wrong), usual) << wrong;
  }
}

TEST(Table, CountsTheColumnsThatCharactersTake) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "例え.example"});
  panel.Do({"webdomain", "add", "a.example", "--owner", "1"});
  panel.Do({"webdomain", "add", "例え.example", "--owner", "2"});

  EXPECT_EQ(panel.Do({"webdomain", "list"}),
            "NAME          OWNER\n"
            "a.example     1\n"
            "例え.example  2\n");
}

TEST(Table, BreaksAWideCharacterAtNoPlaceButItsEdge) {
  const OwnPanel panel;
  const std::string wide = "例例例例例例例例例例.例例例例例例例例例例.example";
  panel.Do(
      {"domain", "create", "a.example", "--default-action", "redir_domain", "--redirect", wide});

  EXPECT_EQ(Shown(panel, {"domain", "list"}, {.columns = 58}),
            "NAME       STATE   DEFAULT ACTION  REDIRECT             IP\n"
            "a.example  active  redir_domain    例例例例例例例例例   -\n"
            "                                   例.例例例例例例例例\n"
            "                                   例例.example\n");
}

/// To measure all that is before a character again for each took a minute here. A target that was
/// written by hand has any length.
TEST(Table, FoldsACellOfManyLettersAtOnce) {
  const MailboxPanel panel;
  panel.Do({"forward", "add", "info@example.org", "boss@example.net"});
  const std::string many(200'000, 'x');
  panel.SetTable("aliases", str::Replace(panel.folder().ReadText("panel/mail/aliases"),
                                         "boss@example.net", many + "@example.net"));
  panel.Do({"sync"});
  const auto begun = std::chrono::steady_clock::now();

  const std::string shown = Shown(panel, {"mailbox", "list"}, {.columns = 65'535});

  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(15));
  const std::string forward = str::Replace(shown.substr(shown.find(many.substr(0, 100))), " ", "");
  EXPECT_EQ(str::Replace(forward, "\n", ""), many + "@example.net");
}

TEST(Colour, IsInHeadingsAndInWhatIsSuspended) {
  const MailboxPanel panel;
  panel.Do({"mailbox", "suspend", "info@example.org"});

  const auto heading = [](const std::string& name) { return kHeading + name + kEnd; };
  EXPECT_EQ(Shown(panel, {"mailbox", "list"}, Coloured()),
            heading("ADDRESS") + "           " + heading("STATE") + "      " + heading("MAIL") +
                "  " + heading("RESPONDER") + "  " + heading("ALIASES") + "  " +
                heading("FORWARDS") + "\n" + "info@example.org  " + kYellow + "suspended" + kEnd +
                "  kept  off        -        -\n");
}

TEST(Colour, IsOnlyWhereItIsWanted) {
  const MailboxPanel panel;
  const std::string plain = panel.Do({"domain", "list"});
  using Environment = std::map<std::string, std::string>;
  const std::string xterm = "xterm";

  for (const Environment& environment : {Environment{{"TERM", "dumb"}}, Environment{{"TERM", ""}},
                                         Environment{{"TERM", xterm}, {"NO_COLOR", "1"}},
                                         Environment{{"TERM", xterm}, {"NO_COLOR", "0"}}}) {
    EXPECT_EQ(Shown(panel, {"domain", "list"}, {.columns = 80, .environment = environment}), plain)
        << testing::PrintToString(environment);
  }
  EXPECT_THAT(Shown(panel, {"domain", "list"},
                    {.columns = 80, .environment = {{"TERM", xterm}, {"NO_COLOR", ""}}}),
              testing::StartsWith(kHeading + "NAME" + kEnd));
}

TEST(Colour, IsNeverInJson) {
  const MailboxPanel panel;

  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"--json", "domain", "list"},
        {"--json", "--dry-run", "domain", "suspend", "example.org"},
        {"--json", "trace", "info@example.org"},
        {"--json", "check"}}) {
    EXPECT_EQ(ShownAtTheEnd(panel, words), panel.Run(words).output)
        << testing::PrintToString(words);
  }
}

TEST(Colour, IsNotInWhatGoesElsewhereThanTheTerminal) {
  const MailboxPanel panel;
  test_support::OnTerminal run({"/bin/sh", "-c",
                                std::string(ZEBMAIL_BINARY) + " --config " + panel.config() +
                                    " domain list | cat; " + ZEBMAIL_BINARY + " --config " +
                                    panel.config() + " domain show other.example 2>&1 | cat"},
                               Coloured());

  EXPECT_EQ(run.ReadAll(), str::Replace(panel.Do({"domain", "list"}) +
                                            panel.Run({"domain", "show", "other.example"}).errors,
                                        "\n", "\r\n"));
  EXPECT_EQ(run.Wait(), 0);
}

TEST(Colour, IsInConfirmations) {
  const MailboxPanel panel;

  EXPECT_EQ(Shown(panel, {"domain", "suspend", "example.org"}, Coloured()),
            "example.org: " + kGreen + "suspended" + kEnd + "\n");
}

TEST(Colour, IsInErrorsAndWarnings) {
  const MailboxPanel panel;

  EXPECT_EQ(Shown(panel, {"domain", "show", "other.example"}, Coloured()),
            kRed + "zebmail:" + kEnd +
                " missing: domain: other.example\n"
                "next: see which there are: zebmail --config " +
                panel.config() + " domain list\n");
  EXPECT_EQ(Shown(panel, {"domain"}, Coloured()),
            kRed + "zebmail:" + kEnd + " usage: a command is missing\nSee: zebmail --help\n");
  EXPECT_EQ(Shown(panel, {"--quiet", "blacklist", "add", "example.org"}, Coloured()),
            kYellow + "zebmail:" + kEnd + " mail to example.org is refused as well\n");
}

TEST(Colour, IsInDiffs) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  panel.SetTable("virtusertable", "-- mine \x1b[31m\n" + panel.Table("virtusertable"));
  const std::string table = panel.Path("panel/mail/virtusertable");

  EXPECT_THAT(
      Shown(panel, {"--dry-run", "domain", "update", "example.org", "--default-action", "ignore"},
            Coloured()),
      testing::StartsWith(kHeading + "--- " + table + kEnd + "\n" + kHeading + "+++ " + table +
                          kEnd +
                          "\n"
                          "@@ -1,2 +1,2 @@\n"
                          " -- mine \\x1b[31m\n" +
                          kRed + "-@example.org\tpostfix_err_nouser" + kEnd + "\n" + kGreen +
                          "+@example.org\tdevnull" + kEnd + "\n"));
}

TEST(Colour, IsInFindings) {
  const MailboxPanel panel;
  EXPECT_EQ(ShownAtTheEnd(panel, {"check"}), kGreen + "nothing is wrong" + kEnd + "\n");
  panel.SetTable("virtusertable",
                 panel.Table("virtusertable") + "x@example.org boss@example.net\n");

  const std::string plain = panel.Run({"check"}).output;
  const std::string first = plain.substr(0, plain.find('\n') + 1);
  const std::size_t end = first.find("; mail goes by the tables");
  EXPECT_THAT(ShownAtTheEnd(panel, {"check"}),
              testing::StartsWith(kRed + first.substr(0, end) + kEnd + first.substr(end)));
}

TEST(Check, ShowsABarOnATerminalAndWipesItOut) {
  const MailboxPanel panel;

  const std::string shown = Shown(panel, {"check"});

  EXPECT_THAT(shown, testing::StartsWith("\r[###                                     ] 1 of 12"));
  EXPECT_THAT(shown, testing::EndsWith("] 11 of 12\r\x1b[Knothing is wrong\n"));
  EXPECT_EQ(Shown(panel, {"--quiet", "check"}), "");
}

/// The check of where mailboxes end asks for each user, and shows how far it is.
TEST(Check, ShowsNothingOfAnotherPartBehindAShorterOne) {
  const MailboxPanel panel;
  panel.SetMainCf(str::Replace(panel.MainCf(), "mailbox_transport", "# "));
  std::string lines;
  for (int number = 100; number < 164; ++number) {
    lines += R"({"type":"mailbox","address":"m)" + std::to_string(number) + "@example.org\"}\n";
  }
  panel.Do({"import", "-"}, lines);

  const std::string shown = Shown(panel, {"check"});

  EXPECT_THAT(shown, testing::HasSubstr("] 11 of 12\r\x1b[K\r[#"));
  EXPECT_THAT(shown, testing::HasSubstr("] 64 of 65\r\x1b[K"));
}

TEST(Colour, IsInTheEndsOfATrace) {
  const MailboxPanel panel;
  const std::string bounced = Shown(panel, {"trace", "other@example.org"}, Coloured());
  const std::string taken = Shown(panel, {"trace", "info@example.org"}, Coloured());

  EXPECT_THAT(bounced, testing::StartsWith(kHeading + "other@example.org" + kEnd + "\n"));
  EXPECT_THAT(bounced, testing::HasSubstr("  " + kRed + "=> bounced"));
  EXPECT_THAT(taken, testing::HasSubstr("  " + kGreen + "=> given to "));
}

}  // namespace
}  // namespace zebmail_test
