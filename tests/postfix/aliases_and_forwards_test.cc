/// NAME
///   aliases_and_forwards_test - a mailbox's aliases and forwards, to the tables and back

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/email.h"
#include "host/fen_err.h"
#include "tests/email/error_of.h"
#include "tests/postfix/back_end.h"
#include "tests/support/saves.h"

namespace {

using test_support::DomainPtr;
using test_support::ErrorOf;
using test_support::kDeliveryAliases;
using test_support::MailboxPtr;
using test_support::RecordingTool;
using test_support::Saves;
using testing::UnorderedElementsAre;

using Lines = std::vector<std::string>;

struct MailboxTest : test_support::BackEndTest {
  MailboxTest() { panel.SetText("virtusertable", kOwnLine); }

  /// The aliases behind the two delivery aliases.
  std::string Entries() const { return panel.Text("aliases").substr(kDeliveryAliases.size()); }

  void SetEntries(const std::string& text) { panel.SetText("aliases", kDeliveryAliases + text); }

  Lines AliasRows() { return rows.Query("SELECT name FROM email_alias ORDER BY id"); }
  Lines ForwardRows() { return rows.Query("SELECT name FROM email_forward ORDER BY id"); }

  const std::string kOwnLine = "n@d.example\tn@d.example\n";
  const std::string kLineWithKey = "n@d.example\tn@d.example n+d.example\n";
  DomainPtr domain = rows.AddDomain("d.example");
  MailboxPtr mailbox = rows.AddMailbox(domain, "n");
  const std::string action = email::GetResponderAction(mailbox);
};

/// One that counts what is saved and what is run. No batch is open, so each cursor could save.
struct SetAliasesOnce : MailboxTest {
  SetAliasesOnce() {
    panel.SetPath("postfix-postmap", tool.path() + " postmap");
    panel.SetPath("postfix-postalias", tool.path() + " postalias");
  }

  std::string Postmap() const { return "postmap " + panel.Table("virtusertable").string(); }
  std::string Postalias() const { return "postalias " + panel.Table("aliases").string(); }

  const RecordingTool tool{panel.folder(), "tool"};
  const Saves saves{panel.Table("virtusertable").parent_path()};
};

using SetAliases = MailboxTest;
using CacheAliases = MailboxTest;

}  // namespace

TEST_F(SetAliases, WritesForwardsIntoTheAliasesAndNamesTheEntryInTheLine) {
  rows.AddForward(mailbox, "f1@e.example");
  rows.AddForward(mailbox, "f2@e.example");
  back_end.SetAliases(mailbox, {});
  EXPECT_EQ(panel.Text("virtusertable"), kLineWithKey);
  EXPECT_EQ(Entries(), "n+d.example:\tf1@e.example,f2@e.example\n");
  EXPECT_EQ(panel.Lookup("aliases", "n+d.example"), "f1@e.example, f2@e.example");
}

TEST_F(SetAliases, RewritesTheForwardsAsAWhole) {
  panel.SetText("virtusertable", kLineWithKey);
  SetEntries("n+d.example: old@e.example, f1@e.example # ours\n");
  rows.AddForward(mailbox, "f1@e.example");
  back_end.SetAliases(mailbox, {});
  EXPECT_EQ(panel.Text("virtusertable"), kLineWithKey);
  EXPECT_EQ(Entries(), "n+d.example: f1@e.example # ours\n");
}

TEST_F(SetAliases, DeletesTheEntryWithTheLastForward) {
  panel.SetText("virtusertable", kLineWithKey);
  SetEntries("n+d.example:\tf1@e.example\nother: x\n");
  back_end.SetAliases(mailbox, {});
  EXPECT_EQ(panel.Text("virtusertable"), kOwnLine);
  EXPECT_EQ(Entries(), "other: x\n");
}

TEST_F(SetAliases, PutsAnActiveResponderBackBehindTheForwards) {
  rows.AddForward(mailbox, "f1@e.example");
  rows.AddResponder(mailbox, true);
  back_end.SetAliases(mailbox, {});
  EXPECT_EQ(panel.Text("virtusertable"), kLineWithKey);
  EXPECT_EQ(Entries(), "n+d.example:\tf1@e.example," + action + "\n");
}

TEST_F(SetAliases, KeepsTheEntryOfAnActiveResponderAfterTheLastForward) {
  panel.SetText("virtusertable", kLineWithKey);
  SetEntries("n+d.example:\tf1@e.example," + action + "\n");
  rows.AddResponder(mailbox, true);
  back_end.SetAliases(mailbox, {});
  EXPECT_EQ(panel.Text("virtusertable"), kLineWithKey);
  EXPECT_EQ(Entries(), "n+d.example:\t" + action + "\n");
}

