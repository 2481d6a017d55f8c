/// NAME
///   db_cache_test - plain queries, and table objects that are lent out

#include <stdexcept>
#include <string>
#include <typeinfo>

#include <gtest/gtest.h>

#include "tests/panel/db_fixture.h"

namespace {

using db_test::ErrorOf;
using db_test::RowsOf;

class DatabaseCache : public db_test::OnEachDatabase {};

INSTANTIATE_TEST_SUITE_P(On, DatabaseCache, db_test::EachDatabase(), db_test::NameOfKind);

TEST_P(DatabaseCache, LendsTheTablesOfThePanel) {
  EXPECT_EQ(cache().Get<zeb_db::EmailDomainTable>()->sql_name(), "email_domain");
  EXPECT_EQ(cache().Get<zeb_db::EmailTable>()->sql_name(), "email");
  EXPECT_EQ(cache().Get<zeb_db::EmailAliasTable>()->sql_name(), "email_alias");
  EXPECT_EQ(cache().Get<zeb_db::EmailForwardTable>()->sql_name(), "email_forward");
  EXPECT_EQ(cache().Get<zeb_db::EmailResponderTable>()->sql_name(), "email_responder");
  EXPECT_EQ(cache().Get<zeb_db::EmailWhitelist>()->sql_name(), "email_whitelist");
  EXPECT_EQ(cache().Get<zeb_db::EmailBlacklist>()->sql_name(), "email_blacklist");
}

TEST_P(DatabaseCache, RefusesAClassThatItDoesNotKnow) {
  EXPECT_EQ(ErrorOf([&] { cache().Get("6Nobody"); }),
            "database: 6Nobody: is none of the panel's tables");
}

TEST_P(DatabaseCache, LendsAnotherObjectWhileOneIsLent) {
  const auto one = cache().Get<zeb_db::EmailTable>();
  const auto other = cache().Get<zeb_db::EmailTable>();
  EXPECT_NE(one.get(), other.get());
}

TEST_P(DatabaseCache, LendsTheSameObjectAgainAtItsEnd) {
  AddDomain("example.org");
  auto domain = cache().Get<zeb_db::EmailDomainTable>();
  const auto* const object = domain.get();
  ASSERT_TRUE(domain->name.Lookup("example.org"));
  domain.reset();
  domain = cache().Get<zeb_db::EmailDomainTable>();
  EXPECT_EQ(domain.get(), object);
  EXPECT_TRUE(domain->Eof());
  EXPECT_EQ(domain->name.Str(), "");
}

TEST_P(DatabaseCache, TakesAnObjectBackWhenAnExceptionPasses) {
  const zeb_db::EmailTable* object = nullptr;
  try {
    const auto mailbox = cache().Get<zeb_db::EmailTable>();
    object = mailbox.get();
    throw std::runtime_error("somewhere else");
  } catch (const std::runtime_error&) {
  }
  EXPECT_EQ(cache().Get<zeb_db::EmailTable>().get(), object);
}

TEST_P(DatabaseCache, LendsByNameUntilTheObjectIsPutBack) {
  fen_db::CustomTable* const one = cache().Get(typeid(zeb_db::EmailTable).name());
  fen_db::CustomTable* const other = cache().Get(typeid(zeb_db::EmailTable).name());
  EXPECT_NE(one, other);
  cache().Put(one);
  EXPECT_EQ(cache().Get(typeid(zeb_db::EmailTable).name()), one);
}

TEST_P(DatabaseCache, IgnoresAnObjectThatItHasNotLent) {
  zeb_db::EmailTable own;
  cache().Put(&own);
  cache().Put(nullptr);
  EXPECT_NE(static_cast<const void*>(cache().Get<zeb_db::EmailTable>().get()), &own);
}

TEST_P(DatabaseCache, GivesTheRowsOfAQuery) {
  AddDomain("a.example");
  AddDomain("b.example");
  fen_db::Result rows = cache().Query("SELECT id, name FROM email_domain ORDER BY name");
  ASSERT_FALSE(rows.Eof());
  EXPECT_EQ(rows.Str(1), "a.example");
  rows.Next();
  EXPECT_EQ(rows.Str(1), "b.example");
  EXPECT_EQ(rows.Str(), std::to_string(rows.Int()));
  rows.Next();
  EXPECT_TRUE(rows.Eof());
  rows.Next();
  EXPECT_TRUE(rows.Eof());
}

TEST_P(DatabaseCache, IsAtTheEndOfAQueryWithoutRows) {
  EXPECT_TRUE(cache().Query("SELECT name FROM email_domain").Eof());
  EXPECT_TRUE(cache().Query("DELETE FROM email_whitelist").Eof());
  EXPECT_TRUE(cache().Query("INSERT INTO email_whitelist (name) VALUES ('x')").Eof());
  EXPECT_EQ(RowsOf("SELECT name FROM email_whitelist"), "x\n");
}

TEST_P(DatabaseCache, ReadsNullAsEmptyAndZero) {
  const fen_db::Result rows = cache().Query("SELECT NULL, 5");
  EXPECT_EQ(rows.Str(), "");
  EXPECT_EQ(rows.Int(), 0);
  EXPECT_EQ(rows.Int(1), 5);
}

TEST_P(DatabaseCache, ReadsWholeNumbersAndTruthValuesAsNumbers) {
  AddDomain("example.org");
  const fen_db::Result rows =
      cache().Query("SELECT active, NOT active, -9007199254740993, name FROM email_domain");
  EXPECT_EQ(rows.Int(0), 1);
  EXPECT_EQ(rows.Int(1), 0);
  EXPECT_EQ(rows.Int(2), -9007199254740993);
  EXPECT_EQ(ErrorOf([&] { rows.Int(3); }), "database: query: not a whole number: example.org");
}

TEST_P(DatabaseCache, RefusesToReadWhatAQueryDoesNotGive) {
  fen_db::Result rows = cache().Query("SELECT 1");
  EXPECT_EQ(ErrorOf([&] { rows.Str(1); }), "database: query: it has no column 1, counted from 0");
  rows.Next();
  EXPECT_EQ(ErrorOf([&] { rows.Str(); }), "database: query: there is no row to read");
}

TEST_P(DatabaseCache, KeepsTheRowsOfAQueryWhileTheTableChanges) {
  AddDomain("a.example");
  AddDomain("b.example");
  fen_db::Result rows = cache().Query("SELECT name FROM email_domain ORDER BY name");
  cache().Query("DELETE FROM email_domain");
  AddDomain("c.example");
  EXPECT_EQ(rows.Str(), "a.example");
  rows.Next();
  EXPECT_EQ(rows.Str(), "b.example");
  rows.Next();
  EXPECT_TRUE(rows.Eof());
}

TEST_P(DatabaseCache, EscapesAnyTextForAQuery) {
  const std::string text = "o'neil\\' OR ''='; -- :x ? $1 \"%_\n";
  const fen_db::Result rows = cache().Query("SELECT " + fen_db::Cache::EscapeValue(text));
  EXPECT_EQ(rows.Str(), text);
}

TEST_P(DatabaseCache, RefusesToEscapeANul) {
  EXPECT_EQ(ErrorOf([&] { fen_db::Cache::EscapeValue(std::string("a\0", 2)); }),
            "value: text: a\\x00");
}

TEST_P(DatabaseCache, TellsAFailedStatementWithoutItsValues) {
  const std::string message =
      ErrorOf([&] { cache().Query("SELECT none FROM email WHERE name = 'o''neil' AND id = 17"); });
  EXPECT_EQ(message.find("database: SELECT none FROM email WHERE name = ? AND id = ?: "), 0U)
      << message;
  EXPECT_NE(message.find("none"), std::string::npos);
}

TEST_P(DatabaseCache, GoesOnAfterAFailedStatement) {
  EXPECT_NE(ErrorOf([&] { cache().Query("SELEC"); }), "no error");
  EXPECT_EQ(RowsOf("SELECT 1"), "1\n");
}

TEST_P(DatabaseCache, IsTheOneOfTheDatabaseThatLives) {
  EXPECT_EQ(&zeb_db::GetCache(), &cache());
  Close();
  EXPECT_EQ(ErrorOf([] { zeb_db::GetCache(); }), "database: the panel database is not open");
}

TEST_P(DatabaseCache, RefusesASecondDatabaseInOneProcess) {
  const std::string message = ErrorOf([&] { const panel::db::Database second(url()); });
  EXPECT_EQ(message, "database: " + url() + ": another panel database is open: " + url());
  EXPECT_EQ(&zeb_db::GetCache(), &cache());
}

}  // namespace
