/// NAME
///   disk_test - operations on a disk that fails
///
/// PURPOSE
///   Has one call of an import, and of other operations, fail after the other: the first write, the
///   second, and so on, and likewise each fsync, rename, link, unlink and opening of a file, of the
///   tables, of what the panel notes, and of the database. Whichever it is, the operation ends with
///   status 1 and an error that names the reason, and leaves the whole panel as it was, or ends
///   well; only what is to be done behind the commit may be outstanding. When the disk works again,
///   the same operation does what it does at any time.
///
/// WHAT IS LOOKED AT
///   All files byte by byte, an export of the database, the names of all files, and in the end that
///   `check` finds nothing wrong.

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/reliability/busy_panel.h"
#include "tests/reliability/operations.h"
#include "tests/reliability/settings.h"
#include "tests/support/failing_calls.h"

namespace reliability {
namespace {

using test_support::FailingCalls;
using testing::HasSubstr;

/// Among all other tests one call of so many fails: of an import, and of the operations that are
/// less work.
constexpr int kStep = 17;
constexpr int kWideStep = 31;

/// Calls, and how they fail on a disk that is full or breaks.
struct Fault {
  const char* call;
  int error;
};

const std::vector<Fault> kFaults = {{"write", ENOSPC}, {"pwrite", ENOSPC}, {"open", ENOSPC},
                                    {"fsync", EIO},    {"fdatasync", EIO}, {"renameat2", EIO},
                                    {"unlink", EIO}};

std::string Spec(const std::string& call, int first, int error, bool is_lasting) {
  return call + ":" + std::to_string(first) + ":" + std::to_string(error) +
         (is_lasting ? ":always" : ":once");
}

/// Names without those of notes, which tell of what is outstanding, and of the database's own.
std::set<std::string> WithoutNotes(const std::set<std::string>& names) {
  std::set<std::string> rest;
  for (const std::string& name : names) {
    const bool is_note = name.starts_with("panel/state/pending/") || name == "panel/state/steps";
    const bool is_database = name.starts_with("panel/panel.db-");
    if (!is_note && !is_database) rest.insert(name);
  }
  return rest;
}

class Disk : public testing::Test {
 protected:
  /// Has the operation begin where it always does.
  void Prepare(const Operation& operation) const {
    panel_.PutBack();
    if (operation.prepare) operation.prepare(panel_);
    panel_.MakeMainCfOld();
  }

  void LearnCourse(const Operation& operation) {
    Prepare(operation);
    before_ = panel_.Look();
    const CommandRun run = panel_.Run(operation.words, operation.input);
    ASSERT_EQ(run.status, 0) << run.errors;
    after_ = panel_.Look();
  }

  /// Runs the operation while these calls fail. Returns whether one of them has.
  bool Try(const Operation& operation, const std::string& calls, const std::string& path = "") {
    SCOPED_TRACE(AsText(operation.words) + " with " + calls + " " + path);
    Prepare(operation);
    cannot_remove_ = calls.starts_with("unlink:") && calls.ends_with(":always");
    const CommandRun run = RunWith(operation, calls, path);
    if (!has_failed_) return false;
    if (run.status == 0) {
      ExpectState(panel_.Look(), after_);
    } else {
      EXPECT_EQ(run.status, 1) << run.errors;
      ExpectReason(operation, run);
      IsOfParts(operation) ? ExpectParts(run) : ExpectOneOfTwo(run);
      Repeat(operation);
    }
    ExpectGood();
    return true;
  }

  const BusyPanel& panel() const noexcept { return panel_; }
  std::string Folder(const std::string& name = "") const { return panel_.panel().Path(name); }

 private:
  CommandRun RunWith(const Operation& operation, const std::string& calls,
                     const std::string& path) {
    const FailingCalls failing(FAILING_CALLS_LIBRARY, calls, path.empty() ? Folder() : path);
    CommandRun run = panel_.Run(operation.words, operation.input);
    has_failed_ = failing.HaveFailed();
    return run;
  }

  /// A check may tell of it as of anything else that it finds.
  static void ExpectReason(const Operation& operation, const CommandRun& run) {
    if (operation.words.front() == "check" && run.errors.empty()) {
      EXPECT_THAT(run.output, testing::ContainsRegex(
                                  "No space left on device|Input/output error|readonly database"));
    } else {
      EXPECT_THAT(run.errors, testing::StartsWith("zebmail: "));
    }
  }

