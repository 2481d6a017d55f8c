/// NAME
///   json_test - what every command prints with --json, held against the schema that is documented

#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using Words = std::vector<std::string>;

/// A definition of the schema, and a text that should go with it.
using Pair = std::pair<std::string, std::string>;

/// What is wrong with the documents, in lines; empty when they go with the schema.
std::string FaultsOf(const std::vector<Pair>& pairs) {
  const CommandRun run = test_support::RunCommand(
      {"/usr/bin/python3", ZEBMAIL_JSON_VALIDATOR, ZEBMAIL_DOCS "/json/zebmail.schema.json"},
      nlohmann::json(pairs).dump());
  EXPECT_EQ(run.errors, "");
  EXPECT_EQ(run.status == 0, run.output.empty());
  return run.output;
}

/// The commands that the help of `group` lists.
Words ListedIn(Words group) {
  group.emplace_back("--help");
  std::istringstream help(Zebmail(group).output);
  Words names;
  bool is_list = false;
  for (std::string line; std::getline(help, line);) {
    if (line.starts_with("  ") && is_list && line[2] != ' ') {
      names.push_back(line.substr(2, line.find(' ', 2) - 2));
    }
    if (!line.starts_with(" ")) is_list = line.find("ommands:") != std::string::npos;
  }
  return names;
}

/// Every command of the command line, "domain-list" for "domain list".
std::set<std::string> AllCommands() {
  std::set<std::string> all;
  for (const std::string& group : ListedIn({})) {
    const Words commands = ListedIn({group});
    if (commands.empty()) all.insert(group);
    for (const std::string& command : commands) all.insert(group + "-" + command);
  }
  return all;
}

/// A panel and the documents that the commands have printed on it.
class Printed {
 public:
  Printed() {
    panel_.folder().WriteText("away.txt", "I am away.\n");
    panel_.folder().WriteText("panel.jsonl", R"({"type":"domain","name":"new.example"})");
  }

  void Add(const std::string& definition, const Words& words, int status = 0) {
    Words all = {"--json"};
    all.insert(all.end(), words.begin(), words.end());
    const CommandRun run = panel_.Run(all);
    EXPECT_EQ(run.status, status) << testing::PrintToString(words) << run.errors;
    pairs_.emplace_back(definition, run.output);
  }

  /// Init takes no configuration.
  void AddInit(const std::string& definition, const Words& words) {
    const CommandRun run = Zebmail(words);
    EXPECT_EQ(run.status, 0) << run.errors;
    pairs_.emplace_back(definition, run.output);
  }

  const AnsweringPanel& panel() const { return panel_; }
  const std::vector<Pair>& pairs() const { return pairs_; }

 private:
  AnsweringPanel panel_;
  std::vector<Pair> pairs_;
};

