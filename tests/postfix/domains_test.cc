/// NAME
///   domains_test - domains, through the built plug-in and the real tools

#include <string>
#include <vector>

#include "host/fen_err.h"
#include "tests/email/error_of.h"
#include "tests/postfix/back_end.h"

namespace {

using test_support::DomainRow;
using test_support::ErrorOf;
using test_support::RecordingTool;

using Domains = test_support::BackEndTest;

using Lines = std::vector<std::string>;

}  // namespace

TEST_F(Domains, AreCreatedInTheTablesAndTheMaps) {
  auto domain = DomainRow("a.example");
  back_end.CreateDomain(domain);
  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\tpostfix_err_nouser\n");
  EXPECT_EQ(panel.Text("local-host-names"), "a.example\n");
  EXPECT_EQ(panel.Text("access"), "");
  EXPECT_EQ(panel.Text("domainips"), "");
  EXPECT_EQ(panel.Lookup("virtusertable", "@a.example"), "postfix_err_nouser");
  EXPECT_EQ(panel.postfix_command().Runs(), Lines{"reload"});
}

TEST_F(Domains, GoThroughSuspensionAndBackAndAreDeleted) {
  auto domain = DomainRow("a.example", "ignore");
  back_end.CreateDomain(domain);
  domain->active = false;
  back_end.UpdateDomain(domain);
  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\tpostfix_err_nouser\n");
  EXPECT_EQ(panel.Text("access"), "a.example\t550 Account disabled\n");
  EXPECT_EQ(panel.Lookup("access", "a.example"), "550 Account disabled");
  domain->active = true;
  back_end.UpdateDomain(domain);
  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\tdevnull\n");
  EXPECT_EQ(panel.Text("access"), "");
  EXPECT_EQ(panel.Lookup("access", "a.example"), "");
  back_end.DeleteDomain(domain);
  EXPECT_EQ(panel.Text("virtusertable"), "");
  EXPECT_EQ(panel.Text("local-host-names"), "");
}

TEST_F(Domains, ChangeAmongForeignTextWithoutTouchingIt) {
  panel.SetText(
      "virtusertable",
      "# by hand\r\n\r\n@a.example   old   # keep\r\n  continued\r\nno kind\r\nlast@b.example");
  panel.SetText("access", "b.example OK");
  auto domain = DomainRow("a.example");
  back_end.SuspendDomain(domain);
  EXPECT_EQ(
      panel.Text("virtusertable"),
      "# by hand\r\n\r\n@a.example   postfix_err_nouser   # keep\r\n  continued\r\nno kind\r\n"
      "last@b.example");
  EXPECT_EQ(panel.Text("access"), "b.example OK\na.example\t550 Account disabled\n");
}

TEST_F(Domains, KeepWhatWasSavedWhenAToolFails) {
  panel.SetText("virtusertable", "@a.example\tdevnull\n");
  const RecordingTool postmap(panel.folder(), "postmap", "fatal: no space\n", 1);
  panel.SetPath("postfix-postmap", postmap.path());
  auto domain = DomainRow("a.example");
  const auto error = ErrorOf([&] { back_end.SuspendDomain(domain); });
  EXPECT_EQ(error.object(), "postmap");
  EXPECT_EQ(error.value(), "fatal: no space\n");
  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\tpostfix_err_nouser\n");
  EXPECT_EQ(panel.Text("access"), "");
}

TEST_F(Domains, AreReloadedOnlyWithAConfiguredPostfixCommand) {
  panel.SetPath("postfix-bin", "");
  auto domain = DomainRow("a.example");
  const auto error = ErrorOf([&] { back_end.CreateDomain(domain); });
  EXPECT_EQ(error.object(), "postfix_reload");
  EXPECT_NE(error.value().find("postfix-bin"), std::string::npos) << error.value();
  EXPECT_EQ(panel.Text("local-host-names"), "a.example\n");
}

TEST_F(Domains, RefuseARedirectThatWouldBecomeASecondLine) {
  panel.SetText("virtusertable", "@a.example\tdevnull\n");
  auto domain = DomainRow("a.example", "redir_email");
  for (const char* redirect :
       {"x@a.example\n@b.example\tdevnull", "x@a.example #", "x\r@a.example"}) {
    domain->redirect = redirect;
    EXPECT_EQ(ErrorOf([&] { back_end.ResumeDomain(domain); }).type(), "value") << redirect;
  }
  EXPECT_EQ(panel.Text("virtusertable"), "@a.example\tdevnull\n");
}
