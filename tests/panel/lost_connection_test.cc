/// NAME
///   lost_connection_test - a panel whose database server goes, and comes back

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "panel/db/connection.h"
#include "panel/mail/mail_module.h"
#include "panel/mail/panel.h"
#include "tests/support/postgresql_server.h"
#include "tests/support/test_panel.h"

namespace panel_test {
namespace {

using panel::mail::MailModule;
using panel::mail::Panel;
using panel::mail::PartlyDone;
using testing::MatchesRegex;

const std::string kAdvice = "; see to it that the server runs and can be reached";

/// A panel on a server of its own, opened once for all that is done to it.
class PostgresqlLost : public testing::Test {
 protected:
  PostgresqlLost() : url_(server_.MakeDatabase()) {
    panel_.SetDatabase(url_);
    opened_.emplace(panel_.config());
    Create("first.example");
  }

  void Create(const std::string& domain) {
    opened_->Change([&domain] { MailModule().CreateDomain(domain, {}); });
  }

  /// How the change fails, and what it says of what is outstanding.
  std::string FailureOf(const std::function<void()>& work) {
    try {
      opened_->Change(work);
    } catch (const PartlyDone& error) {
      return std::string(error.what()) + "\n" + error.outstanding();
    } catch (const fen_err::Error& error) {
      return error.what();
    }
    return "no failure";
  }

  void EndConnections() { EXPECT_GE(server_.EndConnections(url_), 1); }

  /// The panel, the same object as before, works again, and has these domains.
  template <class... Names>
  void ExpectWorksWith(const Names&... names) {
    Create("next.example");
    EXPECT_EQ(panel_.Text("local-host-names"),
              (std::string() + ... + (std::string(names) + "\n")) + "next.example\n");
    std::vector<std::string> shown;
    for (const auto& domain : MailModule().ListDomains()) shown.push_back(domain.name);
    EXPECT_THAT(shown, testing::UnorderedElementsAre(names..., "next.example"));
    EXPECT_FALSE(std::filesystem::exists(panel_.state_dir() / "saving"));
  }

  std::string Lost(const std::string& why) const {
    return "database: " + url_ + ": the connection was lost: " + why + kAdvice;
  }