/// Runs every command at least once. The order matters: each finds what those before have left.
std::vector<Pair> WhatEveryCommandPrints() {
  Printed printed;
  const PostfixFolder other;
  Words init = other.InitWords();
  init.insert(init.begin(), {"--json", "--dry-run"});
  printed.AddInit("init-dry-run", init);
  init.erase(init.begin() + 1);
  printed.AddInit("init", init);
  printed.AddInit("init", init);

  printed.Add("domain-list", {"domain", "list"});
  printed.Add("dry-run", {"--dry-run", "domain", "create", "example.org"});
  printed.Add("domain-create", {"domain", "create", "example.org", "--ip", "127.0.0.10"});
  printed.Add("domain-update", {"domain", "update", "example.org", "--default-action",
                                "redir_email", "--redirect", "a@b.example"});
  printed.Add("domain-suspend", {"domain", "suspend", "example.org"});
  printed.Add("domain-resume", {"domain", "resume", "example.org"});
  printed.Add("domain-show", {"domain", "show", "example.org"});
  printed.Add("domain-list", {"domain", "list"});

  const std::string mailbox = "info@example.org";
  printed.Add("mailbox-create", {"mailbox", "create", mailbox});
  printed.Add("mailbox-update", {"mailbox", "update", mailbox, "--drop-mail", "on"});
  printed.Add("mailbox-suspend", {"mailbox", "suspend", mailbox});
  printed.Add("mailbox-resume", {"mailbox", "resume", mailbox});
  printed.Add("alias-add", {"alias", "add", mailbox, "sales", "office"});
  printed.Add("alias-list", {"alias", "list", mailbox});
  printed.Add("alias-remove", {"alias", "remove", mailbox, "office"});
  printed.Add("forward-add", {"forward", "add", mailbox, "boss@example.net"});
  printed.Add("forward-list", {"forward", "list", mailbox});
  printed.Add("responder-on", {"responder", "on", mailbox, "--subject", "Away", "--text-file",
                               printed.panel().Path("away.txt")});
  printed.Add("responder-show", {"responder", "show", mailbox});
  printed.Add("dry-run", {"--dry-run", "mailbox", "delete", mailbox});
  printed.Add("mailbox-show", {"mailbox", "show", mailbox});
  printed.Add("mailbox-list", {"mailbox", "list"});
  printed.Add("trace", {"trace", "sales@example.org"});

  for (const std::string list : {"whitelist", "blacklist"}) {
    printed.Add(list + "-add",
                {list, "add", list + "@example.net", "192.0.2." + std::to_string(list.size())});
    printed.Add(list + "-list", {list, "list"});
  }
  printed.Add("webdomain-add", {"webdomain", "add", "hand.example", "--owner", "1"});
  printed.Add("webdomain-list", {"webdomain", "list"});
  printed.Add("export", {"export"});
  printed.Add("check", {"check"});
  printed.Add("check", {"--dry-run", "check", "--fix"});

  const std::string table = printed.panel().Table("virtusertable");
  printed.panel().SetTable("virtusertable", table + "@hand.example\tpostfix_err_nouser\n");
  printed.Add("sync-dry-run", {"--dry-run", "sync"});
  printed.Add("sync", {"sync"});
  printed.Add("dry-run", {"--dry-run", "import", printed.panel().Path("panel.jsonl")});
  printed.Add("import", {"import", printed.panel().Path("panel.jsonl")});
  printed.Add("postfix-config", {"postfix-config"});
  printed.Add("dry-run", {"--dry-run", "postfix-config", "--apply"});
  printed.panel().SetMainCf(printed.panel().BareMainCf());
  printed.Add("trace", {"trace", "sales@example.org"}, 1);
  printed.Add("check", {"check"}, 1);
  printed.Add("postfix-config", {"postfix-config"});
  printed.Add("postfix-config", {"postfix-config", "--apply"});

  for (const std::string list : {"whitelist", "blacklist"}) {
    printed.Add(list + "-remove", {list, "remove", list + "@example.net"});
  }
  printed.Add("webdomain-remove", {"webdomain", "remove", "hand.example"});
  printed.Add("responder-off", {"responder", "off", mailbox});
  printed.Add("forward-remove", {"forward", "remove", mailbox, "boss@example.net"});
  printed.Add("mailbox-delete", {"mailbox", "delete", mailbox});
  printed.Add("domain-delete", {"domain", "delete", "example.org"});
  return printed.pairs();
}

/// The examples of the documentation: what stands between "```json DEFINITION..." and "```".
std::vector<Pair> Examples() {
  std::vector<Pair> examples;
  std::istringstream text(test_support::ReadText(ZEBMAIL_DOCS "/json.md"));
  const std::string fence = "```json ";
  std::string document;
  Words definitions;
  for (std::string line; std::getline(text, line);) {
    if (line.starts_with(fence)) {
      std::istringstream names(line.substr(fence.size()));
      for (std::string name; names >> name;) definitions.push_back(name);
    } else if (line == "```") {
      for (const std::string& name : definitions) examples.emplace_back(name, document);
      definitions.clear();
      document.clear();
    } else if (!definitions.empty()) {
      document += line + "\n";
    }
  }
  return examples;
}

