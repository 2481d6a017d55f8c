/// NAME
///   init_test - making a panel

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/zebmail/next_step.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

namespace fs = std::filesystem;
using test_support::ModeOf;
using test_support::RecordingTool;
using testing::ElementsAre;

/// Without what is known of the maps.
std::vector<std::string> NamesIn(const fs::path& folder) {
  std::vector<std::string> names;
  for (const auto& [name, text] : Snapshot(folder)) {
    if (!name.starts_with("state/maps/")) names.push_back(name);
  }
  return names;
}

/// The command that builds maps, as far as it is configured.
std::string MapTool(const std::string& tool, const PostfixFolder& place) {
  return std::string(ZEBMAIL_MAPS_FOLDER) + "/zebmail-" + tool + " --state " +
         place.Path("panel/state") + " -c " + place.Path("config");
}

TEST(Init, MakesSelfContainedPanel) {
  const PostfixFolder place;

  const CommandRun run = Zebmail(place.InitWords());

  const std::string panel = place.Path("panel");
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.output,
            "made " + panel + "\n" + "made " + panel + "/state\n" + "made " + panel + "/mail\n" +
                "made " + panel + "/panel.db\n" + "made " + panel + "/mail/virtusertable\n" +
                "made " + panel + "/mail/local-host-names\n" + "made " + panel + "/mail/access\n" +
                "made " + panel + "/mail/aliases\n" + "made " + panel + "/mail/domainips\n" +
                "made " + panel + "/zebmail.toml\n" + "made " + panel + "/mail/virtusertable.db\n" +
                "made " + panel + "/mail/access.db\n" + "next: zebmail --config " + panel +
                "/zebmail.toml domain create NAME\n");
  EXPECT_THAT(
      NamesIn(panel),
      ElementsAre("mail/", "mail/access", "mail/access.db", "mail/aliases", "mail/aliases.db",
                  "mail/domainips", "mail/local-host-names", "mail/virtusertable",
                  "mail/virtusertable.db", "panel.db", "state/", "state/lock", "state/made",
                  "state/pending/", "state/zebfen.log", "zebmail.toml"));
  EXPECT_EQ(place.folder().ReadText("panel/mail/aliases"),
            "postfix_err_nouser:\t\"| exit 67\"\ndevnull:\t\"/dev/null\"\n");
}

TEST(Init, ListsWhatItMakesForWhoTakesItAway) {
  const PostfixFolder place;
  place.folder().WriteText("panel/mail/virtusertable", "@example.org\tjoe@example.net\n");

  Zebmail(place.InitWords());

  const std::string panel = place.Path("panel");
  EXPECT_EQ(place.folder().ReadText("panel/state/made"),
            "kept\t" + panel + "/mail/virtusertable\n" + "folder\t" + panel + "/state\n" +
                "file\t" + panel + "/panel.db\n" + "file\t" + panel + "/mail/local-host-names\n" +
                "file\t" + panel + "/mail/access\n" + "file\t" + panel + "/mail/aliases\n" +
                "file\t" + panel + "/mail/domainips\n" + "file\t" + panel + "/zebmail.toml\n" +
                "file\t" + panel + "/mail/virtusertable.db\n" + "file\t" + panel +
                "/mail/access.db\n");
}

TEST(Init, ListsMapsThatWereThereAsKept) {
  const PostfixFolder place;
  place.folder().WriteText("panel/mail/virtusertable", "@example.org\tjoe@example.net\n");
  place.folder().WriteText("panel/mail/virtusertable.db", "somebody's map");

  Zebmail(place.InitWords());

  const std::string table = place.Path("panel/mail/virtusertable");
  EXPECT_THAT(place.folder().ReadText("panel/state/made"),
              testing::StartsWith("kept\t" + table + "\nkept\t" + table + ".db\nfolder\t"));
}

TEST(Init, ListsWhatItHasMadeWhenAToolFails) {
  const PostfixFolder place;
  const std::string main_cf = place.folder().ReadText("config/main.cf");
  place.folder().WriteText("config/main.cf", main_cf + "no setting\n");

  const CommandRun run = Zebmail(place.InitWords());

  EXPECT_EQ(run.status, 1);
  const std::string panel = place.Path("panel");
  EXPECT_EQ(place.folder().ReadText("panel/state/made"),
            "folder\t" + panel + "\n" + "folder\t" + panel + "/state\n" + "folder\t" + panel +
                "/mail\n" + "file\t" + panel + "/panel.db\n" + "file\t" + panel +
                "/mail/virtusertable\n" + "file\t" + panel + "/mail/local-host-names\n" + "file\t" +
                panel + "/mail/access\n" + "file\t" + panel + "/mail/aliases\n" + "file\t" + panel +
                "/mail/domainips\n" + "file\t" + panel + "/zebmail.toml\n");
}

