/// NAME
///   virtual_user_table_test - the lines of the virtual user table

#include "email/virtual_user_table.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "tests/email/error_of.h"
#include "tests/email/tables.h"

namespace {

using test_support::AddressLines;
using test_support::All;
using test_support::DomainLines;
using test_support::ErrorOf;
using test_support::NameAndList;
using test_support::RecordingTool;
using test_support::TestPanel;

using Lines = std::vector<std::string>;

/// The domain lines, each as "name=target".
Lines Domains(const TestPanel& panel) {
  return All(DomainLines(panel), [](const email::VirtualDomains& line) {
    return line.name.Str() + "=" + line.target.Str();
  });
}

/// The address lines, each as "name=target|target".
Lines Addresses(const TestPanel& panel) {
  return All(AddressLines(panel),
             [](const email::VirtualEmails& line) { return NameAndList(line.name, line.target); });
}

}  // namespace

TEST(VirtualDomains, ReadsNameWithoutAt) {
  TestPanel panel;
  panel.SetText("virtusertable", "@example.org\tdevnull\n");
  EXPECT_EQ(Domains(panel), Lines{"example.org=devnull"});
  EXPECT_EQ(Addresses(panel), Lines{});
}

TEST(VirtualDomains, ReadsTheRestOfTheLineAsOneTarget) {
  TestPanel panel;
  panel.SetText("virtusertable", "@example.org  one@example.net two@example.net # both\n");
  EXPECT_EQ(Domains(panel), Lines{"example.org=one@example.net two@example.net"});
}

TEST(VirtualDomains, AreFoundByNameWithoutAt) {
  TestPanel panel;
  panel.SetText("virtusertable", "@a.example\tone\n@b.example\ttwo\n");
  auto line = DomainLines(panel);
  EXPECT_TRUE(line->Find("b.example"));
  EXPECT_EQ(line->target.Str(), "two");
  EXPECT_FALSE(line->Find("@b.example"));
}

TEST(VirtualDomains, WriteANewLineWithAtAndTab) {
  TestPanel panel;
  {
    auto line = DomainLines(panel);
    line->New();
    line->name.Set("example.org");
    line->target.Set("devnull");
    line->Post("");
  }
  EXPECT_EQ(panel.Text("virtusertable"), "@example.org\tdevnull\n");
  EXPECT_EQ(panel.Lookup("virtusertable", "@example.org"), "devnull");
}

TEST(VirtualDomains, ChangeNothingButTheTarget) {
  TestPanel panel;
  panel.SetText("virtusertable",
                "# ours\n\n@example.org \t old   # comment\r\njohn@example.org\tx\n@last\told");
  {
    auto line = DomainLines(panel);
    line->Assert("example.org");
    line->target.Set("devnull");
    line->Post("");
  }
  EXPECT_EQ(panel.Text("virtusertable"),
            "# ours\n\n@example.org \t devnull   # comment\r\njohn@example.org\tx\n@last\told");
}

TEST(VirtualEmails, ReadTheWholeAddressAsName) {
  TestPanel panel;
  panel.SetText("virtusertable", "john@example.org\tjohn@example.net\n");
  EXPECT_EQ(Addresses(panel), Lines{"john@example.org=john@example.net"});
  EXPECT_EQ(Domains(panel), Lines{});
}

TEST(VirtualEmails, ReadTheTargetsAsAListSeparatedByBlanks) {
  TestPanel panel;
  panel.SetText("virtusertable", "john@example.org\tjohn@example.net   john+example.org # both\n");
  EXPECT_EQ(Addresses(panel), Lines{"john@example.org=john@example.net|john+example.org"});
}

TEST(VirtualEmails, DoNotSplitTargetsAtCommas) {
  TestPanel panel;
  panel.SetText("virtusertable", "john@example.org\ta@example.net,b@example.net\n");
  EXPECT_EQ(Addresses(panel), Lines{"john@example.org=a@example.net,b@example.net"});
}

TEST(VirtualEmails, NameTheirListWithAComma) {
  TestPanel panel;
  auto line = AddressLines(panel);
  EXPECT_EQ(line->target.name(), "target,");
}

TEST(VirtualEmails, WriteANewLineWithTabAndTargetsJoinedByABlank) {
  TestPanel panel;
  {
    auto line = AddressLines(panel);
    line->New();
    line->name.Set("john@example.org");
    line->target = "john@example.net";
    line->target.Append("john+example.org");
    line->Post("");
  }
  EXPECT_EQ(panel.Text("virtusertable"), "john@example.org\tjohn@example.net john+example.org\n");
  EXPECT_EQ(panel.Lookup("virtusertable", "john@example.org"), "john@example.net john+example.org");
}

TEST(VirtualUserTable, TakesALineWithoutAtForNeitherKind) {
  TestPanel panel;
  panel.SetText("virtusertable", "john\tjohn@example.net\n");
  EXPECT_EQ(Domains(panel), Lines{});
  EXPECT_EQ(Addresses(panel), Lines{});
}

