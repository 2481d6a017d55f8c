/// NAME
///   text_table_test - tables as postmap and postalias read them

#include "panel/mail/text_table.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/temp_folder.h"

namespace {

using panel::mail::Format;
using panel::mail::Oddity;
using panel::mail::TextTable;

class ATextTable : public testing::Test {
 protected:
  TextTable Table(const std::string& text, Format format) {
    return {folder_.WriteText("table", text), format};
  }

  /// The repeats, "LINE of FIRST: KEY" each.
  std::string Repeats(const std::string& text, Format format = Format::kPostmap) {
    std::string shown;
    for (const auto& repeat : Table(text, format).FindRepeats()) {
      EXPECT_EQ(text.substr(0, repeat.offset).find_last_of('\n') + 1, repeat.offset);
      shown += std::to_string(repeat.line) + " of " + std::to_string(repeat.first) + ": " +
               repeat.key + "\n";
    }
    return shown;
  }

  /// The oddities, "LINE: KIND KEY" each.
  std::string Oddities(const std::string& text, Format format = Format::kPostmap) {
    std::string shown;
    for (const auto& oddity : Table(text, format).FindOddities()) {
      shown += std::to_string(oddity.line) + ": " + Kinds().at(oddity.kind) + oddity.key + "\n";
    }
    return shown;
  }

 private:
  static const std::map<Oddity::Kind, std::string>& Kinds() {
    static const std::map<Oddity::Kind, std::string> kinds = {
        {Oddity::Kind::kNoEntry, "no entry "},
        {Oddity::Kind::kNul, "nul "},
        {Oddity::Kind::kContinued, "continued "},
        {Oddity::Kind::kOtherSpelling, "other spelling "},
        {Oddity::Kind::kComment, "comment "},
        {Oddity::Kind::kContinuesNothing, "continues nothing"}};
    return kinds;
  }

  test_support::TempFolder folder_;
};

TEST_F(ATextTable, RepeatsAKeyWhereAnEarlierLineHasIt) {
  EXPECT_EQ(Repeats("a@x\tone\n"
                    "b@x\tone\n"
                    "a@x\ttwo\n"
                    "b@x two\n"
                    "a@x\tone\n"),
            "3 of 1: a@x\n4 of 2: b@x\n5 of 1: a@x\n");
}

TEST_F(ATextTable, TakesKeysInEitherCaseForOne) {
  EXPECT_EQ(Repeats("Info@X.example\tone\ninfo@x.EXAMPLE\ttwo\n"), "2 of 1: info@x.example\n");
}

TEST_F(ATextTable, RepeatsNoKeyInCommentsContinuationsAndTargets) {
  EXPECT_EQ(Repeats("a@x\tb@x\n"
                    "#a@x\tb@x\n"
                    " a@x\n"
                    "b@x\ta@x\n"
                    "a@xx\ta@x\n"
                    "\n"),
            "");
}

TEST_F(ATextTable, RepeatsNoKeyOfALineThatPostfixSkips) {
  EXPECT_EQ(Repeats("a@x\na@x\tone\na@x two"), "3 of 2: a@x\n");
}

TEST_F(ATextTable, RepeatsKeysOfAliasesWithoutTheirQuotes) {
  EXPECT_EQ(Repeats("info: one\n\"Info\" : two\n", Format::kPostalias), "2 of 1: info\n");
}

TEST_F(ATextTable, OfPlainEntriesHasNothingOdd) {
  EXPECT_EQ(Oddities("# comment\n  # indented comment\n\na@x\tone\n\nb@x\ttwo"), "");
}

TEST_F(ATextTable, TellsWhatPostfixSkipsOrReadsTogether) {
  EXPECT_EQ(Oddities("  lost\n"
                     "a@x\tone\n"
                     "# between\n"
                     "\ttwo\n"
                     "b@x\n"
                     "c@x\tthree\n"),
            "1: continues nothing\n2: continued a@x\n5: no entry b@x\n");
}

TEST_F(ATextTable, TellsKeysInOtherSpellingsAndCommentsBehindValues) {
  EXPECT_EQ(Oddities("A@x\tone\n"
                     "b@x\tone # two\n"
                     "c@x\tone#two\n"),
            "1: other spelling a@x\n2: comment b@x\n");
  EXPECT_EQ(Oddities("\"a+x\": one\nb+x: two\n", Format::kPostalias), "1: other spelling a+x\n");
}

TEST_F(ATextTable, TellsANulAndBytesThatAreNoUtf8) {
  EXPECT_EQ(Oddities(std::string("a@x\ton\0e\nb\xff@x\ttwo\nc@x\tthree\n", 28)),
            "1: nul a@x\n2: no entry b\xff@x\n");
}

TEST_F(ATextTable, TellsBytesThatOnlySeemToBeUtf8) {
  EXPECT_EQ(Oddities("a@x\tover\xe0\x80\xaf\n"
                     "b@x\thalf\xed\xa0\x80\n"
                     "c@x\tbeyond\xf4\x90\x80\x80\n"
                     "d@x\tcut\xe2\x82\n"
                     "e@x\tlast\xf4\x8f\xbf\xbf\n"),
            "1: no entry a@x\n2: no entry b@x\n3: no entry c@x\n4: no entry d@x\n");
}

TEST_F(ATextTable, OfATextIsThatOfAFileWithIt) {
  TextTable table = TextTable::Of("a@x\tone\na@x\ttwo\n", Format::kPostmap);

  EXPECT_EQ(table.Find("a@x").value().value, "one");
  EXPECT_EQ(table.FindRepeats().size(), 1U);
}

TEST_F(ATextTable, VisitsEachEntryThatCounts) {
  std::map<std::string, std::string> entries;
  TextTable table = Table("A@x\tone\na@x\ttwo\nb@x\n c@x\nd@x\n", Format::kPostmap);
  table.ForEach([&](const std::string& key, const std::string& value) { entries[key] = value; });

  EXPECT_EQ(entries, (std::map<std::string, std::string>{{"a@x", "one"}, {"b@x", "c@x"}}));
}

TEST_F(ATextTable, OfAliasesTellsLinesWithoutColon) {
  EXPECT_EQ(Oddities("info one\nsales: two\n", Format::kPostalias), "1: no entry info one\n");
}

TEST_F(ATextTable, ThatDoesNotExistHasNothing) {
  TextTable table("/nonexistent/table", Format::kPostmap);
  EXPECT_EQ(table.Find("a"), std::nullopt);
  EXPECT_TRUE(table.FindRepeats().empty());
  EXPECT_TRUE(table.FindOddities().empty());
}

}  // namespace