  /// The files are looked at before anything else can set them right.
  void ExpectOneOfTwo(const CommandRun& run) {
    const Files files = panel_.ReadFiles();
    const State found = panel_.Look();
    is_kept_ = found.database == after_.database;
    const State& meant = is_kept_ ? after_ : before_;
    EXPECT_EQ(found.database, meant.database) << run.errors;
    const bool says_kept = run.errors.find("hold the change\n") != std::string::npos;
    const bool says_owed = run.errors.find("puts the old files back\n") != std::string::npos ||
                           run.errors.find("puts the old table files back") != std::string::npos;
    EXPECT_EQ(says_kept, is_kept_) << run.errors;
    if (is_kept_) return;
    if (!says_owed) {
      EXPECT_EQ(files, before_.files) << run.errors;
    }
    EXPECT_EQ(found.files, before_.files) << run.errors;
    if (!cannot_remove_) {
      EXPECT_EQ(WithoutNotes(found.names), WithoutNotes(before_.names)) << run.errors;
      EXPECT_TRUE(says_owed || !found.names.contains("panel/state/steps")) << run.errors;
    }
  }

  /// What these do beside a change of the panel they do step by step.
  static bool IsOfParts(const Operation& operation) {
    return operation.words.front() == "check" || operation.words.front() == "postfix-config";
  }

  void ExpectParts(const CommandRun& run) const {
    const State found = panel_.Look();
    EXPECT_TRUE(found.database == before_.database || found.database == after_.database);
    for (const auto& [name, text] : found.files) {
      if (name.find("main.cf.zebmail-") != std::string::npos) continue;
      EXPECT_TRUE(text == TextOr(before_.files, name) || text == TextOr(after_.files, name))
          << name << "\n"
          << text << run.errors;
    }
    const auto main_cf = found.files.find("config/main.cf");
    const std::string rule = "panel/mail/client-address.regexp";
    ASSERT_NE(main_cf, found.files.end());
    EXPECT_TRUE(main_cf->second.find(rule) == std::string::npos || found.files.contains(rule))
        << "Postfix takes no mail";
  }

  /// What was kept needs no more than what is outstanding.
  void Repeat(const Operation& operation) {
    panel_.MakeMainCfOld();
    const CommandRun run =
        is_kept_ ? panel_.Run({"check", "--fix"}) : panel_.Run(operation.words, operation.input);
    EXPECT_EQ(run.status, 0) << run.output << run.errors;
    ExpectState(panel_.Look(), after_);
  }

  void ExpectState(State found, State meant) const {
    for (State* const state : {&found, &meant}) {
      LeaveOutCopies(*state, TextOr(before_.files, "config/main.cf"));
    }
    EXPECT_EQ(found.files, meant.files);
    EXPECT_EQ(found.database, meant.database);
    EXPECT_EQ(WithoutNotes(found.names), WithoutNotes(meant.names));
  }

  void ExpectGood() const {
    panel_.MakeMainCfOld();
    EXPECT_EQ(panel_.FaultOfMaps(), "");
  }

  BusyPanel panel_;
  State before_;
  State after_;
  bool has_failed_ = false;
  bool is_kept_ = false;
  bool cannot_remove_ =
      false;  ///< what lies beside a table stays then, until the next change of it
};

/// The one that begins with this word.
const Operation& OperationOf(const std::string& word) {
  static const std::vector<Operation> operations = AllOperations();
  for (const Operation& operation : operations) {
    if (operation.words.front() == word) return operation;
  }
  throw std::logic_error("there is no " + word);
}

/// Has each of these calls of an operation fail, the first, the second and so on.
class DiskOf : public Disk, public testing::WithParamInterface<const char*> {
 protected:
  DiskOf() { LearnCourse(operation_); }
  ~DiskOf() override { std::cout << failed_ << " calls have failed\n"; }

  /// `given` are calls that fail besides, as a file system has it that does not know them.
  void TryEach(const std::vector<Fault>& faults, bool is_lasting, int step,
               const std::string& given = "") {
    for (const Fault& fault : faults) {
      int number = 1;
      for (; TryNumber(number, fault, is_lasting, given); number += step) ++failed_;
      EXPECT_TRUE(number > 1 || !IsImport()) << fault.call;
      if (HasFailure()) break;
    }
  }

  static int Step() { return ChosenSettings(IsImport() ? kStep : kWideStep).count; }

  /// Among all other tests one half of the faults of the other operations lasts, and one does not.
  static std::vector<Fault> Chosen(const std::vector<Fault>& faults, bool is_lasting) {
    if (IsImport() || Step() == 1) return faults;
    std::vector<Fault> half;
    for (std::size_t index = is_lasting ? 1 : 0; index < faults.size(); index += 2) {
      half.push_back(faults[index]);
    }
    return half;
  }

 private:
  static bool IsImport() { return GetParam() == std::string("import"); }

  const Operation& operation_ = OperationOf(GetParam());
  int failed_ = 0;

