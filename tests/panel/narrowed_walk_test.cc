/// NAME
///   narrowed_walk_test - walks over the lines that hold a word, against walks over all lines
///
/// PURPOSE
///   Random files, edits and words; a failure prints the seed that repeats it. The words are asked
///   for in such numbers that both ways of finding them are taken, the search and the index.

#include "panel/conf/narrowed_walk.h"

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "panel/conf/text.h"
#include "panel/conf/word_index.h"
#include "tests/panel/sample_table.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_panel.h"

namespace {

using panel::conf::LineId;
using panel::conf::NarrowedWalk;
using panel::conf::Text;
using panel::conf::WordIndex;
using panel_test::ErrorOf;
using panel_test::List;
using panel_test::Pair;
using panel_test::SampleTable;

using Lines = std::vector<std::string>;

/// More than are searched for before an index is made.
constexpr int kManyWords = 60;

/// The words of a text, by the simplest code there is.
Lines WordsOf(const std::string& text) {
  Lines words(1);
  for (const char byte : text) {
    if (std::string(" \t\r\n,#").find(byte) == std::string::npos) {
      words.back() += byte;
    } else {
      words.emplace_back();
    }
  }
  std::erase(words, "");
  return words;
}

bool Holds(const std::string& text, const std::string& word) {
  const Lines words = WordsOf(text);
  return std::find(words.begin(), words.end(), word) != words.end();
}

class RandomFile : public testing::TestWithParam<unsigned> {
 protected:
  std::size_t Below(std::size_t limit) {
    return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_);
  }

  /// One of a few words, many of which are parts of others.
  std::string Word() {
    static const Lines words = {"a", "aa", "aaa", "ab", "ba", "a@b", "b@a", "b", "a.b", "A"};
    return words[Below(words.size())];
  }

  std::string Value() {
    static const Lines separators = {" ", "  ", "\t", ","};
    std::string value = Word();
    for (std::size_t more = Below(3); more > 0; --more) {
      value += separators[Below(separators.size())] + Word();
    }
    return value;
  }

  std::string Line() {
    static const Lines ends = {"\n", "\n", "\r\n", " \n", " # a\n", "#aa b\n"};
    static const Lines begins = {"", "", "", "", "+", "#", " ", "\t"};
    if (Below(12) == 0) return "\n";
    return begins[Below(begins.size())] + Word() + " " + Value() + ends[Below(ends.size())];
  }

  std::string File() {
    std::string text;
    for (std::size_t line = Below(40); line > 0; --line) text += Line();
    if (!text.empty() && Below(2) == 0) text.pop_back();
    return text;
  }

 private:
  std::mt19937 random_{GetParam()};
};

using RandomWords = RandomFile;

TEST_P(RandomWords, AreFoundInTheLinesThatHoldThem) {
  for (int file = 0; file < 30; ++file) {
    Text text(File());
    WordIndex index(text);
    for (int step = 0; step < kManyWords; ++step) {
      Lines all;
      std::vector<LineId> ids;
      for (LineId line = text.First(); !line.IsNone(); line = text.Next(line)) {
        ids.push_back(line);
        all.emplace_back(text.Line(line));
      }
      const std::string word = Word();
      std::vector<LineId> expected;
      for (std::size_t line = 0; line < all.size(); ++line) {
        if (Holds(all[line], word)) expected.push_back(ids[line]);
      }

      ASSERT_EQ(index.Find(word), expected)
          << "\"" << word << "\", step " << step << ", seed " << GetParam();

      const LineId place = ids.empty() ? LineId() : ids[Below(ids.size())];
      const std::size_t edit = ids.empty() ? 0 : Below(4);
      if (edit == 0) text.Append(Line());
      if (edit == 1) text.InsertBelow(place, Line());
      if (edit == 2) text.Replace(place, Line());
      if (edit == 3) text.Remove(place);
    }
  }
}

using RandomWalks = RandomFile;

std::string ValueOf(Pair& pair) {
  return pair.value.Str();
}
std::string ValueOf(List& list) {
  return list.values.Str();
}

/// The records that have the word in their value, in the order in which a walk comes to them.
template <class Record>
Lines Walk(const std::string& path, const std::string& word) {
  Lines found;
  auto cursor = SampleTable::Get<Record>(path);
  for (cursor->First(); !cursor->Eof(); cursor->Next()) {
    const std::string value = ValueOf(*cursor);
    if (Holds(value, word)) found.push_back(cursor->key.Str() + " " + value);
  }
  return found;
}

