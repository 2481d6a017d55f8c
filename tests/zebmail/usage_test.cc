/// NAME
///   usage_test - the command line itself: what it takes, and the exit status

#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

TEST(Usage, IsWrongWithStatus2) {
  const std::vector<std::vector<std::string>> wrong = {
      {},
      {"bogus"},
      {"domain"},
      {"domain", "bogus"},
      {"domain", "create"},
      {"domain", "create", "a.example", "b.example"},
      {"domain", "create", "-a.example"},
      {"domain", "create", "a.example", "--owner", "somebody"},
      {"domain", "create", "a.example", "--owner", "-1"},
      {"domain", "create", "a.example", "--owner", "010"},
      {"domain", "create", "a.example", "--owner", "0x1f"},
      {"domain", "create", "a.example", "--owner="},
      {"domain", "create", "a.example", "--owner", "99999999999999999999"},
      {"domain", "create", "a.example", "--ip"},
      {"domain", "list", "a.example"},
      {"mailbox", "create"},
      {"mailbox", "create", "a@example.org", "b@example.org"},
      {"mailbox", "create", "-a@example.org"},
      {"mailbox", "update", "a@example.org"},
      {"mailbox", "update", "a@example.org", "--drop-mail"},
      {"mailbox", "update", "a@example.org", "--drop-mail", "yes"},
      {"mailbox", "list", "a.example", "b.example"},
      {"alias", "add", "a@example.org"},
      {"alias", "add", "a@example.org", "-b"},
      {"alias", "list"},
      {"forward", "remove", "a@example.org"},
      {"responder", "on"},
      {"responder", "on", "a@example.org", "--subject"},
      {"responder", "off", "a@example.org", "--subject", "Away"},
      {"--bogus", "domain", "list"},
      {"check", "--bogus"},
      {"init", "--path", "postfix-bin"},
      {"init", "--param", "=postfix"},
      {"--config", "/nonexistent", "init"},
  };
  for (const auto& words : wrong) {
    const CommandRun run = Zebmail(words);

    EXPECT_EQ(run.status, 2) << testing::PrintToString(words);
    EXPECT_EQ(run.output, "");
    EXPECT_TRUE(run.errors.starts_with("zebmail: usage: ")) << run.errors;
    EXPECT_TRUE(run.errors.ends_with("\nSee: zebmail --help\n")) << run.errors;
  }
}

TEST(Usage, NamesWhatIsWrong) {
  EXPECT_EQ(Zebmail({"domain", "create"}).errors,
            "zebmail: usage: NAME is required\nSee: zebmail --help\n");
  EXPECT_EQ(Zebmail({"domain"}).errors,
            "zebmail: usage: a command is missing\nSee: zebmail --help\n");
}

TEST(Usage, IsExplainedOnRequest) {
  const CommandRun run = Zebmail({"mailbox", "create", "--help"});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.output,
            "zebmail mailbox create: make a new mailbox\n"
            "\n"
            "Usage: zebmail mailbox create ADDR [--drop-mail]\n"
            "\n"
            "Its domain must be one of the panel. The mail goes to the Unix user of that\n"
            "name, unless mailbox_transport of main.cf names another way. The name must not\n"
            "be that of an alias in the domain.\n"
            "\n"
            "Arguments:\n"
            "  ADDR                the mailbox's address\n"
            "\n"
            "Options:\n"
            "  --drop-mail         keep no mail; forwards and responder still work\n"
            "  --help              print the help of the program, or of the command before\n"
            "                      it; also -h\n"
            "\n"
            "Examples:\n"
            "  zebmail mailbox create info@example.org\n"
            "\n"
            "zebmail --help lists the options that go with every command.\n");
}

TEST(Usage, OfAGroupOfCommandsListsThem) {
  EXPECT_EQ(Zebmail({"alias", "-h"}).output,
            "zebmail alias: aliases of mailboxes: further local parts in the mailbox's own domain\n"
            "\n"
            "Usage: zebmail alias COMMAND ...\n"
            "\n"
            "Commands:\n"
            "  add                 add aliases\n"
            "  remove              remove aliases\n"
            "  list                list the aliases of a mailbox\n"
            "\n"
            "Options:\n"
            "  --help              print the help of the program, or of the command before\n"
            "                      it; also -h\n"
            "\n"
            "zebmail --help lists the options that go with every command.\n");
}

