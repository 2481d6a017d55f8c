/// NAME
///   mail_table_lines_test - the lines of the virtual user table as plain words

#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "panel/mail/table_lines.h"

namespace {

/// The repeated lines, "LINE of FIRST" each, counted from 1.
std::string RepeatedLines(const std::string& text) {
  const auto number = [&text](std::size_t offset) {
    const auto end = text.begin() + static_cast<std::string::difference_type>(offset);
    return std::count(text.begin(), end, '\n') + 1;
  };
  auto repeated = panel::mail::FindRepeatedLines(text);
  std::sort(repeated.begin(), repeated.end(),
            [](const auto& left, const auto& right) { return left.line < right.line; });
  std::string shown;
  for (const auto& one : repeated) {
    shown += std::to_string(number(one.line)) + " of " + std::to_string(number(one.first)) + "\n";
  }
  return shown;
}

TEST(RepeatedLines, AreThoseWhoseKeyAnEarlierLineHas) {
  EXPECT_EQ(RepeatedLines("a@x\tone\n"
                          "b@x\tone\n"
                          "a@x\ttwo\n"
                          "b@x two\n"
                          "a@x\tone\n"),
            "3 of 1\n4 of 2\n5 of 1\n");
}

TEST(RepeatedLines, CountKeysInEitherCaseAsOne) {
  EXPECT_EQ(RepeatedLines("Info@X.example\tone\ninfo@x.EXAMPLE\ttwo\n"), "2 of 1\n");
}

TEST(RepeatedLines, AreNotFoundInCommentsContinuationsAndTargets) {
  EXPECT_EQ(RepeatedLines("a@x\tb@x\n"
                          "#a@x\tb@x\n"
                          " a@x\n"
                          "b@x\ta@x\n"
                          "a@xx\ta@x\n"
                          "\n"),
            "");
}

TEST(RepeatedLines, AreFoundInALastLineWithoutLineFeed) {
  EXPECT_EQ(RepeatedLines("a@x\tone\na@x"), "2 of 1\n");
}

}  // namespace
