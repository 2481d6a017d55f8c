/// NAME
///   sendmail_like_emails_test - mailboxes in sendmail-style tables

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "tests/email/plain_back_end.h"
#include "tests/email/rows.h"
#include "tests/support/saves.h"
#include "tests/support/test_panel.h"

namespace {

using test_support::DomainPtr;
using test_support::MailboxPtr;
using test_support::PlainBackEnd;
using test_support::RecordingTool;
using test_support::Rows;
using test_support::Saves;
using test_support::TestPanel;

using Lines = std::vector<std::string>;

/// A back-end with the mailbox j@a.example in its database.
struct MailboxTest : testing::Test {
  TestPanel panel;
  Rows rows{panel};
  DomainPtr domain = rows.AddDomain("a.example");
  MailboxPtr mailbox = rows.AddMailbox(domain, "j");
  PlainBackEnd back_end;
};

using CreateEmail = MailboxTest;
using DeleteEmail = MailboxTest;
using SuspendEmail = MailboxTest;
using ResumeEmail = MailboxTest;
using UpdateEmail = MailboxTest;

}  // namespace

TEST_F(CreateEmail, AddsALineBelowTheOneOfTheDomain) {
  panel.SetText("virtusertable", "@a.example\tx\n\n# the next one\n@b.example\ty\n");
  back_end.CreateEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"),
            "@a.example\tx\nj@a.example\tbox-j-a.example\n\n# the next one\n@b.example\ty\n");
  EXPECT_EQ(panel.Text("access"), "");
  EXPECT_EQ(panel.Text("aliases"), "");
}

TEST_F(CreateEmail, AddsALineAtTheEndWhenTheDomainHasNone) {
  panel.SetText("virtusertable", "@b.example\ty\n# end");
  back_end.CreateEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"), "@b.example\ty\n# end\nj@a.example\tbox-j-a.example\n");
}

TEST_F(CreateEmail, SavesTheFileOnce) {
  const RecordingTool tool(panel.folder(), "tool");
  panel.SetPath("postfix-postmap", tool.path());
  panel.SetText("virtusertable", "@a.example\tx\n");
  back_end.CreateEmail(mailbox);
  EXPECT_EQ(tool.Runs(), Lines{panel.Table("virtusertable").string()});
}

TEST_F(CreateEmail, DoesNotLookForTheAddressFirst) {
  panel.SetText("virtusertable", "@a.example\tx\nj@a.example\told\n");
  back_end.CreateEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"),
            "@a.example\tx\nj@a.example\tbox-j-a.example\nj@a.example\told\n");
}

TEST_F(CreateEmail, FailsWithoutTheRowOfTheDomain) {
  auto orphan = std::make_shared<zeb_db::EmailTable>();
  orphan->name = "j";
  orphan->domain = 4711;
  EXPECT_THROW(back_end.CreateEmail(orphan), fen_err::Error);
  EXPECT_EQ(panel.Text("virtusertable"), "");
}

TEST_F(DeleteEmail, TakesTheMailboxOutOfTheThreeTables) {
  panel.SetText("aliases", "j+a.example:\tk@b.example\nj+a.example.org: x\nj: y\n");
  panel.SetText("access", "j@a.example\t550 Account disabled\na.example\tOK\n");
  panel.SetText("virtusertable", "@a.example\tx\nj@a.example\tj@a.example\nk@a.example\tz\n");
  back_end.DeleteEmail(mailbox);
  EXPECT_EQ(panel.Text("aliases"), "j+a.example.org: x\nj: y\n");
  EXPECT_EQ(panel.Text("access"), "a.example\tOK\n");
  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\tx\nk@a.example\tz\n");
}

TEST_F(DeleteEmail, RemovesLinesThatLeadToTheMailboxAlone) {
  panel.SetText("virtusertable",
                "one@a.example\tj@a.example\n"
                "two@a.example\tj@a.example\n"
                "j@a.example\tj@a.example\n"
                "both@a.example\tj@a.example k@a.example\n"
                "three@b.example\tj@a.example\n"
                "@a.example\tj@a.example\n");
  back_end.DeleteEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"),
            "both@a.example\tj@a.example k@a.example\n@a.example\tj@a.example\n");
}

