/// NAME
///   responders_test - a responder in the mailbox's line and in the aliases

#include <string>
#include <vector>

#include "host/email.h"
#include "host/fen_err.h"
#include "tests/email/error_of.h"
#include "tests/postfix/back_end.h"

namespace {

using test_support::DomainPtr;
using test_support::ErrorOf;
using test_support::kDeliveryAliases;
using test_support::MailboxPtr;
using test_support::RecordingTool;
using test_support::ResponderPtr;

using Lines = std::vector<std::string>;

struct Responders : test_support::BackEndTest {
  void Set(bool active) {
    responder->active = active;
    back_end.SetResponder(responder);
  }

  /// The aliases behind the two delivery aliases.
  std::string Entries() const { return panel.Text("aliases").substr(kDeliveryAliases.size()); }

  DomainPtr domain = rows.AddDomain("d.example");
  MailboxPtr mailbox = rows.AddMailbox(domain, "n");
  ResponderPtr responder = rows.AddResponder(mailbox, false);
  const std::string action = email::GetResponderAction(mailbox);
};

}  // namespace

TEST_F(Responders, AreNamedInTheLineAndTheAliases) {
  panel.SetText("virtusertable", "n@d.example\tn@d.example\n");
  Set(true);
  EXPECT_EQ(panel.Text("virtusertable"), "n@d.example\tn@d.example n+d.example\n");
  EXPECT_EQ(Entries(), "n+d.example:\t" + action + "\n");
}

TEST_F(Responders, ChangeNeitherFileWhenTheyAreSwitchedOnAgain) {
  panel.SetText("virtusertable", "n@d.example\tn@d.example\n");
  Set(true);
  const RecordingTool tool(panel.folder(), "tool");
  panel.SetPath("postfix-postmap", tool.path());
  panel.SetPath("postfix-postalias", tool.path());
  const std::string lines = panel.Text("virtusertable");
  const std::string entries = panel.Text("aliases");
  Set(true);
  EXPECT_EQ(panel.Text("virtusertable"), lines);
  EXPECT_EQ(panel.Text("aliases"), entries);
  EXPECT_EQ(tool.Runs(), Lines{});
}

TEST_F(Responders, TakeTheForwardsAlongWhenTheyAreSwitchedOff) {
  panel.SetText("virtusertable", "n@d.example\tn@d.example n+d.example\n");
  panel.SetText("aliases", kDeliveryAliases + "n+d.example:\tf@e.example," + action + "\n");
  Set(false);
  EXPECT_EQ(panel.Text("virtusertable"), "n@d.example\tn@d.example\n");
  EXPECT_EQ(Entries(), "n+d.example:\tf@e.example\n");
}

TEST_F(Responders, LeaveTheLineAloneWhenTheyAreOffAndNotNamed) {
  panel.SetText("virtusertable", "n@d.example   n@d.example\n");
  Set(false);
  EXPECT_EQ(panel.Text("virtusertable"), "n@d.example   n@d.example\n");
  EXPECT_EQ(Entries(), "n+d.example:\t\n");
}

TEST_F(Responders, ChangeTheLineBeforeTheAliases) {
  panel.SetText("virtusertable", "n@d.example\tn@d.example\n");
  const RecordingTool tool(panel.folder(), "tool");
  panel.SetPath("postfix-postmap", tool.path() + " postmap");
  panel.SetPath("postfix-postalias", tool.path() + " postalias");
  Set(true);
  EXPECT_EQ(tool.Runs(), (Lines{"postmap " + panel.Table("virtusertable").string(),
                                "postalias " + panel.Table("aliases").string()}));
}

TEST_F(Responders, NeedTheMailboxsLineAndChangeNothingWithout) {
  const auto error = ErrorOf([this] { Set(true); });
  EXPECT_EQ(error.type(), "missing");
  EXPECT_EQ(error.value(), "n@d.example");
  EXPECT_EQ(Entries(), "");
}

TEST_F(Responders, AreReadBackFromTheAliases) {
  panel.SetText("virtusertable", "n@d.example\tn@d.example\n");
  Set(true);
  responder->active = false;
  back_end.GetResponder(responder);
  EXPECT_TRUE(responder->active);
}
