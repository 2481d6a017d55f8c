/// NAME
///   back_end_test - what the Postfix back-end can and cannot do

#include "tests/postfix/back_end.h"

#include <string>
#include <vector>

#include "tests/email/error_of.h"

namespace {

using PostfixBackEnd = test_support::BackEndTest;

}  // namespace

TEST_F(PostfixBackEnd, CanBindDomainsToAddresses) {
  EXPECT_TRUE(back_end.CanBindToIp());
}

TEST_F(PostfixBackEnd, AsksNoDnsBlockLists) {
  std::vector<std::string> lists{"as it was"};
  EXPECT_FALSE(back_end.CanDNSBL());
  back_end.AddDNSBL("bl.example");
  back_end.DeleteDNSBL("bl.example");
  back_end.GetDNSBLs(lists);
  EXPECT_EQ(lists, std::vector<std::string>{"as it was"});
}

TEST_F(PostfixBackEnd, CannotGiveADomainACertificate) {
  const auto error = test_support::ErrorOf(
      [this] { back_end.SetSSLCertForDomain("a.example", "certificate", "key"); });
  EXPECT_EQ(error.type(), "not_supported");
  EXPECT_STREQ(error.what(), "not_supported");
}