TEST_F(SetAliases, StopsTheForwardsOfAMailboxWithAnInactiveResponder) {
  rows.AddForward(mailbox, "f1@e.example");
  rows.AddResponder(mailbox, false);
  back_end.SetAliases(mailbox, {});
  EXPECT_EQ(panel.Text("virtusertable"), kOwnLine);
  EXPECT_EQ(Entries(), "n+d.example:\tf1@e.example\n");
}

TEST_F(SetAliases, AddsALineForEachAliasBelowTheMailbox) {
  panel.SetText("virtusertable", kOwnLine + "@e.example\tx\n");
  rows.AddAlias(mailbox, "a");
  rows.AddAlias(mailbox, "b");
  back_end.SetAliases(mailbox, {});
  EXPECT_EQ(panel.Text("virtusertable"),
            kOwnLine + "b@d.example\tn@d.example\na@d.example\tn@d.example\n@e.example\tx\n");
}

TEST_F(SetAliases, LeavesALineOfTheAliasesNameAsItIs) {
  panel.SetText("virtusertable", kOwnLine + "a@d.example\tsomebody@e.example\n");
  rows.AddAlias(mailbox, "a");
  back_end.SetAliases(mailbox, {});
  EXPECT_EQ(panel.Text("virtusertable"), kOwnLine + "a@d.example\tsomebody@e.example\n");
}

TEST_F(SetAliases, DeletesTheLinesOfDroppedAliasesWhateverTheyPointAt) {
  panel.SetText("virtusertable",
                kOwnLine + "a@d.example\tsomebody@e.example\nb@d.example\tn@d.example\n");
  back_end.SetAliases(mailbox, {"a", "unknown"});
  EXPECT_EQ(panel.Text("virtusertable"), kOwnLine + "b@d.example\tn@d.example\n");
}

TEST_F(SetAliases, PassesOverDroppedFullAddresses) {
  panel.SetText("virtusertable", kOwnLine + "a@d.example\tn@d.example\n");
  back_end.SetAliases(mailbox, {"a@d.example"});
  EXPECT_EQ(panel.Text("virtusertable"), kOwnLine + "a@d.example\tn@d.example\n");
}

TEST_F(SetAliases, DropsAnAliasThatTheDatabaseStillHas) {
  rows.AddAlias(mailbox, "a");
  back_end.SetAliases(mailbox, {"a"});
  EXPECT_EQ(panel.Text("virtusertable"), kOwnLine);
}

TEST_F(SetAliases, NeedsTheMailboxsLineAndChangesNothingWithout) {
  panel.SetText("virtusertable", "@d.example\tx\n");
  rows.AddForward(mailbox, "f1@e.example");
  rows.AddAlias(mailbox, "a");
  const auto error = ErrorOf([this] { back_end.SetAliases(mailbox, {}); });
  EXPECT_EQ(error.type(), "missing");
  EXPECT_EQ(error.value(), "n@d.example");
  EXPECT_EQ(panel.Text("virtusertable"), "@d.example\tx\n");
  EXPECT_EQ(Entries(), "");
}

TEST_F(SetAliases, RefusesAForwardThatIsMoreThanOneTarget) {
  rows.AddForward(mailbox, "f1@e.example, \"|id\"");
  EXPECT_EQ(ErrorOf([this] { back_end.SetAliases(mailbox, {}); }).type(), "value");
  EXPECT_EQ(Entries(), "");
}

TEST_F(SetAliasesOnce, SavesEachFileForTenAliasesAndTwoForwards) {
  std::string lines;
  for (const char* alias : {"a0", "a1", "a2", "a3", "a4", "a5", "a6", "a7", "a8", "a9"}) {
    rows.AddAlias(mailbox, alias);
    lines = alias + ("@d.example\tn@d.example\n" + lines);
  }
  rows.AddForward(mailbox, "f1@e.example");
  rows.AddForward(mailbox, "f2@e.example");

  back_end.SetAliases(mailbox, {});

  EXPECT_EQ(panel.Text("virtusertable"), kLineWithKey + lines);
  EXPECT_EQ(Entries(), "n+d.example:\tf1@e.example,f2@e.example\n");
  EXPECT_THAT(saves.Names(), UnorderedElementsAre("virtusertable", "aliases"));
  EXPECT_THAT(tool.Runs(), UnorderedElementsAre(Postmap(), Postalias()));
}

