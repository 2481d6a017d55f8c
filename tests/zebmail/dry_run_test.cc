/// NAME
///   dry_run_test - a change that is shown and not made

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/terminal.h"
#include "tests/zebmail/next_step.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

TEST(DryRun, ShowsDiffsRowsAndTools) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "a.example"});
  const std::string virtusertable = panel.Path("panel/mail/virtusertable");
  const std::string names = panel.Path("panel/mail/local-host-names");

  EXPECT_EQ(panel.Do({"--dry-run", "domain", "create", "b.example", "--default-action", "ignore"}),
            "--- " + virtusertable + "\n+++ " + virtusertable +
                "\n"
                "@@ -1 +1,2 @@\n"
                " @a.example\tpostfix_err_nouser\n"
                "+@b.example\tdevnull\n"
                "--- " +
                names + "\n+++ " + names +
                "\n"
                "@@ -1 +1,2 @@\n"
                " a.example\n"
                "+b.example\n"
                "database: insert email_domain: name=b.example active=true defaction=ignore\n"
                "tool: " +
                panel.MapCommand("postmap", "virtusertable") + "\ntool: " + panel.postfix().path() +
                " reload\n");
}

/// The bound domain's line holds a backslash; the other one is around it in the diff.
TEST(DryRun, EscapesOnATerminalWhatATableHidesAndGivesPatchTheBytes) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "a.example"});
  const std::string table = panel.Path("panel/mail/local-host-names");
  panel.SetTable("local-host-names", "# \x1b[31m\tred\u2800\\\n" + panel.Table("local-host-names"));
  const std::vector<std::string> words = {"--dry-run", "domain", "create", "b.example"};
  const std::string shown =
      "\r\n # \\x1b[31m\tred\\xe2\\xa0\\x80\\\r\n a.example\r\n+b.example\r\n";

  std::vector<std::string> line = {ZEBMAIL_BINARY, "--config", panel.config()};
  line.insert(line.end(), words.begin(), words.end());
  test_support::OnTerminal terminal(line);
  EXPECT_THAT(terminal.ReadAll(), testing::HasSubstr(shown));
  EXPECT_EQ(terminal.Wait(), 0);

  const std::string diff = panel.Do(words);
  const CommandRun patched = test_support::RunCommand({"/usr/bin/patch", "-p0", "--binary", table},
                                                      diff.substr(diff.find("--- " + table)));
  EXPECT_EQ(patched.status, 0) << patched.output << patched.errors;
  EXPECT_EQ(panel.Table("local-host-names"), "# \x1b[31m\tred\u2800\\\na.example\nb.example\n");
}

TEST(DryRun, PrintsOneJsonDocument) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "a.example"});
  const std::string access = panel.Path("panel/mail/access");

  EXPECT_EQ(panel.Do({"--dry-run", "--json", "domain", "suspend", "a.example"}),
            "{\n"
            "  \"files\": [\n"
            "    {\n"
            "      \"path\": \"" +
                access +
                "\",\n"
                "      \"diff\": \"--- " +
                access + "\\n+++ " + access +
                "\\n@@ -0,0 +1 @@\\n+a.example\\t550 Account disabled\\n\"\n"
                "    }\n"
                "  ],\n"
                "  \"rows\": [\n"
                "    {\n"
                "      \"table\": \"email_domain\",\n"
                "      \"what\": \"update\",\n"
                "      \"row\": \"id=1 name=a.example active=true -> false\"\n"
                "    }\n"
                "  ],\n"
                "  \"tools\": [\n"
                "    \"" +
                panel.MapCommand("postmap", "access") +
                "\"\n"
                "  ]\n"
                "}\n");
}

TEST(DryRun, ShowsAllThatGoesWithAMailbox) {
  const MailboxPanel panel;
  panel.Do({"alias", "add", "info@example.org", "sales"});
  panel.Do({"forward", "add", "info@example.org", "boss@example.net"});
  panel.Do({"responder", "on", "info@example.org", "--subject", "Away", "--text-file", "-"}, "A");
  const std::string aliases = panel.Path("panel/mail/aliases");
  const std::string virtusertable = panel.Path("panel/mail/virtusertable");

  EXPECT_EQ(panel.Do({"--dry-run", "mailbox", "delete", "info@example.org"}),
            "--- " + aliases + "\n+++ " + aliases +
                "\n"
                "@@ -1,3 +1,2 @@\n"
                " postfix_err_nouser:\t\"| exit 67\"\n"
                " devnull:\t\"/dev/null\"\n"
                "-info+example.org:\tboss@example.net," +
                panel.AnswerOf(1) + "\n--- " + virtusertable + "\n+++ " + virtusertable +
                "\n"
                "@@ -1,3 +1 @@\n"
                " @example.org\tpostfix_err_nouser\n"
                "-info@example.org\tinfo@example.org info+example.org\n"
                "-sales@example.org\tinfo@example.org\n"
                "database: delete email_alias: id=1 name=sales email=1\n"
                "database: delete email_forward: id=1 name=boss@example.net email=1\n"
                "database: delete email_responder: id=1 email=1 active=true\n"
                "database: delete responder_text: id=1 mailbox=1 subject=Away body=A\n"
                "database: delete email: id=1 name=info domain=1 active=true dropmail=false\n"
                "tool: " +
                panel.MapCommand("postalias", "aliases") +
                "\ntool: " + panel.MapCommand("postmap", "virtusertable") + "\n");
}

