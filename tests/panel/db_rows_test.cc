/// NAME
///   db_rows_test - finding, storing and deleting rows through table objects

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/panel/db_fixture.h"

namespace {

using db_test::ErrorOf;
using db_test::RowsOf;
using panel::db::FindRow;
using panel::db::Transaction;

class DatabaseRows : public db_test::OnEachDatabase {
 protected:
  /// Grows with every row that is written, also with the values that it had.
  std::string Writes() const {
    return RowsOf(IsSqlite() ? "SELECT total_changes()"
                             : "SELECT string_agg(cast(ctid AS text), ' ') FROM email_domain");
  }
};

INSTANTIATE_TEST_SUITE_P(On, DatabaseRows, db_test::EachDatabase(), db_test::NameOfKind);

TEST_P(DatabaseRows, KeepEveryColumn) {
  auto domain = cache().Get<zeb_db::EmailDomainTable>();
  domain->New();
  domain->name = "Bücher.example";
  domain->active = false;
  domain->users = 4;
  domain->defaction = "redir_email";
  domain->redirect = "o'neil\\\"%:x@example.org\n\t";
  domain->ip = "2001:db8::5";
  domain->tag = -2147483648;
  domain->Post();
  const std::string key = domain->id.Str();
  domain.reset();

  Reopen();
  const auto again = cache().Get<zeb_db::EmailDomainTable>(key);
  EXPECT_EQ(again->name.Str(), "xn--bcher-kva.example");
  EXPECT_FALSE(again->active);
  EXPECT_EQ(again->users, 4);
  EXPECT_EQ(again->defaction.Str(), "redir_email");
  EXPECT_EQ(again->redirect.Str(), "o'neil\\\"%:x@example.org\n\t");
  EXPECT_EQ(again->ip.Str(), "2001:db8::5");
  EXPECT_EQ(again->tag, -2147483648);
}

TEST_P(DatabaseRows, ANewOneHasItsKeyOncePosted) {
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  domain->New();
  EXPECT_FALSE(domain->Eof());
  EXPECT_EQ(domain->id, 0);
  domain->name = "example.org";
  domain->Post();
  EXPECT_FALSE(domain->Eof());
  EXPECT_EQ(RowsOf("SELECT id, name FROM email_domain", 2), domain->id.Str() + "|example.org\n");
}

TEST_P(DatabaseRows, APostedOneIsUpdatedByTheNextPost) {
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  domain->New();
  domain->name = "example.org";
  domain->Post();
  domain->active = false;
  domain->Post();
  EXPECT_EQ(RowsOf("SELECT name FROM email_domain WHERE active = false"), "example.org\n");
  EXPECT_EQ(RowsOf("SELECT count(*) FROM email_domain"), "1\n");
}

TEST_P(DatabaseRows, ManyOfThemTakeTheSameObject) {
  const auto entry = cache().Get<zeb_db::EmailWhitelist>();
  for (int i = 0; i < 100; ++i) {
    entry->New();
    entry->name = "host" + std::to_string(i) + ".example";
    entry->Post();
  }
  EXPECT_EQ(RowsOf("SELECT count(DISTINCT name) FROM email_whitelist"), "100\n");
}

TEST_P(DatabaseRows, AKeyIsNeverGivenTwice) {
  const std::int64_t first = AddDomain("example.org");
  cache().Get<zeb_db::EmailDomainTable>(std::to_string(first))->Delete();
  EXPECT_GT(AddDomain("example.org"), first);
}

TEST_P(DatabaseRows, AreFoundByAField) {
  AddDomain("example.org");
  const std::int64_t key = AddDomain("example.net");
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  EXPECT_TRUE(domain->name.Lookup("example.net"));
  EXPECT_EQ(domain->id, key);
  EXPECT_EQ(domain->defaction.Str(), "error");
}

TEST_P(DatabaseRows, AreFoundByADomainNameInAnyForm) {
  AddDomain("bücher.example");
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  EXPECT_TRUE(domain->name.Lookup("BÜCHER.example"));
  EXPECT_TRUE(domain->name.Lookup("xn--bcher-kva.example"));
  EXPECT_FALSE(domain->name.Lookup("bucher.example"));
}

TEST_P(DatabaseRows, AreFoundByTheExactTextOfAField) {
  const std::int64_t domain = AddDomain("example.org");
  AddMailbox(domain, "Info");
  const auto mailbox = cache().Get<zeb_db::EmailTable>();
  EXPECT_FALSE(mailbox->name.Lookup("info"));
  EXPECT_FALSE(mailbox->name.Lookup("Inf%"));
  EXPECT_TRUE(mailbox->name.Lookup("Info"));
}

TEST_P(DatabaseRows, LeaveTheTableAtItsEndWhenNotFound) {
  AddDomain("example.org");
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  EXPECT_TRUE(domain->Eof());
  ASSERT_TRUE(domain->name.Lookup("example.org"));
  EXPECT_FALSE(domain->Eof());
  EXPECT_FALSE(domain->name.Lookup("example.net"));
  EXPECT_TRUE(domain->Eof());
  EXPECT_EQ(domain->name.Str(), "");
}

TEST_P(DatabaseRows, GetKeysBehindOneThatWasGiven) {
  const std::int64_t domain = AddDomain("example.org");
  EXPECT_EQ(AddMailbox(domain, "first"), 1);
  cache().Query("INSERT INTO email (id, name, domain) VALUES (7, 'given', 1)");
  panel::db::GoOnBehindKey("email", 7);
  EXPECT_EQ(AddMailbox(domain, "next"), 8);
  cache().Query("DELETE FROM email WHERE id > 1");
  panel::db::GoOnBehindKey("email", 7);
  EXPECT_EQ(AddMailbox(domain, "last"), 9);
}

/// A table made by hand may hold any bytes.
TEST_P(DatabaseRows, AreOfAnyBytesOnSqliteAndOfUtf8OnPostgresql) {
  const std::string latin1 = "caf\xe9.example";
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  EXPECT_FALSE(domain->name.Lookup(latin1));
  domain->New();
  domain->name = latin1;
  EXPECT_EQ(ErrorOf([&] { domain->Post(); }),
            IsSqlite() ? "no error"
                       : "value: name: caf\xe9.example is not UTF-8, as each text of a PostgreSQL "
                         "database must be");
  EXPECT_EQ(domain->name.Lookup(latin1), IsSqlite());
}

TEST_P(DatabaseRows, AreFoundByAConditionTheFirstByKey) {
  AddDomain("c.example");
  const std::int64_t first = AddDomain("b.example");
  AddDomain("a.example");
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  EXPECT_TRUE(domain->DbFind("name <> 'c.example' OR name = 'x'"));
  EXPECT_EQ(domain->id, first);
  EXPECT_FALSE(domain->DbFind("id = 0"));
  EXPECT_TRUE(domain->Eof());
}

TEST_P(DatabaseRows, AreFoundByATruthValue) {
  AddDomain("example.org");
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  EXPECT_TRUE(domain->DbFind("active = " + domain->active));
  domain->active = false;
  EXPECT_FALSE(domain->DbFind("active = " + domain->active));
}

TEST_P(DatabaseRows, AreFoundBySeveralValues) {
  const std::int64_t first = AddDomain("a.example");
  const std::int64_t second = AddDomain("b.example");
  AddMailbox(first, "info");
  const std::int64_t key = AddMailbox(second, "info");
  const auto mailbox = cache().Get<zeb_db::EmailTable>();
  EXPECT_TRUE(FindRow(*mailbox, {{"domain", second}, {"name", "info"}}));
  EXPECT_EQ(mailbox->id, key);
  EXPECT_FALSE(FindRow(*mailbox, {{"domain", second}, {"name", "sales"}}));
  EXPECT_TRUE(mailbox->Eof());
}

TEST_P(DatabaseRows, AreFoundAsTheyAreNowAlsoWhenTheyWereLookedForBefore) {
  AddDomain("example.org");
  const Transaction transaction(database());
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  const auto other = cache().Get<zeb_db::EmailDomainTable>();
  ASSERT_TRUE(domain->name.Lookup("example.org"));
  ASSERT_FALSE(other->name.Lookup("example.net"));

  cache().Query("UPDATE email_domain SET defaction = 'ignore'");
  ASSERT_TRUE(domain->name.Lookup("example.org"));
  EXPECT_EQ(domain->defaction.Str(), "ignore");

  AddDomain("example.net");
  EXPECT_TRUE(other->name.Lookup("example.net"));

  ASSERT_TRUE(other->name.Lookup("example.org"));
  other->Delete();
  EXPECT_FALSE(domain->name.Lookup("example.org"));
}

TEST_P(DatabaseRows, FoundAgainHaveTheirStoredValues) {
  AddDomain("example.org");
  const Transaction transaction(database());
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  ASSERT_TRUE(domain->name.Lookup("example.org"));
  domain->defaction = "ignore";
  domain->active = false;
  ASSERT_TRUE(domain->name.Lookup("example.org"));
  EXPECT_EQ(domain->defaction.Str(), "error");
  EXPECT_TRUE(domain->active);
  EXPECT_EQ(domain->name.Str(), "example.org");
}

TEST_P(DatabaseRows, FoundInTurnsByNameAndByKeyAreAsTheyWereStoredLast) {
  AddDomain("a.example");
  const std::string key = std::to_string(AddDomain("b.example"));
  const Transaction transaction(database());
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  for (int time = 0; time < 2; ++time) {
    ASSERT_TRUE(domain->name.Lookup("a.example"));
    EXPECT_EQ(domain->name.Str(), "a.example");
    domain->Assert(key);
    EXPECT_EQ(domain->name.Str(), "b.example");
  }

  domain->defaction = "ignore";
  domain->Post();

  ASSERT_TRUE(domain->name.Lookup("a.example"));
  EXPECT_EQ(domain->defaction.Str(), "error");
  domain->Assert(key);
  EXPECT_EQ(domain->defaction.Str(), "ignore");
  ASSERT_TRUE(domain->name.Lookup("b.example"));
  EXPECT_EQ(domain->defaction.Str(), "ignore");
}

TEST_P(DatabaseRows, FoundAgainAreFoundAnewOnceTheCacheIsCleared) {
  AddDomain("example.org");
  const Transaction transaction(database());
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  ASSERT_TRUE(domain->name.Lookup("example.org"));
  domain->ClearCache(true);
  EXPECT_FALSE(domain->Eof());
  EXPECT_EQ(domain->name.Str(), "example.org");
  domain->ClearCache(false);
  EXPECT_TRUE(domain->Eof());
  EXPECT_TRUE(domain->name.Lookup("example.org"));
}

TEST_P(DatabaseRows, AreAssertedByKey) {
  const std::int64_t key = AddDomain("example.org");
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  domain->Assert(std::to_string(key));
  EXPECT_EQ(domain->name.Str(), "example.org");
  EXPECT_EQ(cache().Get<zeb_db::EmailDomainTable>(std::to_string(key))->id, key);
}

TEST_P(DatabaseRows, AreMissingForAKeyThatNoneHas) {
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  for (const std::string key : {"99", "0", "-1", "", "1 OR true", "1x", "99999999999999999999"}) {
    EXPECT_EQ(ErrorOf([&] { domain->Assert(key); }),
              "missing: email_domain" + (key.empty() ? "" : ": " + key));
    EXPECT_TRUE(domain->Eof());
  }
  EXPECT_EQ(ErrorOf([&] { cache().Get<zeb_db::EmailTable>("5"); }), "missing: email: 5");
}

TEST_P(DatabaseRows, UnchangedAreNotWrittenAgain) {
  AddDomain("example.org");
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  ASSERT_TRUE(domain->name.Lookup("example.org"));
  const std::string before = Writes();
  domain->name = "EXAMPLE.org";
  domain->active = true;
  domain->Post();
  EXPECT_EQ(Writes(), before);
  domain->active = false;
  domain->Post();
  EXPECT_NE(Writes(), before);
}

TEST_P(DatabaseRows, AreWrittenInTheChangedColumnsAlone) {
  AddDomain("example.org");
  const auto one = cache().Get<zeb_db::EmailDomainTable>();
  const auto other = cache().Get<zeb_db::EmailDomainTable>();
  ASSERT_TRUE(one->name.Lookup("example.org"));
  ASSERT_TRUE(other->name.Lookup("example.org"));
  one->active = false;
  one->Post();
  other->defaction = "ignore";
  other->redirect = "x";
  other->Post();
  EXPECT_EQ(RowsOf("SELECT defaction, redirect FROM email_domain WHERE active = false", 2),
            "ignore|x\n");
}

TEST_P(DatabaseRows, ThatAreGoneCannotBeUpdated) {
  const std::string key = std::to_string(AddDomain("example.org"));
  const auto domain = cache().Get<zeb_db::EmailDomainTable>(key);
  cache().Query("DELETE FROM email_domain");
  domain->active = false;
  EXPECT_EQ(ErrorOf([&] { domain->Post(); }), "missing: email_domain: " + key);
}

TEST_P(DatabaseRows, KeepTheirKey) {
  const std::int64_t key = AddDomain("example.org");
  const auto domain = cache().Get<zeb_db::EmailDomainTable>(std::to_string(key));
  domain->id = key + 1;
  EXPECT_EQ(ErrorOf([&] { domain->Post(); }), "value: id: " + std::to_string(key + 1));
  EXPECT_EQ(RowsOf("SELECT id FROM email_domain"), std::to_string(key) + "\n");
}

TEST_P(DatabaseRows, RefuseATextWithANul) {
  const std::string text("in\0fo", 5);
  const std::int64_t domain = AddDomain("example.org");
  const auto mailbox = cache().Get<zeb_db::EmailTable>();
  mailbox->New();
  mailbox->name = text;
  mailbox->domain = domain;
  EXPECT_EQ(ErrorOf([&] { mailbox->Post(); }), "value: name: in\\x00fo");
  EXPECT_EQ(ErrorOf([&] { mailbox->name.Lookup(text); }), "value: name: in\\x00fo");
  EXPECT_EQ(ErrorOf([&] { FindRow(*mailbox, {{"name", text}}); }), "value: name: in\\x00fo");
  EXPECT_EQ(RowsOf("SELECT count(*) FROM email"), "0\n");
}

TEST_P(DatabaseRows, AreNotPostedOrDeletedAtTheEndOfTheTable) {
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  domain->name = "example.org";
  EXPECT_EQ(ErrorOf([&] { domain->Post(); }), "missing: email_domain");
  EXPECT_EQ(ErrorOf([&] { domain->Delete(); }), "missing: email_domain");
  EXPECT_EQ(RowsOf("SELECT count(*) FROM email_domain"), "0\n");
}

TEST_P(DatabaseRows, DeletedLeaveTheTableAtItsEnd) {
  AddDomain("a.example");
  AddDomain("b.example");
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  ASSERT_TRUE(domain->name.Lookup("a.example"));
  domain->Delete();
  EXPECT_TRUE(domain->Eof());
  EXPECT_EQ(RowsOf("SELECT name FROM email_domain"), "b.example\n");
}

TEST_P(DatabaseRows, NeverPostedAreDeletedWithoutATrace) {
  AddDomain("a.example");
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  domain->New();
  domain->Delete();
  EXPECT_TRUE(domain->Eof());
  EXPECT_EQ(RowsOf("SELECT count(*) FROM email_domain"), "1\n");
}

TEST_P(DatabaseRows, AreDeletedByCondition) {
  AddDomain("a.example");
  AddDomain("b.example");
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  ASSERT_TRUE(domain->name.Lookup("b.example"));
  domain->tag = -7;
  domain->Post();
  domain->DbDelete("tag != -7");
  EXPECT_EQ(RowsOf("SELECT name FROM email_domain"), "b.example\n");
}

TEST_P(DatabaseRows, AreNotAllDeletedByAnEmptyCondition) {
  AddDomain("a.example");
  const std::string message =
      ErrorOf([&] { cache().Get<zeb_db::EmailDomainTable>()->DbDelete(""); });
  EXPECT_EQ(message.find("database: DELETE FROM email_domain WHERE (): "), 0U) << message;
  EXPECT_EQ(RowsOf("SELECT count(*) FROM email_domain"), "1\n");
}

TEST_P(DatabaseRows, AreFoundByAComparisonHoweverItIsWritten) {
  const std::int64_t domain = AddDomain("example.org");
  const std::string key = std::to_string(AddMailbox(domain, "info"));
  AddMailbox(domain, "sales");
  const auto mailbox = cache().Get<zeb_db::EmailTable>();
  for (const std::string& condition :
       {"id=" + key, "id = " + key, " id  =" + key + " ", "id= " + key}) {
    EXPECT_TRUE(mailbox->DbFind(condition)) << condition;
    EXPECT_EQ(mailbox->name.Str(), "info") << condition;
  }
  for (const std::string condition : {"id=99", "id = -1", "domain=0", "id = 9223372036854775807"}) {
    EXPECT_FALSE(mailbox->DbFind(condition)) << condition;
    EXPECT_TRUE(mailbox->Eof()) << condition;
  }
}

TEST_P(DatabaseRows, AreFoundByWhatOnlyBeginsLikeAComparison) {
  const std::int64_t domain = AddDomain("example.org");
  AddMailbox(domain, "5");
  const std::string key = std::to_string(AddMailbox(domain, "info"));
  const auto mailbox = cache().Get<zeb_db::EmailTable>();
  const std::vector<std::string> conditions = {
      "id=" + key + "+0",      "id=" + key + " AND name='info'", "0=1 OR id = " + key,
      "email.id=" + key,       "id=0 OR name = 'info'",          "id >= " + key,
      "tag!=1 AND id = " + key};
  for (const std::string& condition : conditions) {
    EXPECT_TRUE(mailbox->DbFind(condition)) << condition;
    EXPECT_EQ(mailbox->name.Str(), "info") << condition;
  }
}

TEST_P(DatabaseRows, AreNotFoundByAComparisonWithAColumnThatIsNone) {
  AddDomain("example.org");
  const auto domain = cache().Get<zeb_db::EmailDomainTable>();
  EXPECT_EQ(ErrorOf([&] { domain->DbFind("nothing=5"); }).find("database: SELECT"), 0U);
  EXPECT_EQ(ErrorOf([&] { domain->DbDelete("nothing = 5"); }).find("database: DELETE"), 0U);
}

TEST_P(DatabaseRows, AreDeletedByAComparisonHoweverItIsWritten) {
  const std::int64_t domain = AddDomain("example.org");
  const std::int64_t first = AddMailbox(domain, "info");
  const std::int64_t second = AddMailbox(domain, "sales");
  const std::int64_t third = AddMailbox(domain, "help");
  for (const std::int64_t mailbox : {first, first, second, third}) AddAlias(mailbox, "office");
  const auto alias = cache().Get<zeb_db::EmailAliasTable>();

  alias->DbDelete("email=" + std::to_string(first));
  alias->DbDelete("email = " + std::to_string(second));
  alias->DbDelete("email=99");

  EXPECT_EQ(RowsOf("SELECT email FROM email_alias"), std::to_string(third) + "\n");
}

TEST_P(DatabaseRows, DeletedByAComparisonAreFoundNoMoreWhereTheyWereLookedForBefore) {
  const std::int64_t domain = AddDomain("example.org");
  const std::string key = std::to_string(AddMailbox(domain, "info"));
  AddAlias(std::stoll(key), "office");
  const Transaction transaction(database());
  const auto mailbox = cache().Get<zeb_db::EmailTable>();
  const auto alias = cache().Get<zeb_db::EmailAliasTable>();
  ASSERT_TRUE(mailbox->DbFind("id = " + key));
  ASSERT_TRUE(alias->DbFind("email = " + key));

  cache().Get<zeb_db::EmailTable>()->DbDelete("domain=" + std::to_string(domain));

  EXPECT_FALSE(mailbox->DbFind("id=" + key));
  EXPECT_FALSE(alias->DbFind("email=" + key));
}

TEST_P(DatabaseRows, TakeAlongWhatBelongsToThem) {
  const std::int64_t domain = AddDomain("example.org");
  const std::int64_t mailbox = AddMailbox(domain, "info");
  AddAlias(mailbox, "office");
  cache().Query("INSERT INTO email_forward (name, email) SELECT 'x@example.net', id FROM email");
  cache().Query("INSERT INTO email_responder (email) SELECT id FROM email");
  cache().Query("INSERT INTO responder_text (mailbox, subject) SELECT id, 'Away' FROM email");
  cache().Get<zeb_db::EmailDomainTable>(std::to_string(domain))->Delete();
  for (const std::string table :
       {"email", "email_alias", "email_forward", "email_responder", "responder_text"}) {
    EXPECT_EQ(RowsOf("SELECT count(*) FROM " + table), "0\n") << table;
  }
}

TEST_P(DatabaseRows, WithoutWhatTheyBelongToAreRefused) {
  const std::string message = ErrorOf([&] { AddMailbox(5, "info"); });
  EXPECT_EQ(message.find("database: INSERT INTO email (name, domain, active, dropmail, tag) VALUES "
                         "(:v1, :v2, :v3, :v4, :v5)"),
            0U)
      << message;
  EXPECT_EQ(RowsOf("SELECT count(*) FROM email"), "0\n");
}

TEST_P(DatabaseRows, OfOneNameAreRefusedForDomainsAndMailboxes) {
  const std::int64_t domain = AddDomain("example.org");
  AddMailbox(domain, "info");
  EXPECT_NE(ErrorOf([&] { AddDomain("EXAMPLE.org"); }), "no error");
  EXPECT_NE(ErrorOf([&] { AddMailbox(domain, "info"); }), "no error");
  AddMailbox(AddDomain("example.net"), "info");
  EXPECT_EQ(RowsOf("SELECT name FROM email_domain ORDER BY id"), "example.org\nexample.net\n");
}

TEST_P(DatabaseRows, ReadFromTablesThatPeopleEditMayRepeat) {
  const std::int64_t mailbox = AddMailbox(AddDomain("example.org"), "info");
  AddAlias(mailbox, "office");
  AddAlias(mailbox, "office");
  for (int i = 0; i < 2; ++i) {
    const auto entry = cache().Get<zeb_db::EmailBlacklist>();
    entry->New();
    entry->name = "192.0.2.1";
    entry->Post();
  }
  EXPECT_EQ(RowsOf("SELECT name FROM email_alias"), "office\noffice\n");
  EXPECT_EQ(RowsOf("SELECT name FROM email_blacklist"), "192.0.2.1\n192.0.2.1\n");
}

TEST_P(DatabaseRows, AreWrittenAgainAfterAStatementThatFailed) {
  const std::int64_t domain = AddDomain("example.org");
  const auto mailbox = cache().Get<zeb_db::EmailTable>();
  mailbox->New();
  mailbox->name = "info";
  EXPECT_NE(ErrorOf([&] { mailbox->Post(); }), "no error");
  mailbox->domain = domain;
  mailbox->Post();
  EXPECT_EQ(RowsOf("SELECT name FROM email"), "info\n");
}

/// Only PostgreSQL tells which statements are prepared.
class PreparedStatements : public db_test::OnEachDatabase {};

INSTANTIATE_TEST_SUITE_P(On, PreparedStatements, testing::Values("Postgresql"),
                         db_test::NameOfKind);

TEST_P(PreparedStatements, ServeAnyNumberOfRows) {
  const std::int64_t domain = AddDomain("example.org");
  const auto mailbox = cache().Get<zeb_db::EmailTable>();
  for (int i = 0; i < 50; ++i) {
    const std::string name = "user" + std::to_string(i);
    ASSERT_FALSE(FindRow(*mailbox, {{"domain", domain}, {"name", name}}));
    mailbox->New();
    mailbox->name = name;
    mailbox->domain = domain;
    mailbox->Post();
    mailbox->tag = i + 1;
    mailbox->Post();
  }
  EXPECT_EQ(RowsOf("SELECT count(*) FROM pg_prepared_statements WHERE statement LIKE '% email %'"),
            "3\n");
}

}  // namespace
