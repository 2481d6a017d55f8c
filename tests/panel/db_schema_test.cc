/// NAME
///   db_schema_test - opening a database: new ones, older and newer ones, and what is none

#include <filesystem>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "panel/db/connection.h"
#include "panel/db/schema.h"
#include "tests/panel/db_fixture.h"

namespace {

using db_test::ErrorOf;
using db_test::RowsOf;
using panel::db::Database;
using test_support::ModeOf;
using test_support::TempFolder;

class DatabaseSchema : public db_test::OnEachDatabase {};

INSTANTIATE_TEST_SUITE_P(On, DatabaseSchema, db_test::EachDatabase(), db_test::NameOfKind);

TEST_P(DatabaseSchema, HasTheTablesOfThePanel) {
  for (const std::string columns :
       {"id, name FROM users", "id, name, users FROM domain",
        "id, name, active, users, defaction, redirect, ip, tag FROM email_domain",
        "id, name, domain, active, dropmail, tag FROM email", "id, name, email FROM email_alias",
        "id, name, email FROM email_forward", "id, email, active FROM email_responder",
        "id, name FROM email_whitelist", "id, name FROM email_blacklist",
        "path, stamp FROM file_stamp", "id, mailbox, subject, body FROM responder_text"}) {
    EXPECT_TRUE(cache().Query("SELECT " + columns).Eof()) << columns;
  }
}

TEST_P(DatabaseSchema, GivesTextsAndFlagsThatAreLeftOutTheirDefaults) {
  cache().Query("INSERT INTO email_domain (name) VALUES ('example.org')");
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  ASSERT_TRUE(domain->name.Lookup("example.org"));
  EXPECT_TRUE(domain->active);
  EXPECT_EQ(domain->redirect.Str(), "");
  EXPECT_EQ(domain->users, 0);
}

TEST_P(DatabaseSchema, KeepsNoNull) {
  EXPECT_NE(ErrorOf([&] { cache().Query("INSERT INTO users (name) VALUES (NULL)"); }), "no error");
}

TEST_P(DatabaseSchema, TellsWhichChangeAPanelHasCommittedLast) {
  const auto commit = [this](const std::string& panel, const std::string& change) {
    panel::db::Transaction transaction(database());
    transaction.Commit(panel, change);
  };
  commit("one", "a");
  commit("one", "b");
  commit("other", "c");
  {
    const panel::db::Transaction forgotten(database());
    cache().Query("UPDATE last_change SET name = 'd'");
  }

  EXPECT_FALSE(database().HasChange("a"));
  EXPECT_TRUE(database().HasChange("b"));
  EXPECT_TRUE(database().HasChange("c"));
  EXPECT_FALSE(database().HasChange("d"));
}

TEST_P(DatabaseSchema, LeavesAnUpToDateDatabaseAsItIs) {
  AddDomain("example.org");
  Reopen();
  EXPECT_EQ(RowsOf("SELECT name FROM email_domain"), "example.org\n");
  EXPECT_EQ(RowsOf("SELECT version FROM schema_version"), "3\n");
}

TEST_P(DatabaseSchema, BringsADatabaseOfTheFirstVersionUpToDate) {
  AddAlias(AddMailbox(AddDomain("example.org"), "info"), "sales");
  cache().Query("DROP TABLE last_change");
  cache().Query("DROP INDEX email_alias_by_name");
  cache().Query("DROP TABLE responder_text");
  cache().Query(
      "CREATE TABLE responder_text (mailbox BIGINT PRIMARY KEY, subject TEXT, body TEXT)");
  cache().Query("UPDATE schema_version SET version = 1");
  Close();

  Reopen();

  EXPECT_EQ(RowsOf("SELECT version FROM schema_version"), "3\n");
  EXPECT_EQ(RowsOf("SELECT name FROM email_alias"), "sales\n");
  EXPECT_TRUE(cache().Query("SELECT id, mailbox, subject, body FROM responder_text").Eof());
}

TEST_P(DatabaseSchema, RefusesADatabaseOfANewerVersion) {
  cache().Query("UPDATE schema_version SET version = 1000");
  Close();
  EXPECT_EQ(ErrorOf([&] { Reopen(); }),
            "database: " + url() +
                ": its tables are of version 1000, made by a newer program than this one, which "
                "knows version 3; use the newer program");
}

TEST_P(DatabaseSchema, TakesAStepWholeOrNotAtAll) {
  for (const std::string table :
       {"schema_version", "last_change", "responder_text", "email_responder", "email_forward",
        "email_alias", "email", "email_domain", "file_stamp", "email_whitelist", "domain",
        "users"}) {
    cache().Query("DROP TABLE " + table);
  }
  Close();
  const std::string message = ErrorOf([&] { Reopen(); });
  EXPECT_EQ(message.find("database: CREATE TABLE email_blacklist "), 0U) << message;
  panel::db::Connection connection(url());
  EXPECT_NE(ErrorOf([&] { connection.Query("SELECT id FROM users"); }), "no error");
  connection.Query("SELECT id FROM email_blacklist");
}

TEST_P(DatabaseSchema, IsMadeOnceByManyProcessesAtATime) {
  for (const std::string table :
       {"schema_version", "last_change", "responder_text", "email_responder", "email_forward",
        "email_alias", "email", "email_domain", "file_stamp", "email_whitelist", "email_blacklist",
        "domain", "users"}) {
    cache().Query("DROP TABLE " + table);
  }
  Close();
  std::vector<std::string> errors(8);
  std::vector<std::thread> threads;
  threads.reserve(errors.size());
  for (std::string& error : errors) {
    threads.emplace_back([&] {
      error = ErrorOf([&] {
        panel::db::Connection connection(url());
        MigrateSchema(connection);
      });
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const std::string& error : errors) EXPECT_EQ(error, "no error");
  Reopen();
  EXPECT_EQ(RowsOf("SELECT version FROM schema_version"), "3\n");
}

class SqliteFile : public testing::Test {
 protected:
  std::string Url() const { return "sqlite3://" + file().string(); }
  std::filesystem::path file() const { return folder_.Path("panel.db"); }
  const TempFolder& folder() const { return folder_; }

 private:
  TempFolder folder_;
};

TEST_F(SqliteFile, IsForItsOwnerAloneWithAllThatLiesBesideIt) {
  const mode_t before = umask(0);
  Database database(Url());
  umask(before);
  const panel::db::Transaction transaction(database);
  database.cache().Query("INSERT INTO users (name) VALUES ('x')");
  for (const std::string name : {"panel.db", "panel.db-wal", "panel.db-shm"}) {
    EXPECT_EQ(ModeOf(folder().Path(name)), 0600U) << name;
  }
}

TEST_F(SqliteFile, ThatExistsKeepsItsMode) {
  { const Database database(Url()); }
  test_support::SetMode(file(), 0640);
  { const Database database(Url()); }
  EXPECT_EQ(ModeOf(file()), 0640U);
}

TEST_F(SqliteFile, MayHaveAnyName) {
  const std::string name = "a b=c;d'e%20?f.db";
  { const Database database("sqlite3://" + folder().Path(name).string()); }
  EXPECT_TRUE(std::filesystem::is_regular_file(folder().Path(name)));
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder().path()), {}), 1);
}

