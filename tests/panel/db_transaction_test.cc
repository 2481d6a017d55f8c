/// NAME
///   db_transaction_test - all of an operation, or nothing, and what it has changed

#include <chrono>
#include <optional>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "panel/db/connection.h"
#include "tests/panel/db_fixture.h"
#include "tests/support/postgresql_server.h"

namespace {

using db_test::ErrorOf;
using db_test::RowsOf;
using db_test::TextOf;
using panel::db::Connection;
using panel::db::Journal;
using panel::db::Transaction;

class DatabaseTransaction : public db_test::OnEachDatabase {
 protected:
  /// What another process sees.
  std::string DomainsElsewhere() const {
    Connection other(url());
    std::string names;
    for (auto rows = other.Query("SELECT name FROM email_domain ORDER BY id"); !rows.Eof();
         rows.Next()) {
      names += std::string(rows.Cell(0)) + "\n";
    }
    return names;
  }
};

INSTANTIATE_TEST_SUITE_P(On, DatabaseTransaction, db_test::EachDatabase(), db_test::NameOfKind);

TEST_P(DatabaseTransaction, StoresItsChangesWithCommit) {
  {
    Transaction transaction(database());
    AddDomain("example.org");
    EXPECT_EQ(DomainsElsewhere(), "");
    transaction.Commit();
  }
  EXPECT_EQ(DomainsElsewhere(), "example.org\n");
}

TEST_P(DatabaseTransaction, StoresNothingWithoutCommit) {
  {
    const Transaction transaction(database());
    AddDomain("example.org");
    EXPECT_EQ(RowsOf("SELECT name FROM email_domain"), "example.org\n");
  }
  EXPECT_EQ(RowsOf("SELECT name FROM email_domain"), "");
  EXPECT_EQ(DomainsElsewhere(), "");
}

TEST_P(DatabaseTransaction, IsFollowedByAnother) {
  for (const std::string name : {"a.example", "b.example"}) {
    Transaction transaction(database());
    AddDomain(name);
    transaction.Commit();
  }
  { const Transaction forgotten(database()); }
  EXPECT_EQ(DomainsElsewhere(), "a.example\nb.example\n");
}

TEST_P(DatabaseTransaction, RefusesAnotherInside) {
  const Transaction transaction(database());
  EXPECT_EQ(ErrorOf([&] { const Transaction inner(database()); }),
            "database: " + url() + ": there is a transaction in progress already");
}

TEST_P(DatabaseTransaction, WaitsForOneOfAnotherProcess) {
  using std::chrono::milliseconds;
  const Transaction transaction(database());
  Connection other(url(), milliseconds(10));
  Journal journal;
  const std::string message = ErrorOf([&] { other.Begin(journal); });
  EXPECT_NE(message.find("; another program has been changing " + url() + " for more than"),
            std::string::npos)
      << message;
  EXPECT_EQ(other.journal(), nullptr);
}

TEST_P(DatabaseTransaction, LetsOthersReadMeanwhile) {
  AddDomain("example.org");
  const Transaction transaction(database());
  AddDomain("example.net");
  EXPECT_EQ(DomainsElsewhere(), "example.org\n");
}

TEST_P(DatabaseTransaction, ListsEachChangeInOrder) {
  const Transaction transaction(database());
  const std::int64_t domain = AddDomain("example.org");
  const std::int64_t mailbox = AddMailbox(domain, "info");
  const auto row = cache().Get<zeb_db::EmailDomainTable>(std::to_string(domain));
  row->active = false;
  row->redirect = "a b";
  row->Post();
  row->redirect = "";
  row->Post();
  cache().Get<zeb_db::EmailTable>(std::to_string(mailbox))->Delete();
  const std::string key = std::to_string(domain);
  EXPECT_EQ(TextOf(transaction.changes()),
            "email_domain insert name=example.org active=true defaction=error\n"
            "email insert name=info domain=" +
                key +
                " active=true dropmail=false\n"
                "email_domain update id=" +
                key +
                " name=example.org active=true -> false redirect=\"\" -> \"a b\"\n"
                "email_domain update id=" +
                key +
                " name=example.org redirect=\"a b\" -> \"\"\n"
                "email delete id=" +
                std::to_string(mailbox) + " name=info domain=" + key +
                " active=true dropmail=false\n");
}

TEST_P(DatabaseTransaction, ListsARenamedRowByItsKey) {
  const std::int64_t mailbox = AddMailbox(AddDomain("example.org"), "info");
  const Transaction transaction(database());
  const auto row = cache().Get<zeb_db::EmailTable>(std::to_string(mailbox));
  row->name = "office";
  row->Post();
  EXPECT_EQ(TextOf(transaction.changes()),
            "email update id=" + std::to_string(mailbox) + " name=info -> office\n");
}

TEST_P(DatabaseTransaction, ListsAValueInOneLine) {
  const Transaction transaction(database());
  const auto entry = cache().Get<zeb_db::EmailBlacklist>();
  entry->New();
  entry->name = "a\n\x1b[1mb \"c\"";
  entry->Post();
  EXPECT_EQ(TextOf(transaction.changes()), "email_blacklist insert name=\"a\\n\\x1b[1mb \"c\"\"\n");
}

TEST_P(DatabaseTransaction, ListsNoChangeForARowPostedUnchanged) {
  AddDomain("example.org");
  const Transaction transaction(database());
  const auto row = cache().Get<zeb_db::EmailDomainTable>();
  ASSERT_TRUE(row->name.Lookup("example.org"));
  row->active = true;
  row->Post();
  EXPECT_EQ(TextOf(transaction.changes()), "");
}

TEST_P(DatabaseTransaction, ListsNoMarkOfAPass) {
  AddDomain("example.org");
  const Transaction transaction(database());
  const auto row = cache().Get<zeb_db::EmailDomainTable>();
  ASSERT_TRUE(row->name.Lookup("example.org"));
  row->tag = 77;
  row->Post();
  EXPECT_EQ(TextOf(transaction.changes()), "");
  EXPECT_EQ(RowsOf("SELECT tag FROM email_domain"), "77\n");
}

TEST_P(DatabaseTransaction, ListsEachRowOfADeletionAndWhatGoesWithIt) {
  const std::int64_t kept = AddDomain("kept.example");
  const std::int64_t gone = AddDomain("gone.example");
  AddMailbox(kept, "info");
  const std::int64_t mailbox = AddMailbox(gone, "info");
  AddAlias(mailbox, "office");
  const Transaction transaction(database());
  cache().Get<zeb_db::EmailDomainTable>()->DbDelete("name = 'gone.example' OR id = 0");
  const std::string key = std::to_string(gone);
  EXPECT_EQ(TextOf(transaction.changes()),
            "email_alias delete id=1 name=office email=" + std::to_string(mailbox) +
                "\n"
                "email delete id=" +
                std::to_string(mailbox) + " name=info domain=" + key +
                " active=true dropmail=false\n"
                "email_domain delete id=" +
                key + " name=gone.example active=true defaction=error\n");
}

TEST_P(DatabaseTransaction, ListsAPlainStatementThatChangedRows) {
  const Transaction transaction(database());
  cache().Query("DELETE FROM email_whitelist");
  cache().Query("INSERT INTO email_whitelist (name) VALUES ('x')");
  cache().Query("SELECT name FROM email_whitelist");
  cache().Query("DELETE\nFROM email_whitelist");
  EXPECT_EQ(TextOf(transaction.changes()),
            " statement INSERT INTO email_whitelist (name) VALUES ('x')\n"
            " statement DELETE\\nFROM email_whitelist\n");
}

TEST_P(DatabaseTransaction, ListsNothingWhenNobodyWantsToSeeIt) {
  Transaction transaction(database(), Transaction::Changes::kUnlisted);
  AddMailbox(AddDomain("example.org"), "info");
  cache().Query("UPDATE email SET tag = 5");
  cache().Get<zeb_db::EmailTable>()->DbDelete("tag = 5");
  EXPECT_EQ(TextOf(transaction.changes()), "");
  transaction.Commit();
  EXPECT_EQ(DomainsElsewhere(), "example.org\n");
}

TEST_P(DatabaseTransaction, ListsOnlyWhatItChangedItself) {
  AddDomain("a.example");
  std::string first;
  {
    Transaction transaction(database());
    AddDomain("b.example");
    transaction.Commit();
    AddDomain("c.example");
    first = TextOf(transaction.changes());
  }
  EXPECT_EQ(first, "email_domain insert name=b.example active=true defaction=error\n");
}

TEST_P(DatabaseTransaction, IsSpoiledByAFailedStatement) {
  {
    Transaction transaction(database());
    AddDomain("example.org");
    const std::string failure = ErrorOf([&] { AddMailbox(99, "info"); });
    const std::string words = failure.substr(failure.rfind("): ") + 3);
    EXPECT_EQ(ErrorOf([&] { AddDomain("example.net"); }).find("database: INSERT INTO email_domain"),
              0U);
    EXPECT_EQ(
        ErrorOf([&] {
          transaction.Commit();
        }).find("database: COMMIT: not run, for an earlier statement of the transaction failed: "),
        0U)
        << words;
  }
  EXPECT_EQ(DomainsElsewhere(), "");
  AddDomain("example.com");
  EXPECT_EQ(DomainsElsewhere(), "example.com\n");
}

TEST_P(DatabaseTransaction, IsNotSpoiledByAMissingRow) {
  Transaction transaction(database());
  EXPECT_EQ(ErrorOf([&] { cache().Get<zeb_db::EmailTable>("5"); }), "missing: email: 5");
  AddDomain("example.org");
  transaction.Commit();
  EXPECT_EQ(DomainsElsewhere(), "example.org\n");
}

TEST_P(DatabaseTransaction, ThatIsOverCannotBeCommittedAgain) {
  Transaction transaction(database());
  transaction.Commit();
  EXPECT_EQ(ErrorOf([&] { transaction.Commit(); }),
            "database: " + url() + ": the transaction is over already");
}

/// A server may be set to show one moment to a whole transaction, and to let it read only.
TEST(PostgresqlTransaction, SeesWhatTheOneItWaitedForHasChanged) {
  test_support::PostgresqlServer server;
  const std::string url = server.MakeDatabase();
  for (const char* const setting : {"isolation = 'repeatable read'", "read_only = on"}) {
    Connection(server.Url("postgres"))
        .Query("ALTER DATABASE panel1 SET default_transaction_" + std::string(setting));
  }
  Connection first(url);
  Journal journal_of_first;
  first.Begin(journal_of_first);
  first.Query("CREATE TABLE name (name TEXT)");
  first.Query("INSERT INTO name VALUES ('before')");
  first.Commit();
  first.Begin(journal_of_first);
  first.Query("UPDATE name SET name = 'after'");
  Connection second(url);
  Journal journal_of_second;
  std::thread waiting([&] { second.Begin(journal_of_second); });
  const std::string waits =
      "SELECT count(*) FROM pg_locks WHERE locktype = 'advisory' AND NOT granted";
  while (first.Query(waits).Cell(0) != "1") {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  first.Commit();
  waiting.join();

  EXPECT_EQ(second.Query("SELECT name FROM name").Cell(0), "after");
  second.Query("DELETE FROM name");
  second.Commit();
}

}  // namespace