TEST(DryRun, ShowsNothingWhereNothingWouldChange) {
  const MailboxPanel panel;
  panel.Do({"forward", "add", "info@example.org", "boss@example.net"});
  panel.Do({"responder", "on", "info@example.org"});

  EXPECT_EQ(panel.Do({"--dry-run", "mailbox", "update", "info@example.org", "--drop-mail", "off"}),
            "");
  EXPECT_EQ(panel.Do({"--dry-run", "responder", "on", "info@example.org"}), "");
  EXPECT_EQ(panel.Do({"--dry-run", "mailbox", "resume", "info@example.org"}), "");
}

TEST(DryRun, OfEachCommandChangesNothing) {
  const AnsweringPanel panel;
  panel.Do({"domain", "create", "example.org", "--ip", "127.0.0.10"});
  panel.Do({"mailbox", "create", "info@example.org"});
  panel.Do({"alias", "add", "info@example.org", "sales"});
  panel.Do({"forward", "add", "info@example.org", "boss@example.net"});
  panel.Do({"responder", "on", "info@example.org"});
  panel.Do({"mailbox", "create", "office@example.org"});
  const auto before = Snapshot(panel.folder().path());
  const std::vector<std::vector<std::string>> changes = {
      {"domain", "create", "a.example", "--ip", "127.0.0.11"},
      {"domain", "update", "example.org", "--default-action", "ignore", "--ip", ""},
      {"domain", "suspend", "example.org"},
      {"domain", "resume", "example.org"},
      {"domain", "delete", "example.org"},
      {"mailbox", "create", "new@example.org", "--drop-mail"},
      {"mailbox", "update", "info@example.org", "--drop-mail", "on"},
      {"mailbox", "suspend", "info@example.org"},
      {"mailbox", "resume", "info@example.org"},
      {"mailbox", "delete", "info@example.org"},
      {"alias", "add", "info@example.org", "help"},
      {"alias", "remove", "info@example.org", "sales"},
      {"forward", "add", "info@example.org", "x@example.net"},
      {"forward", "remove", "info@example.org", "boss@example.net"},
      {"responder", "on", "info@example.org", "--subject", "New"},
      {"responder", "on", "office@example.org"},
      {"responder", "off", "info@example.org"},
      {"check", "--fix"},
      {"init", "--root", panel.Path("panel")},
      {"init", "--root", panel.Path("other")},
  };
  for (std::vector<std::string> words : changes) {
    if (words.front() == "init") {
      words.insert(words.begin(), "--dry-run");
      EXPECT_EQ(Zebmail(words).status, 0) << testing::PrintToString(words);
    } else {
      words.insert(words.begin() + 1, "--dry-run");
      panel.Do(words);
    }

    EXPECT_EQ(Snapshot(panel.folder().path()), before) << testing::PrintToString(words);
  }
}

TEST(DryRun, FailsAsTheChangeWould) {
  const OwnPanel panel;

  const CommandRun run = panel.Run({"--dry-run", "domain", "suspend", "example.org"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(WithoutNextStep(run.errors), "zebmail: missing: domain: example.org\n");
}

TEST(DryRun, ShowsEntriesThatThePanelWouldPutThere) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "a.example"});
  panel.SetTable("aliases", "root: admin\n");
  const std::string aliases = panel.Path("panel/mail/aliases");

  const std::string shown = panel.Do({"--dry-run", "domain", "update", "a.example"});

  EXPECT_EQ(shown, "--- " + aliases + "\n+++ " + aliases +
                       "\n"
                       "@@ -1 +1,3 @@\n"
                       " root: admin\n"
                       "+postfix_err_nouser:\t\"| exit 67\"\n"
                       "+devnull:\t\"/dev/null\"\n"
                       "tool: " +
                       panel.MapCommand("postalias", "aliases") + "\n");
  EXPECT_EQ(panel.Table("aliases"), "root: admin\n");
}

TEST(DryRun, ShowsTextThatIsNotUtf8) {
  const OwnPanel panel;
  panel.SetTable("virtusertable", "# caf\xe9\n");

  const std::string text = panel.Do({"--dry-run", "domain", "create", "a.example"});
  const std::string json = panel.Do({"--dry-run", "--json", "domain", "create", "a.example"});

  EXPECT_NE(text.find(" # caf\xe9\n"), std::string::npos) << text;
  EXPECT_NE(json.find(" # caf\uFFFD\\n"), std::string::npos) << json;
}

}  // namespace
}  // namespace zebmail_test