/// The responder is set through cursors of its own, while those of the aliases are open.
TEST_F(SetAliasesOnce, SavesEachFileWhereTheResponderIsSetInBetween) {
  panel.SetText("virtusertable", kOwnLine + "old@d.example\tn@d.example\n");
  rows.AddAlias(mailbox, "a");
  rows.AddForward(mailbox, "f1@e.example");
  rows.AddResponder(mailbox, true);

  back_end.SetAliases(mailbox, {"old"});

  EXPECT_EQ(panel.Text("virtusertable"), kLineWithKey + "a@d.example\tn@d.example\n");
  EXPECT_EQ(Entries(), "n+d.example:\tf1@e.example," + action + "\n");
  EXPECT_THAT(saves.Names(), UnorderedElementsAre("virtusertable", "aliases"));
  EXPECT_THAT(tool.Runs(), UnorderedElementsAre(Postmap(), Postalias()));
}

/// The key is taken out of the line and the entry deleted, and the responder brings both back.
TEST_F(SetAliasesOnce, SavesTheEntryOfAResponderThatLosesItsLastForward) {
  panel.SetText("virtusertable", kLineWithKey);
  SetEntries("n+d.example:\tf1@e.example," + action + "\nother: x\n");
  rows.AddResponder(mailbox, true);
  rows.AddAlias(mailbox, "a");

  back_end.SetAliases(mailbox, {});

  EXPECT_EQ(panel.Text("virtusertable"), kLineWithKey + "a@d.example\tn@d.example\n");
  EXPECT_EQ(Entries(), "other: x\nn+d.example:\t" + action + "\n");
  EXPECT_THAT(saves.Names(), UnorderedElementsAre("virtusertable", "aliases"));
  EXPECT_THAT(tool.Runs(), UnorderedElementsAre(Postmap(), Postalias()));
}

TEST_F(CacheAliases, ReadsTheForwardsAndNoAliasForTheMailboxItself) {
  panel.SetText("virtusertable", kLineWithKey);
  SetEntries("n+d.example:\tf1@e.example, f2@e.example\n");
  rows.AddForward(mailbox, "old@e.example");
  rows.AddAlias(mailbox, "old");
  back_end.CacheAliases(mailbox);
  EXPECT_EQ(ForwardRows(), (Lines{"f1@e.example", "f2@e.example"}));
  EXPECT_EQ(AliasRows(), Lines{});
}

TEST_F(CacheAliases, PassesOverTheTargetOfTheResponder) {
  SetEntries("n+d.example:\tf1@e.example," + action + ",f2@e.example\n");
  back_end.CacheAliases(mailbox);
  EXPECT_EQ(ForwardRows(), (Lines{"f1@e.example", "f2@e.example"}));
}

TEST_F(CacheAliases, ReadsTheLinesThatLeadToTheMailboxAlone) {
  panel.SetText("virtusertable", kOwnLine +
                                     "a@d.example\tn@d.example\n"
                                     "both@d.example\tn@d.example x@d.example\n"
                                     "a@e.example\tn@d.example\n"
                                     "b@d.example n@d.example # by hand\n"
                                     "c@d.example\tm@d.example\n");
  back_end.CacheAliases(mailbox);
  EXPECT_EQ(AliasRows(), (Lines{"a", "b"}));
}

TEST_F(CacheAliases, ReadsADomainThatRedirectsToTheMailboxAsAnAliasWithoutName) {
  panel.SetText("virtusertable", "@d.example\tn@d.example\n@e.example\tn@d.example\n" + kOwnLine);
  back_end.CacheAliases(mailbox);
  EXPECT_EQ(AliasRows(), Lines{""});
}

TEST_F(CacheAliases, LeavesTheRowsOfOtherMailboxesAlone) {
  const MailboxPtr other = rows.AddMailbox(domain, "m");
  rows.AddAlias(other, "x");
  rows.AddForward(other, "y@e.example");
  back_end.CacheAliases(mailbox);
  EXPECT_EQ(AliasRows(), Lines{"x"});
  EXPECT_EQ(ForwardRows(), Lines{"y@e.example"});
}

TEST_F(CacheAliases, BringsBackWhatSetAliasesWrote) {
  rows.AddForward(mailbox, "f1@e.example");
  rows.AddForward(mailbox, "f2@e.example");
  rows.AddAlias(mailbox, "a");
  rows.AddResponder(mailbox, true);
  back_end.SetAliases(mailbox, {});
  back_end.CacheAliases(mailbox);
  EXPECT_EQ(ForwardRows(), (Lines{"f1@e.example", "f2@e.example"}));
  EXPECT_EQ(AliasRows(), Lines{"a"});
}
