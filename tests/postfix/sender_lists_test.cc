/// NAME
///   sender_lists_test - the keys of white- and black-listed senders

#include <string>
#include <vector>

#include "tests/postfix/back_end.h"

namespace {

using Lines = std::vector<std::string>;

struct SenderLists : test_support::BackEndTest {
  Lines Whitelist() { return rows.Query("SELECT name FROM email_whitelist ORDER BY id"); }
  Lines Blacklist() { return rows.Query("SELECT name FROM email_blacklist ORDER BY id"); }
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

TEST_F(SenderLists, HoldAnIp6AddressAsItIsGiven) {
  back_end.AddToBlacklist("2001:db8::1");
  back_end.AddToBlacklist("connect:2001:db8::2");
  EXPECT_EQ(panel.Text("access"), "2001:db8::1\tREJECT\nconnect:2001:db8::2\tREJECT\n");
  back_end.DeleteFromWhitelist("connect:2001:db8::2");
  EXPECT_EQ(panel.Text("access"), "2001:db8::1\tREJECT\n");
}

TEST_F(SenderLists, MoveAnIpAddressFromOneToTheOther) {
  back_end.AddToWhitelist("192.0.2.1");
  back_end.AddToBlacklist("192.0.2.1");
  EXPECT_EQ(panel.Text("access"), "connect:192.0.2.1\tREJECT\n");
  EXPECT_EQ(panel.Lookup("access", "connect:192.0.2.1"), "REJECT");
}

TEST_F(SenderLists, ShowAnIpAddressWithoutThePrefix) {
  back_end.AddToWhitelist("192.0.2.1");
  back_end.AddToWhitelist("x@d.example");
  back_end.AddToBlacklist("192.0.2.2");
  back_end.AddToBlacklist("connect:2001:db8::1");
  back_end.CacheWhitelist();
  back_end.CacheBlacklist();
  EXPECT_EQ(Whitelist(), (Lines{"192.0.2.1", "x@d.example"}));
  EXPECT_EQ(Blacklist(), (Lines{"192.0.2.2", "2001:db8::1"}));
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

TEST_F(SenderLists, TakeTheSuspensionOfAMailboxAlong) {
  const std::string suspended = "x@d.example\t550 Account disabled\n";
  panel.SetText("access", suspended);
  back_end.AddToBlacklist("x@d.example");
  EXPECT_EQ(panel.Text("access"), "x@d.example\tREJECT\n");

  panel.SetText("access", suspended);
  back_end.DeleteFromBlacklist("x@d.example");
  EXPECT_EQ(panel.Text("access"), "");
  EXPECT_EQ(panel.Lookup("access", "x@d.example"), "");
}

TEST_F(SenderLists, HaveNothingOfASuspension) {
  panel.SetText("access", "d.example\t550 Account disabled\nx@d.example\t550 Account disabled\n");
  back_end.CacheWhitelist();
  back_end.CacheBlacklist();
  EXPECT_EQ(Whitelist(), Lines{});
  EXPECT_EQ(Blacklist(), Lines{});
}

TEST_F(SenderLists, LeaveEveryOtherLineOfTheTableInPlace) {
  const std::string hand_made =
      "# who may not\r\n\nd.example  DISCARD   # for now\n  continued\nConnect:192.0.2.1 OK";
  panel.SetText("access", hand_made);
  back_end.AddToBlacklist("192.0.2.2");
  back_end.AddToWhitelist("x@d.example");
  EXPECT_EQ(panel.Text("access"), hand_made + "\nconnect:192.0.2.2\tREJECT\nx@d.example\tOK\n");
  back_end.DeleteFromBlacklist("192.0.2.2");
  back_end.DeleteFromWhitelist("x@d.example");
  EXPECT_EQ(panel.Text("access"), hand_made + "\n");
}
