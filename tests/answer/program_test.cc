/// NAME
///   program_test - the built program that answers, run as Postfix runs it
///
/// HOW
///   vacation(1) and sendmail(1) are the real ones. The Postfix that MAIL_CONFIG names is not
///   running: what is sent stays in its maildrop, where the test looks at it.

#include <chrono>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <future>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "panel/process/file_handle.h"
#include "tests/support/command.h"
#include "tests/support/temp_folder.h"

namespace {

namespace fs = std::filesystem;
using test_support::CommandRun;
using test_support::RunCommand;
using test_support::TempFolder;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

const char* const kAnswer =
    "From: info@example.org\n"
    "Subject: Away ($SUBJECT)\n"
    "Auto-Submitted: auto-replied\n"
    "\n"
    "I am away. $SUBJECT\n";

const char* const kMessage =
    "From bob@x.test  Sat Nov 21 02:47:00 2026\n"
    "From: Bob <bob@x.test>\n"
    "To: info@example.org\n"
    "Subject: a secret\n"
    "\n"
    "Another secret\n";

constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kWeek = 7 * 24 * kHour;

const std::string kStoredHere = "\x01";
const std::string kIntervalInRecord = "__VACATION__INTERVAL__TIMER__";

/// What the program sent, as Postfix would take it up.
struct Sent {
  std::string envelope;
  std::string text;
};

test_support::Owner Nobody() {
  const passwd* const user = getpwnam("nobody");
  if (user == nullptr) throw std::runtime_error("there is no user nobody");
  return {user->pw_uid, user->pw_gid};
}

std::string LinesThatBeginWith(const std::vector<std::string>& beginnings, const std::string& all) {
  std::istringstream stream(all);
  std::string lines;
  for (std::string line; std::getline(stream, line);) {
    for (const std::string& beginning : beginnings) {
      if (line.starts_with(beginning)) lines += line + "\n";
    }
  }
  return lines;
}

/// Whether a process waits for the lock on the file. The kernel marks it by an arrow.
bool IsWaitedFor(const panel::FileHandle& file) {
  struct stat status {};
  if (fstat(file.get(), &status) != 0) throw std::runtime_error("fstat");
  const std::string inode = ":" + std::to_string(status.st_ino) + " ";
  std::istringstream locks(test_support::ReadText("/proc/locks"));
  for (std::string line; std::getline(locks, line);) {
    if (line.find("->") != std::string::npos && line.find(inode) != std::string::npos) return true;
  }
  return false;
}

/// A program that anybody may run, and a folder of a responder.
class AnsweringProgram : public testing::Test {
 protected:
  AnsweringProgram() {
    prctl(PR_SET_CHILD_SUBREAPER, 1);  // vacation does not wait for sendmail
    const CommandRun run =
        RunCommand({ZEBMAIL_PRIVATE_POSTFIX "/set-up", folder_.path(), "hash", "0"});
    if (run.status != 0) throw std::runtime_error(run.errors);
    fs::copy_file(ZEBMAIL_ANSWER_BINARY, folder_.Path("zebmail-answer"));
    test_support::SetMode(folder_.Path("zebmail-answer"), 0755);
    folder_.WriteText("away/message", kAnswer);
    folder_.WriteText("away/answered.db", "");
    test_support::SetMode(folder_.Path("away/answered.db"), 0600);
    test_support::SetOwner(folder_.Path("away/answered.db"), Nobody());
  }

  std::string Path(const std::string& name) const { return folder_.Path(name).string(); }

  /// The command line by which Postfix hands over a message from `sender` to info@example.org.
  std::vector<std::string> CommandLine(const std::string& sender,
                                       const std::string& user = "nobody") const {
    return {"/usr/bin/env",
            "-i",
            "MAIL_CONFIG=" + Path("postfix"),
            "SENDER=" + sender,
            "ORIGINAL_RECIPIENT=info@example.org",
            "/usr/bin/setpriv",
            "--reuid=" + user,
            "--regid=nogroup",
            "--clear-groups",
            Path("zebmail-answer"),
            Path("away")};
  }

  CommandRun Run(const std::string& sender, const std::string& message = kMessage) const {
    return RunCommand(CommandLine(sender), message);
  }

  /// All that was sent so far.
  std::vector<Sent> AllSent() const {
    while (waitpid(-1, nullptr, 0) > 0) {
    }
    std::vector<Sent> all;
    for (const fs::directory_entry& entry : fs::directory_iterator(Path("queue/maildrop"))) {
      const std::string envelope = Postcat("-e", entry.path());
      all.push_back({LinesThatBeginWith({"sender: ", "recipient: "}, envelope),
                     Postcat("-h", entry.path()) + Postcat("-b", entry.path())});
    }
    return all;
  }

