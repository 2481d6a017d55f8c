/// NAME
///   text_test - the text helpers

#include <limits>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/str.h"
#include "panel/text/control_characters.h"
#include "panel/text/shortened.h"
#include "panel/text/utf8.h"
#include "panel/text/words.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(GetWord, TakesTheFirstWordOff) {
  std::string text = "info@example.org@extra";

  EXPECT_EQ(str::GetWord(text, '@'), "info");
  EXPECT_EQ(text, "example.org@extra");
}

TEST(GetWord, TakesAllWhereThereIsNoSeparator) {
  std::string text = "info";

  EXPECT_EQ(str::GetWord(text, '@'), "info");
  EXPECT_EQ(text, "");
}

TEST(GetWord, TakesAnEmptyWordInFrontOfASeparator) {
  std::string text = "@example.org";

  EXPECT_EQ(str::GetWord(text, '@'), "");
  EXPECT_EQ(text, "example.org");
}

TEST(GetWord, LeavesNothingBehindALastSeparator) {
  std::string text = "info@";

  EXPECT_EQ(str::GetWord(text, '@'), "info");
  EXPECT_EQ(text, "");
}

TEST(GetWord, FindsANul) {
  std::string text("a\0b", 3);

  EXPECT_EQ(str::GetWord(text, '\0'), "a");
  EXPECT_EQ(text, "b");
}

TEST(GetWord, LeavesAConstantTextAsItIs) {
  const std::string text = "info@example.org";

  EXPECT_EQ(str::GetWord(text, '@'), "info");
  EXPECT_EQ(str::GetWord(text, '#'), "info@example.org");
  EXPECT_EQ(text, "info@example.org");
}

TEST(RGetWord, TakesTheLastWordOff) {
  std::string text = "smtp -o a=b -o smtp_bind_address=192.0.2.1";

  EXPECT_EQ(str::RGetWord(text, "="), "192.0.2.1");
  EXPECT_EQ(text, "smtp -o a=b -o smtp_bind_address");
}

TEST(RGetWord, TakesASeparatorOfSeveralCharacters) {
  std::string text = "one, two, three";

  EXPECT_EQ(str::RGetWord(text, ", "), "three");
  EXPECT_EQ(text, "one, two");
}

TEST(RGetWord, TakesAllWhereThereIsNoSeparator) {
  std::string text = "smtp";
  EXPECT_EQ(str::RGetWord(text, "="), "smtp");
  EXPECT_EQ(text, "");

  text = "smtp";
  EXPECT_EQ(str::RGetWord(text, ""), "smtp");
  EXPECT_EQ(text, "");
}

TEST(RGetWord, TakesAnEmptyWordBehindASeparator) {
  std::string text = "a=";

  EXPECT_EQ(str::RGetWord(text, "="), "");
  EXPECT_EQ(text, "a");
}

TEST(Replace, ReplacesEveryOccurrence) {
  EXPECT_EQ(str::Replace("a.b.c.", ".", "_"), "a_b_c_");
  EXPECT_EQ(str::Replace("info@example.org", "@", "+"), "info+example.org");
  EXPECT_EQ(str::Replace("abc", "", "x"), "abc");
  EXPECT_EQ(str::Replace("", "a", "x"), "");
  EXPECT_EQ(str::Replace("aXXb", "XX", ""), "ab");
}

TEST(Replace, DoesNotSearchWhatItPutIn) {
  EXPECT_EQ(str::Replace("a", "a", "aa"), "aa");
  EXPECT_EQ(str::Replace("aaa", "aa", "a"), "aa");
}

TEST(Random, GivesAsManyBytesAsAskedFor) {
  EXPECT_EQ(str::Random(0).size(), 0U);
  EXPECT_EQ(str::Random(4).size(), 4U);
  EXPECT_EQ(str::Random(100000).size(), 100000U);
}

TEST(Random, UsesEveryBitOfAnInteger) {
  int ones = 0;
  int zeros = 0;
  for (int round = 0; round < 100; ++round) {
    const int value = str::Random<int>();
    ones |= value;
    zeros |= ~value;
  }

  EXPECT_EQ(ones, -1);
  EXPECT_EQ(zeros, -1);
}

TEST(Random, DoesNotRepeatItself) {
  std::set<std::string> seen;
  for (int round = 0; round < 1000; ++round) seen.insert(str::Random(16));

  EXPECT_EQ(seen.size(), 1000U);
}

TEST(Str, WritesAnIntegerInDecimal) {
  EXPECT_EQ(str::Str(0), "0");
  EXPECT_EQ(str::Str(-17), "-17");
  EXPECT_EQ(str::Str(std::numeric_limits<int>::min()), "-2147483648");
  EXPECT_EQ(str::Str(std::numeric_limits<int>::max()), "2147483647");
}

TEST(ControlCharacters, AreShownAsTheyAreSpelled) {
  EXPECT_EQ(panel::EscapeControlCharacters("a\nb\r\tc\x1b[31m\x7f"), "a\\nb\\r\\tc\\x1b[31m\\x7f");
  EXPECT_EQ(panel::EscapeControlCharacters(std::string("\0", 1)), "\\x00");
}

