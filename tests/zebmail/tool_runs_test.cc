/// NAME
///   tool_runs_test - each table's map is built at most once per change
///
/// PURPOSE
///   Building the map of a large table takes long, and Postfix works with the old one until it is
///   done. However many operations of the back-end a change takes, and however many lines it
///   changes, each tool runs once for a table.

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using test_support::RecordingTool;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// A panel with one mailbox, whose tools are counted from then on.
class ToolRuns : public testing::Test {
 protected:
  ToolRuns() : postmap_(panel_.folder(), "postmap"), postalias_(panel_.folder(), "postalias") {
    panel_.Configure("postfix-postmap", postmap_.path());
    panel_.Configure("postfix-postalias", postalias_.path());
  }

  std::string Table(const std::string& name) const { return panel_.Path("panel/mail/" + name); }

  /// Makes the change and leaves its runs alone to be looked at.
  void Count(const std::vector<std::string>& words, const std::string& input = "") const {
    panel_.folder().WriteText("postmap.runs", "");
    panel_.folder().WriteText("postalias.runs", "");
    panel_.Do(words, input);
  }

  /// The lines of ten aliases; each new one comes directly below the mailbox.
  std::string AliasLines() const {
    std::string lines;
    for (const std::string& name : ten_) {
      lines = name + "@example.org\tinfo@example.org\n" + lines;
    }
    return lines;
  }

  const std::vector<std::string> ten_ = {"a0", "a1", "a2", "a3", "a4",
                                         "a5", "a6", "a7", "a8", "a9"};
  MailboxPanel panel_;
  RecordingTool postmap_;
  RecordingTool postalias_;
};

TEST_F(ToolRuns, OfCreation) {
  Count({"mailbox", "create", "new@example.org"});

  EXPECT_THAT(postmap_.Runs(), ElementsAre(Table("virtusertable")));
  EXPECT_THAT(postalias_.Runs(), IsEmpty());
}

TEST_F(ToolRuns, OfTenAliasesAtOnce) {
  std::vector<std::string> words = {"alias", "add", "info@example.org"};
  words.insert(words.end(), ten_.begin(), ten_.end());
  Count(words);

  EXPECT_THAT(postmap_.Runs(), ElementsAre(Table("virtusertable")));
  EXPECT_THAT(postalias_.Runs(), IsEmpty());

  words[1] = "remove";
  Count(words);

  EXPECT_THAT(postmap_.Runs(), ElementsAre(Table("virtusertable")));
  EXPECT_THAT(postalias_.Runs(), IsEmpty());
}

TEST_F(ToolRuns, OfTwoForwardsAtOnce) {
  Count({"forward", "add", "info@example.org", "x@example.net", "y@example.net"});

  EXPECT_THAT(postmap_.Runs(), ElementsAre(Table("virtusertable")));
  EXPECT_THAT(postalias_.Runs(), ElementsAre(Table("aliases")));
}

TEST_F(ToolRuns, OfTenAliasesAndTwoForwardsInOneChange) {
  const std::string line = R"({"type":"mailbox","address":"info@example.org",)"
                           R"("aliases":["a0","a1","a2","a3","a4","a5","a6","a7","a8","a9"],)"
                           R"("forwards":["x@example.net","y@example.net"]})";

  Count({"import", "-"}, line + "\n");

  EXPECT_THAT(postmap_.Runs(), ElementsAre(Table("virtusertable")));
  EXPECT_THAT(postalias_.Runs(), ElementsAre(Table("aliases")));
  EXPECT_EQ(panel_.MailboxTables(),
            "-- virtusertable\n"
            "@example.org\tpostfix_err_nouser\n"
            "info@example.org\tinfo@example.org info+example.org\n" +
                AliasLines() +
                "-- access\n"
                "-- aliases\n"
                "info+example.org:\tx@example.net,y@example.net\n");
}

TEST_F(ToolRuns, OfFurtherForward) {
  panel_.Do({"forward", "add", "info@example.org", "x@example.net"});

  Count({"forward", "add", "info@example.org", "y@example.net"});

  EXPECT_THAT(postmap_.Runs(), IsEmpty());
  EXPECT_THAT(postalias_.Runs(), ElementsAre(Table("aliases")));
}

