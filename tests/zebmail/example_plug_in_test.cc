/// NAME
///   example_plug_in_test - a panel whose mail back-end is not this project's own

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

/// A panel with both plug-ins in its folder, and the example in use.
class JournalPanel : public OwnPanel {
 public:
  JournalPanel() {
    folder().WriteText("modules/README", "");
    test_support::SetMode(Path("modules"), 0755);
    for (const char* plug_in : {ZEBMAIL_PLUGIN, ZEBMAIL_EXAMPLE_PLUGIN}) {
      const std::filesystem::path from(plug_in);
      std::filesystem::copy_file(from, Path("modules/" + from.filename().string()));
    }
    Configure("module_dir", Path("modules"));
    Configure("MTA", "journal");
    Configure("journal-file", Path("journal"));
  }
};

TEST(ExamplePlugIn, IsCalledForEachChange) {
  const JournalPanel panel;

  panel.Do({"domain", "create", "example.org"});
  panel.Do({"mailbox", "create", "info@example.org"});
  panel.Do({"alias", "add", "info@example.org", "sales"});
  panel.Do({"mailbox", "suspend", "info@example.org"});
  panel.Do({"blacklist", "add", "foe.example"});
  panel.Do({"domain", "delete", "example.org"});

  EXPECT_EQ(panel.folder().ReadText("journal"),
            "create example.org\n"
            "create info@example.org\n"
            "update info@example.org\n"
            "suspend info@example.org\n"
            "refuse foe.example\n"
            "delete info@example.org\n"
            "delete example.org\n");
}

TEST(ExamplePlugIn, FailsAsAnyBackEndDoesWithNothingChanged) {
  const JournalPanel panel;
  panel.Configure("journal-file", panel.Path("nowhere/journal"));

  const CommandRun run = panel.Run({"domain", "create", "example.org"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "zebmail: file: " + panel.Path("nowhere/journal") + ": cannot be written\n");
  EXPECT_EQ(panel.Do({"domain", "list"}), "");
}

TEST(ExamplePlugIn, HasNoTablesThatASyncCouldRead) {
  const JournalPanel panel;

  const CommandRun run = panel.Run({"sync"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "zebmail: path: journal-virtusertable: is neither in [path] nor set by a plug-in, so "
            "that there is no table to read\n");
}

/// The Postfix of the machine is another's then: main.cf must not be led to tables that stay empty.
TEST(ExamplePlugIn, LeavesPostfixAsItIs) {
  const JournalPanel panel;
  panel.SetMainCf(panel.BareMainCf());
  panel.Do({"domain", "create", "example.org"});
  std::filesystem::remove(panel.Path("panel/mail/access"));
  const auto before = Snapshot(panel.Path("config"));
  const std::string refusal =
      "zebmail: config: [param] MTA: is \"journal\", so that there is nothing to set in Postfix\n";

  for (const std::vector<std::string>& words :
       {std::vector<std::string>{"check"}, {"check", "--fix"}}) {
    EXPECT_EQ(panel.Do(words), "nothing is wrong\n");
  }
  for (const std::vector<std::string>& words : {std::vector<std::string>{"postfix-config"},
                                                {"postfix-config", "--apply"},
                                                {"--dry-run", "postfix-config", "--apply"}}) {
    const CommandRun run = panel.Run(words);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, refusal);
    EXPECT_EQ(run.output, "");
  }

  EXPECT_EQ(Snapshot(panel.Path("config")), before);
  EXPECT_FALSE(std::filesystem::exists(panel.Path("panel/mail/access")));
  EXPECT_EQ(panel.postfix().Runs(), std::vector<std::string>());
}

}  // namespace
}  // namespace zebmail_test
