/// NAME
///   local_host_names_test - the lines of the local host names

#include "email/local_host_names.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "tests/email/tables.h"

namespace {

using test_support::All;
using test_support::HostLines;
using test_support::TestPanel;

using Lines = std::vector<std::string>;

Lines Names(const TestPanel& panel) {
  return All(HostLines(panel), [](const email::HostNames& line) { return line.name.Str(); });
}

}  // namespace

TEST(HostNames, ReadOneNameALine) {
  TestPanel panel;
  panel.SetText("local-host-names",
                "# ours\na.example\n\nb.example # the other\r\n c.example\nd.e");
  EXPECT_EQ(Names(panel), (Lines{"a.example", "b.example", "d.e"}));
}

TEST(HostNames, TakeALineForOneNameWhateverBlanksAreInIt) {
  TestPanel panel;
  panel.SetText("local-host-names", "a.example b.example\n");
  EXPECT_EQ(Names(panel), Lines{"a.example b.example"});
}

TEST(HostNames, WriteANewLineOfTheNameAlone) {
  TestPanel panel;
  panel.SetText("local-host-names", "# ours\na.example");
  {
    auto line = HostLines(panel);
    line->Create("b.example");
    line->Post("");
  }
  EXPECT_EQ(panel.Text("local-host-names"), "# ours\na.example\nb.example\n");
}

TEST(HostNames, AreNotWrittenASecondTime) {
  TestPanel panel;
  panel.SetText("local-host-names", "a.example\n");
  {
    auto line = HostLines(panel);
    line->Create("a.example");
    line->Post("");
  }
  EXPECT_EQ(panel.Text("local-host-names"), "a.example\n");
  EXPECT_EQ(panel.postfix_command().Runs(), Lines{});
}

TEST(HostNames, GoWithTheirLine) {
  TestPanel panel;
  panel.SetText("local-host-names", "a.example\nb.example # the other\nc.example\n");
  EXPECT_TRUE(HostLines(panel)->Delete("b.example"));
  EXPECT_EQ(panel.Text("local-host-names"), "a.example\nc.example\n");
}

TEST(HostNames, RefuseANameThatWouldNotReadBack) {
  TestPanel panel;
  panel.SetText("local-host-names", "a.example\n");
  for (const char* name : {"b.example\nc.example", "b example", "b#c", "#b", " b", ""}) {
    auto line = HostLines(panel);
    line->New();
    line->name.Set(name);
    EXPECT_THROW(line->Post(""), fen_err::Error) << name;
  }
  EXPECT_EQ(panel.Text("local-host-names"), "a.example\n");
}

TEST(LocalHostNames, ReloadPostfixOnceASave) {
  TestPanel panel;
  {
    auto line = HostLines(panel);
    line->Create("a.example");
    line->Post("");
    line->Create("b.example");
    line->Post("");
  }
  EXPECT_EQ(panel.postfix_command().Runs(), Lines{"reload"});
}

TEST(LocalHostNames, StaySavedWhenTheReloadFails) {
  TestPanel panel;
  panel.postfix_command().SetStatus(1);
  const auto create = [&] {
    auto line = HostLines(panel);
    line->Create("a.example");
    line->Post("");
  };
  EXPECT_THROW(create(), fen_err::Error);
  EXPECT_EQ(panel.Text("local-host-names"), "a.example\n");
}
