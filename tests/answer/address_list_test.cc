/// NAME
///   address_list_test - the addresses of a field such as "To:"

#include "zebmail/answer/address_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace zebmail::answer {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

TEST(AddressList, ReadsBareAddresses) {
  EXPECT_THAT(ReadAddresses("info@example.org"), ElementsAre("info@example.org"));
  EXPECT_THAT(ReadAddresses(" a@x.test,b@x.test ,c@x.test "),
              ElementsAre("a@x.test", "b@x.test", "c@x.test"));
}

TEST(AddressList, ReadsAddressesBehindDisplayNames) {
  EXPECT_THAT(ReadAddresses("Info <info@example.org>, \"Doe, Jane\" <jane@x.test>,<b@x.test>"),
              ElementsAre("info@example.org", "jane@x.test", "b@x.test"));
}

TEST(AddressList, TakesNoDisplayNameForAnAddress) {
  EXPECT_THAT(ReadAddresses("\"info@example.org\" <other@x.test>"), ElementsAre("other@x.test"));
  EXPECT_THAT(ReadAddresses("info@example.org <other@x.test>"), ElementsAre("other@x.test"));
  EXPECT_THAT(ReadAddresses("\"a, info@example.org, b\" <other@x.test>"),
              ElementsAre("other@x.test"));
  EXPECT_THAT(ReadAddresses("\"\\\", info@example.org\" <other@x.test>"),
              ElementsAre("other@x.test"));
}

TEST(AddressList, TakesNothingBehindTheBracketsForAnAddress) {
  EXPECT_THAT(ReadAddresses("<other@x.test> info@example.org"), ElementsAre("other@x.test"));
  EXPECT_THAT(ReadAddresses("<other@x.test>info@example.org"), ElementsAre("other@x.test"));
}

TEST(AddressList, SkipsComments) {
  EXPECT_THAT(ReadAddresses("info@example.org (Info)"), ElementsAre("info@example.org"));
  EXPECT_THAT(ReadAddresses("(a (b, c) \\) d@x.test,) info(x)@(y)example.org"),
              ElementsAre("info@example.org"));
  EXPECT_THAT(ReadAddresses("other@x.test (info@example.org)"), ElementsAre("other@x.test"));
}

TEST(AddressList, ReadsTheMembersOfGroups) {
  EXPECT_THAT(ReadAddresses("Team: info@example.org, Bob <bob@x.test>;, c@x.test"),
              ElementsAre("info@example.org", "bob@x.test", "c@x.test"));
  EXPECT_THAT(ReadAddresses("undisclosed-recipients:;"), IsEmpty());
}

TEST(AddressList, LeavesOutRoutes) {
  EXPECT_THAT(ReadAddresses("<@a.test,@b.test:info@example.org>, c@x.test"),
              ElementsAre("info@example.org", "c@x.test"));
}

TEST(AddressList, LeavesOutBlanksAroundTheJointsOfAnAddress) {
  EXPECT_THAT(ReadAddresses("info @ example . org"), ElementsAre("info@example.org"));
  EXPECT_THAT(ReadAddresses("< info@example.org >"), ElementsAre("info@example.org"));
}

TEST(AddressList, JoinsNoWordsThatABlankSeparates) {
  EXPECT_THAT(ReadAddresses("in fo@example.org"), ElementsAre("in fo@example.org"));
  EXPECT_THAT(ReadAddresses("in(x)fo@example.org"), ElementsAre("in fo@example.org"));
  EXPECT_THAT(ReadAddresses("info@example.org evil"), ElementsAre("info@example.org evil"));
}

TEST(AddressList, LeavesOutNeedlessQuotes) {
  EXPECT_THAT(ReadAddresses("\"info\"@example.org"), ElementsAre("info@example.org"));
  EXPECT_THAT(ReadAddresses("\"in\\fo\"@example.org"), ElementsAre("info@example.org"));
  EXPECT_THAT(ReadAddresses("\"a b\"@example.org"), ElementsAre("\"a b\"@example.org"));
}

TEST(AddressList, TakesNoQuotedTextForAnAddress) {
  EXPECT_THAT(ReadAddresses("\"info@example.org\""), ElementsAre("\"info@example.org\""));
}

TEST(AddressList, ReadsDomainsInSquareBrackets) {
  EXPECT_THAT(ReadAddresses("info@[IPv6:::1], b@x.test"),
              ElementsAre("info@[IPv6:::1]", "b@x.test"));
}

TEST(AddressList, CopesWithWhatIsNotClosed) {
  for (const char* const value :
       {"\"info@example.org", "(info@example.org", "[info@example.org",
        "a <b@x.test, info@example.org", "\\", "\"\\", "(\\", "<", ">", ":", ";", ",", "@", "\"\"",
        "()", "<>", "[]", "info@example.org>"}) {
    EXPECT_THAT(ReadAddresses(value), Not(Contains("info@example.org"))) << value;
  }
}

TEST(AddressList, HoldsNoEmptyAddress) {
  EXPECT_THAT(ReadAddresses(""), IsEmpty());
  EXPECT_THAT(ReadAddresses(" , ,<>,();"), IsEmpty());
}

TEST(AddressList, TakesTimeInProportionToTheLengthOfTheValue) {
  constexpr std::size_t kTimes = 1'000'000;
  for (const std::string part :
       {"(", ")", "\"", "\\", "<",   ">",   "[",  ",",  ":",  ";",    "@",
        " ", "a", "a@", "<a", "\"a", "(\\", "a,", "()", "[]", "\"\"", "<>"}) {
    std::string value;
    for (std::size_t time = 0; time < kTimes; ++time) value += part;

    EXPECT_THAT(ReadAddresses(value), Not(Contains("info@example.org")));
  }
}

}  // namespace
}  // namespace zebmail::answer
