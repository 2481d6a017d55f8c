/// NAME
///   sendmail_like_domains_test - domains in sendmail-style tables

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "tests/email/error_of.h"
#include "tests/email/plain_back_end.h"
#include "tests/email/rows.h"
#include "tests/support/test_panel.h"

namespace {

using test_support::DomainRow;
using test_support::ErrorOf;
using test_support::PlainBackEnd;
using test_support::RecordingTool;
using test_support::TestPanel;

using Lines = std::vector<std::string>;

/// The back-end with UpdateDomain's two ways recorded instead of taken.
class RecordedBackEnd : public PlainBackEnd {
 public:
  void SuspendDomain(std::shared_ptr<zeb_db::EmailDomainTable>&) override {
    calls.emplace_back("suspend");
  }
  void ResumeDomain(std::shared_ptr<zeb_db::EmailDomainTable>&) override {
    calls.emplace_back("resume");
  }

  Lines calls;
};

}  // namespace

TEST(SendmailLikeInterface, LooksUpItsPathsOnce) {
  TestPanel panel;
  PlainBackEnd back_end;
  panel.SetPath("postfix-virtusertable", panel.Table("other").string());
  auto domain = DomainRow("a.example");
  back_end.CreateDomain(domain);
  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\taction-error\n");
}

TEST(CreateDomain, AddsALineForUnknownAddressesAndAHostName) {
  TestPanel panel;
  panel.SetText("access", "x\tOK\n");
  PlainBackEnd back_end;
  auto domain = DomainRow("a.example", "ignore");
  back_end.CreateDomain(domain);
  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\taction-ignore\n");
  EXPECT_EQ(panel.Text("local-host-names"), "a.example\n");
  EXPECT_EQ(panel.Text("access"), "x\tOK\n");
  EXPECT_EQ(panel.Lookup("virtusertable", "@a.example"), "action-ignore");
}

TEST(CreateDomain, DoesNotLookForTheDomainFirst) {
  TestPanel panel;
  PlainBackEnd back_end;
  auto domain = DomainRow("a.example");
  back_end.CreateDomain(domain);
  back_end.CreateDomain(domain);
  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\taction-error\n@a.example\taction-error\n");
  EXPECT_EQ(panel.Text("local-host-names"), "a.example\n");
}

TEST(CreateDomain, SavesTheVirtualUserTableBeforeTheHostNames) {
  TestPanel panel;
  const RecordingTool tool(panel.folder(), "tool");
  panel.SetPath("postfix-postmap", tool.path() + " postmap");
  panel.SetPath("postfix-bin", tool.path());
  PlainBackEnd back_end;
  auto domain = DomainRow("a.example");
  back_end.CreateDomain(domain);
  EXPECT_EQ(tool.Runs(), (Lines{"postmap " + panel.Table("virtusertable").string(), "reload"}));
}

TEST(CreateDomain, LeavesTheHostNamesAloneWhenPostmapFails) {
  TestPanel panel;
  const RecordingTool tool(panel.folder(), "tool", "fatal: no space\n", 1);
  panel.SetPath("postfix-postmap", tool.path());
  PlainBackEnd back_end;
  auto domain = DomainRow("a.example");
  EXPECT_THROW(back_end.CreateDomain(domain), fen_err::Error);
  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\taction-error\n");
  EXPECT_EQ(panel.Text("local-host-names"), "");
}

TEST(CreateDomain, ChangesNothingForANameThatTheTableCouldNotHold) {
  TestPanel panel;
  PlainBackEnd back_end;
  for (const char* name : {"a.example\n@b.example", "a.example #", "a example", ""}) {
    auto domain = DomainRow(name);
    EXPECT_THROW(back_end.CreateDomain(domain), fen_err::Error) << name;
  }
  EXPECT_EQ(panel.Text("virtusertable"), "");
  EXPECT_EQ(panel.Text("local-host-names"), "");
}

TEST(DeleteDomain, TakesTheDomainOutOfTheThreeTables) {
  TestPanel panel;
  panel.SetText("virtusertable",
                "@a.example\tx\n@b.example\ty\nj@a.example\tj@a.example\n@a.example.org\tz\n");
  panel.SetText("local-host-names", "a.example\nb.example\n");
  panel.SetText("access", "a.example\t550 Account disabled\nj@a.example\tOK\n");
  PlainBackEnd back_end;
  auto domain = DomainRow("a.example");
  back_end.DeleteDomain(domain);
  EXPECT_EQ(panel.Text("virtusertable"),
            "@b.example\ty\nj@a.example\tj@a.example\n@a.example.org\tz\n");
  EXPECT_EQ(panel.Text("local-host-names"), "b.example\n");
  EXPECT_EQ(panel.Text("access"), "j@a.example\tOK\n");
}

