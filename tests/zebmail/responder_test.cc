/// NAME
///   responder_test - the commands about responders, seen in the table files, in the folder of the
///   program that answers, and in what they print

#include <filesystem>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/stat.h>

#include "tests/support/test_database.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using test_support::ModeOf;
using test_support::Owner;
using test_support::OwnerOf;
using test_support::ReadText;
using test_support::RecordingTool;
using testing::HasSubstr;

constexpr mode_t kNone = 0;

Owner UserNamed(const char* name) {
  const passwd* const user = getpwnam(name);
  if (user == nullptr) throw std::runtime_error(std::string("there is no user ") + name);
  return {user->pw_uid, user->pw_gid};
}

ino_t InodeOf(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 ? status.st_ino : 0;
}

const char* const kGeneralMessage =
    "From: info@example.org\n"
    "Subject: Automatic reply\n"
    "Auto-Submitted: auto-replied\n"
    "MIME-Version: 1.0\n"
    "Content-Type: text/plain; charset=us-ascii\n"
    "Content-Transfer-Encoding: base64\n"
    "\n"
    "VGhhbmsgeW91IGZvciB5b3VyIG1lc3NhZ2UuIEkgYW0gYXdheSBhdCBwcmVzZW50IGFuZCBzaGFs\n"
    "bCByZWFkIGl0IHdoZW4gSSBhbSBiYWNrLg0K\n";

