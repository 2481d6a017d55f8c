/// NAME
///   address_test - what an address is

#include "zebmail/answer/address.h"

#include <gtest/gtest.h>

namespace zebmail::answer {
namespace {

TEST(PlainAddress, IsWhatPeopleHave) {
  for (const char* const address :
       {"bob@x.test", "bob.brown@mail.x.test", "o'brien@x.test", "bob+list@x.test", "b@localhost",
        "SRS0=ab=cd=y.test=bob@x.test", "info@xn--bcher-kva.test", "b-b_b@x-y.test"}) {
    EXPECT_TRUE(IsPlainAddress(address)) << address;
  }
}

TEST(PlainAddress, IsNothingElse) {
  for (const char* const text : {"",
                                 "bob",
                                 "@",
                                 "bob@",
                                 "@x.test",
                                 ".bob@x.test",
                                 "bob.@x.test",
                                 "b..b@x.test",
                                 "bob@.x.test",
                                 "bob@x.test.",
                                 "bob@x..test",
                                 "bob@[127.0.0.1]",
                                 "bob@x@y.test",
                                 "bob@-x.test",
                                 "\"bob\"@x.test",
                                 "bob brown@x.test",
                                 "bob@x.test\n",
                                 "b\tb@x.test",
                                 "<bob@x.test>",
                                 "bob@x.test,a@x.test",
                                 "bob(x)@x.test",
                                 "j\xc3\xb6rg@x.test",
                                 "bob@b\xc3\xbc.test",
                                 "b\\b@x.test",
                                 "b:b@x.test",
                                 "b;b@x.test",
                                 "MAILER-DAEMON"}) {
    EXPECT_FALSE(IsPlainAddress(text)) << text;
  }
}

TEST(PlainAddress, IsNoOptionRouteOrCommand) {
  for (const char* const text :
       {"-Cfoo@x.test", "-f@x.test", "|touch@x.test", "b|b@x.test", "`id`@x.test", "$HOME@x.test",
        "b%y.test@x.test", "y.test!b@x.test", "bob@$HOME"}) {
    EXPECT_FALSE(IsPlainAddress(text)) << text;
  }
}

TEST(PlainAddress, HasAtMost254Bytes) {
  const std::string domain = "@x.test";

  EXPECT_TRUE(IsPlainAddress(std::string(254 - domain.size(), 'a') + domain));
  EXPECT_FALSE(IsPlainAddress(std::string(255 - domain.size(), 'a') + domain));
}

TEST(Address, HasALocalPart) {
  EXPECT_EQ(LocalPart("bob@x.test"), "bob");
  EXPECT_EQ(LocalPart("\"a@b\"@x.test"), "\"a@b\"");
  EXPECT_EQ(LocalPart("bob"), "bob");
}

TEST(Address, KeepsItsLocalPartWhenItsDomainIsLowered) {
  EXPECT_EQ(WithLowerCaseDomain("Bob@X.Test"), "Bob@x.test");
  EXPECT_EQ(WithLowerCaseDomain("Bob"), "Bob");
}

}  // namespace
}  // namespace zebmail::answer