  test_support::PostgresqlServer server_;
  std::string url_;
  test_support::TestPanel panel_;
  std::optional<Panel> opened_;
};

const std::string kEnded = "server closed the connection unexpectedly";

TEST_F(PostgresqlLost, BetweenTwoChangesIsNotNoticed) {
  EndConnections();
  ExpectWorksWith("first.example");
}

TEST_F(PostgresqlLost, BetweenAChangeAndALookIsNotNoticed) {
  EndConnections();
  EXPECT_EQ(MailModule().ListDomains().size(), 1U);
}

TEST_F(PostgresqlLost, WithinAChangeFailsItAsAWhole) {
  EXPECT_EQ(FailureOf([this] {
              MailModule().CreateDomain("a.example", {});
              EndConnections();
              MailModule().CreateDomain("b.example", {});
            }),
            Lost(kEnded));
  ExpectWorksWith("first.example");
}

/// In its place stands one whose texts the panel cannot read, so that the session cannot be set up.
TEST_F(PostgresqlLost, IsMadeAnewOnceItCanBeSetUp) {
  const auto rename = [&](const std::string& from, const std::string& to) {
    server_.EndConnections(server_.Url(from));
    panel::db::Connection(server_.Url("postgres"))
        .Query("ALTER DATABASE " + from + " RENAME TO " + to);
  };
  rename("panel1", "kept");
  panel::db::Connection(server_.Url("postgres"))
      .Query("CREATE DATABASE panel1 ENCODING 'MULE_INTERNAL' TEMPLATE template0");
  for (int time = 0; time < 2; ++time) {
    EXPECT_THAT(FailureOf([] { MailModule().CreateDomain("a.example", {}); }),
                MatchesRegex("database: .*: .*MULE_INTERNAL.*"));
  }
  rename("panel1", "other");
  rename("kept", "panel1");
  ExpectWorksWith("first.example");
}

/// The tables are in place then, and come back.
TEST_F(PostgresqlLost, BetweenTheTablesAndTheDatabaseFailsTheChangeAsAWhole) {
  EXPECT_EQ(FailureOf([this] {
              MailModule().CreateDomain("a.example", {});
              EndConnections();
            }),
            Lost(kEnded));
  EXPECT_EQ(panel_.Text("local-host-names"), "first.example\n");
  ExpectWorksWith("first.example");
}

TEST_F(PostgresqlLost, AtTheCommitFailsTheChangeAsAWhole) {
  panel::db::Connection connection(url_);
  connection.Query(
      "CREATE FUNCTION lose() RETURNS trigger LANGUAGE plpgsql AS 'BEGIN PERFORM"
      " pg_terminate_backend(pg_backend_pid()); RETURN NULL; END'");
  connection.Query(
      "CREATE CONSTRAINT TRIGGER lose AFTER INSERT ON email_domain DEFERRABLE INITIALLY DEFERRED"
      " FOR EACH ROW EXECUTE FUNCTION lose()");
  EXPECT_EQ(FailureOf([] { MailModule().CreateDomain("a.example", {}); }),
            "database: " + url_ +
                ": the connection was lost while the change was being stored: " + kEnded + kAdvice);
  EXPECT_EQ(panel_.Text("local-host-names"), "first.example\n");
  connection.Query("DROP TRIGGER lose ON email_domain");
  ExpectWorksWith("first.example");
}

/// The server has stored the change, but its answer is lost.
TEST_F(PostgresqlLost, BehindTheCommitKeepsTheChange) {
  server_.HoldCommits(url_);
  EndConnections();
  std::thread ending([this] {
    server_.WaitForHeldCommit();
    server_.ReleaseCommits(url_);
    EndConnections();
  });
  const std::string failure = FailureOf([] { MailModule().CreateDomain("a.example", {}); });
  ending.join();
  EXPECT_THAT(failure,
              MatchesRegex("database: .*: the connection was lost while the change was "
                           "being stored: .*" +
                           kAdvice + "\nthe database and the table files hold the change\n"));
  ExpectWorksWith("first.example", "a.example");
}

TEST_F(PostgresqlLost, WithTheServerFailsUntilItIsBack) {
  server_.Stop();
  for (int time = 0; time < 2; ++time) {
    EXPECT_THAT(FailureOf([] { MailModule().CreateDomain("a.example", {}); }),
                MatchesRegex("database: postgresql:///panel1.host=.*&user=panel: connection to "
                             "server on socket .* failed: No such file or directory; Is the "
                             "server running locally .*"));
  }
  EXPECT_EQ(panel_.Text("local-host-names"), "first.example\n");
  server_.Start();
  ExpectWorksWith("first.example");
}

/// Whether the change was stored cannot be asked while the server is away.
TEST_F(PostgresqlLost, WithTheServerBetweenTheTablesAndTheDatabaseIsSettledWhenItIsBack) {
  EXPECT_EQ(FailureOf([this] {
              MailModule().CreateDomain("a.example", {});
              server_.Stop();
            }),
            Lost(kEnded) +
                "\nwhether the database holds the change is not known yet; the next operation "
                "finds out, and puts the old table files back if it does not\n");
  EXPECT_NE(FailureOf([] { MailModule().CreateDomain("b.example", {}); }), "no failure");
  server_.Start();
  ExpectWorksWith("first.example");
}

TEST_F(PostgresqlLost, WithTheServerBetweenTheTablesAndTheDatabaseIsSettledByARehearsalToo) {
  FailureOf([this] {
    MailModule().CreateDomain("a.example", {});
    server_.Stop();
  });
  const auto rehearse = [this] {
    return opened_->Rehearse([] { MailModule().CreateDomain("b.example", {}); });
  };
  EXPECT_THROW(rehearse(), fen_err::Error);
  server_.Start();

  const panel::mail::Rehearsal rehearsal = rehearse();

  EXPECT_EQ(rehearsal.files.back().before, "first.example\n");
  EXPECT_EQ(rehearsal.files.back().after, "first.example\nb.example\n");
  ExpectWorksWith("first.example");
}

/// A server that has not noticed yet that its client is gone may still store the change.
TEST_F(PostgresqlLost, ClientsTransactionIsWaitedForBeforeItsChangeIsAskedFor) {
  opened_.reset();
  panel::db::Connection other(url_);
  panel::db::Journal journal;
  other.Begin(journal);
  other.Query("UPDATE last_change SET name = 'the change'");
  std::thread storing([&other] {
    std::this_thread::sleep_for(std::chrono::milliseconds(500));
    other.Commit();
  });

  EXPECT_TRUE(panel::db::Database(url_).HasChange("the change"));

  storing.join();
}

}  // namespace
}  // namespace panel_test