TEST(VirtualUserTable, TakesAFirstWordNotDirectlyFollowedByAtForNeitherKind) {
  TestPanel panel;
  panel.SetText("virtusertable", "john @example.org\tjohn@example.net\n");
  EXPECT_EQ(Domains(panel), Lines{});
  EXPECT_EQ(Addresses(panel), Lines{});
}

TEST(VirtualUserTable, TakesIndentedLinesForNeitherKind) {
  TestPanel panel;
  panel.SetText("virtusertable", " @example.org\tdevnull\n\tjohn@example.org\tdevnull\n");
  EXPECT_EQ(Domains(panel), Lines{});
  EXPECT_EQ(Addresses(panel), Lines{});
}

TEST(VirtualUserTable, TakesCommentsAndBlankLinesForNeitherKind) {
  TestPanel panel;
  panel.SetText("virtusertable", "# @example.org\tdevnull\n\n#john@example.org\tdevnull\n");
  EXPECT_EQ(Domains(panel), Lines{});
  EXPECT_EQ(Addresses(panel), Lines{});
}

TEST(VirtualUserTable, KeepsBothKindsApartInOneFile) {
  TestPanel panel;
  panel.SetText("virtusertable",
                "@a.example\tdevnull\nx@a.example\tone\n@b.example\t@a.example\ny@b.example\ttwo");
  EXPECT_EQ(Domains(panel), (Lines{"a.example=devnull", "b.example=@a.example"}));
  EXPECT_EQ(Addresses(panel), (Lines{"x@a.example=one", "y@b.example=two"}));
}

TEST(VirtualUserTable, RunsPostmapOnceForASaveThroughTwoCursors) {
  TestPanel panel;
  const RecordingTool postmap(panel.folder(), "postmap");
  panel.SetPath("postfix-postmap", postmap.path());
  panel.SetText("virtusertable", "@example.org\tdevnull\n");
  {
    auto domain = DomainLines(panel);
    domain->Assert("example.org");
    domain->target.Set("other");
    domain->Post("");
    auto mailbox = AddressLines(panel);
    mailbox->New();
    mailbox->name.Set("john@example.org");
    mailbox->target = "john@example.org";
    mailbox->Post(*domain);
    EXPECT_EQ(panel.Text("virtusertable"), "@example.org\tdevnull\n");
  }
  EXPECT_EQ(panel.Text("virtusertable"),
            "@example.org\tother\njohn@example.org\tjohn@example.org\n");
  EXPECT_EQ(postmap.Runs(), Lines{panel.Table("virtusertable").string()});
}

TEST(VirtualUserTable, RunsNoPostmapWhenNothingChanged) {
  TestPanel panel;
  const RecordingTool postmap(panel.folder(), "postmap");
  panel.SetPath("postfix-postmap", postmap.path());
  panel.SetText("virtusertable", "@example.org\tdevnull\n");
  {
    auto line = DomainLines(panel);
    line->Assert("example.org");
    line->target.Set("devnull");
    line->Post("");
  }
  EXPECT_EQ(postmap.Runs(), Lines{});
}

TEST(VirtualUserTable, StaysSavedWhenPostmapFails) {
  TestPanel panel;
  const RecordingTool postmap(panel.folder(), "postmap", "fatal: no space\n", 1);
  panel.SetPath("postfix-postmap", postmap.path());
  const auto create = [&] {
    auto line = DomainLines(panel);
    line->New();
    line->name.Set("example.org");
    line->target.Set("devnull");
    line->Post("");
  };
  EXPECT_STREQ(ErrorOf(create).what(), "email: postmap: fatal: no space\n");
  EXPECT_EQ(panel.Text("virtusertable"), "@example.org\tdevnull\n");
}

TEST(VirtualUserTable, RefusesNamesThatWouldNotReadBack) {
  TestPanel panel;
  panel.SetText("virtusertable", "@example.org\tdevnull\n");
  for (const std::string& name :
       {std::string("a.example\n@b.example"), std::string("a example"), std::string("a#b"),
        std::string("a@b"), std::string(), std::string("a\0b", 3)}) {
    auto line = DomainLines(panel);
    line->New();
    line->name.Set(name);
    line->target.Set("devnull");
    EXPECT_THROW(line->Post(""), fen_err::Error) << name;
  }
  EXPECT_EQ(panel.Text("virtusertable"), "@example.org\tdevnull\n");
}

TEST(VirtualUserTable, RefusesTargetsThatWouldNotReadBack) {
  TestPanel panel;
  panel.SetText("virtusertable", "@example.org\tdevnull\n");
  for (const std::string& target : {std::string("a\nroot: x"), std::string("a # b"),
                                    std::string("a\0b", 3), std::string("a\r")}) {
    auto line = DomainLines(panel);
    line->Assert("example.org");
    line->target.Set(target);
    EXPECT_THROW(line->Post(""), fen_err::Error) << target;
  }
  EXPECT_EQ(panel.Text("virtusertable"), "@example.org\tdevnull\n");
}