TEST(ResponderOn, HasPostfixRunTheProgramThatAnswers) {
  const MailboxPanel panel;

  EXPECT_EQ(panel.Do({"responder", "on", "info@example.org"}), "info@example.org: responder on\n");

  EXPECT_EQ(panel.MailboxTables(),
            "-- virtusertable\n"
            "@example.org\tpostfix_err_nouser\n"
            "info@example.org\tinfo@example.org info+example.org\n"
            "-- access\n"
            "-- aliases\n"
            "info+example.org:\t\"|" +
                panel.answer() + " " + panel.Path("panel/state/responder/1") + "\"\n");
  EXPECT_EQ(panel.Lookup("aliases", "info+example.org"), panel.AnswerOf(1));
  EXPECT_EQ(ReadText(panel.ResponderPath(1, "message")), kGeneralMessage);
  EXPECT_EQ(ReadText(panel.ResponderPath(1, "answered.db")), "");
  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

TEST(ResponderOn, StandsBehindTheForwards) {
  const MailboxPanel panel;
  panel.Do({"forward", "add", "info@example.org", "boss@example.net"});

  panel.Do({"responder", "on", "info@example.org"});
  panel.Do({"forward", "add", "info@example.org", "x@example.net"});

  EXPECT_EQ(panel.Lookup("aliases", "info+example.org"),
            "boss@example.net, x@example.net, " + panel.AnswerOf(1));
}

TEST(ResponderOn, TakesSubjectAndText) {
  const AnsweringPanel panel;
  panel.Do({"domain", "create", "bücher.example"});
  panel.Do({"mailbox", "create", "info@bücher.example"});
  const std::string file = panel.folder().WriteText("away.txt", "Zurück am 1. März €\n");

  panel.Do(
      {"responder", "on", "info@bücher.example", "--subject", "Bin verreist", "--text-file", file});

  EXPECT_EQ(ReadText(panel.ResponderPath(1, "message")),
            "From: info@xn--bcher-kva.example\n"
            "Subject: Bin verreist\n"
            "Auto-Submitted: auto-replied\n"
            "MIME-Version: 1.0\n"
            "Content-Type: text/plain; charset=utf-8\n"
            "Content-Transfer-Encoding: base64\n"
            "\n"
            "WnVyw7xjayBhbSAxLiBNw6RyeiDigqwNCg==\n");
  EXPECT_EQ(panel.Do({"responder", "show", "info@bücher.example"}),
            "address: info@bücher.example\n"
            "active: true\n"
            "subject: Bin verreist\n"
            "\n"
            "Zurück am 1. März €\n");
}

TEST(ResponderOn, TakesTextFromStandardInput) {
  const MailboxPanel panel;

  panel.Do({"responder", "on", "info@example.org", "--text-file", "-"}, "first\n\n\tthird\n");

  EXPECT_EQ(panel.Do({"responder", "show", "info@example.org"}),
            "address: info@example.org\nactive: true\nsubject: Automatic reply\n\n"
            "first\n\n\\tthird\n");
}

TEST(ResponderOn, KeepsWhatIsNotGiven) {
  const MailboxPanel panel;
  panel.Do({"responder", "on", "info@example.org", "--subject", "Away", "--text-file", "-"}, "A\n");

  panel.Do({"responder", "on", "info@example.org", "--text-file", "-"}, "B\n");
  EXPECT_EQ(panel.Do({"responder", "show", "info@example.org"}),
            "address: info@example.org\nactive: true\nsubject: Away\n\nB\n");

  panel.Do({"responder", "on", "info@example.org", "--subject", ""});
  EXPECT_EQ(panel.Do({"responder", "show", "info@example.org"}),
            "address: info@example.org\nactive: true\nsubject: \n\nB\n");
}

TEST(ResponderOff, LeavesTablesAsBeforeAndKeepsTheText) {
  const MailboxPanel panel;
  const std::string before = panel.MailboxTables();
  panel.Do({"responder", "on", "info@example.org", "--subject", "Away", "--text-file", "-"}, "A\n");
  const std::string message = ReadText(panel.ResponderPath(1, "message"));

  EXPECT_EQ(panel.Do({"responder", "off", "info@example.org"}),
            "info@example.org: responder off\n");
  EXPECT_EQ(panel.MailboxTables(), before);
  EXPECT_FALSE(std::filesystem::exists(panel.ResponderPath(1)));
  EXPECT_EQ(panel.Do({"responder", "show", "info@example.org"}),
            "address: info@example.org\nactive: false\nsubject: Away\n\nA\n");

  panel.Do({"responder", "on", "info@example.org"});
  EXPECT_EQ(ReadText(panel.ResponderPath(1, "message")), message);
}

TEST(ResponderOff, OfOneThatWasNeverOnChangesNothing) {
  const MailboxPanel panel;
  const std::string before = panel.MailboxTables();

  EXPECT_EQ(panel.Do({"responder", "off", "info@example.org"}),
            "info@example.org: responder off\n");

  EXPECT_EQ(panel.MailboxTables(), before);
}

TEST(ResponderShow, OfOneThatWasNeverOnShowsTheGeneralText) {
  const MailboxPanel panel;

  EXPECT_EQ(panel.Do({"responder", "show", "info@example.org"}),
            "address: info@example.org\n"
            "active: false\n"
            "subject: Automatic reply\n"
            "\n"
            "Thank you for your message. I am away at present and shall read it when I am "
            "back.\n");
}

TEST(ResponderJson, ShowsResponderAndConfirmsChangesByIt) {
  const MailboxPanel panel;
  const std::string on =
      "{\n"
      "  \"address\": \"info@example.org\",\n"
      "  \"active\": true,\n"
      "  \"subject\": \"Away\",\n"
      "  \"text\": \"first\\nsecond\\n\"\n"
      "}\n";

  EXPECT_EQ(panel.Do({"--json", "responder", "on", "info@example.org", "--subject", "Away",
                      "--text-file", "-"},
                     "first\nsecond\n"),
            on);
  EXPECT_EQ(panel.Do({"--json", "responder", "show", "info@example.org"}), on);
  EXPECT_EQ(panel.Do({"--json", "responder", "off", "info@example.org"}),
            "{\n"
            "  \"address\": \"info@example.org\",\n"
            "  \"active\": false,\n"
            "  \"subject\": \"Away\",\n"
            "  \"text\": \"first\\nsecond\\n\"\n"
            "}\n");
}

TEST(ResponderQuiet, KeepsConfirmationsBack) {
  const MailboxPanel panel;

  EXPECT_EQ(panel.Do({"--quiet", "responder", "on", "info@example.org"}), "");
  EXPECT_EQ(panel.Do({"--quiet", "--json", "responder", "off", "info@example.org"}), "");
}

TEST(ResponderFolder, OpensToTheUserWhoAnswersWhatHeNeedsAndNoMore) {
  const MailboxPanel panel;
  panel.Do({"responder", "on", "info@example.org"});
  const Owner root{0, 0};
  const Owner nobody = UserNamed("nobody");

  EXPECT_EQ(OwnerOf(panel.Path("panel/state/responder")), root);
  EXPECT_EQ(ModeOf(panel.Path("panel/state/responder")), 0711U);
  EXPECT_EQ(OwnerOf(panel.ResponderPath(1)), (Owner{0, nobody.group}));
  EXPECT_EQ(ModeOf(panel.ResponderPath(1)), 0710U);
  EXPECT_EQ(OwnerOf(panel.ResponderPath(1, "message")), (Owner{0, nobody.group}));
  EXPECT_EQ(ModeOf(panel.ResponderPath(1, "message")), 0640U);
  EXPECT_EQ(OwnerOf(panel.ResponderPath(1, "answered.db")), nobody);
  EXPECT_EQ(ModeOf(panel.ResponderPath(1, "answered.db")), 0600U);
  EXPECT_EQ(ModeOf(panel.Path("panel/zebmail.toml")) & 0007U, kNone);
}

/// Postfix runs what stands in the aliases as the owner of the file, unless that is the superuser;
/// postalias writes the map in his name.
TEST(ResponderFolder, IsForTheOwnerOfTheAliases) {
  const MailboxPanel panel;
  const Owner daemon = UserNamed("daemon");
  test_support::SetOwner(panel.Path("panel/mail/aliases"), daemon);
  test_support::SetOwner(panel.Path("panel/mail/aliases.db"), daemon);

  panel.Do({"responder", "on", "info@example.org"});

  EXPECT_EQ(OwnerOf(panel.Path("panel/mail/aliases")), daemon);
  EXPECT_EQ(OwnerOf(panel.ResponderPath(1)), (Owner{0, daemon.group}));
  EXPECT_EQ(OwnerOf(panel.ResponderPath(1, "message")), (Owner{0, daemon.group}));
  EXPECT_EQ(OwnerOf(panel.ResponderPath(1, "answered.db")), daemon);
}

TEST(ResponderFolder, KeepsTheRecordWhenTheTextIsChanged) {
  const MailboxPanel panel;
  panel.Do({"responder", "on", "info@example.org"});
  const std::string record = panel.ResponderPath(1, "answered.db");
  test_support::WriteText(record, "answered: somebody");
  const ino_t inode = InodeOf(record);

  panel.Do({"responder", "on", "info@example.org", "--subject", "New"});

  EXPECT_THAT(ReadText(panel.ResponderPath(1, "message")), HasSubstr("Subject: New\n"));
  EXPECT_EQ(ReadText(record), "answered: somebody");
  EXPECT_EQ(InodeOf(record), inode);
  EXPECT_EQ(OwnerOf(record), UserNamed("nobody"));
}

TEST(ResponderFolder, BeginsNewRecordAfterOff) {
  const MailboxPanel panel;
  panel.Do({"responder", "on", "info@example.org"});
  test_support::WriteText(panel.ResponderPath(1, "answered.db"), "answered: somebody");
  panel.Do({"responder", "off", "info@example.org"});

  panel.Do({"responder", "on", "info@example.org"});

  EXPECT_EQ(ReadText(panel.ResponderPath(1, "answered.db")), "");
}

TEST(ResponderFolder, GoesWithTheMailbox) {
  const MailboxPanel panel;
  panel.Do({"responder", "on", "info@example.org"});

  panel.Do({"mailbox", "delete", "info@example.org"});

  EXPECT_FALSE(std::filesystem::exists(panel.ResponderPath(1)));
}

TEST(ResponderFolder, GoesWithTheDomain) {
  const MailboxPanel panel;
  panel.Do({"mailbox", "create", "office@example.org"});
  panel.Do({"responder", "on", "info@example.org"});
  panel.Do({"responder", "on", "office@example.org"});

  panel.Do({"domain", "delete", "example.org"});

  EXPECT_TRUE(std::filesystem::is_empty(panel.Path("panel/state/responder")));
}

TEST(ResponderFolder, IsNotUsedForALaterMailboxOfTheSameName) {
  const MailboxPanel panel;
  panel.Do({"mailbox", "delete", "info@example.org"});
  panel.Do({"mailbox", "create", "info@example.org"});

  panel.Do({"responder", "on", "info@example.org"});

  EXPECT_EQ(panel.Lookup("aliases", "info+example.org"), panel.AnswerOf(2));
}

TEST(ResponderDryRun, ShowsDiffsRowsAndToolsAndMakesNoFolder) {
  const MailboxPanel panel;
  const auto before = Snapshot(panel.Path("panel"));
  const std::string virtusertable = panel.Path("panel/mail/virtusertable");
  const std::string aliases = panel.Path("panel/mail/aliases");

  EXPECT_EQ(panel.Do({"--dry-run", "responder", "on", "info@example.org", "--subject", "Away now",
                      "--text-file", "-"},
                     "A\n"),
            "--- " + virtusertable + "\n+++ " + virtusertable +
                "\n"
                "@@ -1,2 +1,2 @@\n"
                " @example.org\tpostfix_err_nouser\n"
                "-info@example.org\tinfo@example.org\n"
                "+info@example.org\tinfo@example.org info+example.org\n"
                "--- " +
                aliases + "\n+++ " + aliases +
                "\n"
                "@@ -1,2 +1,3 @@\n"
                " postfix_err_nouser:\t\"| exit 67\"\n"
                " devnull:\t\"/dev/null\"\n"
                "+info+example.org:\t" +
                panel.AnswerOf(1) +
                "\n"
                "database: insert responder_text: mailbox=1 subject=\"Away now\" body=A\\n\n"
                "database: insert email_responder: email=1 active=true\n"
                "tool: " +
                panel.MapCommand("postmap", "virtusertable") +
                "\ntool: " + panel.MapCommand("postalias", "aliases") + "\n");

  EXPECT_TRUE(Snapshot(panel.Path("panel")) == before);
}

/// What may be missing for a responder, and what is said about it.
struct Obstacle {
  const char* name;
  std::function<void(const MailboxPanel& panel)> put;
  std::function<std::string(const MailboxPanel& panel)> errors;
};

std::string Closed(const std::string& path) {
  return "zebmail: file: " + path +
         ": is closed to the user nobody, as whom Postfix runs the auto-responder: run `chmod o+x` "
         "on it\n";
}

std::string NotPlain(const std::string& path) {
  return "zebmail: config: " + path +
         ": is part of a command in the aliases, so that only letters, digits and / . _ + - can be "
         "in it; move it, or set another state_dir or module_dir\n";
}

/// Has the panel run the program that answers under another name.
void MoveAnswer(const MailboxPanel& panel, const std::string& name) {
  std::filesystem::rename(panel.answer(), panel.Path(name));
  panel.Configure("zebmail-answer", panel.Path(name));
}

TEST(RefusedResponder, WhenThereIsNoAnswering) {
  const std::vector<Obstacle> obstacles = {
      {"NoProgram", [](const MailboxPanel& panel) { std::filesystem::remove(panel.answer()); },
       [](const MailboxPanel& panel) {
         return "zebmail: missing: " + panel.answer() +
                ": No such file or directory; install zebmail as a whole\n";
       }},
      {"ProgramThatIsNone",
       [](const MailboxPanel& panel) { test_support::SetMode(panel.answer(), 0644); },
       [](const MailboxPanel& panel) {
         return "zebmail: missing: " + panel.answer() +
                ": Permission denied; install zebmail as a whole\n";
       }},
      {"ProgramOutOfReach",
       [](const MailboxPanel& panel) { test_support::SetMode(panel.answer(), 0700); },
       [](const MailboxPanel& panel) { return Closed(panel.answer()); }},
      {"ClosedStateDir",
       [](const MailboxPanel& panel) { test_support::SetMode(panel.Path("panel/state"), 0700); },
       [](const MailboxPanel& panel) { return Closed(panel.Path("panel/state")); }},
      {"ClosedFolderAboveIt",
       [](const MailboxPanel& panel) { test_support::SetMode(panel.Path("panel"), 0750); },
       [](const MailboxPanel& panel) { return Closed(panel.Path("panel")); }},
      {"NoUser",
       [](const MailboxPanel& panel) {
         panel.SetMainCf(panel.MainCf() + "default_privs = no-such-user\n");
       },
       [](const MailboxPanel&) {
         return std::string(
             "zebmail: missing: user no-such-user: Postfix would run the commands of the aliases "
             "as this user; see default_privs in postconf(5)\n");
       }},
      {"NameWithBlank", [](const MailboxPanel& panel) { MoveAnswer(panel, "zebmail answer"); },
       [](const MailboxPanel& panel) { return NotPlain(panel.Path("zebmail answer")); }},
      {"NameForTheShell", [](const MailboxPanel& panel) { MoveAnswer(panel, "$(id)"); },
       [](const MailboxPanel& panel) { return NotPlain(panel.Path("$(id)")); }},
  };
  for (const Obstacle& obstacle : obstacles) {
    SCOPED_TRACE(obstacle.name);
    const MailboxPanel panel;
    obstacle.put(panel);
    const auto before = Snapshot(panel.Path("panel"));

    const CommandRun run = panel.Run({"responder", "on", "info@example.org"});

    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, obstacle.errors(panel));
    EXPECT_EQ(run.output, "");
    EXPECT_TRUE(Snapshot(panel.Path("panel")) == before);
  }
}