std::set<std::string> DefinitionsOf(const std::vector<Pair>& pairs) {
  std::set<std::string> definitions;
  for (const Pair& pair : pairs) definitions.insert(pair.first);
  return definitions;
}

TEST(Json, OfEveryCommandGoesWithTheSchema) {
  const std::vector<Pair> printed = WhatEveryCommandPrints();
  const std::set<std::string> commands = AllCommands();

  EXPECT_GE(commands.size(), 39U);
  EXPECT_THAT(DefinitionsOf(printed), testing::IsSupersetOf(commands));
  EXPECT_EQ(FaultsOf(printed), "");
}

TEST(Json, OfEveryCommandHasAnExampleThatGoesWithTheSchema) {
  const std::vector<Pair> examples = Examples();

  std::set<std::string> documented = AllCommands();
  documented.insert({"dry-run", "init-dry-run", "sync-dry-run"});
  EXPECT_EQ(DefinitionsOf(examples), documented);
  EXPECT_EQ(FaultsOf(examples), "");
}

TEST(Json, IsHeldAgainstASchemaThatRefusesWhatIsWrong) {
  const std::string good =
      R"({"name":"a","active":true,"defaction":"error","redirect":"","ip":""})";
  ASSERT_EQ(FaultsOf({{"domain-show", good}}), "");

  const auto refuses = [](const std::string& definition, const std::string& text,
                          const std::string& fault) {
    EXPECT_EQ(FaultsOf({{definition, text}}), definition + ": " + fault + "\n");
  };
  refuses("domain-show", R"({"name":"a","active":true,"defaction":"error","redirect":""})",
          "$: 'ip' is a required property");
  refuses("domain-show",
          R"({"name":"a","active":true,"defaction":"error","redirect":"","ip":"","x":1})",
          "$: Additional properties are not allowed ('x' was unexpected)");
  refuses("domain-show", R"({"name":"a","active":1,"defaction":"error","redirect":"","ip":""})",
          "$.active: 1 is not of type 'boolean'");
  refuses("domain-list", "[" + good + ",[]]", "$[1]: [] is not of type 'object'");
  refuses("domain-show", good + good,
          "is not one JSON document: Extra data: line 1 column " + std::to_string(good.size() + 1) +
              " (char " + std::to_string(good.size()) + ")");
  refuses("domain-show", "", "is not one JSON document: Expecting value: line 1 column 1 (char 0)");
  refuses("domain-bogus", good, "is not in the schema");
}

TEST(Json, OfAChangeIsLeftOutByQuiet) {
  const MailboxPanel panel;

  EXPECT_EQ(panel.Do({"--json", "--quiet", "mailbox", "suspend", "info@example.org"}), "");
  EXPECT_EQ(panel.Do({"--json", "--quiet", "sync"}), "");
  EXPECT_EQ(panel.Do({"--json", "--quiet", "alias", "list", "info@example.org"}), "[]\n");
  EXPECT_EQ(panel.Do({"--json", "--quiet", "--dry-run", "sync"}),
            panel.Do({"--json", "--dry-run", "sync"}));
}

TEST(Json, OfAnExportIsOneArrayOfItsLines) {
  const OwnPanel panel;
  EXPECT_EQ(panel.Do({"--json", "export"}), "[]\n");
  panel.Do({"webdomain", "add", "a.example", "--owner", "1"});
  panel.Do({"whitelist", "add", "b.example"});

  EXPECT_EQ(panel.Do({"--json", "export"}),
            "[\n"
            R"({"type":"webdomain","name":"a.example","owner":1})"
            ",\n"
            R"({"type":"whitelist","value":"b.example"})"
            "\n]\n");
}

TEST(Json, OfAnErrorIsNone) {
  const OwnPanel panel;
  const CommandRun run = panel.Run({"--json", "domain", "show", "example.org"});

  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.errors,
            "zebmail: missing: domain: example.org\nnext: see which there are: zebmail "
            "--config " +
                panel.config() + " domain list\n");
}

}  // namespace
}  // namespace zebmail_test
