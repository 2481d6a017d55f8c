/// NAME
///   alias_table_test - the lines of the aliases

#include "email/alias_table.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "tests/email/error_of.h"
#include "tests/email/tables.h"

namespace {

using test_support::AliasLines;
using test_support::All;
using test_support::ErrorOf;
using test_support::NameAndList;
using test_support::RecordingTool;
using test_support::TestPanel;

using Lines = std::vector<std::string>;

/// The entries, each as "name=target|target".
Lines Entries(const TestPanel& panel) {
  return All(AliasLines(panel),
             [](const email::Aliases& line) { return NameAndList(line.name, line.alias); });
}

}  // namespace

TEST(Aliases, ReadANameWithColonAndItsTarget) {
  TestPanel panel;
  panel.SetText("aliases", "john: john@example.org\n");
  EXPECT_EQ(Entries(panel), Lines{"john=john@example.org"});
}

TEST(Aliases, ReadANameWithoutColonTheSameWay) {
  TestPanel panel;
  panel.SetText("aliases", "john   john@example.org\n");
  EXPECT_EQ(Entries(panel), Lines{"john=john@example.org"});
}

TEST(Aliases, ReadTargetsSeparatedByCommas) {
  TestPanel panel;
  panel.SetText("aliases", "staff:\ta@example.org, b@example.org,c@example.org # all\n");
  EXPECT_EQ(Entries(panel), Lines{"staff=a@example.org|b@example.org|c@example.org"});
}

TEST(Aliases, ReadACommaInQuotesAsPartOfATarget) {
  TestPanel panel;
  panel.SetText("aliases", "john:\t\"|/usr/bin/filter a,b\", john@example.org\n");
  EXPECT_EQ(Entries(panel), Lines{"john=\"|/usr/bin/filter a,b\"|john@example.org"});
}

TEST(Aliases, WriteANewLineWithColonTabAndTargetsJoinedByACommaAlone) {
  TestPanel panel;
  {
    auto line = AliasLines(panel);
    line->New();
    line->name.Set("john+example.org");
    line->alias.Append("a@example.net");
    line->alias.Append("b@example.net");
    line->Post("");
  }
  EXPECT_EQ(panel.Text("aliases"), "john+example.org:\ta@example.net,b@example.net\n");
  EXPECT_EQ(panel.Lookup("aliases", "john+example.org"), "a@example.net, b@example.net");
}

TEST(Aliases, WriteAnEntryWithoutTargets) {
  TestPanel panel;
  {
    auto line = AliasLines(panel);
    line->New();
    line->name.Set("john+example.org");
    line->Post("");
  }
  EXPECT_EQ(panel.Text("aliases"), "john+example.org:\t\n");
  EXPECT_EQ(Entries(panel), Lines{"john+example.org"});
}

TEST(Aliases, FillAndEmptyAnEntry) {
  TestPanel panel;
  panel.SetText("aliases", "john+example.org:\t\nother: x\n");
  {
    auto line = AliasLines(panel);
    line->Assert("john+example.org");
    line->alias.Append("a@example.net");
    line->Post("");
  }
  EXPECT_EQ(panel.Text("aliases"), "john+example.org:\ta@example.net\nother: x\n");
  {
    auto line = AliasLines(panel);
    line->Assert("john+example.org");
    line->alias.Erase();
    line->Post("");
  }
  EXPECT_EQ(Entries(panel), (Lines{"john+example.org", "other=x"}));
}

TEST(Aliases, RefuseWhatWouldNotReadBack) {
  TestPanel panel;
  panel.SetText("aliases", "john: x\n");
  for (const char* target : {"a\nroot: \"|id\"", "a # b", "\"|id\"\nx"}) {
    auto line = AliasLines(panel);
    line->New();
    line->name.Set("jane");
    line->alias = target;
    EXPECT_THROW(line->Post(""), fen_err::Error) << target;
  }
  EXPECT_EQ(panel.Text("aliases"), "john: x\n");
}

TEST(AliasTable, RunsPostaliasOnTheConfiguredAliasesWhicheverFileWasSaved) {
  TestPanel panel;
  const RecordingTool postalias(panel.folder(), "postalias");
  panel.SetPath("postfix-postalias", postalias.path());
  {
    auto line = email::AliasTable::Get<email::Aliases>(panel.Table("other-aliases"), true);
    line->New();
    line->name.Set("john");
    line->alias = "x";
    line->Post("");
  }
  EXPECT_EQ(panel.Text("other-aliases"), "john:\tx\n");
  EXPECT_EQ(postalias.Runs(), Lines{panel.Table("aliases").string()});
}

TEST(AliasTable, StaysSavedWhenPostaliasFails) {
  TestPanel panel;
  const RecordingTool postalias(panel.folder(), "postalias", "fatal: bad map\n", 1);
  panel.SetPath("postfix-postalias", postalias.path());
  const auto create = [&] {
    auto line = AliasLines(panel);
    line->New();
    line->name.Set("john");
    line->alias = "x";
    line->Post("");
  };
  EXPECT_STREQ(ErrorOf(create).what(), "email: postalias: fatal: bad map\n");
  EXPECT_EQ(panel.Text("aliases"), "john:\tx\n");
}