/// A tool fails after the change is committed, so that it stays.
class FailingPostalias : public testing::Test {
 protected:
  FailingPostalias() : postalias_(panel_.folder(), "postalias", "fatal: no space left\n", 1) {
    panel_.Configure("postfix-postalias", postalias_.path());
  }

  MailboxPanel panel_;
  RecordingTool postalias_;
};

TEST_F(FailingPostalias, LeavesResponderOnInTablesDatabaseAndFolder) {
  const CommandRun run = panel_.Run({"responder", "on", "info@example.org"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "zebmail: email: postalias: fatal: no space left\n"
            "the database and the table files hold the change\n"
            "outstanding: " +
                panel_.Path("panel/mail/aliases") + " was saved, but " + postalias_.path() + " " +
                panel_.Path("panel/mail/aliases") +
                " has not succeeded since\n"
                "the next change makes up for it, and so does: zebmail --config " +
                panel_.config() + " check --fix\n");
  EXPECT_THAT(panel_.Table("aliases"), HasSubstr("info+example.org:\t" + panel_.AnswerOf(1)));
  EXPECT_EQ(ReadText(panel_.ResponderPath(1, "message")), kGeneralMessage);
  EXPECT_EQ(OwnerOf(panel_.ResponderPath(1, "answered.db")), UserNamed("nobody"));
  EXPECT_THAT(panel_.Do({"mailbox", "show", "info@example.org"}), HasSubstr("responder: true\n"));
}

TEST_F(FailingPostalias, LeavesResponderOffInTablesDatabaseAndFolder) {
  postalias_.SetStatus(0);
  const std::string before = panel_.MailboxTables();
  panel_.Do({"responder", "on", "info@example.org"});
  postalias_.SetStatus(1);

  EXPECT_EQ(panel_.Run({"responder", "off", "info@example.org"}).status, 1);

  EXPECT_EQ(panel_.MailboxTables(), before);
  EXPECT_FALSE(std::filesystem::exists(panel_.ResponderPath(1)));
  EXPECT_THAT(panel_.Do({"mailbox", "show", "info@example.org"}), HasSubstr("responder: false\n"));
}

/// As a kill right behind the commit of the change does.
TEST(ResponderFolder, ThatAKilledChangeDidNotComeToIsMadeUpForByTheNextChange) {
  const MailboxPanel panel;
  panel.Do({"responder", "on", "info@example.org"});
  const auto whole = Snapshot(panel.ResponderPath(1));
  std::filesystem::remove_all(panel.ResponderPath(1));
  test_support::WriteText(panel.ResponderPath(77, "message"), "of a mailbox that is gone");
  test_support::WriteText(panel.Path("panel/state/steps"), "");

  panel.Do({"domain", "create", "example.net"});

  EXPECT_EQ(Snapshot(panel.ResponderPath(1)), whole);
  EXPECT_FALSE(std::filesystem::exists(panel.ResponderPath(77)));
  EXPECT_FALSE(std::filesystem::exists(panel.Path("panel/state/steps")));
  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

/// A panel with two mailboxes, of which the second answers. Its database is lost, and filled anew
/// from the tables.
class LostResponder : public testing::Test {
 protected:
  LostResponder() {
    panel_.Do({"mailbox", "create", "away@example.org"});
    panel_.Do({"responder", "on", "away@example.org", "--subject", "Away"});
    panel_.MoveTo(empty_.url());
    panel_.ChangeDatabase([] {});  // a file is never made anew by a command
    panel_.Do({"webdomain", "add", "example.org", "--owner", "1"});
    panel_.Do({"sync"});
  }

  std::string Found() const {
    return panel_.Path("panel/mail/aliases") + ": away+example.org answers out of " +
           panel_.ResponderPath(2) +
           " by a responder that the panel does not know; senders go on getting that text, or that "
           "of the mailbox which gets the folder; mend: switch the responder of away@example.org "
           "off, and on anew with its text; if it is not a mailbox of the panel, delete the "
           "command "
           "from the entry\n";
  }

  MailboxPanel panel_;
  const test_support::TestDatabase empty_{panel_.Path("panel/empty.db")};
};

TEST_F(LostResponder, KeepsItsFolderAsLongAsTheAliasesNameIt) {
  const auto folder = Snapshot(panel_.ResponderPath(2));

  EXPECT_EQ(panel_.Run({"check"}).output, Found());
  EXPECT_EQ(panel_.Run({"check", "--fix"}).output, Found());

  EXPECT_EQ(Snapshot(panel_.ResponderPath(2)), folder);
}

TEST_F(LostResponder, IsReplacedWhenItIsSwitchedOffAndOnAnew) {
  panel_.Do({"responder", "off", "away@example.org"});
  panel_.Do({"responder", "on", "away@example.org", "--subject", "Back soon"});

  EXPECT_EQ(panel_.Run({"check", "--fix"}).status, 0);

  EXPECT_FALSE(std::filesystem::exists(panel_.ResponderPath(2)));
  EXPECT_EQ(panel_.Do({"check"}), "nothing is wrong\n");
}

/// What another mailbox answers would go to the senders of this one.
TEST_F(LostResponder, LeavesItsFolderToNoOtherMailbox) {
  const auto folder = Snapshot(panel_.ResponderPath(2));
  panel_.Do({"mailbox", "create", "other@example.org"});

  for (const char* mailbox : {"info@example.org", "other@example.org"}) {
    panel_.Do({"responder", "on", mailbox});
  }

  EXPECT_EQ(Snapshot(panel_.ResponderPath(2)), folder);
  EXPECT_EQ(panel_.Run({"check"}).output, Found());
}

/// As a backup from before its mailbox was made: the database has some mailboxes.
TEST_F(LostResponder, LeavesItsFolderToNoOtherMailboxOfADatabaseThatIsOlder) {
  const auto folder = Snapshot(panel_.ResponderPath(2));
  const std::string addresses = panel_.Table("virtusertable");
  const std::string entries = panel_.Table("aliases");
  const test_support::TestDatabase older(panel_.Path("panel/older.db"));
  panel_.MoveTo(older.url());
  panel_.ChangeDatabase([] {});
  panel_.Do({"webdomain", "add", "example.org", "--owner", "1"});
  panel_.SetTable("virtusertable", "@example.org\tpostfix_err_nouser\n");
  panel_.SetTable("aliases", "");
  panel_.Do({"sync"});
  panel_.Do({"mailbox", "create", "first@example.org"});
  panel_.SetTable("virtusertable", addresses + "first@example.org\tfirst@example.org\n");
  panel_.SetTable("aliases", entries);
  panel_.Do({"sync"});

  for (const char* mailbox : {"first@example.org", "info@example.org"}) {
    panel_.Do({"responder", "on", mailbox});
  }

  EXPECT_EQ(Snapshot(panel_.ResponderPath(2)), folder);
  EXPECT_EQ(panel_.Run({"check"}).output, Found());
}

TEST(ResponderOn, OfAMailboxInOtherLettersIsKnownToTheCheck) {
  const MailboxPanel panel;
  panel.SetTable("virtusertable",
                 "@example.org\tpostfix_err_nouser\n"
                 "Sales@example.org\tSales@example.org\n");
  panel.Do({"sync"});

  panel.Do({"responder", "on", "Sales@example.org"});

  EXPECT_THAT(panel.Run({"check"}).output, testing::Not(HasSubstr("responder")));
}

TEST(ResponderFolder, ThatCannotBeNotedKeepsTheChangeFromBeingMade) {
  const MailboxPanel panel;
  const std::string note = panel.Path("panel/state/steps");
  std::filesystem::create_directory(note);
  const std::string tables = panel.MailboxTables();

  const CommandRun run = panel.Run({"responder", "on", "info@example.org"});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors,
              testing::EndsWith("zebmail: file: " + note +
                                ": is not used: it is no regular file, so the panel has not made "
                                "it: look who has put it there, and remove it\n"));
  EXPECT_EQ(panel.MailboxTables(), tables);
  std::filesystem::remove(note);
  panel.Do({"responder", "on", "info@example.org"});
  EXPECT_FALSE(std::filesystem::exists(note));
}

TEST(ResponderFolder, IsNotNotedAnyMoreWhenTheChangeIsRefused) {
  const MailboxPanel panel;
  std::filesystem::create_directory(panel.Path("panel/mail/.aliases.zebmail"));

  EXPECT_EQ(panel.Run({"responder", "on", "info@example.org"}).status, 1);

  EXPECT_FALSE(std::filesystem::exists(panel.Path("panel/state/steps")));
  EXPECT_FALSE(std::filesystem::exists(panel.ResponderPath(1)));
}

TEST(ResponderFolder, StaysNotedWhenAnEarlierChangeOwesItAndTheNextOneIsRefused) {
  const MailboxPanel panel;
  panel.Do({"mailbox", "create", "other@example.org"});
  test_support::WriteText(panel.ResponderPath(1), "in the way");
  EXPECT_EQ(panel.Run({"responder", "on", "info@example.org"}).status, 1);
  std::filesystem::create_directory(panel.Path("panel/mail/.aliases.zebmail"));

  EXPECT_EQ(panel.Run({"responder", "on", "other@example.org"}).status, 1);

  EXPECT_TRUE(std::filesystem::exists(panel.Path("panel/state/steps")));
  std::filesystem::remove(panel.ResponderPath(1));
  std::filesystem::remove(panel.Path("panel/mail/.aliases.zebmail"));
  panel.Do({"responder", "on", "other@example.org"});
  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

TEST(ResponderFolder, ThatCannotBeMadeIsReportedAndMendedByCheckFix) {
  const MailboxPanel panel;
  const std::string in_the_way = panel.ResponderPath(1);
  test_support::WriteText(in_the_way, "");

  const CommandRun run = panel.Run({"responder", "on", "info@example.org"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zebmail: file: " + in_the_way +
                            ": is not a folder\n"
                            "the database and the table files hold the change\n"
                            "what follows from it is not all done; mend the cause, then run: "
                            "zebmail --config " +
                            panel.config() + " check --fix\n");
  EXPECT_EQ(panel.Lookup("aliases", "info+example.org"), panel.AnswerOf(1));

  std::filesystem::remove(in_the_way);
  EXPECT_EQ(panel.Run({"check"}).status, 1);
  EXPECT_THAT(panel.Do({"check", "--fix"}), testing::EndsWith("nothing is wrong\n"));
  EXPECT_EQ(ReadText(panel.ResponderPath(1, "message")), kGeneralMessage);
}

}  // namespace
}  // namespace zebmail_test
