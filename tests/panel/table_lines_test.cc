/// NAME
///   table_lines_test - changing single values of a file and nothing else

#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "panel/conf/passed_over.h"
#include "tests/panel/sample_table.h"
#include "tests/support/test_panel.h"

namespace {

using panel_test::ErrorOf;
using panel_test::List;
using panel_test::Pair;
using panel_test::Pattern;
using panel_test::SampleTable;

class TableLines : public testing::Test {
 protected:
  void Write(const std::string& text) { panel.folder().WriteText("table", text); }
  std::string Text() { return panel.folder().ReadText("table"); }

  template <class R>
  Cursor<R> Open() {
    return SampleTable::Get<R>(path);
  }

  void SetValue(const std::string& key, const std::string& value) {
    auto pair = Open<Pair>();
    pair->Assert(key);
    pair->value.Set(value);
    pair->Post("");
  }

  void Add(const std::string& key, const std::string& value) {
    auto pair = Open<Pair>();
    pair->New();
    pair->key.Set(key);
    pair->value.Set(value);
    pair->Post("");
  }

  std::vector<std::string> Keys() {
    std::vector<std::string> keys;
    auto pair = Open<Pair>();
    for (pair->First(); !pair->Eof(); pair->Next()) keys.push_back(pair->key.Str());
    return keys;
  }

  /// Lines at these offsets of the file as it is.
  panel::conf::FoundLines Found(std::unordered_set<std::size_t> offsets) const {
    return {panel::conf::StampOf(path), std::move(offsets)};
  }