  /// Changes the number that the record keeps for the key: the time of a sender's last answer, or
  /// the interval. vacation writes it as it is in memory; in the file of this kind of database it
  /// stands in front of its key, and each of the two behind a byte that says how it is stored.
  void SetNumber(const std::string& key, std::int64_t number) const {
    std::string record = folder_.ReadText("away/answered.db");
    const std::size_t place = record.find(kStoredHere + key);
    if (place == std::string::npos || place < sizeof number)
      throw std::runtime_error("the record does not have " + key);
    std::memcpy(&record[place - sizeof number], &number, sizeof number);
    folder_.WriteText("away/answered.db", record);
  }

  /// Asserts that a message was not answered and why the log says so.
  void ExpectFailure(const CommandRun& run, const std::string& complaint) const {
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors, StartsWith("zebmail-answer["));
    EXPECT_THAT(run.errors, EndsWith("]: not answered: " + complaint + "\n"));
    EXPECT_THAT(AllSent(), IsEmpty());
  }

  TempFolder folder_;

 private:
  std::string Postcat(const std::string& part, const std::string& file) const {
    return RunCommand({"/usr/sbin/postcat", "-c", Path("postfix"), part, file}).output;
  }
};

TEST_F(AnsweringProgram, SendsTheMessageOfTheFolderToTheSender) {
  const CommandRun run = Run("bob@x.test");

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.errors, "");
  const std::vector<Sent> all = AllSent();
  ASSERT_THAT(all, SizeIs(1));
  EXPECT_EQ(all[0].envelope, "sender: \nrecipient: bob@x.test\n");
  EXPECT_EQ(all[0].text, std::string("To: bob@x.test\n") + kAnswer);
}

TEST_F(AnsweringProgram, AnswersASenderOnce) {
  Run("bob@x.test");
  Run("bob@x.test");
  Run("bob@X.Test");

  EXPECT_THAT(AllSent(), SizeIs(1));
}

TEST_F(AnsweringProgram, AnswersASenderAgainAfterAWeekAndNotBefore) {
  Run("bob@x.test");

  SetNumber("bob@x.test", std::time(nullptr) - kWeek + kHour);
  Run("bob@x.test");
  EXPECT_THAT(AllSent(), SizeIs(1));

  SetNumber("bob@x.test", std::time(nullptr) - kWeek - kHour);
  Run("bob@x.test");
  EXPECT_THAT(AllSent(), SizeIs(2));
}

TEST_F(AnsweringProgram, KeepsToAWeekThoughTheRecordSaysOtherwise) {
  Run("bob@x.test");

  SetNumber(kIntervalInRecord, 0);
  Run("bob@x.test");

  EXPECT_THAT(AllSent(), SizeIs(1));
}

TEST_F(AnsweringProgram, AnswersEachSender) {
  Run("bob@x.test");
  Run("eve@x.test");

  EXPECT_THAT(AllSent(), SizeIs(2));
}

TEST_F(AnsweringProgram, WaitsWhileAnotherAnswers) {
  const panel::FileHandle record(open(Path("away/answered.db").c_str(), O_RDWR | O_CLOEXEC));
  ASSERT_EQ(flock(record.get(), LOCK_EX), 0);

  std::future<CommandRun> run =
      std::async(std::launch::async, [this] { return Run("bob@x.test"); });
  bool has_ended = false;
  while (!has_ended && !IsWaitedFor(record)) {
    has_ended = run.wait_for(std::chrono::milliseconds(10)) == std::future_status::ready;
  }

  EXPECT_FALSE(has_ended);
  EXPECT_TRUE(folder_.ReadText("away/answered.db").empty());
  flock(record.get(), LOCK_UN);
  EXPECT_EQ(run.get().status, 0);
  EXPECT_THAT(AllSent(), SizeIs(1));
}

TEST_F(AnsweringProgram, AnswersAnAddressThatTheEnvironmentDoesNotShow) {
  Run("o_brien@x.test", std::string("Return-Path: <o'brien@x.test>\n") + kMessage);

  const std::vector<Sent> all = AllSent();
  ASSERT_THAT(all, SizeIs(1));
  EXPECT_EQ(all[0].envelope, "sender: \nrecipient: o'brien@x.test\n");
}

TEST_F(AnsweringProgram, SaysWhyItDoesNotAnswer) {
  const CommandRun run = Run("bob@x.test", std::string("List-Id: cooks\n") + kMessage);

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "not answered: it came through a list: it has a List-* field\n");
  EXPECT_EQ(run.errors, "");
  EXPECT_THAT(AllSent(), IsEmpty());
  EXPECT_EQ(folder_.ReadText("away/answered.db"), "");
}