TEST(ControlCharacters, CannotBeImitatedByATextThatHoldsBackslashes) {
  EXPECT_EQ(panel::EscapeControlCharacters("\\n"), "\\\\n");
}

TEST(ControlCharacters, AreAllThatIsEscaped) {
  EXPECT_EQ(panel::EscapeControlCharacters("bücher 100% [x] {y}"), "bücher 100% [x] {y}");
  EXPECT_FALSE(panel::HasControlCharacters("bücher"));
  EXPECT_TRUE(panel::HasControlCharacters("a\tb"));
  EXPECT_TRUE(panel::HasControlCharacters(std::string("a\0", 2)));
}

TEST(ControlCharacters, AreEscapedWithAllThatShowsNothingOrIsNoUtf8) {
  EXPECT_EQ(panel::EscapeControlCharacters("\u009b31m \u202e\u200b\u2066\ufeff\u00ad"),
            "\\xc2\\x9b31m \\xe2\\x80\\xae\\xe2\\x80\\x8b\\xe2\\x81\\xa6\\xef\\xbb\\xbf\\xc2\\xad");
  EXPECT_EQ(panel::EscapeControlCharacters("\x9b\xc0\xaf\xe2\x82"), "\\x9b\\xc0\\xaf\\xe2\\x82");
  EXPECT_EQ(panel::EscapeControlCharacters("漢字 😀"), "漢字 😀");
}

TEST(ControlCharacters, AreEscapedWithBlanksThatAreNoneAndVariants) {
  for (const char* const blank : {"\u00a0", "\u1680", "\u2003", "\u202f", "\u205f", "\u2800",
                                  "\u3000", "\u3164", "\uffa0", "\ufe0f", "\U0001d159"}) {
    EXPECT_EQ(panel::EscapeControlCharacters(blank), panel::Hexadecimal(blank));
  }
}

TEST(Hidden, IsEscapedWithBackslashesLeftAsTheyAre) {
  EXPECT_EQ(panel::EscapeHidden("a\\.b\n\t\x1b\u2800"), "a\\.b\\n\\t\\x1b\\xe2\\xa0\\x80");
  EXPECT_EQ(panel::EscapeHidden("a\\.b\n\t\x1b", "\n\t"), "a\\.b\n\t\\x1b");
}

TEST(Utf8, WritesEachCharacterInOneWay) {
  for (const char* text : {"", "a", "ü", "€", "😀", "\x7f", "\u0080", "\u07ff", "\u0800", "\ud7ff",
                           "\ue000", "\uffff", "\U00010000", "\U0010ffff"}) {
    EXPECT_TRUE(panel::IsUtf8(text)) << text;
  }
  for (const char* text :
       {"\x80", "\xbf", "\xc3", "\xc0\xaf", "\xc1\xbf", "\xe0\x80\xaf", "\xe0\x9f\xbf",
        "\xed\xa0\x80", "\xed\xbf\xbf", "\xf0\x80\x80\xaf", "\xf0\x8f\xbf\xbf", "\xf4\x90\x80\x80",
        "\xf5\x80\x80\x80", "\xff", "\xe2\x82", "\xe2\x28\xa1", "a\xc3"}) {
    EXPECT_FALSE(panel::IsUtf8(text)) << panel::EscapeControlCharacters(text);
  }
}

TEST(Shortened, LeavesAShortTextAsItIs) {
  EXPECT_EQ(panel::Shortened("", 8), "");
  EXPECT_EQ(panel::Shortened("12345678", 8), "12345678");
}

TEST(Shortened, KeepsTheBeginningAndTheEndOfALongTextAndTellsItsLength) {
  EXPECT_EQ(panel::Shortened("123456789", 8), "123456 [... 9 bytes in all ...] 89");
  EXPECT_EQ(panel::Shortened("123456789", 0), " [... 9 bytes in all ...] ");
}

TEST(Shortened, CutsNoCharacter) {
  EXPECT_EQ(panel::Shortened("12345ü7ü9", 8), "12345 [... 11 bytes in all ...] ü9");
  EXPECT_EQ(panel::Shortened(std::string(9, '\x80'), 8),
            std::string(6, '\x80') + " [... 9 bytes in all ...] " + std::string(2, '\x80'));
}

TEST(Words, AreSeparatedByBlanks) {
  EXPECT_THAT(panel::SplitWords("/usr/sbin/postmap  -c /etc/postfix "),
              ElementsAre("/usr/sbin/postmap", "-c", "/etc/postfix"));
  EXPECT_THAT(panel::SplitWords(" reload"), ElementsAre("reload"));
  EXPECT_THAT(panel::SplitWords("a\tb 'c d'"), ElementsAre("a\tb", "'c", "d'"));
  EXPECT_THAT(panel::SplitWords("   "), IsEmpty());
  EXPECT_THAT(panel::SplitWords(""), IsEmpty());
}

TEST(Words, AreJoinedByOneBlank) {
  EXPECT_EQ(panel::JoinWords({"postfix", "reload"}), "postfix reload");
  EXPECT_EQ(panel::JoinWords({"", "reload"}), "reload");
  EXPECT_EQ(panel::JoinWords({}), "");
}

}  // namespace
