/// NAME
///   access_db_test - the lines of the access table

#include "email/access_db.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "tests/email/tables.h"

namespace {

using test_support::AccessLines;
using test_support::All;
using test_support::TestPanel;

using Lines = std::vector<std::string>;

Lines Rules(const TestPanel& panel) {
  return All(AccessLines(panel), [](const email::SourceTarget& line) {
    return line.source.Str() + "=" + line.target.Str();
  });
}

}  // namespace

TEST(SourceTarget, ReadsTheRestOfTheLineAsOneVerdict) {
  TestPanel panel;
  panel.SetText("access", "example.org\t550 Account disabled\nconnect:192.0.2.1  REJECT # bad\n");
  EXPECT_EQ(Rules(panel), (Lines{"example.org=550 Account disabled", "connect:192.0.2.1=REJECT"}));
}

TEST(SourceTarget, IsNoIndentedLineAndNoComment) {
  TestPanel panel;
  panel.SetText("access", "# one OK\n two OK\n\nthree OK\n");
  EXPECT_EQ(Rules(panel), Lines{"three=OK"});
}

TEST(SourceTarget, WritesANewLineWithATab) {
  TestPanel panel;
  {
    auto line = AccessLines(panel);
    line->New();
    line->source.Set("john@example.org");
    line->target.Set(email::kDisabledVerdict);
    line->Post("");
  }
  EXPECT_EQ(panel.Text("access"), "john@example.org\t550 Account disabled\n");
  EXPECT_EQ(panel.Lookup("access", "john@example.org"), "550 Account disabled");
}

TEST(SourceTarget, KeepsSpacingAndCommentWhenTheVerdictChanges) {
  TestPanel panel;
  panel.SetText("access", "one\tOK\ntwo    OK   # a friend\r\n");
  {
    auto line = AccessLines(panel);
    line->Assert("two");
    line->target.Set("REJECT");
    line->Post("");
  }
  EXPECT_EQ(panel.Text("access"), "one\tOK\ntwo    REJECT   # a friend\r\n");
}

TEST(SourceTarget, RefusesWhatWouldNotReadBack) {
  TestPanel panel;
  panel.SetText("access", "one\tOK\n");
  for (const char* source : {"two\nthree", "two three", "two#", "", "two\t"}) {
    auto line = AccessLines(panel);
    line->New();
    line->source.Set(source);
    line->target.Set("OK");
    EXPECT_THROW(line->Post(""), fen_err::Error) << source;
  }
  EXPECT_EQ(panel.Text("access"), "one\tOK\n");
}
