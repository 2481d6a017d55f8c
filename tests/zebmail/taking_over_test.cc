/// NAME
///   taking_over_test - tables that were there before the panel come into its hands
///
/// PURPOSE
///   The steps of docs/taking-over.md, on its table.

#include <string>

#include <gtest/gtest.h>

#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

/// A panel made on the table.
class TakenTables : public OwnPanel {
 public:
  TakenTables() {
    SetTable("virtusertable",
             "# our domains\n"
             "info@example.org       joe\n"
             "sales@example.org      info@example.org\n"
             "team@example.org       joe, ann@example.net\n"
             "@example.org           joe\n");
    Do({"webdomain", "add", "example.org", "--owner", "1"});
    Do({"sync"});
  }

  void SettleWhatThePanelWouldWriteOtherwise() const {
    Do({"mailbox", "update", "info@example.org", "--drop-mail", "on"});
    Do({"forward", "add", "info@example.org", "joe@mail.example.net"});
    Do({"mailbox", "update", "team@example.org", "--drop-mail", "on"});
    Do({"forward", "add", "team@example.org", "joe@mail.example.net", "ann@example.net"});
    Do({"domain", "update", "example.org", "--default-action", "redir_email", "--redirect",
        "joe@mail.example.net"});
  }
};

TEST(TakingOver, FindsMailboxesAndAliases) {
  const TakenTables panel;

  EXPECT_EQ(panel.Do({"mailbox", "list"}),
            "ADDRESS           STATE   MAIL  RESPONDER  ALIASES  FORWARDS\n"
            "info@example.org  active  kept  off        sales    -\n"
            "team@example.org  active  kept  off        -        -\n");
}

TEST(TakingOver, NamesEachLineThatThePanelWouldWriteOtherwise) {
  const TakenTables panel;

  const std::string findings = panel.Run({"check"}).output;

  const std::string table = panel.Path("panel/mail/virtusertable");
  EXPECT_NE(findings.find(table + ":2 leads info@example.org to joe"), std::string::npos)
      << findings;
  EXPECT_NE(findings.find(table + ":4 leads team@example.org to joe, ann@example.net"),
            std::string::npos)
      << findings;
  EXPECT_NE(findings.find(table + ":5 leads @example.org to joe"), std::string::npos) << findings;
}

TEST(TakingOver, EndsWithTheLinesInThePanelsFormAndAllOthersAsTheyWere) {
  const TakenTables panel;

  panel.SettleWhatThePanelWouldWriteOtherwise();

  EXPECT_EQ(panel.Table("virtusertable"),
            "# our domains\n"
            "info@example.org       devnull info+example.org\n"
            "sales@example.org      info@example.org\n"
            "team@example.org       devnull team+example.org\n"
            "@example.org           joe@mail.example.net\n");
  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

}  // namespace
}  // namespace zebmail_test