TEST(Init, ListsWhatItHasMadeWhenAFolderCannotBeMade) {
  const PostfixFolder place;
  std::vector<std::string> words = place.InitWords();
  words.insert(words.end(), {"--path", "postfix-accessdb=/proc/mail/access"});

  const CommandRun run = Zebmail(words);

  EXPECT_EQ(run.errors,
            "zebmail: file: /proc/mail: cannot be made: No such file or directory\n"
            "next: put it in place, or name another one, then run the command again\n");
  const std::string panel = place.Path("panel");
  EXPECT_EQ(
      place.folder().ReadText("panel/state/made"),
      "folder\t" + panel + "\n" + "folder\t" + panel + "/state\n" + "folder\t" + panel + "/mail\n");
}

TEST(Init, ListsNothingWhereItMakesNothing) {
  const OwnPanel panel;
  const std::string before = panel.folder().ReadText("panel/state/made");

  Zebmail(panel.InitWords());

  EXPECT_EQ(panel.folder().ReadText("panel/state/made"), before);
}

TEST(Init, WritesConfiguration) {
  const PostfixFolder place;
  Zebmail(place.InitWords());

  const std::string panel = place.Path("panel");
  EXPECT_EQ(place.folder().ReadText("panel/zebmail.toml"),
            "state_dir = \"" + panel + "/state\"\n" + "module_dir = \"" + ZEBMAIL_MODULE_DIR +
                "\"\n" + "database = \"sqlite3://" + panel + "/panel.db\"\n" +
                "tool_timeout = 600\n"
                "\n"
                "[param]\n"
                "MTA = \"postfix\"\n"
                "\n"
                "[path]\n"
                "postfix-accessdb = \"" +
                panel + "/mail/access\"\n" + "postfix-aliases = \"" + panel + "/mail/aliases\"\n" +
                "postfix-bin = \"" + place.postfix().path() + "\"\n" + "postfix-domainips = \"" +
                panel + "/mail/domainips\"\n" + "postfix-localhostnames = \"" + panel +
                "/mail/local-host-names\"\n" + "postfix-master = \"" + place.Path("config") +
                "/master.cf\"\n" + "postfix-postalias = \"" + MapTool("postalias", place) + "\"\n" +
                "postfix-postmap = \"" + MapTool("postmap", place) + "\"\n" +
                "postfix-virtusertable = \"" + panel + "/mail/virtusertable\"\n");
}

TEST(Init, KeepsOthersOut) {
  const PostfixFolder place;
  Zebmail(place.InitWords());

  EXPECT_EQ(ModeOf(place.Path("panel")), 0755U);
  EXPECT_EQ(ModeOf(place.Path("panel/mail")), 0755U);
  EXPECT_EQ(ModeOf(place.Path("panel/mail/virtusertable")), 0644U);
  EXPECT_EQ(ModeOf(place.Path("panel/state")), 0711U);
  EXPECT_EQ(ModeOf(place.Path("panel/zebmail.toml")), 0640U);
  EXPECT_EQ(ModeOf(place.Path("panel/panel.db")), 0640U);
}

TEST(Init, WithoutPostfixConfigurationKeepsMasterCfWithTheTables) {
  const PostfixFolder place;

  const CommandRun run = Zebmail(
      {"init", "--root", place.Path("panel"), "--path", "postfix-bin=" + place.postfix().path(),
       "--path", "postfix-postmap=/usr/sbin/postmap -c " + place.Path("config"), "--path",
       "postfix-postalias=/usr/sbin/postalias -c " + place.Path("config")});

  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(place.folder().ReadText("panel/mail/master.cf"), "");
  const std::string config = place.folder().ReadText("panel/zebmail.toml");
  EXPECT_NE(config.find("postfix-master = \"" + place.Path("panel") + "/mail/master.cf\"\n"),
            std::string::npos)
      << config;
}

TEST(Init, ConfiguresThePostfixCommandByDefault) {
  const PostfixFolder place;

  Zebmail({"init", "--root", place.Path("panel"), "--postfix-config", place.Path("config")});

  const std::string config = place.folder().ReadText("panel/zebmail.toml");
  EXPECT_NE(config.find("postfix-bin = \"/usr/sbin/postfix -c " + place.Path("config") + "\"\n"),
            std::string::npos)
      << config;
}

