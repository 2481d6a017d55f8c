/// NAME
///   mail_panel_test - one operation of the panel, through the built plug-in

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "panel/conf/pending.h"
#include "panel/mail/advice.h"
#include "panel/mail/back_end.h"
#include "panel/mail/mail_module.h"
#include "panel/mail/maps.h"
#include "panel/mail/panel.h"
#include "tests/support/test_panel.h"

namespace panel_test {
namespace {

using panel::mail::MailModule;
using panel::mail::Panel;
using panel::mail::PartlyDone;
using test_support::RecordingTool;
using test_support::TestPanel;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

const char* const kDeliveryAliases =
    "postfix_err_nouser:\t\"| exit 67\"\ndevnull:\t\"/dev/null\"\n";

std::vector<std::string> Names(const TestPanel& panel) {
  const Panel opened(panel.config());
  std::vector<std::string> names;
  for (const auto& domain : MailModule().ListDomains()) names.push_back(domain.name);
  return names;
}

/// How the work leaves Change, when it has saved something.
std::optional<PartlyDone> PartlyDoneOf(Panel& opened, const std::function<void()>& work) {
  try {
    opened.Change(work);
  } catch (const PartlyDone& error) {
    return error;
  }
  return std::nullopt;
}

TEST(MailPanel, RunsOneOperationAfterTheOther) {
  const TestPanel panel;
  for (const char* name : {"a.example", "b.example"}) {
    Panel(panel.config()).Change([name] { MailModule().CreateDomain(name, {}); });
  }
  Panel opened(panel.config());
  opened.Change([] { MailModule().SuspendDomain("a.example"); });
  opened.Change([] { MailModule().DeleteDomain("b.example"); });

  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\tpostfix_err_nouser\n");
  EXPECT_EQ(panel.Text("access"), "a.example\t550 Account disabled\n");
  EXPECT_EQ(panel.Lookup("access", "a.example"), "550 Account disabled");
}

TEST(MailPanel, SavesEachTableOnceForSeveralChangesOfOneOperation) {
  TestPanel panel;
  const RecordingTool postmap(panel.folder(), "postmap");
  panel.SetPath("postfix-postmap", postmap.path());

  Panel(panel.config()).Change([] {
    MailModule mail;
    for (const char* name : {"a.example", "b.example", "c.example"}) mail.CreateDomain(name, {});
    mail.SuspendDomain("b.example");
  });

  EXPECT_THAT(postmap.Runs(), ElementsAre(panel.Table("virtusertable"), panel.Table("access")));
  EXPECT_THAT(panel.postfix_command().Runs(), ElementsAre("reload"));
}

TEST(MailPanel, DropsEverythingWhenTheWorkFails) {
  const TestPanel panel;
  Panel opened(panel.config());

  EXPECT_THROW(opened.Change([] {
    MailModule().CreateDomain("a.example", {});
    throw fen_err::Error("work", "fails", "");
  }),
               fen_err::Error);
  EXPECT_EQ(panel.Text("virtusertable"), "");
  EXPECT_EQ(panel.Text("local-host-names"), "");
  EXPECT_THAT(MailModule().ListDomains(), IsEmpty());

  opened.Change([] { MailModule().CreateDomain("b.example", {}); });
  EXPECT_EQ(panel.Text("virtusertable"), "@b.example\tpostfix_err_nouser\n");
}

TEST(MailPanel, KeepsTheChangeWhenAToolFails) {
  TestPanel panel;
  const RecordingTool postmap(panel.folder(), "postmap", "no space\n", 1);
  panel.SetPath("postfix-postmap", postmap.path());

  {
    Panel opened(panel.config());
    const auto failure = PartlyDoneOf(opened, [] { MailModule().CreateDomain("a.example", {}); });
    ASSERT_TRUE(failure.has_value());
    EXPECT_STREQ(failure->what(), "email: postmap: no space\n");
    EXPECT_TRUE(failure->report());
    EXPECT_THAT(failure->outstanding(), HasSubstr(panel.Table("virtusertable").string()));
    EXPECT_THAT(failure->outstanding(), HasSubstr("check --fix"));
  }

  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\tpostfix_err_nouser\n");
  EXPECT_EQ(panel.Text("local-host-names"), "a.example\n");
  EXPECT_THAT(Names(panel), ElementsAre("a.example"));
}

TEST(MailPanel, DropsEverythingWhenATableCannotBeSaved) {
  for (const char* table : {"virtusertable", "local-host-names"}) {
    SCOPED_TRACE(table);
    const TestPanel panel;
    {
      Panel opened(panel.config());
      try {
        opened.Change([&panel, table] {
          MailModule().CreateDomain("a.example", {});
          panel.SetText(table, "changed by somebody else\n");
        });
        FAIL() << "overwrote what somebody else has written";
      } catch (const fen_err::Error& error) {
        EXPECT_EQ(error.type(), "changed");
        EXPECT_EQ(error.object(), panel.Table(table).string());
      }
    }

    EXPECT_EQ(panel.Text("virtusertable") + panel.Text("local-host-names"),
              "changed by somebody else\n");
    EXPECT_THAT(Names(panel), IsEmpty());
  }
}

TEST(MailPanel, DropsEverythingWhenTheDatabaseCannotStoreTheChange) {
  const TestPanel panel;
  Panel opened(panel.config());

  EXPECT_THROW(opened.Change([] {
    MailModule().CreateDomain("a.example", {});
    EXPECT_THROW(zeb_db::GetCache().Query("SELECT nothing FROM nowhere"), fen_err::Error);
  }),
               fen_err::Error);

  EXPECT_EQ(panel.Text("virtusertable") + panel.Text("local-host-names"), "");
  opened.Change([] { MailModule().CreateDomain("b.example", {}); });
  EXPECT_EQ(panel.Text("virtusertable"), "@b.example\tpostfix_err_nouser\n");
}

TEST(MailPanel, LogsWhatIsMarkedForReporting) {
  TestPanel panel;
  const RecordingTool postmap(panel.folder(), "postmap", "no space\n", 1);
  panel.SetPath("postfix-postmap", postmap.path());
  Panel opened(panel.config());

  PartlyDoneOf(opened, [] { MailModule().CreateDomain("a.example", {}); });

  EXPECT_THAT(panel.folder().ReadText("state/zebfen.log"),
              HasSubstr("[email] error email: postmap: no space\\n\n"));
}

TEST(MailPanel, RehearsesWithoutATrace) {
  const TestPanel panel;
  panel.SetText("aliases", kDeliveryAliases);
  Panel opened(panel.config());

  const panel::mail::Rehearsal rehearsal =
      opened.Rehearse([] { MailModule().CreateDomain("a.example", {}); });

  ASSERT_EQ(rehearsal.files.size(), 2U);
  EXPECT_EQ(rehearsal.files[0].path, panel.Table("virtusertable"));
  EXPECT_EQ(rehearsal.files[0].before, "");
  EXPECT_EQ(rehearsal.files[0].after, "@a.example\tpostfix_err_nouser\n");
  EXPECT_EQ(rehearsal.files[1].path, panel.Table("local-host-names"));
  ASSERT_EQ(rehearsal.rows.size(), 1U);
  EXPECT_EQ(rehearsal.rows[0].row, "name=a.example active=true defaction=error");
  EXPECT_EQ(rehearsal.tools.size(), 2U);
  EXPECT_EQ(panel.Text("virtusertable"), "");
  EXPECT_THAT(MailModule().ListDomains(), IsEmpty());

  opened.Change([] { MailModule().CreateDomain("b.example", {}); });
  EXPECT_EQ(panel.Text("virtusertable"), "@b.example\tpostfix_err_nouser\n");
}

TEST(MailPanel, RefusesChangesAfterARehearsalThatOwesTheModulesTheirFiles) {
  const TestPanel panel;
  Panel opened(panel.config());
  opened.Rehearse([] {});

  try {
    opened.Change([] {});
    FAIL() << "made a change without the delivery aliases";
  } catch (const fen_err::Error& error) {
    EXPECT_EQ(error.type(), "module");
  }
  EXPECT_EQ(panel.Text("aliases"), "");
}

TEST(MailPanel, PutsDeliveryAliasesThereWhenItIsFirstUsed) {
  const TestPanel panel;

  Panel(panel.config()).Change([] {});

  EXPECT_EQ(panel.Text("aliases"), kDeliveryAliases);
  EXPECT_EQ(panel.Lookup("aliases", "devnull"), "\"/dev/null\"");
}

TEST(MailPanel, TellsWhatIsOutstandingWhenSettingUpTheModulesFails) {
  TestPanel panel;
  const RecordingTool postalias(panel.folder(), "postalias", "no space\n", 1);
  panel.SetPath("postfix-postalias", postalias.path());
  {
    Panel opened(panel.config());

    const auto failure = PartlyDoneOf(opened, [] { MailModule().CreateDomain("a.example", {}); });

    ASSERT_TRUE(failure.has_value());
    EXPECT_STREQ(failure->what(), "email: postalias: no space\n");
    EXPECT_THAT(failure->outstanding(), HasSubstr(panel.Table("aliases").string()));
  }
  EXPECT_EQ(panel.Text("virtusertable"), "");

  postalias.SetStatus(0);
  Panel(panel.config()).Change([] { MailModule().CreateDomain("a.example", {}); });
  EXPECT_THAT(postalias.Runs(), ElementsAre(panel.Table("aliases"), panel.Table("aliases")));
  EXPECT_TRUE(panel::conf::ListPendingWork().empty());
}

TEST(MailPanel, MakesUpForWorkOfTablesThatThisProcessHasNotUsedYet) {
  const TestPanel panel;
  panel.SetText("aliases", kDeliveryAliases);
  panel.SetText("virtusertable", "@a.example\tdevnull\n");
  panel::conf::NotePendingWork({"N5email16VirtualUserTableE", panel.Table("virtusertable")});
  panel::conf::NotePendingWork({"N5email8MasterCfE", panel.Table("master.cf")});
  std::vector<std::string> warnings;

  Panel(panel.config(), {{}, [&warnings](const std::string& text) { warnings.push_back(text); }})
      .Change([] {});

  EXPECT_EQ(panel.Lookup("virtusertable", "@a.example"), "devnull");
  EXPECT_THAT(panel.postfix_command().Runs(), ElementsAre("reload"));
  EXPECT_TRUE(panel::conf::ListPendingWork().empty());
  EXPECT_THAT(warnings, IsEmpty());
  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\tdevnull\n");
  EXPECT_EQ(panel.Text("local-host-names") + panel.Text("domainips"), "");
}

TEST(MailPanel, WarnsOfWorkThatNoTableKnows) {
  const TestPanel panel;
  panel.SetText("aliases", kDeliveryAliases);
  panel::conf::NotePendingWork({"gone", "/etc/mail/gone"});
  std::vector<std::string> warnings;

  Panel(panel.config(), {{}, [&warnings](const std::string& text) { warnings.push_back(text); }})
      .Change([] { MailModule().CreateDomain("a.example", {}); });

  EXPECT_THAT(Names(panel), ElementsAre("a.example"));
  EXPECT_THAT(warnings,
              ElementsAre("outstanding: /etc/mail/gone was saved, but the tool of gone has not "
                          "succeeded since\n"
                          "mend the cause, then run: zebmail --config " +
                          panel.config().file.string() + " check --fix\n"));
}

TEST(MailPanel, RefusesASecondConfigurationInOneProcess) {
  TestPanel panel;
  Panel(panel.config()).Change([] {});
  panel::Config other = panel.config();
  other.path["postfix-aliases"] = panel.Table("other");

  try {
    const Panel opened(other);
    FAIL() << "opened a second panel";
  } catch (const fen_err::Error& error) {
    EXPECT_EQ(error.type(), "config");
  }
}

TEST(MailPanel, IsReadWithoutModules) {
  TestPanel panel;
  panel::Config config = panel.config();
  config.module_dir = panel.folder().Path("no-modules");

  const Panel opened(config);

  EXPECT_THAT(MailModule().ListDomains(), IsEmpty());
}

TEST(MailPanel, NamesTheParameterWhenThereIsNoBackEnd) {
  TestPanel panel;
  panel.SetParam("MTA", "smail");
  Panel opened(panel.config());

  try {
    opened.Change([] { panel::mail::BackEnd(); });
    FAIL() << "found a back-end";
  } catch (const fen_err::Error& error) {
    EXPECT_EQ(error.object(), "[param] MTA");
    EXPECT_THAT(error.value(), HasSubstr("\"smail\""));
  }
}

TEST(Advice, NamesTheConfigurationAsOneWordOfTheShell) {
  panel::Config config;
  config.file = "/etc/zebmail/zebmail.toml";
  panel::UseConfig(config);
  EXPECT_EQ(panel::mail::FixCommand(), "zebmail --config /etc/zebmail/zebmail.toml check --fix");

  config.file = "/my panel's/$x";
  panel::UseConfig(config);
  EXPECT_EQ(panel::mail::FixCommand(), "zebmail --config '/my panel'\\''s/$x' check --fix");
}

TEST(Maps, AreStaleWhenMissingOrOlderThanTheirText) {
  const TestPanel panel;
  Panel opened(panel.config());
  opened.Change([] { MailModule().CreateDomain("a.example", {}); });
  const std::string suffix = panel::mail::MapSuffix();
  const panel::mail::Map map = panel::mail::Maps().front();
  const std::filesystem::path file = map.text.string() + suffix;
  EXPECT_EQ(suffix, ".db");
  EXPECT_EQ(map.text, panel.Table("virtusertable"));
  EXPECT_FALSE(panel::mail::IsStale(map, suffix));

  std::filesystem::last_write_time(
      file, std::filesystem::last_write_time(map.text) - std::chrono::milliseconds(1));
  EXPECT_TRUE(panel::mail::IsStale(map, suffix));

  std::filesystem::remove(file);
  EXPECT_TRUE(panel::mail::IsStale(map, suffix));

  panel::mail::Build(map);
  EXPECT_FALSE(panel::mail::IsStale(map, suffix));

  std::filesystem::remove(map.text);
  EXPECT_FALSE(panel::mail::IsStale(map, suffix));
}

}  // namespace
}  // namespace panel_test
