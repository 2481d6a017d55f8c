/// NAME
///   table_check_test - what `zebmail check` finds in tables that somebody has edited

#include <filesystem>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/zebmail/hand_kept_panel.h"

namespace zebmail_test {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// One with a domain, a mailbox that has an alias and a forward, and a listed sender.
class EditedPanel : public AnsweringPanel {
 public:
  EditedPanel() {
    Do({"domain", "create", "a.example"});
    Do({"mailbox", "create", "info@a.example"});
    Do({"alias", "add", "info@a.example", "sales"});
    Do({"forward", "add", "info@a.example", "boss@c.example"});
    Do({"blacklist", "add", "foe.example"});
  }

  /// What check says, with the folder of the tables as MAIL. The maps are built of the present
  /// tables.
  std::string Findings() const {
    Run({"check", "--fix"});
    std::string output = Run({"check"}).output;
    const std::string folder = Path("panel/mail");
    for (std::size_t at = output.find(folder); at != std::string::npos; at = output.find(folder)) {
      output.replace(at, folder.size(), "MAIL");
    }
    return output;
  }

  void Append(const std::string& table, const std::string& lines) const {
    SetTable(table, Table(table) + lines);
  }

  std::string Sync() const {
    return "mail goes by the tables, and the panel's next changes by what it knows; mend: put "
           "right "
           "in the tables what was changed there, or run: zebmail --config " +
           config() + " sync\n";
  }
};

TEST(TableCheck, FindsNothingWhereOnlyThePanelHasWritten) {
  EXPECT_EQ(EditedPanel().Findings(), "nothing is wrong\n");
}

TEST(TableCheck, NamesBothLinesOfARepeatedKey) {
  const EditedPanel panel;
  panel.Append("virtusertable", "# by hand\ninfo@a.example\tother@c.example\n");
  panel.Append("access", "foe.example OK\n");
  panel.Append("aliases", "\"Devnull\": /dev/null\n");

  EXPECT_EQ(panel.Findings(),
            "MAIL/virtusertable:5 has the key info@a.example, which MAIL/virtusertable:2 has "
            "already; Postfix goes by the first of them; mend: delete the one that is not right\n"
            "MAIL/access:2 has the key foe.example, which MAIL/access:1 has already; Postfix goes "
            "by the first of them; mend: delete the one that is not right\n"
            "MAIL/aliases:4 has the key devnull, which MAIL/aliases:2 has already; Postfix goes by "
            "the first of them; mend: delete the one that is not right\n");
}

TEST(TableCheck, NamesContinuationLinesUnderLinesOfThePanelAlone) {
  const EditedPanel panel;
  panel.Append("virtusertable", "other@elsewhere.example\tx@c.example\n  y@c.example\n");
  panel.SetTable("virtusertable",
                 "@a.example\tpostfix_err_nouser\n"
                 "info@a.example\tinfo@a.example info+a.example\n"
                 "  archive@c.example\n"
                 "sales@a.example\tinfo@a.example\n"
                 "other@elsewhere.example\tx@c.example\n"
                 "  y@c.example\n");
  panel.SetTable("aliases",
                 "postfix_err_nouser:\t\"| exit 67\"\n"
                 "devnull:\t\"/dev/null\"\n"
                 "info+a.example:\tboss@c.example,\n"
                 "\tsecond@c.example\n");

  const std::string findings = panel.Findings();

  EXPECT_THAT(findings,
              HasSubstr("MAIL/virtusertable:2 is continued in the line below; the panel reads and "
                        "changes the first line alone, Postfix reads all; mend: join the lines\n"));
  EXPECT_THAT(findings, HasSubstr("MAIL/aliases:3 is continued in the line below; "));
  EXPECT_THAT(findings, Not(HasSubstr("MAIL/virtusertable:5")));
}

TEST(TableCheck, NamesLinesThatPostfixSkips) {
  const EditedPanel panel;
  panel.SetTable("access", "  lost OK\n" + panel.Table("access") + "bare.example\n");

  const std::string findings = panel.Findings();

  EXPECT_THAT(findings, HasSubstr("MAIL/access:1 begins with a blank and continues no line; "
                                  "Postfix skips it; mend: take the blank away, or delete the "
                                  "line\n"));
  EXPECT_THAT(findings, HasSubstr("MAIL/access:3 is no entry; Postfix skips it; mend: complete the "
                                  "line, or delete it\n"));
}

TEST(TableCheck, NamesKeysOfThePanelInCapitalLettersOrQuotes) {
  const EditedPanel panel;
  panel.Do({"webdomain", "add", "web.example", "--owner", "1"});
  panel.SetTable("virtusertable",
                 "# by hand\nX@Other.example x@c.example\n" + panel.Table("virtusertable") +
                     "\"new one\"@a.example info@a.example\n@Web.Example devnull\n");
  const std::string words =
      " has its key in capital letters or quotes; the panel, which writes neither, does not find "
      "the "
      "line to change it; mend: write the key plainly, then sync\n";

  const std::string findings = panel.Findings();

  EXPECT_THAT(findings, HasSubstr("MAIL/virtusertable:6" + words));
  EXPECT_THAT(findings, HasSubstr("MAIL/virtusertable:7" + words));
  EXPECT_THAT(findings, Not(HasSubstr("MAIL/virtusertable:2")));
}

TEST(TableCheck, NamesTargetsOfWhichThePanelDoesNotKnow) {
  const EditedPanel panel;
  panel.Do({"domain", "create", "b.example"});
  panel.Do({"mailbox", "create", "shop@b.example"});
  panel.SetTable("virtusertable",
                 "@a.example\tpostfix_err_nouser\n"
                 "info@a.example\tinfo@a.example info+a.example, second@c.example\n"
                 "sales@a.example\tinfo@a.example\n"
                 "@b.example\tx@c.example, y@c.example\n"
                 "shop@b.example\tother@c.example,bare\n"
                 "x@elsewhere.example\ta@c.example,b@c.example\n");
  const std::string zebmail = "zebmail --config " + panel.config() + " ";

  EXPECT_EQ(
      panel.Findings(),
      "MAIL/virtusertable:2 leads info@a.example to second@c.example, of which the panel does "
      "not know; that holds until the panel writes the line anew; mend: " +
          zebmail + "forward add info@a.example second@c.example && " + zebmail +
          "mailbox update info@a.example --drop-mail off\n"
          "MAIL/virtusertable:4 leads @b.example to x@c.example, y@c.example, which is no "
          "default action of the panel; that holds until the panel writes the line anew; "
          "mend: write one address, one @DOMAIN, postfix_err_nouser or devnull there, then "
          "run: " +
          zebmail +
          "sync\n"
          "MAIL/virtusertable:5 leads shop@b.example to other@c.example, bare, of which the "
          "panel does not know; that holds until the panel writes the line anew; mend: have "
          "the line lead to shop@b.example or to another mailbox of its domain, then run: " +
          zebmail + "sync\n");
}

TEST(TableCheck, GivesCommandsThatMakeForwardsOfThoseTargets) {
  const EditedPanel panel;
  panel.SetTable("virtusertable",
                 "@a.example\tpostfix_err_nouser\n"
                 "info@a.example\tsecond@c.example info+a.example\n"
                 "sales@a.example\tinfo@a.example\n");
  const std::string findings = panel.Findings();
  const std::string mark = "; mend: ";

  const CommandRun mended = CarryOut(findings.substr(findings.find(mark) + mark.size()));

  EXPECT_EQ(mended.status, 0) << mended.errors;
  EXPECT_EQ(panel.Table("virtusertable"),
            "@a.example\tpostfix_err_nouser\n"
            "info@a.example\tdevnull info+a.example\n"
            "sales@a.example\tinfo@a.example\n");
  EXPECT_THAT(panel.Table("aliases"),
              HasSubstr("info+a.example:\tboss@c.example,second@c.example\n"));
  EXPECT_EQ(panel.Findings(), "nothing is wrong\n");
}

TEST(TableCheck, NamesHostNamesInAFormThatThePanelDoesNotFind) {
  const EditedPanel panel;
  panel.Do({"domain", "create", "b.example"});
  panel.SetTable("local-host-names",
                 "# local names\n"
                 "a.example\n"
                 " a.example\n"
                 "A.example # old\n"
                 "mail.example, b.example\n"
                 "b.example\n"
                 "a.example\n"
                 "Own.example another.example # a.example\n"
                 "!B.example\n");
  const std::string words =
      "; it stays there when the domain is deleted, and Postfix goes on taking its mail; mend: ";
  const std::string form = " in another form than the panel gives it" + words +
                           "write the name alone, in lower case, without anything else in the "
                           "line\n";

  EXPECT_EQ(panel.Findings(),
            "MAIL/local-host-names:3 has a.example" + form +
                "MAIL/local-host-names:4 has a.example" + form +
                "MAIL/local-host-names:5 has b.example" + form +
                "MAIL/local-host-names:7 has a.example, which line 2 has already" + words +
                "delete the line\n"
                "MAIL/local-host-names:9 leaves b.example out; Postfix takes none "
                "of its mail, whatever stands further down; mend: delete the "
                "line\n");
}

TEST(TableCheck, NamesLinesThatLetMailThroughForWhatIsSuspended) {
  const EditedPanel panel;
  panel.SetMainCf(panel.MainCf() +
                  "recipient_delimiter = +\npropagate_unmatched_extensions = canonical\n");
  panel.Do({"domain", "create", "b.example"});
  panel.Do({"mailbox", "suspend", "info@a.example"});
  panel.Do({"domain", "suspend", "b.example"});
  panel.Append("access",
               "info+x@a.example\tpermit_inet_interfaces\n"
               "other@a.example\t554 no\n"
               "shop@b.example\tDUNNO\n"
               "boss@b.example\t550 no\n"
               "x@b.example\tWARN x\n"
               "y@b.example\tDEFER_IF_REJECT no\n");
  const std::string words =
      ", which is suspended; Postfix looks this line up before the one of the suspension; mend: "
      "delete the line\n";

  EXPECT_EQ(panel.Findings(),
            "MAIL/access:4 lets mail through for the mailbox info@a.example" + words +
                "MAIL/access:6 lets mail through for the domain b.example" + words +
                "MAIL/access:8 lets mail through for the domain b.example" + words);
}

TEST(Sync, TakesADomainOverWhoseWebDomainIsNewThoughItsTableWasReadBefore) {
  const EditedPanel panel;
  panel.Append("virtusertable", "@late.example\tdevnull\n");
  panel.Do({"sync"});
  EXPECT_THAT(panel.Do({"domain", "list"}), Not(HasSubstr("late.example")));

  panel.Do({"webdomain", "add", "late.example", "--owner", "1"});
  panel.Do({"sync"});

  EXPECT_THAT(panel.Do({"domain", "list"}), HasSubstr("late.example"));
}

TEST(TwoTables, InOneFileAreRefused) {
  const EditedPanel panel;
  std::filesystem::remove(panel.Path("panel/mail/access"));
  std::filesystem::create_symlink("virtusertable", panel.Path("panel/mail/access"));
  const auto before = Snapshot(panel.Path("panel/mail"));

  const CommandRun run = panel.Run({"mailbox", "suspend", "info@a.example"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zebmail: file: " + panel.Path("panel/mail/access") +
                            ": is the same file as " + panel.Path("panel/mail/virtusertable") +
                            "; give each table a file of its own\n");
  EXPECT_TRUE(Snapshot(panel.Path("panel/mail")) == before);
  EXPECT_THAT(panel.Do({"mailbox", "list"}), HasSubstr("active"));
}

TEST(TableCheck, NamesTwentyLinesAndCountsTheOthers) {
  const EditedPanel panel;
  std::string lines;
  for (int number = 0; number < 25; ++number) lines += "bare" + std::to_string(number) + "\n";
  panel.Append("access", lines);

  EXPECT_THAT(panel.Findings(), HasSubstr("MAIL/access:21 is no entry; Postfix skips it; "
                                          "mend: complete the line, or delete it\n"
                                          "MAIL/access has 5 more lines like these; "));
}

TEST(TableCheck, NamesWhatTheTablesSayOtherwiseThanThePanel) {
  const EditedPanel panel;
  panel.SetTable("virtusertable",
                 "@a.example\tdevnull\n"
                 "info@a.example\tinfo@a.example info+a.example\n"
                 "new@a.example\tnew@a.example\n");
  panel.SetTable("aliases",
                 "postfix_err_nouser:\t\"| exit 67\"\n"
                 "devnull:\t\"/dev/null\"\n"
                 "info+a.example:\tother@c.example\n");
  panel.SetTable("access", "friend.example OK\n");
  const std::string same = "are not the same in the tables; a sync would have these ";

  EXPECT_EQ(panel.Findings(),
            "domains " + same + "changed a.example; " + panel.Sync() + "mailboxes " + same +
                "added new@a.example; " + panel.Sync() + "aliases " + same +
                "removed sales@a.example of info@a.example; " + panel.Sync() + "forwards " + same +
                "added other@c.example of info@a.example, removed boss@c.example of "
                "info@a.example; " +
                panel.Sync() + "whitelist " + same + "added friend.example; " + panel.Sync() +
                "blacklist " + same + "removed foe.example; " + panel.Sync());
}

TEST(TableCheck, NamesATableThatLacksADomain) {
  const EditedPanel panel;
  panel.SetTable("local-host-names", "");

  EXPECT_EQ(panel.Findings(),
            "MAIL/local-host-names does not go with the domains of the virtual user table; " +
                panel.Sync());
}

TEST(TableCheck, IsMendedBySync) {
  const EditedPanel panel;
  panel.Append("virtusertable", "new@a.example\tnew@a.example\n");
  panel.SetTable("local-host-names", "");

  panel.Do({"sync"});

  EXPECT_EQ(panel.Findings(), "nothing is wrong\n");
}

TEST(TableCheck, ChangesNothing) {
  const EditedPanel panel;
  panel.Append("virtusertable", "new@a.example\tnew@a.example\n");
  panel.SetTable("local-host-names", "");
  const auto before = Snapshot(panel.Path("panel/mail"));

  panel.Run({"check"});

  EXPECT_TRUE(Snapshot(panel.Path("panel/mail")) == before);
  EXPECT_THAT(panel.Do({"mailbox", "list"}), Not(HasSubstr("new@a.example")));
}

TEST(ForwardToThisServer, IsDoneWithAWarning) {
  const EditedPanel panel;
  panel.Do({"mailbox", "create", "shop@a.example"});

  const CommandRun mailbox = panel.Run({"forward", "add", "info@a.example", "shop@a.example"});
  const CommandRun alias = panel.Run({"forward", "add", "shop@a.example", "sales@a.example"});

  EXPECT_EQ(mailbox.status, 0);
  EXPECT_EQ(mailbox.errors,
            "zebmail: mail forwarded to shop@a.example is put into that mailbox: its own forwards "
            "and its responder do not get it\n");
  EXPECT_EQ(alias.status, 0);
  EXPECT_EQ(alias.errors,
            "zebmail: sales@a.example is no mailbox of this server: mail forwarded to it bounces; "
            "forward to the mailbox itself\n");
}

}  // namespace
}  // namespace zebmail_test