TEST(Init, TakesParametersAndEscapesWhatTomlWouldRead) {
  const PostfixFolder place;
  std::vector<std::string> words = place.InitWords();
  words.insert(words.end(), {"--param", "odd name=a \"b\" \\c", "--param", "plain=x=y"});

  const CommandRun run = Zebmail(words);

  EXPECT_EQ(run.status, 0) << run.errors;
  const std::string config = place.folder().ReadText("panel/zebmail.toml");
  EXPECT_NE(config.find("[param]\n"
                        "MTA = \"postfix\"\n"
                        "\"odd name\" = \"a \\\"b\\\" \\\\c\"\n"
                        "plain = \"x=y\"\n"),
            std::string::npos)
      << config;
}

TEST(Init, LeavesCompletePanelAlone) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  const auto before = Snapshot(panel.Path("panel"));

  const CommandRun run = Zebmail({"init", "--root", panel.Path("panel"), "--param", "MTA=other"});

  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.output, panel.config() + ": this panel is complete; nothing was made\n" +
                            panel.config() +
                            " was left as it is; the options of this run are not in it\n"
                            "next: zebmail --config " +
                            panel.config() + " domain create NAME\n");
  EXPECT_EQ(Snapshot(panel.Path("panel")), before);
}

TEST(Init, CompletesHalfMadePanel) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  const auto before = Snapshot(panel.Path("panel"));
  fs::remove(panel.Path("panel/mail/access"));
  fs::remove(panel.Path("panel/mail/virtusertable.db"));

  const CommandRun run = Zebmail({"--json", "init", "--root", panel.Path("panel")});

  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_EQ(run.output, "{\n  \"config\": \"" + panel.config() + "\",\n  \"made\": [\n    \"" +
                            panel.Path("panel/mail/access") + "\",\n    \"" +
                            panel.Path("panel/mail/virtusertable.db") + "\",\n    \"" +
                            panel.Path("panel/mail/access.db") + "\"\n  ]\n}\n");
  EXPECT_EQ(Snapshot(panel.Path("panel")).size(), before.size());
  EXPECT_EQ(panel.Lookup("virtusertable", "@example.org"), "postfix_err_nouser");
}

TEST(Init, IsCompletedAfterFailingTool) {
  const PostfixFolder place;
  const RecordingTool postmap(place.folder(), "postmap", "no space\nleft\n", 1);
  const RecordingTool postconf(place.folder(), "postconf", "hash\n");
  std::vector<std::string> words = place.InitWords();
  words.insert(words.end(), {"--path", "postfix-postmap=" + postmap.path()});

  const CommandRun run = Zebmail(words);
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(WithoutNextStep(run.errors), "zebmail: email: postfix-postmap\nno space\nleft\n");

  postmap.SetStatus(0);
  EXPECT_EQ(Zebmail(words).status, 0);
  EXPECT_THAT(postmap.Runs(),
              ElementsAre(place.Path("panel/mail/virtusertable"),
                          place.Path("panel/mail/virtusertable"), place.Path("panel/mail/access")));
}

TEST(Init, NamesToolThatIsMissing) {
  const PostfixFolder place;
  std::vector<std::string> words = place.InitWords();
  words.insert(words.end(), {"--path", "postfix-postalias=/nonexistent/postalias -x"});

  const CommandRun run = Zebmail(words);

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "zebmail: missing: [path] postfix-postalias: \"/nonexistent/postalias\" cannot be run: "
            "No such file or directory; install Postfix, or give --path "
            "postfix-postalias=PROGRAM\n");
  EXPECT_FALSE(fs::exists(place.Path("panel")));
}

TEST(Init, NamesToolOfPostfixThatIsMissing) {
  const PostfixFolder place;
  std::vector<std::string> words = place.InitWords();
  words.insert(words.end(), {"--path", std::string("postfix-postmap=") + ZEBMAIL_MAPS_FOLDER +
                                           "/zebmail-postmap --tool /nonexistent/postmap"});

  const CommandRun run = Zebmail(words);

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "zebmail: missing: [path] postfix-postmap: \"/nonexistent/postmap\" cannot be run: No "
            "such file or directory; install Postfix, or give --path postfix-postmap=PROGRAM\n");
  EXPECT_FALSE(fs::exists(place.Path("panel")));
}

struct RefusedPlace {
  const char* name;
  std::vector<std::string> words;
  std::string errors;
};

std::string CaseName(const testing::TestParamInfo<RefusedPlace>& place) {
  return place.param.name;
}

