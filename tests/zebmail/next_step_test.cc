/// NAME
///   next_step_test - what the command says to do about an error

#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

/// A panel with a mailbox that has an alias and a forward, a web domain and a listed sender.
class FullPanel : public MailboxPanel {
 public:
  FullPanel() {
    Do({"alias", "add", "info@example.org", "sales"});
    Do({"forward", "add", "info@example.org", "boss@example.net"});
    Do({"webdomain", "add", "hand.example", "--owner", "1"});
    Do({"blacklist", "add", "foe.example"});
  }

  std::string Command(const std::string& words) const {
    return "zebmail --config " + config() + " " + words + "\n";
  }

  /// What a command that fails says.
  std::string ErrorsOf(const std::vector<std::string>& words, const std::string& input = "") const {
    const CommandRun run = Run(words, input);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "");
    return run.errors;
  }
};

TEST(NextStep, OfWhatIsMissingIsToSeeWhatThereIs) {
  const FullPanel panel;
  const auto expect = [&panel](const std::vector<std::string>& words, const std::string& error,
                               const std::string& command) {
    EXPECT_EQ(panel.ErrorsOf(words), "zebmail: missing: " + error +
                                         "\nnext: see which there are: " + panel.Command(command));
  };

  expect({"domain", "show", "other.example"}, "domain: other.example", "domain list");
  expect({"mailbox", "show", "other@example.org"}, "mailbox: other@example.org", "mailbox list");
  expect({"mailbox", "show", "info@other.example"}, "mailbox: info@other.example", "mailbox list");
  expect({"alias", "remove", "info@example.org", "other"}, "alias: other", "alias list MAILBOX");
  expect({"forward", "remove", "info@example.org", "a@example.net"}, "forward: a@example.net",
         "forward list MAILBOX");
  expect({"webdomain", "remove", "other.example"}, "web domain: other.example", "webdomain list");
  expect({"whitelist", "remove", "a.example"}, "whitelist: a.example", "whitelist list");
  expect({"blacklist", "remove", "a.example"}, "blacklist: a.example", "blacklist list");
}

TEST(NextStep, OfWhatIsThereAlreadyIsToSeeItOrLeaveItOut) {
  const FullPanel panel;
  const auto expect = [&panel](const std::vector<std::string>& words, const std::string& error,
                               const std::string& step) {
    EXPECT_EQ(panel.ErrorsOf(words), "zebmail: exists: " + error + "\nnext: " + step);
  };
  const std::string one_use =
      "a name in a domain is one mailbox or one alias: take another, or remove that one first\n";

  expect({"domain", "create", "Example.org"}, "domain: Example.org",
         "it is there already; see it: " + panel.Command("domain show Example.org"));
  expect({"webdomain", "add", "hand.example", "--owner", "2"}, "web domain: hand.example",
         "it is there already; see all: " + panel.Command("webdomain list"));
  expect({"forward", "add", "info@example.org", "boss@example.net"}, "forward: boss@example.net",
         "it gets a copy already: leave it out\n");
  expect({"blacklist", "add", "foe.example"}, "blacklist: foe.example",
         "it is listed already: leave it out\n");
  expect({"mailbox", "create", "sales@example.org"},
         "mailbox: sales@example.org is an alias of info@example.org", one_use);
  expect({"alias", "add", "info@example.org", "info"}, "alias: info@example.org is a mailbox",
         one_use);
}

TEST(NextStep, OfALineThatIsGoneFromATableIsToSeeWhatElseDiffers) {
  const FullPanel panel;
  panel.SetTable("virtusertable", "");

  EXPECT_EQ(
      panel.ErrorsOf({"domain", "suspend", "example.org"}),
      "zebmail: missing: " + panel.Path("panel/mail/virtusertable") +
          ": example.org\n"
          "next: the table lacks the line that the panel has written; see what else differs: " +
          panel.Command("check"));
}

TEST(NextStep, OfALineThatCannotBeBroughtInIsToMendIt) {
  const FullPanel panel;

  EXPECT_EQ(panel.ErrorsOf({"import", "-"}, R"({"type":"mailbox","address":"a@gone.example"})"),
            "zebmail: missing: standard input:1: domain: gone.example\n"
            "next: nothing is brought in: mend the line, then run the command again\n");
  EXPECT_EQ(panel.ErrorsOf({"import", "-"}, "{}"),
            "zebmail: value: standard input:1: lacks the field \"type\"\n"
            "next: nothing is brought in: mend the line, then run the command again\n");
}

