/// NAME
///   shell_completion_test - the completion of zebmail in real shells
///
/// PURPOSE
///   A shell on a terminal is given the beginning of a line and a tab, and then a key that has it
///   print the line that it has made of that.

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/terminal.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

const char* const kPrintLine = "\x0f";  // ctrl-o

std::string Shim(const std::string& name) {
  return std::string(ZEBMAIL_COMPLETION_FOLDER) + "/" + name;
}

/// A panel that the command works with when a shell calls it.
class ShellCompletion : public testing::Test {
 protected:
  ShellCompletion() {
    panel_.Do({"domain", "create", "example.org"});
    panel_.Do({"domain", "create", "münchen.example"});
    panel_.Do({"mailbox", "create", "info@example.org"});
    panel_.Do({"mailbox", "create", "inge@example.org"});
    panel_.Do({"alias", "add", "info@example.org", "sales"});
    panel_.Do({"blacklist", "add", "2001:db8::1"});
    panel_.folder().WriteText("home/a file.jsonl", "");
    panel_.folder().WriteText("home/folder/x", "");
    const std::string folder = std::filesystem::path(ZEBMAIL_BINARY).parent_path();
    setenv("PATH", (folder + ":/usr/bin:/bin").c_str(), 1);
    setenv("ZEBMAIL_CONFIG", panel_.config().c_str(), 1);
    setenv("HOME", home().c_str(), 1);
    setenv("LC_ALL", "C.UTF-8", 1);
    setenv("TERM", "dumb", 1);
    setenv("INPUTRC", "/dev/null", 1);
    std::filesystem::current_path(home());
  }

  std::string home() const { return panel_.Path("home"); }

  /// What the shell, once it is ready, makes of the line when the tab is typed.
  static std::string LineOf(std::vector<std::string> shell, const std::string& typed) {
    test_support::OnTerminal terminal(std::move(shell));
    terminal.ReadUntil("ready> ");
    terminal.Type(typed + "\t" + kPrintLine);
    const std::string printed = terminal.ReadUntil("]]");
    terminal.Type("\x15\x04");  // the line away, and the end
    terminal.ReadAll();
    terminal.Wait();
    const std::size_t begin = printed.rfind("[[");
    return begin == std::string::npos ? printed
                                      : printed.substr(begin + 2, printed.rfind("]]") - begin - 2);
  }

  /// The lines that every shell is to make of what is typed.
  template <class Shell>
  static void ExpectLines(const Shell& shell) {
    EXPECT_EQ(shell("zebmail dom"), "zebmail domain ");
    EXPECT_EQ(shell("zebmail domain show e"), "zebmail domain show example.org ");
    EXPECT_EQ(shell("zebmail domain show mün"), "zebmail domain show münchen.example ");
    EXPECT_EQ(shell("zebmail mailbox show inf"), "zebmail mailbox show info@example.org ");
    EXPECT_EQ(shell("zebmail mailbox show in"), "zebmail mailbox show in");
    EXPECT_EQ(shell("zebmail mailbox show info@"), "zebmail mailbox show info@example.org ");
    EXPECT_EQ(shell("zebmail mailbox show info@ex"), "zebmail mailbox show info@example.org ");
    EXPECT_EQ(shell("zebmail alias remove info@example.org s"),
              "zebmail alias remove info@example.org sales ");
    EXPECT_EQ(shell("zebmail blacklist remove 2001:d"), "zebmail blacklist remove 2001:db8::1 ");
    EXPECT_EQ(shell("zebmail mailbox update info@example.org --drop-mail of"),
              "zebmail mailbox update info@example.org --drop-mail off ");
    EXPECT_EQ(shell("zebmail domain update --default-action=i"),
              "zebmail domain update --default-action=ignore ");
    EXPECT_EQ(shell("zebmail init --path postfix-b"), "zebmail init --path postfix-bin=");
    EXPECT_EQ(shell("zebmail import a"), "zebmail import a\\ file.jsonl ");
    EXPECT_EQ(shell("zebmail init --root f"), "zebmail init --root folder/");
    EXPECT_EQ(shell("zebmail bogus "), "zebmail bogus ");
  }

