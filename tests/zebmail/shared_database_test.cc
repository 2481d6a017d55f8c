/// NAME
///   shared_database_test - panels of several machines on one PostgreSQL database
///
/// PURPOSE
///   Each panel here has a state_dir and tables of its own, as on a machine of its own; what they
///   share is the database.

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <ostream>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "panel/db/connection.h"
#include "tests/support/lines.h"
#include "tests/support/postgresql_server.h"
#include "tests/zebmail/next_step.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using test_support::PostgresqlServer;
using test_support::SortedLines;
using testing::HasSubstr;

constexpr int kProcesses = 8;

/// Runs `work` with the numbers from 0 up, all at once.
std::vector<CommandRun> AtOnce(const std::function<CommandRun(int number)>& work) {
  std::vector<std::future<CommandRun>> futures;
  for (int number = 0; number < kProcesses; ++number) {
    futures.push_back(std::async(std::launch::async, work, number));
  }
  std::vector<CommandRun> runs;
  for (auto& future : futures) runs.push_back(future.get());
  return runs;
}

class PostgresqlShared : public testing::Test {
 protected:
  const OwnPanel& PanelOf(int number) const { return number % 2 == 0 ? one_ : other_; }

  PostgresqlServer server_;
  const std::string url_ = server_.MakeDatabase();
  const OwnPanel one_{url_};
  const OwnPanel other_{url_};
};

TEST_F(PostgresqlShared, IsSetUpOnceByManyFirstStarts) {
  for (const CommandRun& run : AtOnce([this](int number) {
         return PanelOf(number).Run({"domain", "list"});
       })) {
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.errors, "");
  }
  EXPECT_EQ(PostgresqlServer::Ask(url_, "SELECT count(*) FROM schema_version"), "1");
}

TEST_F(PostgresqlShared, LosesNoChangeOfManyProcesses) {
  const auto name = [](int number) { return "d" + std::to_string(number) + ".example"; };
  for (const CommandRun& run : AtOnce([&](int number) {
         CommandRun last{0, "", ""};
         for (int round = 0; round < 3 && last.status == 0; ++round) {
           last = PanelOf(number).Run({"domain", "create", name(number + kProcesses * round)});
         }
         return last;
       })) {
    EXPECT_EQ(run.status, 0) << run.errors;
    EXPECT_EQ(run.errors, "");
  }

  std::vector<std::string> of_one;
  std::vector<std::string> of_other;
  for (int number = 0; number < 3 * kProcesses; ++number) {
    (number % 2 == 0 ? of_one : of_other).push_back(name(number));
  }
  std::sort(of_one.begin(), of_one.end());
  std::sort(of_other.begin(), of_other.end());
  EXPECT_EQ(SortedLines(one_.Table("local-host-names")), of_one);
  EXPECT_EQ(SortedLines(other_.Table("local-host-names")), of_other);
  EXPECT_EQ(PostgresqlServer::Ask(url_, "SELECT count(DISTINCT name) FROM email_domain"),
            std::to_string(3 * kProcesses));
}

/// Of changes of the same thing by two panels one is made and the other refused, and the tables of
/// the refused one do not have it.
TEST_F(PostgresqlShared, MakesAThingForOneOfThemOnly) {
  int made = 0;
  for (const CommandRun& run : AtOnce([this](int number) {
         return PanelOf(number).Run({"domain", "create", "same.example"});
       })) {
    if (run.status == 0) {
      ++made;
    } else {
      EXPECT_EQ(WithoutNextStep(run.errors), "zebmail: exists: domain: same.example\n");
    }
  }
  EXPECT_EQ(made, 1);
  const std::string tables = one_.Table("virtusertable") + other_.Table("virtusertable");
  EXPECT_EQ(tables, "@same.example\tpostfix_err_nouser\n");
}

TEST_F(PostgresqlShared, KeepsSchemasApart) {
  panel::db::Connection connection(url_);
  for (const char* name : {"mx1", "mx2"}) connection.Query(std::string("CREATE SCHEMA ") + name);
  const OwnPanel mx1(url_ + "&options=-csearch_path%3Dmx1");
  const OwnPanel mx2(url_ + "&options=-csearch_path%3Dmx2");

  mx1.Do({"domain", "create", "same.example"});
  mx2.Do({"domain", "create", "same.example", "--default-action", "ignore"});

  EXPECT_THAT(mx1.Do({"domain", "list"}), HasSubstr("same.example  active  error "));
  EXPECT_THAT(mx2.Do({"domain", "list"}), HasSubstr("same.example  active  ignore "));
  EXPECT_EQ(mx1.Do({"check"}), "nothing is wrong\n");
  EXPECT_EQ(one_.Do({"export"}), "");
}

