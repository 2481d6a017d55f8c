/// NAME
///   after_save_test - the tools that run after a save

#include "email/after_save.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "email/access_db.h"
#include "email/alias_table.h"
#include "email/local_host_names.h"
#include "email/virtual_user_table.h"
#include "host/fen_cf.h"
#include "tests/email/error_of.h"
#include "tests/support/recording_tool.h"
#include "tests/support/test_panel.h"

namespace {

using test_support::ErrorOf;
using test_support::RecordingTool;
using test_support::TestPanel;

/// The bits of a save reason, and some that no save has.
constexpr unsigned kReasons[] = {0, 1, 2, 3, 4, 6};

using Lines = std::vector<std::string>;

/// The runs of `tool` after `table` was told of a save of the file "saved" for each of the reasons.
template <class Table>
Lines RunsForAllReasons(const TestPanel& panel, const RecordingTool& tool) {
  Table table;
  ConfRef saved = BaseCachedConfig<FenConfCache>::Instance().Config(RuntimeName(typeid(Table)), {},
                                                                    panel.Table("saved"), true);
  for (unsigned bits : kReasons) {
    auto reason = static_cast<ConfCache::SaveReason>(bits);
    table.AfterSave(saved, reason);
  }
  return tool.Runs();
}

}  // namespace

TEST(SaveReason, CallsForTheToolOfAnOperationAndOfOneMadeUpFor) {
  EXPECT_TRUE(email::CallsForTool(ConfCache::kOperation));
  EXPECT_TRUE(email::CallsForTool(ConfCache::kMadeUp));
}

TEST(SaveReason, CallsForNoToolWhenQuietOrUnknown) {
  EXPECT_FALSE(email::CallsForTool(ConfCache::kQuiet));
  EXPECT_FALSE(email::CallsForTool(static_cast<ConfCache::SaveReason>(3)));
  EXPECT_FALSE(email::CallsForTool(static_cast<ConfCache::SaveReason>(4)));
  EXPECT_FALSE(email::CallsForTool(static_cast<ConfCache::SaveReason>(6)));
}

TEST(RunTool, PassesWhenTheToolSucceeds) {
  TestPanel panel;
  const RecordingTool tool(panel.folder(), "tool", "a warning\n");
  email::RunTool("code", tool.path() + " one two");
  EXPECT_EQ(tool.Runs(), Lines{"one two"});
}

TEST(RunTool, ThrowsTheCodeAndTheOutputOfAToolThatFails) {
  TestPanel panel;
  const RecordingTool tool(panel.folder(), "tool", "no such map\n", 3);
  const auto error = ErrorOf([&] { email::RunTool("code", tool.path() + " one"); });
  EXPECT_EQ(error.type(), "email");
  EXPECT_EQ(error.object(), "code");
  EXPECT_EQ(error.value(), "no such map\n");
  EXPECT_TRUE(error.report());
}

TEST(VirtualUserTableAfterSave, RunsPostmapOnTheSavedFileForTheReasons0And2) {
  TestPanel panel;
  const RecordingTool tool(panel.folder(), "tool");
  panel.SetPath("postfix-postmap", tool.path() + " -x");
  const std::string run = "-x " + panel.Table("saved").string();
  EXPECT_EQ(RunsForAllReasons<email::VirtualUserTable>(panel, tool), (Lines{run, run}));
}

TEST(AccessDbAfterSave, RunsPostmapOnTheSavedFileForTheReasons0And2) {
  TestPanel panel;
  const RecordingTool tool(panel.folder(), "tool");
  panel.SetPath("postfix-postmap", tool.path());
  const std::string run = panel.Table("saved").string();
  EXPECT_EQ(RunsForAllReasons<email::AccessDb>(panel, tool), (Lines{run, run}));
}

TEST(AliasTableAfterSave, RunsPostaliasOnTheConfiguredAliasesForTheReasons0And2) {
  TestPanel panel;
  const RecordingTool tool(panel.folder(), "tool");
  panel.SetPath("postfix-postalias", tool.path());
  const std::string run = panel.Table("aliases").string();
  EXPECT_EQ(RunsForAllReasons<email::AliasTable>(panel, tool), (Lines{run, run}));
}

TEST(LocalHostNamesAfterSave, ReloadsPostfixForTheReasons0And2) {
  TestPanel panel;
  EXPECT_EQ(RunsForAllReasons<email::LocalHostNames>(panel, panel.postfix_command()),
            (Lines{"reload", "reload"}));
}

TEST(LocalHostNamesAfterSave, FailsWithTheCodeOfTheReload) {
  TestPanel panel;
  panel.postfix_command().SetOutput("the Postfix mail system is not running\n");
  panel.postfix_command().SetStatus(1);
  const auto error =
      ErrorOf([&] { RunsForAllReasons<email::LocalHostNames>(panel, panel.postfix_command()); });
  EXPECT_STREQ(error.what(), "email: postfix_reload: the Postfix mail system is not running\n");
}

TEST(LocalHostNamesAfterSave, ReloadsWithWhatIsConfiguredAsPostfixBinAlone) {
  TestPanel panel;
  panel.SetPath("postfix-bin", "");
  fen_cf::SetPathDefault("postfix-bin ", panel.postfix_command().path());
  const auto error =
      ErrorOf([&] { RunsForAllReasons<email::LocalHostNames>(panel, panel.postfix_command()); });
  EXPECT_EQ(error.object(), "postfix_reload");
  EXPECT_EQ(panel.postfix_command().Runs(), Lines{});
}