TEST_F(ToolRuns, OfResponder) {
  RecordingTool postconf(panel_.folder(), "postconf", "nobody\n");

  Count({"responder", "on", "info@example.org"});

  EXPECT_THAT(postmap_.Runs(), ElementsAre(Table("virtusertable")));
  EXPECT_THAT(postalias_.Runs(), ElementsAre(Table("aliases")));
}

/// What all the rest is done to: a mailbox with five aliases and two forwards.
class ToolRunsOfFullMailbox : public ToolRuns {
 protected:
  ToolRunsOfFullMailbox() {
    panel_.Do({"alias", "add", "info@example.org", "a0", "a1", "a2", "a3", "a4"});
    panel_.Do({"forward", "add", "info@example.org", "x@example.net", "y@example.net"});
  }
};

TEST_F(ToolRunsOfFullMailbox, OfUpdate) {
  Count({"mailbox", "update", "info@example.org", "--drop-mail", "on"});

  EXPECT_THAT(postmap_.Runs(), ElementsAre(Table("virtusertable")));
  EXPECT_THAT(postalias_.Runs(), IsEmpty());
}

TEST_F(ToolRunsOfFullMailbox, OfSuspensionAndResumption) {
  Count({"mailbox", "suspend", "info@example.org"});
  EXPECT_THAT(postmap_.Runs(), ElementsAre(Table("virtusertable"), Table("access")));
  EXPECT_THAT(postalias_.Runs(), IsEmpty());

  Count({"mailbox", "resume", "info@example.org"});
  EXPECT_THAT(postmap_.Runs(), ElementsAre(Table("virtusertable"), Table("access")));
  EXPECT_THAT(postalias_.Runs(), IsEmpty());
}

TEST_F(ToolRunsOfFullMailbox, OfDeletion) {
  Count({"mailbox", "delete", "info@example.org"});

  EXPECT_THAT(postmap_.Runs(), ElementsAre(Table("virtusertable")));
  EXPECT_THAT(postalias_.Runs(), ElementsAre(Table("aliases")));
}

TEST_F(ToolRunsOfFullMailbox, OfDeletionOfSuspendedOne) {
  panel_.Do({"mailbox", "suspend", "info@example.org"});

  Count({"mailbox", "delete", "info@example.org"});

  EXPECT_THAT(postmap_.Runs(), UnorderedElementsAre(Table("virtusertable"), Table("access")));
  EXPECT_THAT(postalias_.Runs(), ElementsAre(Table("aliases")));
}

TEST_F(ToolRunsOfFullMailbox, OfDeletionOfTheDomain) {
  panel_.Do({"mailbox", "create", "office@example.org"});
  panel_.Do({"forward", "add", "office@example.org", "x@example.net"});

  Count({"domain", "delete", "example.org"});

  EXPECT_THAT(postmap_.Runs(), ElementsAre(Table("virtusertable")));
  EXPECT_THAT(postalias_.Runs(), ElementsAre(Table("aliases")));
}

TEST_F(ToolRunsOfFullMailbox, OfAliasLeaveTheForwardsAlone) {
  Count({"alias", "add", "info@example.org", "new"});

  EXPECT_THAT(postmap_.Runs(), ElementsAre(Table("virtusertable")));
  EXPECT_THAT(postalias_.Runs(), IsEmpty());
}

/// The entry is made anew from the forwards, and the responder put back: it is as it was.
TEST_F(ToolRunsOfFullMailbox, OfAliasLeaveForwardsWithAResponderAlone) {
  const RecordingTool postconf(panel_.folder(), "postconf", "nobody\n");
  panel_.Do({"responder", "on", "info@example.org"});

  Count({"alias", "add", "info@example.org", "new"});

  EXPECT_THAT(postmap_.Runs(), ElementsAre(Table("virtusertable")));
  EXPECT_THAT(postalias_.Runs(), IsEmpty());
}

TEST_F(ToolRunsOfFullMailbox, AreNoneWhenNoTableChanges) {
  Count({"mailbox", "update", "info@example.org", "--drop-mail", "off"});

  EXPECT_THAT(postmap_.Runs(), IsEmpty());
  EXPECT_THAT(postalias_.Runs(), IsEmpty());
}

}  // namespace
}  // namespace zebmail_test