TEST_P(RandomWalks, FindWhatWalksOverAllLinesFind) {
  const test_support::TestPanel panel;
  const std::string path = panel.folder().Path("table");
  for (int file = 0; file < 6; ++file) {
    panel.folder().WriteText("table", File());
    auto pair = SampleTable::Get<Pair>(path);
    for (int step = 0; step < kManyWords; ++step) {
      const std::string word = Word();
      const Lines pairs = Walk<Pair>(path, word);
      const Lines lists = Walk<List>(path, word);
      {
        const NarrowedWalk narrowed(path, word);
        ASSERT_EQ(Walk<Pair>(path, word), pairs)
            << "\"" << word << "\", step " << step << ", seed " << GetParam();
        ASSERT_EQ(Walk<List>(path, word), lists)
            << "\"" << word << "\", step " << step << ", seed " << GetParam();
      }

      const std::size_t edit = Below(4);
      if (edit == 0) {
        pair->New();
        pair->key.Set(Word());
        pair->value.Set(Word() + " " + Word());
        pair->Post(Below(2) == 0 ? "" : Word());
      } else if (edit == 1) {
        pair->Delete(Word());
      } else if (pair->Find(Word())) {
        pair->value.Set(Word() + "," + Word());
        pair->Post("");
      }
    }
  }
}

TEST_P(RandomWalks, MayTakeRecordsOut) {
  const test_support::TestPanel panel;
  for (int file = 0; file < 20; ++file) {
    const std::string text = File();
    const std::string word = Word();
    const std::size_t every = 1 + Below(3);
    Lines left;
    for (const bool is_narrowed : {false, true}) {
      const std::string name = is_narrowed ? "narrowed" : "whole";
      const std::string path = panel.folder().WriteText(name, text);
      std::size_t count = 0;
      {
        const NarrowedWalk walk(is_narrowed ? path : "elsewhere", word);
        auto pair = SampleTable::Get<Pair>(path);
        for (pair->First(); !pair->Eof(); pair->Next()) {
          if (Holds(pair->value.Str(), word) && count++ % every == 0) pair->_Delete(true);
        }
      }
      left.push_back(panel.folder().ReadText(name));
    }
    ASSERT_EQ(left[1], left[0]) << "\"" << word << "\" in\n" << text << "seed " << GetParam();
  }
}

INSTANTIATE_TEST_SUITE_P(Seeds, RandomWords, testing::Range(1U, 9U));
INSTANTIATE_TEST_SUITE_P(Seeds, RandomWalks, testing::Range(1U, 9U));

class NarrowedWalks : public testing::Test {
 protected:
  NarrowedWalks() {
    panel_.folder().WriteText("table",
                              "one apple\ntwo pear,apple\nthree pineapple\nfour pear # apple\n"
                              "apple five\n+six apple\n");
  }

  std::string path() const { return panel_.folder().Path("table"); }

  /// The keys of all pairs that a walk comes to.
  static Lines Keys(const std::string& path) {
    Lines keys;
    auto pair = SampleTable::Get<Pair>(path);
    for (pair->First(); !pair->Eof(); pair->Next()) keys.push_back(pair->key.Str());
    return keys;
  }

  const test_support::TestPanel panel_;
};

TEST_F(NarrowedWalks, PassOverTheOtherLines) {
  const NarrowedWalk narrowed(path(), "apple");
  EXPECT_EQ(Keys(path()), (Lines{"one", "two", "four", "apple"}));
}

TEST_F(NarrowedWalks, OfAWordThatNoLineHoldsComeToNothing) {
  const NarrowedWalk narrowed(path(), "appl");
  EXPECT_EQ(Keys(path()), Lines{});
}

TEST_F(NarrowedWalks, AreWholeAgainAfterwards) {
  const Lines all = Keys(path());
  { const NarrowedWalk narrowed(path(), "pear"); }
  EXPECT_EQ(Keys(path()), all);
  EXPECT_EQ(all.size(), 5U);
}

TEST_F(NarrowedWalks, AreThoseOfOneFile) {
  panel_.folder().WriteText("other", "one apple\ntwo pear\n");
  const NarrowedWalk narrowed(path(), "apple");
  EXPECT_EQ(Keys(panel_.folder().Path("other")), (Lines{"one", "two"}));
}

TEST_F(NarrowedWalks, DoNotHideARecordFromFind) {
  const NarrowedWalk narrowed(path(), "apple");
  auto pair = SampleTable::Get<Pair>(path());
  pair->First();
  ASSERT_TRUE(pair->Find("three"));
  EXPECT_EQ(pair->value.Str(), "pineapple");
}

TEST_F(NarrowedWalks, AreNotNarrowedTwice) {
  const NarrowedWalk narrowed(path(), "apple");
  EXPECT_EQ(ErrorOf([this] { const NarrowedWalk again(path(), "pear"); }),
            "operation: walk: a walk is narrowed already");
  EXPECT_EQ(Keys(path()), (Lines{"one", "two", "four", "apple"}));
}

}  // namespace
