/// NAME
///   sender_lists_test - the keys of white- and black-listed senders

#include <string>
#include <vector>

#include "tests/postfix/back_end.h"

namespace {

using Lines = std::vector<std::string>;

struct SenderLists : test_support::BackEndTest {
  Lines Whitelist() { return rows.Query("SELECT name FROM email_whitelist ORDER BY id"); }
};

}  // namespace

TEST_F(SenderLists, HoldAnIpAddressUnderConnect) {
  back_end.AddToBlacklist("192.0.2.1");
  EXPECT_EQ(panel.Text("access"), "connect:192.0.2.1\tREJECT\n");
  EXPECT_EQ(panel.Lookup("access", "connect:192.0.2.1"), "REJECT");
  back_end.DeleteFromBlacklist("192.0.2.1");
  EXPECT_EQ(panel.Text("access"), "");
}

TEST_F(SenderLists, HoldAddressesAndDomainsAsTheyAre) {
  back_end.AddToWhitelist("X@d.example");
  back_end.AddToWhitelist("d.example");
  back_end.AddToWhitelist("connect:192.0.2.1");
  EXPECT_EQ(panel.Text("access"), "X@d.example\tOK\nd.example\tOK\nconnect:192.0.2.1\tOK\n");
}

TEST_F(SenderLists, ShowAnIpAddressWithoutThePrefix) {
  back_end.AddToWhitelist("192.0.2.1");
  back_end.AddToWhitelist("x@d.example");
  back_end.CacheWhitelist();
  EXPECT_EQ(Whitelist(), (Lines{"192.0.2.1", "x@d.example"}));
}

TEST_F(SenderLists, TakeThePrefixOffWithAnyFirstCharacterButNotByItself) {
  panel.SetText(
      "access",
      "Connect:192.0.2.1 OK\nxonnect:text OK\nconnect: OK\nonnect:one OK\nconnect:a OK\n");
  back_end.CacheWhitelist();
  EXPECT_EQ(Whitelist(), (Lines{"192.0.2.1", "text", "connect:", "onnect:one", "a"}));
}

TEST_F(SenderLists, TakeTheSuspensionOfADomainAlong) {
  panel.SetText("access", "d.example\t550 Account disabled\n");
  back_end.AddToWhitelist("d.example");
  EXPECT_EQ(panel.Text("access"), "d.example\tOK\n");
  back_end.DeleteFromWhitelist("d.example");
  EXPECT_EQ(panel.Text("access"), "");
}
