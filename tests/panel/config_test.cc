/// NAME
///   config_test - the configuration file, and what plug-ins see of it

#include "panel/module/config.h"

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "panel/module/path_names.h"
#include "tests/support/temp_folder.h"

namespace {

using test_support::TempFolder;

const char* const kRequired =
    "state_dir = \"/var/lib/zebmail\"\n"
    "module_dir = \"/usr/lib/zebmail/modules\"\n"
    "database = \"sqlite3:///var/lib/zebmail/panel.db\"\n";

std::string MessageOf(const std::function<void()>& action) {
  try {
    action();
  } catch (const fen_err::Error& error) {
    return error.what();
  }
  return "no error";
}

class ConfigFile : public testing::Test {
 protected:
  panel::Config Read(const std::string& text) {
    return panel::ReadConfig(folder_.WriteText("zebmail.toml", text));
  }

  /// What is wrong with `text`, without the file's folder.
  std::string Complaint(const std::string& text) {
    std::string message = MessageOf([&] { Read(text); });
    const std::string folder = folder_.path().string() + "/";
    if (const auto place = message.find(folder); place != std::string::npos) {
      message.erase(place, folder.size());
    }
    return message;
  }

  TempFolder folder_;
};

TEST_F(ConfigFile, GivesAllThatItSays) {
  const panel::Config config = Read(
      "state_dir = \"/srv/panel/state\"\n"
      "module_dir = \"/srv/panel/modules\"\n"
      "database = \"postgresql://host/panel\"\n"
      "tool_timeout = 30\n"
      "[param]\n"
      "MTA = \"postfix\"\n"
      "[path]\n"
      "postfix-bin = \"/usr/sbin/postfix\"\n"
      "\"postfix-bin \" = \"/opt/postfix\"\n"
      "postfix-postmap = \"/usr/sbin/postmap -c /srv/panel/postfix\"\n");

  EXPECT_EQ(config.file, folder_.Path("zebmail.toml"));
  EXPECT_EQ(config.state_dir, "/srv/panel/state");
  EXPECT_EQ(config.module_dir, "/srv/panel/modules");
  EXPECT_EQ(config.database, "postgresql://host/panel");
  EXPECT_EQ(config.tool_timeout, std::chrono::seconds(30));
  EXPECT_EQ(config.param, (std::map<std::string, std::string>{{"MTA", "postfix"}}));
  EXPECT_EQ(config.path, (std::map<std::string, std::string>{
                             {"postfix-bin", "/usr/sbin/postfix"},
                             {"postfix-bin ", "/opt/postfix"},
                             {"postfix-postmap", "/usr/sbin/postmap -c /srv/panel/postfix"}}));
}

TEST_F(ConfigFile, NeedsNoTimeoutNorNames) {
  const panel::Config config = Read(kRequired);

  EXPECT_EQ(config.tool_timeout, std::chrono::seconds(600));
  EXPECT_TRUE(config.param.empty());
  EXPECT_TRUE(config.path.empty());
}

TEST_F(ConfigFile, RefusesAKeyThatItDoesNotKnow) {
  EXPECT_EQ(Complaint(std::string(kRequired) + "tool_timeut = 5\n"),
            "config: zebmail.toml:4: the key \"tool_timeut\" is not known; there are state_dir, "
            "module_dir, database, tool_timeout, [param] and [path]");
  EXPECT_EQ(Complaint(std::string(kRequired) + "\n[paths]\na = \"b\"\n"),
            "config: zebmail.toml:5: the key \"paths\" is not known; there are state_dir, "
            "module_dir, database, tool_timeout, [param] and [path]");
}

TEST_F(ConfigFile, RefusesToGuessWhatIsMissing) {
  EXPECT_EQ(Complaint(""), "config: zebmail.toml: the key \"state_dir\" is missing");
  EXPECT_EQ(Complaint("state_dir = \"/a\"\n"),
            "config: zebmail.toml: the key \"module_dir\" is missing");
  EXPECT_EQ(Complaint("state_dir = \"/a\"\nmodule_dir = \"/b\"\n"),
            "config: zebmail.toml: the key \"database\" is missing");
}

TEST_F(ConfigFile, RefusesAnEmptyValue) {
  EXPECT_EQ(Complaint("state_dir = \"/a\"\nmodule_dir = \"/b\"\ndatabase = \"\"\n"),
            "config: zebmail.toml:3: the value of \"database\" is empty");
  EXPECT_EQ(Complaint("state_dir = \"\"\nmodule_dir = \"/b\"\ndatabase = \"c\"\n"),
            "config: zebmail.toml:1: the value of \"state_dir\" is empty");
}

TEST_F(ConfigFile, RefusesAValueOfAnotherKind) {
  EXPECT_EQ(Complaint("state_dir = 5\n"),
            "config: zebmail.toml:1: the value of \"state_dir\" must be a text in quotes");
  EXPECT_EQ(Complaint(std::string(kRequired) + "[path]\npostfix-bin = [\"/a\"]\n"),
            "config: zebmail.toml:5: the value of \"postfix-bin\" must be a text in quotes");
  EXPECT_EQ(Complaint(std::string(kRequired) + "[param]\nMTA.name = \"postfix\"\n"),
            "config: zebmail.toml:5: the value of \"MTA\" must be a text in quotes");
  EXPECT_EQ(Complaint(std::string("param = \"postfix\"\n") + kRequired),
            "config: zebmail.toml:1: \"param\" must be a section of names");
}

TEST_F(ConfigFile, RefusesARelativeFolder) {
  EXPECT_EQ(Complaint("state_dir = \"/a\"\nmodule_dir = \"modules\"\ndatabase = \"c\"\n"),
            "config: zebmail.toml:2: the value of \"module_dir\" must be an absolute path");
  EXPECT_EQ(Complaint("state_dir = \"./a\"\nmodule_dir = \"/b\"\ndatabase = \"c\"\n"),
            "config: zebmail.toml:1: the value of \"state_dir\" must be an absolute path");
}

TEST_F(ConfigFile, RefusesATimeoutThatIsNone) {
  for (const char* timeout :
       {"0", "-1", "86401", "9223372036854775807", "1.5", "true", "\"600\"", "[600]"}) {
    EXPECT_EQ(Complaint(std::string(kRequired) + "tool_timeout = " + timeout + "\n"),
              "config: zebmail.toml:4: the value of \"tool_timeout\" must be a number of seconds "
              "from 1 to 86400")
        << timeout;
  }
}

TEST_F(ConfigFile, RefusesControlCharacters) {
  EXPECT_EQ(Complaint(std::string(kRequired) + "[path]\na = \"/bin/x\\n/bin/y\"\n"),
            "config: zebmail.toml:5: the value of \"a\" holds a control character");
  EXPECT_EQ(Complaint(std::string(kRequired) + "[param]\n\"a\\nb\" = \"\\u0000\"\n"),
            "config: zebmail.toml:5: the value of \"a\nb\" holds a control character");
  EXPECT_EQ(Complaint("state_dir = \"/a\\u007f\"\n"
                      "module_dir = \"/b\"\ndatabase = \"c\"\n"),
            "config: zebmail.toml:1: the value of \"state_dir\" holds a control character");
}

TEST_F(ConfigFile, TellsTheLineOfASyntaxError) {
  const std::string complaint = Complaint(std::string(kRequired) + "\n[path\n");

  EXPECT_EQ(complaint.rfind("config: zebmail.toml:5: ", 0), 0U) << complaint;
}

TEST_F(ConfigFile, RefusesAKeyThatIsSetTwice) {
  const std::string complaint = Complaint(std::string(kRequired) + "database = \"x\"\n");

  EXPECT_EQ(complaint.rfind("config: zebmail.toml:4: ", 0), 0U) << complaint;
}

TEST_F(ConfigFile, RefusesWhatIsNotUtf8) {
  const std::string complaint = Complaint(std::string(kRequired) + "[path]\na = \"\xff\"\n");

  EXPECT_EQ(complaint.rfind("config: zebmail.toml:5: ", 0), 0U) << complaint;
}

TEST_F(ConfigFile, TellsWhatToDoWhenThereIsNone) {
  const std::string file = folder_.Path("other.toml").string();

  EXPECT_EQ(MessageOf([&] { panel::ReadConfig(file); }),
            "config: " + file +
                ": cannot be read (No such file or directory): run `zebmail init` to make one, or "
                "name another one with --config");
  EXPECT_EQ(MessageOf([&] { panel::ReadConfig(folder_.path()); }),
            "config: " + folder_.path().string() +
                ": cannot be read (Is a directory): run `zebmail init` to make one, or name "
                "another one with --config");
}

TEST(ConfigInUse, NamesNoFolderBeforeThereIsOne) {
  EXPECT_EQ(panel::CurrentConfig().state_dir, "");
  EXPECT_EQ(panel::CurrentConfig().module_dir, "");
  EXPECT_EQ(panel::CurrentConfig().database, "");
  EXPECT_EQ(panel::CurrentConfig().tool_timeout, std::chrono::seconds(600));
  EXPECT_EQ(fen_cf::GetParam("MTA"), "");
  EXPECT_EQ(fen_cf::GetPath("postfix-bin"), "");
}

TEST(ConfigInUse, AnswersFromTheConfigurationThenTheDefault) {
  panel::Config config;
  config.param["MTA"] = "postfix";
  config.path["postfix-master"] = "/srv/master.cf";
  panel::UseConfig(config);
  fen_cf::SetPathDefault("postfix-master", "/etc/postfix/master.cf");
  fen_cf::SetPathDefault("postfix-aliases", "/etc/aliases");
  fen_cf::SetPathDefault("postfix-aliases", "/etc/mail/aliases");

  EXPECT_EQ(fen_cf::GetParam("MTA"), "postfix");
  EXPECT_EQ(fen_cf::GetParam("mta"), "");
  EXPECT_EQ(fen_cf::GetPath("postfix-master"), "/srv/master.cf");
  EXPECT_EQ(fen_cf::GetPath("postfix-aliases"), "/etc/mail/aliases");
  EXPECT_EQ(fen_cf::GetPath("postfix-domainips"), "");
}

TEST(ConfigInUse, TakesNamesByteForByte) {
  panel::UseConfig(panel::Config());
  fen_cf::SetPathDefault("postfix-bin ", "/usr/sbin/postfix");

  EXPECT_EQ(fen_cf::GetPath("postfix-bin "), "/usr/sbin/postfix");
  EXPECT_EQ(fen_cf::GetPath("postfix-bin"), "");
}

TEST(ConfigInUse, LetsAnEmptyPathStandAgainstTheDefault) {
  panel::Config config;
  config.path["postfix-aliases"] = "";
  panel::UseConfig(config);
  fen_cf::SetPathDefault("postfix-aliases", "/etc/mail/aliases");

  EXPECT_EQ(fen_cf::GetPath("postfix-aliases"), "");
}

TEST(ConfigInUse, ForgetsDefaultsWithTheConfiguration) {
  panel::UseConfig(panel::Config());
  fen_cf::SetPathDefault("postfix-aliases", "/etc/mail/aliases");
  panel::UseConfig(panel::Config());

  EXPECT_EQ(fen_cf::GetPath("postfix-aliases"), "");
}

TEST(ConfigInUse, StaysReadableWhenAnotherComesIntoUse) {
  panel::Config config;
  config.state_dir = "/first";
  panel::UseConfig(config);
  const panel::Config& first = panel::CurrentConfig();
  config.state_dir = "/second";
  panel::UseConfig(config);

  EXPECT_EQ(first.state_dir, "/first");
  EXPECT_EQ(panel::CurrentConfig().state_dir, "/second");
}

TEST(ConfigInUse, AnswersSeveralThreads) {
  panel::Config config;
  config.path["tool"] = "/bin/true";
  panel::UseConfig(config);

  std::vector<std::thread> threads;
  std::vector<int> wrong(4, 0);
  for (std::size_t number = 0; number < wrong.size(); ++number) {
    threads.emplace_back([number, &config, &wrong] {
      for (int round = 0; round < 500; ++round) {
        fen_cf::SetPathDefault("other", std::to_string(round));
        if (fen_cf::GetPath("tool") != "/bin/true") ++wrong[number];
        if (panel::CurrentConfig().path != config.path) ++wrong[number];
        if (round % 100 == 0) panel::UseConfig(config);
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(wrong, std::vector<int>(4, 0));
}

TEST(PathNames, AreFoundByTheBeginningOfACommand) {
  panel::Config config;
  config.path["a-postmap"] = "/usr/sbin/postmap";
  config.path["b-postmap"] = "/usr/sbin/postmap  -c /srv/postfix";
  panel::UseConfig(config);
  fen_cf::SetPathDefault("a-postalias", "/usr/sbin/postalias");

  EXPECT_EQ(panel::FindPathName({"/usr/sbin/postmap", "/etc/mail/access"}), "a-postmap");
  EXPECT_EQ(panel::FindPathName({"/usr/sbin/postmap", "-c", "/srv/postfix", "/etc/mail/access"}),
            "b-postmap");
  EXPECT_EQ(panel::FindPathName({"/usr/sbin/postalias"}), "a-postalias");
  EXPECT_EQ(panel::FindPathName({"/usr/sbin/postmapper"}), std::nullopt);
  EXPECT_EQ(panel::FindPathName({}), std::nullopt);
}

TEST(PathNames, ThatAreConfiguredComeBeforeDefaults) {
  panel::Config config;
  config.path["z-postfix"] = "/usr/sbin/postfix";
  panel::UseConfig(config);
  fen_cf::SetPathDefault("a-postfix", "/usr/sbin/postfix");

  EXPECT_EQ(panel::FindPathName({"/usr/sbin/postfix", "reload"}), "z-postfix");
}

TEST(PathNames, OfADefaultThatIsOverruledAreNotFound) {
  panel::Config config;
  config.path["postfix-bin"] = "/opt/postfix";
  panel::UseConfig(config);
  fen_cf::SetPathDefault("postfix-bin", "/usr/sbin/postfix");

  EXPECT_EQ(panel::FindPathName({"/usr/sbin/postfix", "reload"}), std::nullopt);
}

TEST(PathNames, WithoutAValueAreRememberedOnce) {
  panel::UseConfig(panel::Config());
  fen_cf::GetPath("postfix-master");
  fen_cf::GetPath("postfix-bin");

  EXPECT_EQ(panel::TakeUnsetPathName(), "postfix-bin");
  EXPECT_EQ(panel::TakeUnsetPathName(), std::nullopt);
}

}  // namespace