  test_support::TestPanel panel;
  std::string path = panel.folder().Path("table");
};

using Strings = std::vector<std::string>;

// Lossless

TEST_F(TableLines, AChangedValueLeavesEveryOtherByteInPlace) {
  Write("# head\n\n  indented\nfruit \t apple  \t# sweet\n+broken\n\tx\nnut hazel\r\nlast  one");

  SetValue("fruit", "pear and plum");
  SetValue("nut", "walnut");
  SetValue("last", "two");

  EXPECT_EQ(Text(),
            "# head\n\n  indented\nfruit \t pear and plum  \t# sweet\n+broken\n\tx\n"
            "nut walnut\r\nlast  two");
}

TEST_F(TableLines, AValueSetToWhatItIsChangesNothingAndSavesNothing) {
  Write("fruit apple # sweet");
  SampleTable::Instance().saves.clear();

  SetValue("fruit", "apple");

  EXPECT_EQ(Text(), "fruit apple # sweet");
  EXPECT_TRUE(SampleTable::Instance().saves.empty());
}

TEST_F(TableLines, AValueIsReadWithoutTrailingBlanksAndWithoutTheComment) {
  Write("fruit\tapple pie \t # sweet\n");

  auto pair = Open<Pair>();
  pair->Assert("fruit");

  EXPECT_EQ(pair->value.Str(), "apple pie");
}

TEST_F(TableLines, ANewRecordBehindALastLineWithoutLineFeedGetsOnePutBefore) {
  Write("fruit apple");

  Add("nut", "hazel");

  EXPECT_EQ(Text(), "fruit apple\nnut\thazel\n");
}

TEST_F(TableLines, ANewRecordBelowALastLineWithoutLineFeedGetsOnePutBefore) {
  Write("fruit apple");

  auto pair = Open<Pair>();
  pair->New();
  pair->key.Set("nut");
  pair->Post("fruit");
  pair = Cursor<Pair>();

  EXPECT_EQ(Text(), "fruit apple\nnut\t\n");
}

TEST_F(TableLines, ADeletedLastRecordLeavesTheLineFeedOfTheOneBefore) {
  Write("fruit apple\nnut hazel");

  Open<Pair>()->Delete("nut");

  EXPECT_EQ(Text(), "fruit apple\n");
}

TEST_F(TableLines, AnEmptyValueIsFilledInBehindTheSeparatorsThatAreThere) {
  Write("a\t \nb # note\nc\nd\r\n");

  for (const char* key : {"a", "b", "c", "d"}) SetValue(key, "x");

  EXPECT_EQ(Text(), "a\t x\nb x # note\nc\tx\nd\tx\r\n");
}

TEST_F(TableLines, AnEmptiedValueLeavesItsSeparators) {
  Write("fruit \tapple # sweet\n");

  SetValue("fruit", "");

  EXPECT_EQ(Text(), "fruit \t # sweet\n");
}

TEST_F(TableLines, BytesThatAreNoTextStay) {
  const std::string odd("\xff\xfe\0\x80 \xc3\n", 7);
  Write(odd + "fruit apple\n" + odd);

  SetValue("fruit", "pear");

  EXPECT_EQ(Text(), odd + "fruit pear\n" + odd);
}

// Which lines are records

TEST_F(TableLines, BlankLinesCommentsAndIndentedLinesAreNoRecords) {
  Write("\n   \n#one 1\n # two 2\n three 3\n\tfour 4\n\r\nfive 5\n");

  EXPECT_EQ(Keys(), Strings{"five"});
}

TEST_F(TableLines, ALineBelongsToTheFirstRecordTypeThatTakesIt) {
  Write("fruit apple\n+basket a,b\n=sum 3\n");

  EXPECT_EQ(Keys(), Strings{"fruit"});
  auto list = Open<List>();
  list->First();
  EXPECT_EQ(list->key.Str(), "basket");
  auto pattern = Open<Pattern>();
  pattern->First();
  EXPECT_EQ(pattern->key.Str(), "sum");
}

TEST_F(TableLines, ALineWhoseValuesTouchIsNoRecord) {
  Write("fruit+apple\nfruit apple\n");

  EXPECT_EQ(Keys(), Strings{"fruit"});
  SetValue("fruit", "pear");
  EXPECT_EQ(Text(), "fruit+apple\nfruit pear\n");
}

TEST_F(TableLines, ALineWithoutAKeyIsNoRecord) {
  Write("+\n+ \n");

  auto list = Open<List>();
  list->First();

  EXPECT_TRUE(list->Eof());
}

// Continuation lines

TEST_F(TableLines, ARecordIsDeletedWithItsContinuationLines) {
  Write("fruit apple\n  more\n# note\n\n\tand more\nnut hazel\n  kernel\n");

  Open<Pair>()->Delete("fruit");

  EXPECT_EQ(Text(), "# note\n\nnut hazel\n  kernel\n");
}

TEST_F(TableLines, AnIndentedCommentIsNoContinuationLine) {
  Write("fruit apple\n  # note\n   \nnut hazel\n");

  Open<Pair>()->Delete("fruit");

  EXPECT_EQ(Text(), "  # note\n   \nnut hazel\n");
}

TEST_F(TableLines, AChangedRecordKeepsItsContinuationLines) {
  Write("fruit apple\n  more\n");

  SetValue("fruit", "pear");

  EXPECT_EQ(Text(), "fruit pear\n  more\n");
}

TEST_F(TableLines, ANewRecordNeverComesBetweenARecordAndItsContinuationLines) {
  Write("fruit apple\n  more\n# note\n  and more\n# end\nnut hazel\n  kernel");

  auto pair = Open<Pair>();
  pair->New();
  pair->key.Set("a");
  pair->Post("fruit");
  pair->New();
  pair->key.Set("b");
  pair->Post("nut");
  pair = Cursor<Pair>();

  EXPECT_EQ(Text(),
            "fruit apple\n  more\n# note\n  and more\na\t\n# end\nnut hazel\n  kernel\nb\t\n");
}

// Lists

TEST_F(TableLines, AListSplitsAtItsSeparatorExceptInsideQuotes) {
  Write("+basket apple, \"pear, plum\" ,,\"a\\\",b\"\n");

  auto list = Open<List>();
  list->Assert("basket");

  ASSERT_EQ(list->values.Size(), 3U);
  EXPECT_EQ(list->values[0], "apple");
  EXPECT_EQ(list->values[1], "\"pear, plum\"");
  EXPECT_EQ(list->values[2], "\"a\\\",b\"");
  EXPECT_EQ(list->values.Str(), "apple,\"pear, plum\",\"a\\\",b\"");
  EXPECT_EQ(ErrorOf([&] { list->values[3]; }), "missing: values: 3");
}

TEST_F(TableLines, AListThatStaysTheSameKeepsItsSpelling) {
  Write("+basket apple ,  pear\n");

  auto list = Open<List>();
  list->Assert("basket");
  list->values = "apple,pear";
  list->Post("");
  list = Cursor<List>();

  EXPECT_EQ(Text(), "+basket apple ,  pear\n");
}

TEST_F(TableLines, ValuesAreAppendedAndDeletedOneByOne) {
  Write("+basket apple, pear # mixed\n");

  auto list = Open<List>();
  list->Assert("basket");
  list->values.Append("\"plum, ripe\"");
  list->values.Delete("apple");
  list->values.Delete("not there");
  EXPECT_TRUE(list->values.Has("pear"));
  EXPECT_FALSE(list->values.Has("apple"));
  list->Post("");
  list = Cursor<List>();

  EXPECT_EQ(Text(), "+basket pear,\"plum, ripe\" # mixed\n");
}

TEST_F(TableLines, AnErasedListIsEmpty) {
  Write("+basket apple,pear\n");

  auto list = Open<List>();
  list->Assert("basket");
  list->values.Erase();
  list->Post("");
  EXPECT_EQ(list->values.Size(), 0U);
  list = Cursor<List>();

  EXPECT_EQ(Text(), "+basket \n");
}

TEST_F(TableLines, AnAppendedValueThatWouldReadAsTwoIsRefused) {
  Write("+basket apple\n");

  auto list = Open<List>();
  list->Assert("basket");

  EXPECT_EQ(ErrorOf([&] { list->values.Append("pear,plum"); }), "value: values: pear,plum");
  EXPECT_EQ(ErrorOf([&] { list->values.Append(""); }), "value: values");
  EXPECT_EQ(ErrorOf([&] { list->values.Append(" pear"); }), "value: values:  pear");
}

TEST_F(TableLines, AValueIsNotAppendedBehindAnOpenQuote) {
  Write("+basket apple,\"pear\n");

  auto list = Open<List>();
  list->Assert("basket");

  EXPECT_EQ(ErrorOf([&] { list->values.Append("plum"); }), "value: values: plum");
  EXPECT_EQ(list->values.Str(), "apple,\"pear");
}

// What is written must read back as itself

struct HostileCase {
  const char* what;
  std::string key;
  std::string value;
  std::string field;
};

class Hostile : public TableLines, public testing::WithParamInterface<HostileCase> {};

TEST_P(Hostile, NewRecordIsRefusedAndNothingChanges) {
  Write("fruit apple\n");

  try {
    Add(GetParam().key, GetParam().value);
    FAIL() << "accepted";
  } catch (const fen_err::Error& error) {
    EXPECT_EQ(error.type(), "value");
    EXPECT_EQ(error.object(), GetParam().field);
    EXPECT_EQ(error.value(), GetParam().field == "key" ? GetParam().key : GetParam().value);
  }

  EXPECT_EQ(Text(), "fruit apple\n");
}

TEST_P(Hostile, ChangeOfARecordIsRefusedAndNothingChanges) {
  Write("fruit apple # sweet\r\nnut hazel");

  {
    auto pair = Open<Pair>();
    pair->Assert("fruit");
    pair->key.Set(GetParam().key);
    pair->value.Set(GetParam().value);
    EXPECT_THROW(pair->Post(""), fen_err::Error);
  }

  EXPECT_EQ(Text(), "fruit apple # sweet\r\nnut hazel");
}

INSTANTIATE_TEST_SUITE_P(Values, Hostile,
                         testing::Values(HostileCase{"LineFeed", "k", "a\nroot evil", "value"},
                                         HostileCase{"LineFeedAtEnd", "k", "a\n", "value"},
                                         HostileCase{"CarriageReturn", "k", "a\rb", "value"},
                                         HostileCase{"Nul", "k", std::string("a\0b", 3), "value"},
                                         HostileCase{"Escape", "k", "a\x1b[2J", "value"},
                                         HostileCase{"Delete", "k", "a\x7f", "value"},
                                         HostileCase{"Comment", "k", "a # b", "value"},
                                         HostileCase{"LeadingBlank", "k", " a", "value"},
                                         HostileCase{"TrailingBlank", "k", "a ", "value"},
                                         HostileCase{"TrailingTab", "k", "a\t", "value"},
                                         HostileCase{"EmptyKey", "", "a", "key"},
                                         HostileCase{"BlankInKey", "a b", "c", "key"},
                                         HostileCase{"TabInKey", "a\tb", "c", "key"},
                                         HostileCase{"LineFeedInKey", "a\nb", "c", "key"},
                                         HostileCase{"NulInKey", std::string("a\0", 2), "c", "key"},
                                         HostileCase{"CommentAsKey", "#a", "c", "key"},
                                         HostileCase{"CommentInKey", "a#b", "c", "key"},
                                         HostileCase{"KeyOfAnotherType", "+a", "c", "key"},
                                         HostileCase{"SingleCharacterInKey", "a+b", "c", "key"}),
                         [](const auto& hostile) { return hostile.param.what; });

TEST_F(TableLines, APatternIsFilledInByFieldNameOnceAndNeverInsideAValue) {
  auto pattern = Open<Pattern>();
  pattern->New();
  pattern->key.Set("__value__");
  pattern->value.Set("__key__ __value__");
  pattern->Post("");
  pattern = Cursor<Pattern>();

  EXPECT_EQ(Text(), "=__value__\t__key__ __value__\n");
}

TEST_F(TableLines, AFinishedLineIsNoPatternWhateverItsValuesAre) {
  Add("__value__", "__key__");

  EXPECT_EQ(Text(), "__value__\t__key__\n");
}

// Places

TEST_F(TableLines, ANewRecordGoesToTheEnd) {
  Write("fruit apple\n# end\n");

  Add("nut", "hazel");
  Add("tree", "oak");

  EXPECT_EQ(Text(), "fruit apple\n# end\nnut\thazel\ntree\toak\n");
}

TEST_F(TableLines, PostBesideACursorPutsTheRecordDirectlyBelowItsLine) {
  Write("+basket a\n+box b\n");

  {
    auto list = Open<List>();
    auto pair = Open<Pair>();
    list->Assert("basket");
    for (const char* key : {"first", "second"}) {
      pair->New();
      pair->key.Set(key);
      pair->value.Set("x");
      pair->Post(*list);
    }
  }

  EXPECT_EQ(Text(), "+basket a\nsecond\tx\nfirst\tx\n+box b\n");
}

TEST_F(TableLines, PostBesideACursorThatStandsOnNothingGoesToTheEnd) {
  Write("+basket a\n+box b\n");

  {
    auto list = Open<List>();
    auto pair = Open<Pair>();
    list->Find("nowhere");
    pair->New();
    pair->key.Set("first");
    pair->Post(*list);
  }

  EXPECT_EQ(Text(), "+basket a\n+box b\nfirst\t\n");
}

TEST_F(TableLines, PostBesideACursorOnAnotherFileIsRefused) {
  Write("fruit apple\n");
  auto other = SampleTable::Get<Pair>(panel.folder().Path("other"));
  auto pair = Open<Pair>();
  pair->New();
  pair->key.Set("nut");

  EXPECT_THROW(pair->Post(*other), fen_err::Error);
}

TEST_F(TableLines, PostWithAKeyPutsTheRecordDirectlyBelowThatRecord) {
  Write("fruit apple\nnut hazel\nnut walnut\n");

  {
    auto pair = Open<Pair>();
    pair->New();
    pair->key.Set("tree");
    pair->Post("nut");
    pair->New();
    pair->key.Set("stone");
    pair->Post("nowhere");
  }

  EXPECT_EQ(Text(), "fruit apple\nnut hazel\ntree\t\nnut walnut\nstone\t\n");
}

TEST_F(TableLines, ARecordMayBePlacedBesideOneThatWasJustAdded) {
  {
    auto pair = Open<Pair>();
    for (const char* key : {"a", "b", "c"}) {
      pair->New();
      pair->key.Set(key);
      pair->Post("a");
    }
    pair->New();
    pair->key.Set("d");
    pair->Post("");
  }

  EXPECT_EQ(Text(), "a\t\nc\t\nb\t\nd\t\n");
}

// Moving

TEST_F(TableLines, ALineThatBeginsWithANulIsNoRecord) {
  const std::string text("\0fruit apple\nnut hazel\n", 23);
  Write(text);

  auto pair = Open<Pair>();
  pair->First();
  EXPECT_EQ(pair->key.Str(), "nut");
  EXPECT_FALSE(pair->Find(std::string("\0fruit", 6)));
  pair = Cursor<Pair>();

  EXPECT_EQ(Text(), text);
}

TEST_F(TableLines, CreateStandsOnTheRecordIfThereIsOneAndAppendsItOtherwise) {
  Write("fruit apple\n");

  {
    auto pair = Open<Pair>();
    pair->Create("fruit");
    pair->value.Set("pear");
    pair->Post("");
    pair->Create("nut");
    pair->value.Set("hazel");
    pair->Post("");
  }

  EXPECT_EQ(Text(), "fruit pear\nnut\thazel\n");
}

TEST_F(TableLines, FindStandsOnTheFirstOfSeveralRecordsWithTheKey) {
  Write("fruit apple\nfruit pear\n");

  auto pair = Open<Pair>();

  EXPECT_TRUE(pair->Find("fruit"));
  EXPECT_EQ(pair->value.Str(), "apple");
  EXPECT_FALSE(pair->Find("frui"));
  EXPECT_TRUE(pair->Eof());
  EXPECT_FALSE(pair->Find(""));
}

TEST_F(TableLines, AssertWithoutARecordNamesFileAndKey) {
  auto pair = Open<Pair>();

  EXPECT_EQ(ErrorOf([&] { pair->Assert("fruit"); }), "missing: " + path + ": fruit");
}

TEST_F(TableLines, DeleteThenNextStandsOnTheRecordThatFollowed) {
  Write("a 1\nb 2\nc 3\nd 4\n");

  {
    auto pair = Open<Pair>();
    for (pair->First(); !pair->Eof(); pair->Next()) {
      if (pair->key.Str() != "d") pair->Delete();
    }
  }

  EXPECT_EQ(Text(), "d 4\n");
}

TEST_F(TableLines, DeleteOfAnUnknownKeyIsFalseAndChangesNothing) {
  Write("a 1\n");
  SampleTable::Instance().saves.clear();

  EXPECT_FALSE(Open<Pair>()->Delete("b"));

  EXPECT_EQ(Text(), "a 1\n");
  EXPECT_TRUE(SampleTable::Instance().saves.empty());
}

TEST_F(TableLines, AFieldOfNoRecordIsMissing) {
  Write("a 1\n");
  auto pair = Open<Pair>();

  EXPECT_EQ(ErrorOf([&] { pair->value.Str(); }), "missing: " + path);
  pair->First();
  pair->Delete();
  EXPECT_EQ(ErrorOf([&] { pair->value.Set("x"); }), "missing: " + path);
  EXPECT_EQ(ErrorOf([&] { pair->Post(""); }), "missing: " + path);
  EXPECT_EQ(ErrorOf([&] { pair->Delete(); }), "missing: " + path);
}

TEST_F(TableLines, WhatWasNotPostedIsForgottenWhenTheCursorMoves) {
  Write("a 1\nb 2\n");

  {
    auto pair = Open<Pair>();
    pair->Assert("a");
    pair->value.Set("x");
    pair->Assert("b");
    pair->Assert("a");
    EXPECT_EQ(pair->value.Str(), "1");
    pair->Post("");
  }

  EXPECT_EQ(Text(), "a 1\nb 2\n");
}

TEST_F(TableLines, AChangedKeyIsFoundUnderItsNewName) {
  Write("a 1\nb 2\n");

  {
    auto pair = Open<Pair>();
    pair->Assert("a");
    pair->key.Set("c");
    pair->Post("");
    EXPECT_FALSE(pair->Find("a"));
    EXPECT_TRUE(pair->Find("c"));
  }

  EXPECT_EQ(Text(), "c 1\nb 2\n");
}

TEST_F(TableLines, TwoCursorsOnOneFileSeeEachOthersChanges) {
  Write("a 1\n");

  {
    auto one = Open<Pair>();
    auto other = Open<Pair>();
    one->Assert("a");
    other->Assert("a");
    one->value.Set("2");
    one->Post("");
    EXPECT_EQ(other->value.Str(), "2");
    other->Delete();
    EXPECT_EQ(ErrorOf([&] { one->value.Str(); }), "missing: " + path);
  }

  EXPECT_EQ(Text(), "");
}

TEST_F(TableLines, AMissingFileReadsAsEmptyAndComesWithItsFirstRecord) {
  EXPECT_EQ(Keys(), Strings{});
  EXPECT_FALSE(std::filesystem::exists(path));

  Add("a", "1");

  EXPECT_EQ(Text(), "a\t1\n");
}

TEST_F(TableLines, AMissingFileThatIsNotToBeCreatedIsAnError) {
  EXPECT_EQ(ErrorOf([&] { SampleTable::Get<Pair>(path, false); }),
            "file: " + path + ": does not exist");
}

// Lines that are passed over

TEST_F(TableLines, ThatArePassedOverAreNotWalkedOverButFound) {
  Write("a = 1\nb = 2\na = 3\nc = 4\n");
  {
    const panel::conf::PassedOver passed_over(path, Found({0, 12}));
    EXPECT_EQ(Keys(), Strings({"b", "c"}));
    EXPECT_TRUE(Open<Pair>()->Find("a"));
  }
  EXPECT_EQ(Keys(), Strings({"a", "b", "a", "c"}));
}

TEST_F(TableLines, OfAnotherFileAreNotPassedOver) {
  Write("a = 1\n");
  const panel::conf::PassedOver passed_over(path + ".other", Found({0}));
  EXPECT_EQ(Keys(), Strings({"a"}));
}

TEST_F(TableLines, ThatWereAddedMeanwhileAreNotPassedOver) {
  Write("a = 1\n");
  const panel::conf::PassedOver passed_over(path, Found({0}));
  Add("b", "2");
  EXPECT_EQ(Keys(), Strings({"b"}));
}

TEST_F(TableLines, AreNotWalkedOverWhenTheFileHasChangedSinceThoseToPassOverWereFound) {
  Write("a = 1\nb = 2\n");
  const panel::conf::FoundLines lines = Found({0});
  Write("c = 3\na = 1\nb = 2\n");
  const panel::conf::PassedOver passed_over(path, lines);

  EXPECT_EQ(ErrorOf([&] { Keys(); }), "changed: " + path);
}

TEST_F(TableLines, ArePassedOverByOneListAtATime) {
  const panel::conf::PassedOver passed_over(path, Found({0}));
  EXPECT_EQ(ErrorOf([&] { const panel::conf::PassedOver other(path, Found({0})); }),
            "operation: walk: lines are passed over already");
}

}  // namespace
