/// NAME
///   sendmail_like_responder_test - auto-responders in the aliases

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/email.h"
#include "host/fen_err.h"
#include "tests/email/plain_back_end.h"
#include "tests/email/rows.h"
#include "tests/support/test_panel.h"

namespace {

using test_support::DomainPtr;
using test_support::MailboxPtr;
using test_support::PlainBackEnd;
using test_support::ResponderPtr;
using test_support::Rows;
using test_support::TestPanel;

/// A back-end with the mailbox j@a.example and its responder in the database.
struct ResponderTest : testing::Test {
  void Set(bool active) {
    responder->active = active;
    back_end.SetResponder(responder);
  }

  TestPanel panel;
  Rows rows{panel};
  DomainPtr domain = rows.AddDomain("a.example");
  MailboxPtr mailbox = rows.AddMailbox(domain, "j");
  ResponderPtr responder = rows.AddResponder(mailbox, false);
  const std::string action = email::GetResponderAction(mailbox);
  PlainBackEnd back_end;
};

using SetResponder = ResponderTest;
using GetResponder = ResponderTest;

}  // namespace

TEST_F(SetResponder, CreatesTheEntryOfAMailboxWithoutForwards) {
  Set(true);
  EXPECT_EQ(panel.Text("aliases"), "j+a.example:\t" + action + "\n");
}

TEST_F(SetResponder, TwiceLeavesOneTarget) {
  Set(true);
  Set(true);
  EXPECT_EQ(panel.Text("aliases"), "j+a.example:\t" + action + "\n");
}

TEST_F(SetResponder, ComesBehindTheForwards) {
  panel.SetText("aliases", "j+a.example: one@b.example,two@b.example\n");
  Set(true);
  EXPECT_EQ(panel.Text("aliases"), "j+a.example: one@b.example,two@b.example," + action + "\n");
}

TEST_F(SetResponder, SwitchedOffLeavesTheEntryWithoutTargets) {
  Set(true);
  Set(false);
  EXPECT_EQ(panel.Text("aliases"), "j+a.example:\t\n");
}

TEST_F(SetResponder, SwitchedOffLeavesTheForwards) {
  panel.SetText("aliases", "j+a.example:\tone@b.example," + action + ",two@b.example\n");
  Set(false);
  EXPECT_EQ(panel.Text("aliases"), "j+a.example:\tone@b.example,two@b.example\n");
}

TEST_F(SetResponder, CreatesTheEntryEvenWhenItIsOff) {
  Set(false);
  EXPECT_EQ(panel.Text("aliases"), "j+a.example:\t\n");
}

TEST_F(SetResponder, FailsForAMissingMailboxAndTouchesNoFile) {
  auto orphan = std::make_shared<zeb_db::EmailResponderTable>();
  orphan->email = 4711;
  orphan->active = true;
  EXPECT_THROW(back_end.SetResponder(orphan), fen_err::Error);
  EXPECT_EQ(panel.Text("aliases"), "");
}

TEST_F(GetResponder, FindsTheTargetInTheEntry) {
  panel.SetText("aliases", "j+a.example:\tone@b.example, " + action + "\n");
  back_end.GetResponder(responder);
  EXPECT_TRUE(responder->active);
  EXPECT_EQ(rows.Query("SELECT COUNT(*) FROM email_responder WHERE active = " +
                       responder->active.AsString()),
            std::vector<std::string>{"1"});
}

TEST_F(GetResponder, SaysOffForAnEntryWithoutTheTarget) {
  responder->active = true;
  responder->Post();
  panel.SetText("aliases", "j+a.example:\tone@b.example\n");
  back_end.GetResponder(responder);
  EXPECT_FALSE(responder->active);
  EXPECT_EQ(rows.Query("SELECT COUNT(*) FROM email_responder WHERE active = " +
                       responder->active.AsString()),
            std::vector<std::string>{"1"});
}

TEST_F(GetResponder, FailsWithoutAnEntryAndPostsNothing) {
  responder->active = true;
  responder->Post();
  const std::string on = responder->active.AsString();
  EXPECT_THROW(back_end.GetResponder(responder), fen_err::Error);
  EXPECT_EQ(rows.Query("SELECT COUNT(*) FROM email_responder WHERE active = " + on),
            std::vector<std::string>{"1"});
}