TEST_F(DeleteEmail, SavesTheFileOnceForFiveAliasesBelowOneAnother) {
  const RecordingTool postmap(panel.folder(), "postmap");
  const RecordingTool postalias(panel.folder(), "postalias");
  panel.SetPath("postfix-postmap", postmap.path());
  panel.SetPath("postfix-postalias", postalias.path());
  panel.SetText("virtusertable",
                "@a.example\tx\n"
                "j@a.example\tj@a.example\n"
                "one@a.example\tj@a.example\n"
                "two@a.example\tj@a.example\n"
                "three@a.example\tj@a.example\n"
                "four@a.example\tj@a.example\n"
                "five@a.example\tj@a.example\n"
                "k@a.example\tz\n");
  const Saves saves(panel.Table("virtusertable").parent_path());
  back_end.DeleteEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\tx\nk@a.example\tz\n");
  EXPECT_EQ(saves.Names(), Lines{"virtusertable"});
  EXPECT_EQ(postmap.Runs(), Lines{panel.Table("virtusertable").string()});
  EXPECT_EQ(postalias.Runs(), Lines{});
}

TEST_F(DeleteEmail, DeletesTheRowsOfItsAliasesAndForwardsOnly) {
  const MailboxPtr other = rows.AddMailbox(domain, "k");
  rows.AddAlias(mailbox, "one");
  rows.AddAlias(other, "two");
  rows.AddForward(mailbox, "three@b.example");
  rows.AddForward(other, "four@b.example");
  back_end.DeleteEmail(mailbox);
  EXPECT_EQ(rows.Query("SELECT name FROM email_alias"), Lines{"two"});
  EXPECT_EQ(rows.Query("SELECT name FROM email_forward"), Lines{"four@b.example"});
  EXPECT_EQ(rows.Query("SELECT name FROM email ORDER BY name"), (Lines{"j", "k"}));
}

TEST_F(DeleteEmail, SucceedsAndSavesNothingWhenNothingIsThere) {
  const RecordingTool tool(panel.folder(), "tool");
  panel.SetPath("postfix-postmap", tool.path());
  panel.SetPath("postfix-postalias", tool.path());
  back_end.DeleteEmail(mailbox);
  EXPECT_EQ(tool.Runs(), Lines{});
}

TEST_F(SuspendEmail, ReplacesAllTargetsAndRefusesMailForTheAddress) {
  panel.SetText("virtusertable", "j@a.example\tj@a.example j+a.example\n");
  panel.SetText("aliases", "j+a.example: k@b.example\n");
  back_end.SuspendEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"), "j@a.example\tdisabled\n");
  EXPECT_EQ(panel.Text("access"), "j@a.example\t550 Account disabled\n");
  EXPECT_EQ(panel.Text("aliases"), "j+a.example: k@b.example\n");
}

TEST_F(SuspendEmail, TwiceLeavesOneEntry) {
  panel.SetText("virtusertable", "j@a.example\tj@a.example\n");
  back_end.SuspendEmail(mailbox);
  back_end.SuspendEmail(mailbox);
  EXPECT_EQ(panel.Text("access"), "j@a.example\t550 Account disabled\n");
}

TEST_F(SuspendEmail, ReusesAnEntryOfTheAddress) {
  panel.SetText("virtusertable", "j@a.example\tj@a.example\n");
  panel.SetText("access", "j@a.example   OK # a friend\n");
  back_end.SuspendEmail(mailbox);
  EXPECT_EQ(panel.Text("access"), "j@a.example   550 Account disabled # a friend\n");
}

TEST_F(SuspendEmail, FailsForAMissingLineAndLeavesTheAccessTableAlone) {
  EXPECT_THROW(back_end.SuspendEmail(mailbox), fen_err::Error);
  EXPECT_EQ(panel.Text("access"), "");
}

TEST_F(ResumeEmail, WorksOutTheTargetAnewAndSetsTheAliasesOnce) {
  panel.SetText("virtusertable", "j@a.example\told\n");
  back_end.SuspendEmail(mailbox);
  back_end.ResumeEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"), "j@a.example\tbox-j-a.example\n");
  EXPECT_EQ(panel.Text("access"), "");
  EXPECT_EQ(back_end.set_aliases, Lines{"j drops 0"});
}

TEST_F(ResumeEmail, SucceedsWhenTheAddressIsNotRefused) {
  panel.SetText("virtusertable", "j@a.example\tdisabled\n");
  panel.SetText("access", "k@a.example\t550 Account disabled\n");
  back_end.ResumeEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"), "j@a.example\tbox-j-a.example\n");
  EXPECT_EQ(panel.Text("access"), "k@a.example\t550 Account disabled\n");
}

TEST_F(ResumeEmail, ChangesNothingForAMissingLine) {
  panel.SetText("access", "j@a.example\t550 Account disabled\n");
  EXPECT_THROW(back_end.ResumeEmail(mailbox), fen_err::Error);
  EXPECT_EQ(panel.Text("access"), "j@a.example\t550 Account disabled\n");
  EXPECT_EQ(back_end.set_aliases, Lines{});
}

TEST_F(UpdateEmail, DoesNothingByItself) {
  panel.SetText("virtusertable", "j@a.example\told\n");
  back_end.UpdateEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"), "j@a.example\told\n");
}
