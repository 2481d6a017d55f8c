/// NAME
///   text_line_test - what one line of a table is

#include "zebmail/maps/text_line.h"

#include <string>

#include <gtest/gtest.h>

namespace maps_test {
namespace {

using zebmail::maps::FindOddity;
using zebmail::maps::Format;
using zebmail::maps::LineKind;
using zebmail::maps::ReadLine;

std::string KeyIn(const std::string& line, Format format) {
  const auto read = ReadLine(line, format);
  return read.kind == LineKind::kEntry ? std::string(read.key) : "none";
}

LineKind KindOf(const std::string& line, Format format = Format::kPostmap) {
  return ReadLine(line, format).kind;
}

TEST(TextLine, IsEntryWithKeyAndValue) {
  EXPECT_EQ(KeyIn("info@Example.org\ta, b\n", Format::kPostmap), "info@Example.org");
  EXPECT_EQ(KeyIn("@example.org  a \r\n", Format::kPostmap), "@example.org");
  EXPECT_EQ(KeyIn("a.b: \"|x y\"\n", Format::kPostalias), "a.b");
  EXPECT_EQ(KeyIn("a :b", Format::kPostalias), "a");
}

TEST(TextLine, IsNothingWhenBlankOrComment) {
  for (const char* line : {"", "\n", " \t\r\n", "#", "# a b\n", "  # a b\n"}) {
    EXPECT_EQ(KindOf(line), LineKind::kNothing) << line;
  }
}

TEST(TextLine, IsContinuationBehindBlank) {
  EXPECT_EQ(KindOf(" a b\n"), LineKind::kContinuation);
  EXPECT_EQ(KindOf("\ta\n"), LineKind::kContinuation);
}

TEST(TextLine, IsOddWherePostmapReadsItInItsOwnWay) {
  using namespace std::string_literals;
  for (const std::string& line :
       {"key\n"s, "key \n"s, "key: value\n"s, "\"a b\" c\n"s, "a\"b c\n"s, "a\\ b c\n"s,
        "k\xc3\xa4se a\n"s, "a b\0c\n"s, "a b\rc\n"s, "a\vb\n"s, std::string(256, 'k') + " v\n"}) {
    EXPECT_EQ(KindOf(line), LineKind::kOdd) << line;
  }
}

TEST(TextLine, IsOddWherePostaliasReadsItInItsOwnWay) {
  for (const char* line :
       {"a b\n", "a\n", "a:\n", "a: \n", "\"a\": b\n", "a b: c\n", "a@b: c\n", "a(x): b\n",
        "YP_last: x\n", "yp_x: y\n", ".a: b\n", "a.: b\n", "a..b: c\n", ": a\n", "a/b: c\n"}) {
    EXPECT_EQ(KindOf(line, Format::kPostalias), LineKind::kOdd) << line;
  }
}

TEST(TextLine, OfTextWithNothingOddGivesNoOddity) {
  EXPECT_EQ(FindOddity("# c\n\na b\n  c\nd e", Format::kPostmap), "");
  EXPECT_EQ(FindOddity("", Format::kPostmap), "");
}

TEST(TextLine, OddOneIsNamedByItsNumber) {
  EXPECT_EQ(FindOddity("a b\nkey\n", Format::kPostmap), "line 2 is no plain entry");
  EXPECT_EQ(FindOddity("\n  a b\n", Format::kPostmap), "line 2 is no plain entry");
}

}  // namespace
}  // namespace maps_test