TEST(DeleteDomain, SucceedsAndChangesNothingForADomainInNoTable) {
  TestPanel panel;
  const RecordingTool tool(panel.folder(), "tool");
  panel.SetPath("postfix-postmap", tool.path());
  panel.SetText("virtusertable", "@b.example\ty\n");
  PlainBackEnd back_end;
  auto domain = DomainRow("a.example");
  back_end.DeleteDomain(domain);
  EXPECT_EQ(panel.Text("virtusertable"), "@b.example\ty\n");
  EXPECT_EQ(tool.Runs(), Lines{});
  EXPECT_EQ(panel.postfix_command().Runs(), Lines{});
}

TEST(SuspendDomain, ReplacesTheTargetAndRefusesMailForTheDomain) {
  TestPanel panel;
  panel.SetText("virtusertable", "# ours\n@a.example  old target # comment\n@b.example\ty\n");
  panel.SetText("local-host-names", "a.example\n");
  PlainBackEnd back_end;
  auto domain = DomainRow("a.example");
  back_end.SuspendDomain(domain);
  EXPECT_EQ(panel.Text("virtusertable"), "# ours\n@a.example  disabled # comment\n@b.example\ty\n");
  EXPECT_EQ(panel.Text("access"), "a.example\t550 Account disabled\n");
  EXPECT_EQ(panel.Text("local-host-names"), "a.example\n");
  EXPECT_EQ(panel.Lookup("access", "a.example"), "550 Account disabled");
}

TEST(SuspendDomain, TwiceLeavesOneEntry) {
  TestPanel panel;
  panel.SetText("virtusertable", "@a.example\told\n");
  PlainBackEnd back_end;
  auto domain = DomainRow("a.example");
  back_end.SuspendDomain(domain);
  back_end.SuspendDomain(domain);
  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\tdisabled\n");
  EXPECT_EQ(panel.Text("access"), "a.example\t550 Account disabled\n");
}

TEST(SuspendDomain, FailsForAMissingDomainAndLeavesTheAccessTableAlone) {
  TestPanel panel;
  PlainBackEnd back_end;
  auto domain = DomainRow("a.example");
  const auto error = ErrorOf([&] { back_end.SuspendDomain(domain); });
  EXPECT_EQ(error.type(), "missing");
  EXPECT_EQ(error.object(), panel.Table("virtusertable").string());
  EXPECT_EQ(error.value(), "a.example");
  EXPECT_EQ(panel.Text("access"), "");
}

TEST(ResumeDomain, WritesTheTargetOfTheRowAndNotTheOneBeforeTheSuspension) {
  TestPanel panel;
  panel.SetText("virtusertable", "@a.example\told\n");
  PlainBackEnd back_end;
  auto domain = DomainRow("a.example", "ignore");
  back_end.SuspendDomain(domain);
  back_end.ResumeDomain(domain);
  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\taction-ignore\n");
  EXPECT_EQ(panel.Text("access"), "");
}

TEST(ResumeDomain, RemovesWhateverTheAccessTableSaysForTheDomain) {
  TestPanel panel;
  panel.SetText("virtusertable", "@a.example\tx\n");
  panel.SetText("access", "a.example\tREJECT\nb.example\tOK\n");
  PlainBackEnd back_end;
  auto domain = DomainRow("a.example");
  back_end.ResumeDomain(domain);
  EXPECT_EQ(panel.Text("access"), "b.example\tOK\n");
}

TEST(ResumeDomain, RemovesASecondEntryOfTheDomainButNotAThird) {
  TestPanel panel;
  panel.SetText("virtusertable", "@a.example\tx\n");
  panel.SetText("access", "a.example\tone\na.example\ttwo\na.example\tthree\n");
  PlainBackEnd back_end;
  auto domain = DomainRow("a.example");
  back_end.ResumeDomain(domain);
  EXPECT_EQ(panel.Text("access"), "a.example\tthree\n");
}

TEST(ResumeDomain, HasRemovedTheEntryWhenTheDomainTurnsOutToBeMissing) {
  TestPanel panel;
  panel.SetText("access", "a.example\t550 Account disabled\n");
  PlainBackEnd back_end;
  auto domain = DomainRow("a.example");
  EXPECT_THROW(back_end.ResumeDomain(domain), fen_err::Error);
  EXPECT_EQ(panel.Text("access"), "");
}

TEST(UpdateDomain, ResumesAnActiveDomainAndSuspendsAnInactiveOne) {
  TestPanel panel;
  RecordedBackEnd back_end;
  auto domain = DomainRow("a.example");
  back_end.UpdateDomain(domain);
  domain->active = false;
  back_end.UpdateDomain(domain);
  EXPECT_EQ(back_end.calls, (Lines{"resume", "suspend"}));
}

TEST(UpdateDomain, LeavesTheTablesAsSuspendAndResumeDo) {
  TestPanel panel;
  panel.SetText("virtusertable", "@a.example\told\n");
  PlainBackEnd back_end;
  auto domain = DomainRow("a.example");
  domain->active = false;
  back_end.UpdateDomain(domain);
  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\tdisabled\n");
  EXPECT_EQ(panel.Text("access"), "a.example\t550 Account disabled\n");
  domain->active = true;
  back_end.UpdateDomain(domain);
  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\taction-error\n");
  EXPECT_EQ(panel.Text("access"), "");
}