TEST_F(SqliteFile, UsesAWriteAheadLogAndForeignKeys) {
  const Database database(Url());
  EXPECT_EQ(RowsOf("PRAGMA journal_mode"), "wal\n");
  EXPECT_EQ(RowsOf("PRAGMA foreign_keys"), "1\n");
  EXPECT_EQ(RowsOf("PRAGMA busy_timeout"), "10000\n");
}

TEST_F(SqliteFile, NeedsItsFolder) {
  const std::string path = folder().Path("none/panel.db").string();
  EXPECT_EQ(ErrorOf([&] { const Database database("sqlite3://" + path); }),
            "database: sqlite3://" + path + ": there is no folder " +
                folder().Path("none").string() + "; make it first");
  EXPECT_FALSE(std::filesystem::exists(folder().Path("none")));
}

TEST_F(SqliteFile, IsRefusedWhenItIsNoDatabase) {
  const std::string text = "This is a letter, not a database, and long enough to be looked at.\n";
  test_support::WriteText(file(), text);
  EXPECT_EQ(ErrorOf([&] { const Database database(Url()); }),
            "database: " + Url() + ": file is not a database");
  EXPECT_EQ(test_support::ReadText(file()), text);
}

TEST_F(SqliteFile, IsRefusedWhenItIsAFolder) {
  std::filesystem::create_directory(file());
  EXPECT_EQ(ErrorOf([&] { const Database database(Url()); }),
            "database: " + Url() + ": unable to open database file");
}

TEST_F(SqliteFile, IsRefusedWhenItIsDamaged) {
  { const Database database(Url()); }
  std::string bytes = test_support::ReadText(file());
  bytes.replace(4096, bytes.size() - 4096, bytes.size() - 4096, '\xff');
  test_support::WriteText(file(), bytes);
  const std::string message = ErrorOf([&] { const Database database(Url()); });
  EXPECT_NE(message.find("malformed"), std::string::npos) << message;
}

TEST_F(SqliteFile, ThatCannotGrowSpoilsTheTransaction) {
  Database database(Url());
  database.cache().Query("PRAGMA max_page_count = 1");
  std::string message = "no error";
  {
    panel::db::Transaction transaction(database);
    const auto entry = database.cache().Get<zeb_db::EmailWhitelist>();
    message = ErrorOf([&] {
      for (int i = 0; i < 100000; ++i) {
        entry->New();
        entry->name = std::string(1000, 'x');
        entry->Post();
      }
    });
    EXPECT_NE(ErrorOf([&] { transaction.Commit(); }), "no error");
  }
  EXPECT_EQ(message,
            "database: INSERT INTO email_whitelist (name) VALUES (:v1): database or disk is full");
  EXPECT_EQ(RowsOf("SELECT count(*) FROM email_whitelist"), "0\n");
}

TEST_F(SqliteFile, ThatCannotBeWrittenIsReportedAsSuch) {
  Database database(Url());
  database.cache().Query("PRAGMA query_only = ON");
  EXPECT_EQ(ErrorOf([&] { database.cache().Query("DELETE FROM email"); }),
            "database: DELETE FROM email: attempt to write a readonly database");
}

}  // namespace
