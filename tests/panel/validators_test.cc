/// NAME
///   validators_test - what is an address, a domain, an IP address

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/test.h"

namespace {

/// Whether `validator` refuses `text` and leaves it as it is.
bool Refuses(bool (*validator)(std::string&), const std::string& text) {
  std::string copy = text;
  return !validator(copy) && copy == text;
}

/// What `validator` makes of `text`; empty when it refuses it.
std::string Normal(bool (*validator)(std::string&), std::string text) {
  return validator(text) ? text : "";
}

std::string Repeat(const std::string& text, int times) {
  std::string repeated;
  for (int round = 0; round < times; ++round) repeated += text;
  return repeated;
}

/// Texts that must pass for nothing, as they are and wherever they stand.
const std::vector<std::string>& HostileParts() {
  static const std::vector<std::string> parts = {
      std::string("\0", 1),
      "\n",
      "\r",
      "\t",
      " ",
      "\x1b[31m",
      "\x7f",
      "#",
      "|",
      "\"",
      "\\",
      "'",
      "`",
      "$(id)",
      ";",
      ",",
      ":",
      "<",
      ">",
      "(",
      ")",
      "[",
      "]",
      "/",
      "!",
      "%",
      "*",
      "&",
      "~",
      "=",
      "?",
      "@",
      "\xc2\xa0",      // no-break space
      "\xc2\xad",      // soft hyphen
      "\xe2\x80\x8b",  // zero width space
      "\xe2\x80\x8d",  // zero width joiner
      "\xe2\x80\xae",  // right-to-left override
      "\xe2\x81\xa6",  // left-to-right isolate
      "\xe2\x80\xa8",  // line separator
      "\xef\xbb\xbf",  // byte order mark
      "\xef\xbc\xa0",  // full-width @
      "\xef\xbc\x8e",  // full-width full stop
      "\xe3\x80\x82",  // ideographic full stop
      "\xef\xbd\x81",  // full-width a
      "\xff",          // no UTF-8
      "\xc0\xaf",      // a slash in two bytes
      "\xed\xa0\x80",  // half a surrogate pair
  };
  return parts;
}

TEST(Domain, MayBeAnyNameOfTwoLabelsOrMore) {
  for (const char* name :
       {"example.org", "a.b", "sub.example.co.uk", "3com.example", "a-b.example", "a--b.example",
        "x1.2y", "123.example", "xn--bcher-kva.example", "1.2.3.4a"}) {
    EXPECT_EQ(Normal(test::Domain, name), name);
  }
}

TEST(Domain, IsBroughtToLowerCase) {
  EXPECT_EQ(Normal(test::Domain, "Shop.EXAMPLE.Org"), "shop.example.org");
}

TEST(Domain, IsBroughtToItsAsciiForm) {
  EXPECT_EQ(Normal(test::Domain, "bücher.example"), "xn--bcher-kva.example");
  EXPECT_EQ(Normal(test::Domain,
                   "bu\xcc\x88"
                   "cher.example"),
            "xn--bcher-kva.example");
  EXPECT_EQ(Normal(test::Domain, "Bücher.EXAMPLE"), "xn--bcher-kva.example");
  EXPECT_EQ(Normal(test::Domain, "faß.example"), "xn--fa-hia.example");
  EXPECT_EQ(Normal(test::Domain, "例え.テスト"), "xn--r8jz45g.xn--zckzah");
}

TEST(Domain, CannotBeWithoutADotOrWithEmptyLabels) {
  for (const char* name : {"", ".", "..", "example", "localhost", "example.org.", ".example.org",
                           "example..org", "bücher", "bücher."}) {
    EXPECT_TRUE(Refuses(test::Domain, name)) << name;
  }
}

TEST(Domain, CannotBeginOrEndALabelWithAHyphen) {
  for (const char* name : {"-a.example", "a-.example", "a.-example", "a.example-", "-.example",
                           "-rf.example", "-bü.example", "bü-.example"}) {
    EXPECT_TRUE(Refuses(test::Domain, name)) << name;
  }
}

TEST(Domain, CannotHoldAnUnderscore) {
  EXPECT_TRUE(Refuses(test::Domain, "_dmarc.example.org"));
  EXPECT_TRUE(Refuses(test::Domain, "a_b.example.org"));
  EXPECT_TRUE(Refuses(test::Domain, "a_b.bücher.example"));
}

TEST(Domain, CannotBeAnIpAddress) {
  EXPECT_TRUE(Refuses(test::Domain, "192.0.2.1"));
  EXPECT_TRUE(Refuses(test::Domain, "example.123"));
  EXPECT_TRUE(Refuses(test::Domain, "[192.0.2.1]"));
  EXPECT_TRUE(Refuses(test::Domain, "2001:db8::1"));
}

TEST(Domain, HasLabelsOfAtMost63Characters) {
  const std::string longest(63, 'a');

  EXPECT_EQ(Normal(test::Domain, longest + ".example"), longest + ".example");
  EXPECT_TRUE(Refuses(test::Domain, longest + "a.example"));
  EXPECT_TRUE(Refuses(test::Domain, "example." + longest + "a"));
  EXPECT_TRUE(Refuses(test::Domain, Repeat("ü", 63) + ".example"));
}

TEST(Domain, HasAtMost253Characters) {
  const std::string longest = Repeat("aaaaaaaaa.", 25) + "org";

  ASSERT_EQ(longest.size(), 253U);
  EXPECT_EQ(Normal(test::Domain, longest), longest);
  EXPECT_TRUE(Refuses(test::Domain, "a" + longest));
  EXPECT_TRUE(Refuses(test::Domain, Repeat("ü.", 126) + "a"));
  EXPECT_TRUE(Refuses(test::Domain, Repeat("a.", 100000) + "org"));
}

TEST(Domain, CannotHoldAnythingElse) {
  for (const std::string& part : HostileParts()) {
    for (const std::string& name :
         {part, part + "example.org", "exam" + part + "ple.org", "example" + part + ".org",
          "example." + part + "org", "example.org" + part, "büch" + part + "er.example"}) {
      EXPECT_TRUE(Refuses(test::Domain, name)) << testing::PrintToString(name);
    }
  }
}

TEST(Domain, CannotHoldALabelThatHasNoAsciiForm) {
  EXPECT_TRUE(Refuses(test::Domain, "aא.example"));  // two directions in one label
  EXPECT_TRUE(Refuses(test::Domain,
                      "\xcc\x88"
                      "a.example"));  // begins with a combining mark
  EXPECT_TRUE(Refuses(test::Domain, "ab--ü.example"));
  EXPECT_TRUE(Refuses(test::Domain, "xn--ü.example"));
  EXPECT_TRUE(Refuses(test::Domain, "BÜCHER.example"));  // capitals outside ASCII
  EXPECT_TRUE(Refuses(test::Domain, "☃.example"));
}

TEST(Email, MayBeAnyDotAtomAtADomain) {
  for (const char* address :
       {"info@example.org", "john.doe@example.org", "a@b.c", "a+tag@example.org", "a_b-c@b.example",
        "a=b@b.example", "x'y@b.example", "0@b.example", "*@b.example", "a/b|c~d@b.example"}) {
    EXPECT_EQ(Normal(test::Email, address), address);
  }
}

TEST(Email, IsBroughtToTheNormalFormOfItsDomainOnly) {
  EXPECT_EQ(Normal(test::Email, "John.Doe@Example.ORG"), "John.Doe@example.org");
  EXPECT_EQ(Normal(test::Email, "info@bücher.example"), "info@xn--bcher-kva.example");
}

TEST(Email, CannotLackAPart) {
  for (const char* address : {"", "@", "info", "info@", "@example.org", "info@example",
                              "info@@example.org", "a@b@example.org", "@a@example.org"}) {
    EXPECT_TRUE(Refuses(test::Email, address)) << address;
  }
}

TEST(Email, CannotHaveDotsAtTheEndsOrInARow) {
  for (const char* address : {".a@b.example", "a.@b.example", "a..b@b.example", ".@b.example",
                              "a@.b.example", "a@b.example."}) {
    EXPECT_TRUE(Refuses(test::Email, address)) << address;
  }
}

TEST(Email, CannotReadAsMoreThanAName) {
  for (const char* address :
       {"|id@b.example", "/etc/passwd@b.example", "~root@b.example", "-oQ/tmp@b.example",
        "a!b@b.example", "a%c@b.example", "a#b@b.example", "#a@b.example", "\"a b\"@b.example",
        "\"|id\"@b.example", ":include:/x@b.example", "a,b@b.example", "a b@b.example",
        "Joe <joe@b.example>", "joe@[192.0.2.1]", "joe(x)@b.example", "a\\b@b.example"}) {
    EXPECT_TRUE(Refuses(test::Email, address)) << address;
  }
}

TEST(Email, HasALocalPartOfAtMost64Characters) {
  const std::string longest(64, 'a');

  EXPECT_EQ(Normal(test::Email, longest + "@b.example"), longest + "@b.example");
  EXPECT_TRUE(Refuses(test::Email, longest + "a@b.example"));
}

TEST(Email, HasAtMost254Characters) {
  const std::string domain = Repeat("aaaaaaaaa.", 24) + "org";  // 243 characters

  EXPECT_EQ(Normal(test::Email, "aaaaaaaaaa@" + domain), "aaaaaaaaaa@" + domain);
  EXPECT_TRUE(Refuses(test::Email, "aaaaaaaaaaa@" + domain));
}

TEST(Email, CannotHoldAnythingElse) {
  static const std::string kAllowedInside = "$'`|/*&~=?";
  for (const std::string& part : HostileParts()) {
    for (const std::string& address :
         {part, "info@exam" + part + "ple.org", "info@" + part + "example.org",
          "info@example.org" + part, "info@example" + part + "org"}) {
      EXPECT_TRUE(Refuses(test::Email, address)) << testing::PrintToString(address);
    }
    if (part.size() == 1 && kAllowedInside.find(part) != std::string::npos) continue;
    for (const std::string& address : {part + "info@example.org", "in" + part + "fo@example.org",
                                       "info" + part + "@example.org"}) {
      EXPECT_TRUE(Refuses(test::Email, address)) << testing::PrintToString(address);
    }
  }
}

TEST(Email, CannotDoWithALookAlikeOfTheAt) {
  EXPECT_TRUE(Refuses(test::Email,
                      "info\xef\xbc\xa0"
                      "example.org"));  // full-width
  EXPECT_TRUE(Refuses(test::Email,
                      "info\xef\xb9\xab"
                      "example.org"));  // small form
}

TEST(Email, LeavesAConstantTextAsItIs) {
  const std::string address = "info@EXAMPLE.org";

  EXPECT_TRUE(test::Const<&test::Email>(address));
  EXPECT_EQ(address, "info@EXAMPLE.org");
  EXPECT_FALSE(test::Const<&test::Email>("info"));
}

TEST(Ip, IsFourNumbers) {
  for (const char* address : {"0.0.0.0", "127.0.0.1", "192.0.2.10", "255.255.255.255"}) {
    EXPECT_EQ(Normal(test::Ip, address), address);
  }
}

TEST(Ip, CannotBeAnythingElse) {
  for (const std::string& address : std::vector<std::string>{"",
                                                             "1",
                                                             "1.2.3",
                                                             "1.2.3.4.5",
                                                             "256.0.0.1",
                                                             "1.2.3.04",
                                                             "01.2.3.4",
                                                             "1.2.3.4 ",
                                                             " 1.2.3.4",
                                                             "1.2.3.4/24",
                                                             "0x7f.0.0.1",
                                                             "1.2.3.-4",
                                                             "1.2.3.+4",
                                                             "1..3.4",
                                                             "1.2.3.",
                                                             "::1",
                                                             "::ffff:1.2.3.4",
                                                             "1.2.3.4\n",
                                                             std::string("1.2.3.4\0", 8),
                                                             "１.2.3.4",
                                                             "example.org",
                                                             "1.2.3.4:25",
                                                             "1.2.3.1000"}) {
    EXPECT_TRUE(Refuses(test::Ip, address)) << testing::PrintToString(address);
  }
}

TEST(Ip6, IsBroughtToItsShortestForm) {
  EXPECT_EQ(Normal(test::Ip6, "2001:DB8:0:0:0:0:0:1"), "2001:db8::1");
  EXPECT_EQ(Normal(test::Ip6, "::"), "::");
  EXPECT_EQ(Normal(test::Ip6, "::1"), "::1");
  EXPECT_EQ(Normal(test::Ip6, "fe80::0001"), "fe80::1");
  EXPECT_EQ(Normal(test::Ip6, "::ffff:192.0.2.1"), "::ffff:192.0.2.1");
  EXPECT_EQ(Normal(test::Ip6, "1:2:3:4:5:6:7:8"), "1:2:3:4:5:6:7:8");
}

TEST(Ip6, CannotBeAnythingElse) {
  for (const std::string& address : std::vector<std::string>{"",
                                                             ":",
                                                             ":::",
                                                             "1.2.3.4",
                                                             "1:2:3:4:5:6:7",
                                                             "1:2:3:4:5:6:7:8:9",
                                                             "1::2::3",
                                                             "12345::",
                                                             "fe80::1%eth0",
                                                             "fe80::1%",
                                                             "[::1]",
                                                             "::1/128",
                                                             " ::1",
                                                             "::1 ",
                                                             "::1\n",
                                                             "::g",
                                                             std::string("::1\0", 4),
                                                             "::256.0.0.1",
                                                             "::1.2.3.04",
                                                             "::1.2.3"}) {
    EXPECT_TRUE(Refuses(test::Ip6, address)) << testing::PrintToString(address);
  }
}

}  // namespace