TEST(NextStep, GoesByTheCauseThatTheSystemNames) {
  const FullPanel panel;
  const std::string none = panel.Path("none.jsonl");
  EXPECT_EQ(panel.ErrorsOf({"import", none}),
            "zebmail: file: " + none +
                ": cannot be read: No such file or directory\n"
                "next: put it in place, or name another one, then run the command again\n");

  const std::string table = panel.Path("panel/mail/access");
  std::filesystem::remove(table);
  std::filesystem::create_symlink("nowhere", table);
  EXPECT_EQ(panel.ErrorsOf({"--dry-run", "blacklist", "add", "b.example"}),
            "zebmail: missing: " + table +
                ": put the table back in place; if it is to be begun anew, make an empty file, run "
                "zebmail sync and create what is missing\n");
}

TEST(NextStep, OfAToolThatFailsIsToMendWhatItNames) {
  const PostfixFolder place;
  const test_support::RecordingTool postmap(place.folder(), "postmap", "fatal: no luck\nat all\n",
                                            1);
  const test_support::RecordingTool postconf(place.folder(), "postconf", "hash\n");
  std::vector<std::string> words = place.InitWords();
  words.insert(words.end(), {"--path", "postfix-postmap=" + postmap.path()});

  const CommandRun run = Zebmail(words);

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "zebmail: email: postfix-postmap\nfatal: no luck\nat all\n"
            "next: mend what the tool names, then run the command again\n");
}

TEST(NextStep, OfAPlugInThatIsNoneIsToPutTheRightOneThere) {
  const FullPanel panel;
  panel.folder().WriteText("modules/broken.so", "no plug-in\n");
  std::string config = panel.folder().ReadText("panel/zebmail.toml");
  const std::size_t begin = config.find("module_dir = ");
  config.replace(begin, config.find('\n', begin) - begin,
                 "module_dir = \"" + panel.Path("modules") + "\"");
  panel.folder().WriteText("panel/zebmail.toml", config);

  const std::string errors = panel.ErrorsOf({"domain", "suspend", "example.org"});

  EXPECT_EQ(errors.substr(errors.find("\nnext: ")),
            "\nnext: the plug-in that came with this zebmail belongs there; module_dir in " +
                panel.config() + " names the folder\n");
}

/// The command of the advice is one for a shell, whatever the value holds.
TEST(NextStep, RepeatsAValueAsAShellTakesIt) {
  const FullPanel panel;
  panel.Do({"domain", "create", "bücher.example"});

  const std::string errors = panel.ErrorsOf({"domain", "create", "bücher.example"});

  EXPECT_EQ(errors, "zebmail: exists: domain: bücher.example\nnext: it is there already; see it: " +
                        panel.Command("domain show 'bücher.example'"));
  const std::string command = errors.substr(errors.find("zebmail --config"));
  EXPECT_EQ(CarryOut(command).output, panel.Do({"domain", "show", "bücher.example"}));
}

TEST(NextStep, IsLeftOutWhereTheErrorSaysItItself) {
  const FullPanel panel;
  panel.Do({"mailbox", "suspend", "info@example.org"});

  EXPECT_EQ(panel.ErrorsOf({"alias", "add", "info@example.org", "office"}),
            "zebmail: suspended: mailbox: info@example.org cannot be changed while it is "
            "suspended; resume it first\n");
  EXPECT_EQ(panel.ErrorsOf({"domain", "create", "a b"}),
            "zebmail: value: domain: \"a b\" is not a domain name\n");
}

/// A tool that has done its work may still have something to say.
TEST(ToolWarning, IsPassedOn) {
  const OwnPanel panel;
  const test_support::RecordingTool postmap(panel.folder(), "postmap");
  panel.Configure("postfix-postmap", postmap.path());
  postmap.SetOutput(
      "postmap: warning: virtusertable, line 2: duplicate entry: \"\x1b[2J\"\ndone\n");

  const CommandRun run = panel.Run({"domain", "create", "example.org"});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "example.org: created\n");
  EXPECT_EQ(run.errors,
            "zebmail: what was to be done is done, but a tool warns:\n"
            "postmap: warning: virtusertable, line 2: duplicate entry: \"\\x1b[2J\"\n"
            "what of it concerns the panel, tells: zebmail --config " +
                panel.config() + " check\n");
}

TEST(ToolWarning, IsShortened) {
  const OwnPanel panel;
  const test_support::RecordingTool postmap(panel.folder(), "postmap");
  panel.Configure("postfix-postmap", postmap.path());
  std::string output = "postmap: warning: " + std::string(1000, 'x') + "\n";
  std::string shown;
  for (int number = 1; number <= 12; ++number) {
    const std::string line = "postmap: warning: number " + std::to_string(number) + "\n";
    output += line;
    if (number <= 9) shown += line;
  }
  postmap.SetOutput(output);

  const std::string errors = panel.Run({"domain", "create", "example.org"}).errors;

  EXPECT_LT(errors.size(), 1000U);
  EXPECT_NE(errors.find(shown + "and 3 more warnings\n"), std::string::npos) << errors;
}

}  // namespace
}  // namespace zebmail_test