  bool TryNumber(int number, const Fault& fault, bool is_lasting, const std::string& given) {
    return Try(operation_, given + Spec(fault.call, number, fault.error, is_lasting));
  }
};

INSTANTIATE_TEST_SUITE_P(Operation, DiskOf,
                         testing::Values("import", "sync", "check", "postfix-config"));

TEST_P(DiskOf, FailsOnce) {
  TryEach(Chosen(kFaults, false), false, Step());
}

TEST_P(DiskOf, FailsForGood) {
  TryEach(Chosen(kFaults, true), true, Step());
}

/// These are few calls, so that a smaller step does.
TEST_P(DiskOf, HasFilesChangePlacesByStepsAndFails) {
  for (const bool is_lasting : {false, true}) {
    TryEach(Chosen({{"link", EIO}, {"rename", EIO}}, is_lasting), is_lasting, 1 + Step() / 4,
            "renameat2:1:22:given,");
  }
}

/// As on vfat. Old and new could not be told apart any more when a change is taken back.
TEST_F(Disk, ThatKnowsNeitherExchangesNorLinksIsNamed) {
  const Words words = {"domain", "create", "new.example"};
  const State before = panel().Look();
  for (const int error : {EPERM, EINVAL, EOPNOTSUPP}) {
    const std::string number = std::to_string(error);
    const CommandRun run = [&] {
      const FailingCalls failing(FAILING_CALLS_LIBRARY,
                                 "renameat2:1:22:given,link:1:" + number + ":given",
                                 Folder("panel/mail"));
      return panel().Run(words);
    }();

    EXPECT_EQ(run.status, 1);
    EXPECT_THAT(run.errors, testing::StartsWith("zebmail: file: " + Folder("panel/mail/")));
    EXPECT_THAT(run.errors,
                HasSubstr(": cannot be replaced: the file system of " + Folder("panel/mail") +
                          " has neither an exchange of two files (renameat2) nor hard links: " +
                          std::strerror(error) + "; "));
    const State found = panel().Look();
    EXPECT_EQ(found.files, before.files);
    EXPECT_EQ(found.database, before.database);
    EXPECT_EQ(WithoutNotes(found.names), WithoutNotes(before.names));
  }
  EXPECT_EQ(panel().Run(words).status, 0);
}

/// The fourth is that of the folder, when main.cf is in its place and names the other files.
TEST_F(Disk, ThatFailsBehindTheReplacementOfMainCfHasTheSettingsMade) {
  const Operation& operation = OperationOf("postfix-config");
  operation.prepare(panel());
  panel().MakeMainCfOld();
  const CommandRun run = [&] {
    const FailingCalls failing(FAILING_CALLS_LIBRARY, "fsync:4:5:once", Folder("config"));
    return panel().Run(operation.words);
  }();

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zebmail: file: " + Folder("config") +
                            ": cannot be synchronised: Input/output error\n"
                            "the settings are made, and Postfix goes by them\n");
  panel().MakeMainCfOld();
  EXPECT_TRUE(std::filesystem::exists(Folder("panel/mail/client-address.regexp")));
  EXPECT_TRUE(std::filesystem::exists(Folder("config/main.cf.zebmail-1")));
  EXPECT_EQ(panel().panel().Do({"check"}), "nothing is wrong\n");
}

class SqliteOnDisk : public Disk {};

/// SQLite has written the change into its log when the disk fails, and cannot take the log away: it
/// finds the change there again.
TEST_F(SqliteOnDisk, ThatFailsBehindACommitHasTheChangeKept) {
  const std::string database = Folder("panel/panel.db");
  const auto run = [this, &database](const std::string& calls, const std::string& domain) {
    const FailingCalls failing(FAILING_CALLS_LIBRARY, calls, database);
    return panel().Run({"domain", "create", domain});
  };
  // The log stays behind this one, with a change in it that counts.
  ASSERT_EQ(run("fdatasync:4:5:always", "first.example").status, 0);
  ASSERT_TRUE(std::filesystem::exists(database + "-wal"));

  const CommandRun failed = run("fdatasync:1:5:always", "second.example");

  EXPECT_EQ(failed.status, 1);
  EXPECT_EQ(failed.errors,
            "zebmail: database: COMMIT: disk I/O error\n"
            "the database and the table files hold the change\n");
  EXPECT_THAT(panel().panel().Table("local-host-names"), HasSubstr("second.example\n"));
  EXPECT_THAT(panel().panel().Do({"domain", "list"}), HasSubstr("second.example "));
  EXPECT_EQ(panel().panel().Do({"check"}), "nothing is wrong\n");
}

}  // namespace
}  // namespace reliability
