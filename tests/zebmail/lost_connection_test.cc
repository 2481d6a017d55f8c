/// NAME
///   lost_connection_test - commands whose database server goes away under them

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "panel/db/connection.h"
#include "tests/support/postgresql_server.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using test_support::PostgresqlServer;
using testing::MatchesRegex;

const std::string kImport =
    "{\"type\":\"domain\",\"name\":\"a.example\"}\n"
    "{\"type\":\"mailbox\",\"address\":\"info@a.example\"}\n";

/// A command, and the table at whose next change the server ends its connection.
struct Moment {
  const char* name;
  std::vector<std::string> words;
  std::string input;
  std::string table;
};

void PrintTo(const Moment& moment, std::ostream* stream) {
  *stream << moment.name;
}

class PostgresqlLostBy : public testing::TestWithParam<Moment> {
 protected:
  PostgresqlLostBy() {
    panel_.Do({"webdomain", "add", "hand.example", "--owner", "1"});
    panel_.Do({"domain", "create", "first.example"});
    panel_.SetTable("virtusertable", panel_.Table("virtusertable") +
                                         "@hand.example\tpostfix_err_nouser\n"
                                         "info@hand.example\tinfo@hand.example\n");
    connection_.Query(
        "CREATE FUNCTION lose() RETURNS trigger LANGUAGE plpgsql AS 'BEGIN PERFORM"
        " pg_terminate_backend(pg_backend_pid()); RETURN NULL; END'");
  }

  /// Has the connection end at the next change of the table, or at the COMMIT behind it.
  void LoseAt(const std::string& table, bool at_commit) {
    connection_.Query(at_commit
                          ? "CREATE CONSTRAINT TRIGGER lose AFTER INSERT OR UPDATE ON " + table +
                                " DEFERRABLE INITIALLY DEFERRED FOR EACH ROW"
                                " EXECUTE FUNCTION lose()"
                          : "CREATE TRIGGER lose AFTER INSERT OR UPDATE ON " + table +
                                " FOR EACH ROW EXECUTE FUNCTION lose()");
  }

  void ExpectFailureAndRepeat(bool at_commit) {
    const std::string before = panel_.Do({"export"}) + panel_.Tables() + panel_.MailboxTables();
    LoseAt(GetParam().table, at_commit);

    const CommandRun run = panel_.Run(GetParam().words, GetParam().input);

    EXPECT_EQ(run.status, 1) << run.output;
    EXPECT_THAT(run.errors,
                MatchesRegex("zebmail: database: postgresql:///panel1.host=[^&]*&user=panel&"
                             "password=\\*\\*\\*: the connection was lost" +
                             std::string(at_commit ? " while the change was being stored" : "") +
                             ": server closed the connection unexpectedly; see to it that the "
                             "server runs and can be reached\n"));
    EXPECT_EQ(panel_.Do({"export"}) + panel_.Tables() + panel_.MailboxTables(), before);
    connection_.Query("DROP TRIGGER lose ON " + GetParam().table);
    EXPECT_EQ(panel_.Run(GetParam().words, GetParam().input).errors, "");
    panel_.Do({"sync"});
    panel_.Do({"check", "--fix"});  // the map of the table that was edited by hand
    EXPECT_EQ(panel_.Do({"check"}), "nothing is wrong\n");
  }

  PostgresqlServer server_;
  const std::string url_ = server_.MakeDatabase() + "&password=hidden";
  const OwnPanel panel_{url_};
  panel::db::Connection connection_{url_};
};

TEST_P(PostgresqlLostBy, WithinItsChangeLeavesEverythingAsItWas) {
  ExpectFailureAndRepeat(false);
}

TEST_P(PostgresqlLostBy, AtItsCommitLeavesEverythingAsItWas) {
  ExpectFailureAndRepeat(true);
}

INSTANTIATE_TEST_SUITE_P(
    Command, PostgresqlLostBy,
    testing::Values(Moment{"change", {"domain", "create", "a.example"}, "", "email_domain"},
                    Moment{"import", {"import", "-"}, kImport, "email"},
                    Moment{"sync", {"sync"}, "", "email"},
                    Moment{"row", {"webdomain", "add", "b.example", "--owner", "1"}, "", "domain"}),
    [](const auto& parameter) { return parameter.param.name; });

TEST(PostgresqlGone, IsOneErrorForEachCommandUntilItIsBack) {
  PostgresqlServer server;
  const OwnPanel panel(server.MakeDatabase() + "&password=hidden");
  panel.Do({"domain", "create", "first.example"});
  server.Stop();

  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{"domain", "list"},
                                             {"domain", "create", "a.example"},
                                             {"sync"},
                                             {"check"},
                                             {"check", "--fix"},
                                             {"trace", "info@first.example"},
                                             {"export"}}) {
    const CommandRun run = panel.Run(words);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors,
                MatchesRegex("zebmail: database: postgresql:///panel1.host=[^&]*&user=panel&"
                             "password=\\*\\*\\*: connection to server on socket .* failed: "
                             "No such file or directory; Is the server running locally and "
                             "accepting connections on that socket.\n"));
  }

  server.Start();
  EXPECT_EQ(panel.Do({"domain", "create", "a.example"}), "a.example: created\n");
}

}  // namespace
}  // namespace zebmail_test
