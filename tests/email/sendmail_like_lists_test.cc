/// NAME
///   sendmail_like_lists_test - the white and the black list of senders

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "tests/email/plain_back_end.h"
#include "tests/email/rows.h"
#include "tests/support/test_panel.h"

namespace {

using test_support::PlainBackEnd;
using test_support::Rows;
using test_support::TestPanel;

using Lines = std::vector<std::string>;

struct SenderLists : testing::Test {
  Lines Whitelist() { return rows.Query("SELECT name FROM email_whitelist ORDER BY id"); }
  Lines Blacklist() { return rows.Query("SELECT name FROM email_blacklist ORDER BY id"); }

  TestPanel panel;
  Rows rows{panel};
  PlainBackEnd back_end;
};

}  // namespace

TEST_F(SenderLists, WriteTheKeyOfAValueAndItsVerdict) {
  back_end.AddToWhitelist("friend");
  back_end.AddToBlacklist("foe");
  EXPECT_EQ(panel.Text("access"), "key:friend\tOK\nkey:foe\tREJECT\n");
}

TEST_F(SenderLists, HoldAValueOnceHoweverOftenItIsAdded) {
  back_end.AddToWhitelist("friend");
  back_end.AddToWhitelist("friend");
  EXPECT_EQ(panel.Text("access"), "key:friend\tOK\n");
}

TEST_F(SenderLists, MoveAValueFromOneToTheOther) {
  back_end.AddToWhitelist("one");
  back_end.AddToBlacklist("one");
  EXPECT_EQ(panel.Text("access"), "key:one\tREJECT\n");
  back_end.AddToWhitelist("one");
  EXPECT_EQ(panel.Text("access"), "key:one\tOK\n");
}

TEST_F(SenderLists, ReplaceAnyOtherVerdictOfTheKey) {
  panel.SetText("access", "key:a.example\t550 Account disabled\n");
  back_end.AddToWhitelist("a.example");
  EXPECT_EQ(panel.Text("access"), "key:a.example\tOK\n");
}

TEST_F(SenderLists, ReplaceASuspensionByEitherVerdict) {
  panel.SetText("access", "key:a.example\t550 Account disabled\n");
  back_end.AddToBlacklist("a.example");
  EXPECT_EQ(panel.Text("access"), "key:a.example\tREJECT\n");
}

TEST_F(SenderLists, LoseAValueThroughEitherDeletion) {
  back_end.AddToBlacklist("one");
  back_end.DeleteFromWhitelist("one");
  EXPECT_EQ(panel.Text("access"), "");
  back_end.AddToWhitelist("one");
  back_end.DeleteFromBlacklist("one");
  EXPECT_EQ(panel.Text("access"), "");
}

TEST_F(SenderLists, LoseASuspensionOfTheSameNameAsWell) {
  panel.SetText("access", "key:a.example\t550 Account disabled\nother\tOK\n");
  back_end.DeleteFromBlacklist("a.example");
  EXPECT_EQ(panel.Text("access"), "other\tOK\n");
}

TEST_F(SenderLists, TakeTheDeletionOfAnUnknownValueForDone) {
  panel.SetText("access", "other\tOK\n");
  back_end.DeleteFromWhitelist("one");
  back_end.DeleteFromBlacklist("one");
  EXPECT_EQ(panel.Text("access"), "other\tOK\n");
}

TEST_F(SenderLists, RefuseAValueThatIsMoreThanOneWord) {
  panel.SetText("access", "other\tOK\n");
  for (const char* value : {"one\ntwo OK", "one two", "one#", "one\t"}) {
    EXPECT_THROW(back_end.AddToWhitelist(value), fen_err::Error) << value;
    EXPECT_THROW(back_end.AddToBlacklist(value), fen_err::Error) << value;
  }
  EXPECT_EQ(panel.Text("access"), "other\tOK\n");
}

TEST_F(SenderLists, AreReadBackByTheirExactVerdicts) {
  panel.SetText("access",
                "a\tOK\nb\tok\nc\tOK, sure\nd\tREJECT\ne\tREJECT no\nf\t550 Account disabled\n"
                "g OK # yes\n");
  back_end.CacheWhitelist();
  back_end.CacheBlacklist();
  EXPECT_EQ(Whitelist(), (Lines{"value-of-a", "value-of-g"}));
  EXPECT_EQ(Blacklist(), Lines{"value-of-d"});
}

TEST_F(SenderLists, AreReadBackInPlaceOfWhatTheDatabaseHeld) {
  rows.Query("INSERT INTO email_whitelist (name) VALUES ('old')");
  rows.Query("INSERT INTO email_blacklist (name) VALUES ('old')");
  panel.SetText("access", "a\tOK\nb\tREJECT\n");
  back_end.CacheWhitelist();
  back_end.CacheBlacklist();
  EXPECT_EQ(Whitelist(), Lines{"value-of-a"});
  EXPECT_EQ(Blacklist(), Lines{"value-of-b"});
}

TEST_F(SenderLists, AreReadBackAgainWhileTheFileIsTheSameOnlyForTheBlacklist) {
  const auto refresh = [this] {
    back_end.CacheWhitelist();
    back_end.CacheBlacklist();
  };
  panel.SetText("access", "a\tOK\nb\tREJECT\n");
  rows.Operate(refresh);
  rows.Query("DELETE FROM email_whitelist");
  rows.Query("DELETE FROM email_blacklist");
  rows.Operate(refresh);
  EXPECT_EQ(Whitelist(), Lines{});
  EXPECT_EQ(Blacklist(), Lines{"value-of-b"});
}
