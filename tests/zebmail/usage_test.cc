/// NAME
///   usage_test - the command line itself: what it takes, and the exit status

#include <cstdlib>
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
  const CommandRun run = Zebmail({"domain", "create", "--help"});

  EXPECT_EQ(run.status, 0);
  EXPECT_NE(run.output.find("--default-action"), std::string::npos);
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
  EXPECT_EQ(run.errors, "zebmail: output: cannot be written\n");
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