TEST_F(AnsweringProgram, DoesNotAnswerABounce) {
  EXPECT_EQ(Run("").output, "not answered: it is a bounce: its sender is empty\n");
  EXPECT_THAT(AllSent(), IsEmpty());
}

TEST_F(AnsweringProgram, DoesNotAnswerAHeaderOfHostileLength) {
  const std::string filling(1'000'000, 'x');

  EXPECT_EQ(Run("bob@x.test", "X: " + filling + "\n" + kMessage).output,
            "not answered: its header is too long\n");
  EXPECT_THAT(AllSent(), IsEmpty());
}

TEST_F(AnsweringProgram, RunsNothingThatASenderNames) {
  for (const std::string& sender :
       {"|touch " + Path("spool/owned"), "`touch " + Path("spool/owned") + "`@x.test",
        "$(touch${IFS}" + Path("spool/owned") + ")@x.test",
        "a@x.test\n|touch " + Path("spool/owned"), std::string("-Cfoo@x.test")}) {
    EXPECT_EQ(Run(sender).output, "not answered: its sender is not a plain address\n") << sender;
  }

  EXPECT_THAT(AllSent(), IsEmpty());
  EXPECT_FALSE(fs::exists(Path("spool/owned")));
}

TEST_F(AnsweringProgram, SaysNothingWhenTheResponderHasBeenSwitchedOff) {
  fs::remove_all(Path("away"));

  const CommandRun run = Run("bob@x.test");

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output + run.errors, "");
  EXPECT_THAT(AllSent(), IsEmpty());
}

TEST_F(AnsweringProgram, ReportsARecordThatIsMissing) {
  fs::remove(Path("away/answered.db"));

  ExpectFailure(Run("bob@x.test"), Path("away/answered.db") +
                                       ": No such file or directory; run `zebmail check --fix`");
}

TEST_F(AnsweringProgram, ReportsARecordOfSomebodyElse) {
  test_support::SetOwner(Path("away/answered.db"), {0, 0});

  ExpectFailure(Run("bob@x.test"),
                Path("away/answered.db") + ": Permission denied; run `zebmail check --fix`");
}

TEST_F(AnsweringProgram, ReportsAFolderThatIsClosed) {
  test_support::SetMode(Path("away"), 0700);

  ExpectFailure(Run("bob@x.test"),
                Path("away/answered.db") + ": Permission denied; run `zebmail check --fix`");
}

TEST_F(AnsweringProgram, ReportsAMessageThatIsMissing) {
  fs::remove(Path("away/message"));

  ExpectFailure(Run("bob@x.test"),
                Path("away/message") + ": No such file or directory; run `zebmail check --fix`");
  EXPECT_EQ(folder_.ReadText("away/answered.db"), "");
}

TEST_F(AnsweringProgram, ReportsARecordThatIsDamaged) {
  folder_.WriteText("away/answered.db", std::string(100'000, 'x'));

  ExpectFailure(Run("bob@x.test"), Path("away") +
                                       ": /usr/bin/vacation has failed; look for its own message "
                                       "in the mail log; if answered.db is damaged, empty it");
}

TEST_F(AnsweringProgram, ReportsAUserWithoutName) {
  test_support::SetOwner(Path("away/answered.db"), {54321, 54321});

  ExpectFailure(RunCommand(CommandLine("bob@x.test", "54321"), kMessage),
                "user 54321: has no name; set default_privs in main.cf to a user who has one");
}

TEST_F(AnsweringProgram, RefusesTheSuperuser) {
  const CommandRun run = RunCommand({Path("zebmail-answer"), Path("away")}, kMessage);

  EXPECT_EQ(run.status, 77);
  EXPECT_EQ(run.output, "");
  EXPECT_EQ(run.errors,
            "zebmail-answer: the superuser must not run this; see default_privs in postconf(5)\n");
}

TEST_F(AnsweringProgram, RefusesWrongUsage) {
  const std::string usage =
      "zebmail-answer: usage: zebmail-answer FOLDER, with the folder's absolute path\n";

  for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
           {}, {"away"}, {""}, {"--help"}, {Path("away"), Path("away")}}) {
    std::vector<std::string> command = {Path("zebmail-answer")};
    command.insert(command.end(), words.begin(), words.end());
    const CommandRun run = RunCommand(command, kMessage);

    EXPECT_EQ(run.status, 64);
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, usage);
  }
}

}  // namespace