class RefusedInit : public testing::TestWithParam<RefusedPlace> {};

TEST_P(RefusedInit, MakesNothing) {
  const PostfixFolder place;
  const auto before = Snapshot(place.folder().path());
  std::vector<std::string> words = {"init"};
  for (const std::string& word : GetParam().words) {
    const std::size_t mark = word.find("HERE");
    words.push_back(mark == std::string::npos
                        ? word
                        : word.substr(0, mark) + place.folder().path().string() +
                              word.substr(mark + 4));
  }

  const CommandRun run = Zebmail(words);

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors, testing::MatchesRegex(GetParam().errors));
  EXPECT_EQ(Snapshot(place.folder().path()), before);
}

INSTANTIATE_TEST_SUITE_P(
    Places, RefusedInit,
    testing::Values(
        RefusedPlace{"BlankInRoot",
                     {"--root", "HERE/my panel"},
                     "zebmail: value: --root: .*/my panel\" holds a blank.*\n"},
        RefusedPlace{"BlankInPostfixConfig",
                     {"--root", "HERE/panel", "--postfix-config", "HERE/my config"},
                     "zebmail: value: --postfix-config: .*/my config\" holds a blank.*\n"},
        RefusedPlace{"NoPostfixConfig",
                     {"--root", "HERE/panel", "--postfix-config", "HERE/queue"},
                     "zebmail: value: --postfix-config: there is no main.cf in .*\n"},
        RefusedPlace{"BlankInTablePath",
                     {"--root", "HERE/panel", "--path", "postfix-aliases=HERE/my aliases"},
                     "zebmail: value: --path postfix-aliases: .*/my aliases\" holds a blank.*\n"},
        RefusedPlace{"QuoteInRoot",
                     {"--root", "HERE/quo\"te"},
                     "zebmail: value: --root: .*/quo\"te\" holds a double quote\n"},
        RefusedPlace{"RelativePath",
                     {"--root", "HERE/panel", "--path", "postfix-aliases=mail/aliases"},
                     "zebmail: value: --path postfix-aliases: \"mail/aliases\" is no absolute "
                     "path\n"},
        RefusedPlace{"LineFeedInRoot",
                     {"--root", "HERE/a\nb"},
                     "zebmail: value: postfix-[a-z]*: .*/a.nb/.* holds a control character\n"},
        RefusedPlace{"LineFeedInPath",
                     {"--root", "HERE/panel", "--path", "x=a\n[param]\nMTA = \"other\""},
                     "zebmail: value: x: .* holds a control character\n"},
        RefusedPlace{"LineFeedInName",
                     {"--root", "HERE/panel", "--param", "a\nb=c"},
                     "zebmail: value: a.nb: .* holds a control character\n"},
        RefusedPlace{"NotUtf8",
                     {"--root", "HERE/panel", "--param", "x=caf\xe9"},
                     "zebmail: value: .* is not UTF-8, .*\n"}),
    CaseName);

TEST(Init, RefusesFolderThatEverybodyCanWrite) {
  const PostfixFolder place;
  fs::create_directory(place.Path("panel"));
  test_support::SetMode(place.Path("panel"), 0777);

  const CommandRun run = Zebmail(place.InitWords());

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zebmail: file: " + place.Path("panel/zebmail.toml") +
                            ": is not made: " + place.Path("panel") +
                            " can be written by others than its owner: run `chmod go-w` on it\n");
  EXPECT_TRUE(fs::is_empty(place.Path("panel")));
}

TEST(Init, ShowsInDryRunWhatItWouldMake) {
  const PostfixFolder place;
  std::vector<std::string> words = place.InitWords();
  words.insert(words.begin(), "--dry-run");

  const CommandRun run = Zebmail(words);

  const std::string config = place.Path("panel") + "/zebmail.toml";
  EXPECT_EQ(run.status, 0) << run.errors;
  EXPECT_TRUE(run.output.starts_with("make " + place.Path("panel") + "\n")) << run.output;
  EXPECT_NE(run.output.find("make " + config + "\n--- " + config + "\n+++ " + config +
                            "\n@@ -0,0 +1,18 @@\n+state_dir = \""),
            std::string::npos)
      << run.output;
  EXPECT_FALSE(fs::exists(place.Path("panel")));
}

TEST(Init, KeepsQuietWhenTold) {
  const PostfixFolder place;
  std::vector<std::string> words = place.InitWords();
  words.insert(words.begin(), "--quiet");

  const CommandRun run = Zebmail(words);

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output + run.errors, "");
}

}  // namespace
}  // namespace zebmail_test