  const OwnPanel panel_;
};

class InBash : public ShellCompletion {
 protected:
  /// `first` is what is read before the completion of zebmail.
  auto Bash(const std::string& first) const {
    const std::string start = panel_.folder().WriteText(
        "home/start", "PS1='ready> '\n" + first + "source '" + Shim("zebmail.bash") +
                          "'\nbind 'set enable-bracketed-paste off'\n"
                          "bind -x '\"\\C-o\": printf \"[[%s]]\" \"$READLINE_LINE\"'\n");
    return [start](const std::string& typed) {
      return LineOf({"/bin/bash", "--noprofile", "--rcfile", start, "-i"}, typed);
    };
  }
};

TEST_F(InBash, GoesOnByItself) {
  ExpectLines(Bash(""));
}

TEST_F(InBash, GoesOnBesideTheCompletionOfOtherCommands) {
  ExpectLines(Bash("source /usr/share/bash-completion/bash_completion\n"));
}

TEST_F(InBash, GoesOnWhereWordsDoNotEndAtSigns) {
  ExpectLines(Bash("COMP_WORDBREAKS=\" \"\n"));
}

TEST_F(InBash, GoesOnInQuotes) {
  EXPECT_EQ(Bash("")("zebmail mailbox show \"info@ex"),
            "zebmail mailbox show \"info@example.org\" ");
  EXPECT_EQ(Bash("")("zebmail --config '" + panel_.config() + "' domain show e"),
            "zebmail --config '" + panel_.config() + "' domain show example.org ");
}

using InZsh = ShellCompletion;

TEST_F(InZsh, GoesOn) {
  panel_.folder().WriteText("home/.zshrc", std::string("PS1='ready> '\nfpath=('") +
                                               ZEBMAIL_COMPLETION_FOLDER +
                                               "' $fpath)\nautoload -Uz compinit\ncompinit -u -D\n"
                                               "unsetopt automenu\nunset zle_bracketed_paste\n"
                                               "print-line() { print -rn -- \"[[$BUFFER]]\" }\n"
                                               "zle -N print-line\nbindkey '^O' print-line\n");

  ExpectLines([](const std::string& typed) { return LineOf({"/usr/bin/zsh", "-d", "-i"}, typed); });
}

class InFish : public ShellCompletion {
 protected:
  /// What fish offers for the line, a word and its text a line.
  static std::string Offered(const std::string& line) {
    return test_support::RunCommand({"/usr/bin/fish", "--no-config", "-c",
                                     "source '" + Shim("zebmail.fish") + "'; complete -C $argv[1]",
                                     line})
        .output;
  }
};

TEST_F(InFish, OffersTheSameWords) {
  EXPECT_EQ(Offered("zebmail dom"), "domain\tmail domains\n");
  EXPECT_EQ(Offered("zebmail domain show e"), "example.org\n");
  EXPECT_EQ(Offered("zebmail domain show mün"), "münchen.example\n");
  EXPECT_EQ(Offered("zebmail mailbox show in"), "info@example.org\ninge@example.org\n");
  EXPECT_EQ(Offered("zebmail mailbox show info@ex"), "info@example.org\n");
  EXPECT_EQ(Offered("zebmail alias remove info@example.org s"), "sales\n");
  EXPECT_EQ(Offered("zebmail blacklist remove 2001:d"), "2001:db8::1\n");
  EXPECT_EQ(Offered("zebmail mailbox update info@example.org --drop-mail of"), "off\n");
  EXPECT_EQ(Offered("zebmail domain update --default-action=i"), "--default-action=ignore\n");
  EXPECT_EQ(Offered("zebmail import a"), "a file.jsonl\n");
  EXPECT_EQ(Offered("zebmail init --path postfix-bin=fol"), "postfix-bin=folder/\n");
  EXPECT_EQ(Offered("zebmail bogus "), "");
}

TEST_F(InFish, IsToldWhatIsTypedInQuotes) {
  EXPECT_EQ(Offered("zebmail --config '" + panel_.config() + "' domain show e"), "example.org\n");
}

}  // namespace
}  // namespace zebmail_test
