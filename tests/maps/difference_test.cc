/// NAME
///   difference_test - in which lines two texts differ

#include "zebmail/maps/difference.h"

#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace maps_test {
namespace {

using zebmail::maps::Difference;
using zebmail::maps::FindDifferences;

constexpr std::size_t kMany = 100000;

using Differences = std::vector<Difference>;

TEST(Differences, AreNoneOfEqualTexts) {
  EXPECT_EQ(FindDifferences("a\nb\n", "a\nb\n", kMany), Differences());
  EXPECT_EQ(FindDifferences("", "", kMany), Differences());
}

TEST(Differences, AreWholeLines) {
  EXPECT_EQ(FindDifferences("aa\nbb\ncc\n", "aa\nbxb\ncc\n", kMany),
            (Differences{{{3, 6}, {3, 7}}}));
}

TEST(Differences, TellLineThatCame) {
  EXPECT_EQ(FindDifferences("a\nc\n", "a\nb\nc\n", kMany), (Differences{{{2, 2}, {2, 4}}}));
  EXPECT_EQ(FindDifferences("", "a\n", kMany), (Differences{{{0, 0}, {0, 2}}}));
}

TEST(Differences, TellLineThatWent) {
  EXPECT_EQ(FindDifferences("a\nb\nc\n", "b\nc\n", kMany), (Differences{{{0, 2}, {0, 0}}}));
}

TEST(Differences, TellLineThatGotItsNewline) {
  EXPECT_EQ(FindDifferences("a\nb", "a\nb\nc\n", kMany), (Differences{{{2, 3}, {2, 6}}}));
  EXPECT_EQ(FindDifferences("a\nb\n", "a\nb", kMany), (Differences{{{2, 4}, {2, 3}}}));
}

TEST(Differences, AreSeveralOfSeveralPlaces) {
  EXPECT_EQ(FindDifferences("a\nb\nc\nd\ne\n", "a\nB\nc\nD\ne\n", kMany),
            (Differences{{{2, 4}, {2, 4}}, {{6, 8}, {6, 8}}}));
}

TEST(Differences, DoNotCutLinesThatEndAlike) {
  EXPECT_EQ(FindDifferences("xa\nb\n", "a\nb\n", kMany), (Differences{{{0, 3}, {0, 2}}}));
}

TEST(Differences, AreNotToldOfMoreLinesThanWanted) {
  EXPECT_TRUE(FindDifferences("a\n", "b\n", 2));
  EXPECT_FALSE(FindDifferences("a\n", "b\n", 1));
  std::string many;
  for (int line = 0; line < 1000; ++line) many += std::to_string(line) + "\n";
  EXPECT_FALSE(FindDifferences("x\ny\n" + many, "X\n" + many + "Y\n" + many, 10));
}

/// Puts the lines of the one text in the place of the other's, wherever they differ.
std::string Apply(const std::string& before, const std::string& after,
                  const Differences& differences) {
  std::string text;
  std::size_t done = 0;
  for (const Difference& difference : differences) {
    text += before.substr(done, difference.before.begin - done);
    text += after.substr(difference.after.begin, difference.after.end - difference.after.begin);
    done = difference.before.end;
  }
  return text + before.substr(done);
}

bool BeginsLine(const std::string& text, std::size_t position) {
  return position == 0 || position == text.size() || text[position - 1] == '\n';
}

std::string RandomText(std::mt19937& random) {
  std::string text;
  const auto lines = random() % 40;
  for (unsigned line = 0; line < lines; ++line) {
    text += std::string(random() % 3, 'x') + std::to_string(random() % 8);
    if (line + 1 < lines || random() % 4 != 0) text += '\n';
  }
  return text;
}

TEST(Differences, LeadFromAnyTextToAnyOther) {
  std::mt19937 random(1);
  for (int round = 0; round < 20000; ++round) {
    const std::string before = RandomText(random);
    std::string after = before;
    if (round % 2 == 0) {
      after = RandomText(random);
    } else if (!after.empty()) {
      after.insert(random() % after.size(), random() % 2 == 0 ? "7\n" : "y");
      after.erase(random() % after.size(), random() % 4);
    }

    const auto differences = FindDifferences(before, after, kMany);

    ASSERT_TRUE(differences);
    EXPECT_EQ(Apply(before, after, *differences), after);
    for (const Difference& difference : *differences) {
      EXPECT_TRUE(BeginsLine(before, difference.before.begin));
      EXPECT_TRUE(BeginsLine(before, difference.before.end));
      EXPECT_TRUE(BeginsLine(after, difference.after.begin));
      EXPECT_TRUE(BeginsLine(after, difference.after.end));
    }
    ASSERT_FALSE(testing::Test::HasFailure()) << before << "\n-- became\n" << after;
  }
}

}  // namespace
}  // namespace maps_test