/// Such a thing is not in the tables of the other panel.
TEST_F(PostgresqlShared, LetsNoneChangeWhatOnlyTheOtherHasInItsTables) {
  one_.Do({"domain", "create", "a.example"});
  const std::string rows = one_.Do({"export"});

  const CommandRun run = other_.Run({"domain", "suspend", "a.example"});

  EXPECT_EQ(WithoutNextStep(run.errors),
            "zebmail: missing: " + other_.Path("panel/mail/virtusertable") + ": a.example\n");
  EXPECT_EQ(one_.Do({"export"}), rows);
  EXPECT_THAT(other_.Run({"check"}).output, HasSubstr("domains are not the same in the tables"));
  EXPECT_EQ(one_.Do({"check"}), "nothing is wrong\n");
}

/// A postmap that has begun, and goes on until it is let.
class HeldTool {
 public:
  explicit HeldTool(const OwnPanel& panel) : panel_(panel) {
    for (const std::string& pipe : {Begun(), LetGo()}) {
      if (mkfifo(pipe.c_str(), 0600) != 0) throw std::runtime_error("mkfifo " + pipe);
    }
    const std::string script = panel.folder().WriteText(
        "held", "#!/bin/sh\necho > '" + Begun() + "'\nread line < '" + LetGo() + "'\n");
    test_support::SetMode(script, 0755);
    panel.Configure("postfix-postmap", script);
  }

  /// Runs the command, and `meanwhile` while its first tool is held.
  CommandRun Hold(const std::vector<std::string>& words, const std::string& input,
                  const std::function<void()>& meanwhile) const {
    auto run = std::async(std::launch::async, [&] { return panel_.Run(words, input); });
    test_support::ReadText(Begun());  // waits for it
    meanwhile();
    EXPECT_EQ(run.wait_for(std::chrono::seconds(0)), std::future_status::timeout);
    test_support::SetMode(panel_.folder().WriteText("held", "#!/bin/sh\n"), 0755);
    test_support::WriteText(LetGo(), "\n");
    return run.get();
  }

 private:
  std::string Begun() const { return panel_.Path("begun"); }
  std::string LetGo() const { return panel_.Path("let-go"); }

  const OwnPanel& panel_;
};

/// What runs a tool, and what must be there before.
struct Working {
  const char* name;
  std::function<void(const OwnPanel& panel)> prepare;
  std::vector<std::string> words;
  std::string input;
};

void PrintTo(const Working& working, std::ostream* stream) {
  *stream << working.name;
}

void DoNothing(const OwnPanel& /*panel*/) {}

/// A tool has failed, and is outstanding.
void FailATool(const OwnPanel& panel) {
  panel.Configure("postfix-postmap", "/bin/false");
  panel.Run({"domain", "create", "failed.example"});
}

class PostgresqlSharedWhileATool : public PostgresqlShared,
                                   public testing::WithParamInterface<Working> {};

TEST_P(PostgresqlSharedWhileATool, OfOnePanelWorksLetsTheOtherChange) {
  one_.Do({"domain", "create", "first.example"});
  GetParam().prepare(one_);
  const HeldTool tool(one_);

  const CommandRun run = tool.Hold(GetParam().words, GetParam().input, [this] {
    EXPECT_EQ(other_.Do({"domain", "create", "other.example"}), "other.example: created\n");
    EXPECT_THAT(other_.Do({"domain", "list"}), HasSubstr("other.example"));
  });

  EXPECT_EQ(run.errors.find("database"), std::string::npos) << run.errors;
  EXPECT_EQ(other_.Table("virtusertable"), "@other.example\tpostfix_err_nouser\n");
}

INSTANTIATE_TEST_SUITE_P(
    Tool, PostgresqlSharedWhileATool,
    testing::Values(
        Working{"change", &DoNothing, {"domain", "create", "a.example"}, ""},
        Working{"import",
                &DoNothing,
                {"import", "-"},
                "{\"type\":\"domain\",\"name\":\"a.example\"}\n"},
        Working{"outstanding", &FailATool, {"check", "--fix"}, ""},
        Working{"outstanding_before_a_change", &FailATool, {"domain", "create", "a.example"}, ""}),
    [](const auto& parameter) { return parameter.param.name; });

}  // namespace
}  // namespace zebmail_test