TEST(Usage, OfTheProgramNamesEveryCommandAndOptionAndFitsATerminal) {
  const std::string help = Zebmail({"--help"}).output;

  EXPECT_TRUE(help.starts_with(
      "zebmail: run the mail of a Postfix server\n"
      "\n"
      "Usage: zebmail [--config FILE] [--json] [--dry-run] [--quiet] COMMAND ...\n"))
      << help;
  EXPECT_NE(help.find("\n  responder           automatic replies to mail for a mailbox: on, off, "
                      "show\n"),
            std::string::npos)
      << help;
  EXPECT_NE(help.find("\n  --json              print one JSON document\n"), std::string::npos);
  EXPECT_EQ(help.find("__complete"), std::string::npos);
  std::istringstream lines(help);
  for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), 80U) << line;
}

TEST(Configuration, IsTakenFromTheEnvironment) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  setenv("ZEBMAIL_CONFIG", panel.config().c_str(), 1);

  const CommandRun run =
      test_support::RunCommand({ZEBMAIL_BINARY, "domain", "show", "example.org"});

  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_TRUE(run.output.starts_with("name: example.org\n")) << run.output;
}

TEST(Configuration, OfTheCommandLineCountsMoreThanTheEnvironment) {
  const OwnPanel panel;
  setenv("ZEBMAIL_CONFIG", "/nonexistent", 1);

  const CommandRun run =
      test_support::RunCommand({ZEBMAIL_BINARY, "domain", "list", "--config", panel.config()});

  EXPECT_EQ(run.status, 0) << run.errors;
}

TEST(Configuration, ThatIsMissingIsNamed) {
  const CommandRun run = Zebmail({"--config", "/nonexistent/zebmail.toml", "domain", "list"});

  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(run.errors.starts_with("zebmail: config: /nonexistent/zebmail.toml: ")) << run.errors;
}

TEST(Configuration, WithUnknownKeyIsRefusedWithItsLine) {
  const OwnPanel panel;
  panel.folder().WriteText("panel/zebmail.toml",
                           "state = \"/x\"\n" + panel.folder().ReadText("panel/zebmail.toml"));

  const CommandRun run = panel.Run({"domain", "list"});

  EXPECT_EQ(run.status, 1);
  EXPECT_TRUE(run.errors.starts_with("zebmail: config: " + panel.config() + ":1: ")) << run.errors;
}

TEST(Configuration, WithoutBackEndNamesTheParameter) {
  const OwnPanel panel;
  panel.Configure("MTA", "smail");

  const CommandRun run = panel.Run({"domain", "create", "example.org"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zebmail: config: [param] MTA: no module in " +
                            std::string(ZEBMAIL_MODULE_DIR) +
                            " serves \"smail\"; set module_dir and MTA = \"postfix\" in " +
                            panel.config() + "\n");
  EXPECT_EQ(panel.Do({"domain", "list"}), "");
}

TEST(Output, ThatCannotBeWrittenIsAFailure) {
  const OwnPanel panel;

  const CommandRun run = test_support::RunCommand(
      {"/bin/sh", "-c", "exec \"$0\" --config \"$1\" domain list --json >/dev/full", ZEBMAIL_BINARY,
       panel.config()});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "zebmail: output: cannot be written\n"
            "next: what the command was to do has been done; only its words are lost\n");
}

TEST(Output, ThatIsClosedGoesIntoNoFileOfThePanel) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});

  const CommandRun run = test_support::RunCommand(
      {"/bin/sh", "-c", "exec \"$0\" --config \"$1\" domain suspend example.org <&- >&- 2>&-",
       ZEBMAIL_BINARY, panel.config()});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(panel.Do({"domain", "show", "example.org"}),
            "name: example.org\nactive: false\ndefaction: error\nredirect: \nip: \n");
}

}  // namespace
}  // namespace zebmail_test
