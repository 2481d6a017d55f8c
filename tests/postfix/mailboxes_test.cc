/// NAME
///   mailboxes_test - a mailbox's line, through the built plug-in and the real tools

#include <string>
#include <vector>

#include "host/fen_err.h"
#include "tests/email/error_of.h"
#include "tests/postfix/back_end.h"

namespace {

using test_support::DomainPtr;
using test_support::ErrorOf;
using test_support::MailboxPtr;

struct Mailboxes : test_support::BackEndTest {
  DomainPtr domain = rows.AddDomain("d.example");
  MailboxPtr mailbox = rows.AddMailbox(domain, "n");
};

}  // namespace

TEST_F(Mailboxes, AreDeliveredToThemselves) {
  panel.SetText("virtusertable", "@d.example\tdevnull\n@e.example\tdevnull\n");
  back_end.CreateEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"),
            "@d.example\tdevnull\nn@d.example\tn@d.example\n@e.example\tdevnull\n");
  EXPECT_EQ(panel.Lookup("virtusertable", "n@d.example"), "n@d.example");
}

TEST_F(Mailboxes, ThatDropMailAreDiscarded) {
  mailbox->dropmail = true;
  back_end.CreateEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"), "n@d.example\tdevnull\n");
}

TEST_F(Mailboxes, GoThroughSuspensionAndBackWithTheirForwards) {
  rows.AddForward(mailbox, "f@e.example");
  back_end.CreateEmail(mailbox);
  back_end.SetAliases(mailbox, {});
  back_end.SuspendEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"), "n@d.example\tpostfix_err_nouser\n");
  EXPECT_EQ(panel.Text("access"), "n@d.example\t550 Account disabled\n");
  EXPECT_EQ(panel.Text("aliases"), test_support::kDeliveryAliases + "n+d.example:\tf@e.example\n");
  back_end.ResumeEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"), "n@d.example\tn@d.example n+d.example\n");
  EXPECT_EQ(panel.Text("access"), "");
}

TEST_F(Mailboxes, AreDeletedWithTheirAliasesAndForwards) {
  rows.AddAlias(mailbox, "a");
  rows.AddForward(mailbox, "f@e.example");
  back_end.CreateEmail(mailbox);
  back_end.SetAliases(mailbox, {});
  EXPECT_EQ(panel.Text("virtusertable"),
            "n@d.example\tn@d.example n+d.example\na@d.example\tn@d.example\n");
  back_end.DeleteEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"), "");
  EXPECT_EQ(panel.Text("aliases"), test_support::kDeliveryAliases);
}

TEST_F(Mailboxes, AreUpdatedToTheOneTargetOfTheirRow) {
  panel.SetText("virtusertable", "n@d.example\tn@d.example n+d.example # kept\n");
  back_end.UpdateEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"), "n@d.example\tn@d.example # kept\n");
  mailbox->dropmail = true;
  back_end.UpdateEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"), "n@d.example\tdevnull # kept\n");
}

TEST_F(Mailboxes, AreNotUpdatedWhileTheyAreSuspended) {
  panel.SetText("virtusertable", "n@d.example\tpostfix_err_nouser\n");
  mailbox->active = false;
  mailbox->dropmail = true;
  back_end.UpdateEmail(mailbox);
  EXPECT_EQ(panel.Text("virtusertable"), "n@d.example\tpostfix_err_nouser\n");
}

TEST_F(Mailboxes, CannotBeUpdatedWithoutALine) {
  const auto error = ErrorOf([this] { back_end.UpdateEmail(mailbox); });
  EXPECT_EQ(error.type(), "missing");
  EXPECT_EQ(error.value(), "n@d.example");
}

TEST_F(Mailboxes, OfAHostileNameChangeNothing) {
  for (const char* name : {"n@d.example\troot\n@x", "n #", "n\nroot", ""}) {
    mailbox->name = name;
    EXPECT_EQ(ErrorOf([this] { back_end.CreateEmail(mailbox); }).type(), "value") << name;
  }
  EXPECT_EQ(panel.Text("virtusertable"), "");
}
