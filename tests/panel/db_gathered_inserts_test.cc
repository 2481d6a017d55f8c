/// NAME
///   db_gathered_inserts_test - rows that are inserted many at a time

#include <string>

#include <gtest/gtest.h>

#include "tests/panel/db_fixture.h"

namespace {

using db_test::ErrorOf;
using db_test::RowsOf;
using db_test::TextOf;
using panel::db::FindRow;
using panel::db::GatheredInserts;
using panel::db::Transaction;

/// More than any number of rows that are inserted at a time, and no multiple of it.
constexpr int kMany = 1234;

class GatheredRows : public db_test::OnEachDatabase {
 protected:
  /// Posts mailboxes named by the numbers from `first` to the one before `end`.
  void Post(std::int64_t domain, int first, int end) {
    const auto mailbox = cache().Get<zeb_db::EmailTable>();
    for (int number = first; number < end; ++number) {
      mailbox->New();
      mailbox->name = "user" + std::to_string(number);
      mailbox->domain = domain;
      mailbox->active = number % 2 == 0;
      mailbox->tag = -number;
      mailbox->Post();
    }
  }

  static std::string Count() { return RowsOf("SELECT count(*) FROM email"); }
};

INSTANTIATE_TEST_SUITE_P(On, GatheredRows, db_test::EachDatabase(), db_test::NameOfKind);

TEST_P(GatheredRows, HaveTheValuesThatTheyWerePostedWith) {
  const std::int64_t domain = AddDomain("example.org");
  Transaction transaction(database());
  {
    GatheredInserts inserts("email_domain");
    const auto row = cache().Get<zeb_db::EmailDomainTable>();
    for (const char* name : {"Bücher.example", "b.example"}) {
      row->New();
      row->name = name;
      row->active = name[0] == 'b';
      row->users = 4;
      row->defaction = "redir_email";
      row->redirect = "o'neil\\\"%:v1 :x@example.org\n\t";
      row->tag = -2147483648;
      row->Post();
    }
    inserts.Finish();
  }
  transaction.Commit();

  EXPECT_EQ(RowsOf("SELECT name, users, defaction, redirect, tag FROM email_domain WHERE id <> " +
                       std::to_string(domain) + " ORDER BY id",
                   5),
            "xn--bcher-kva.example|4|redir_email|o'neil\\\"%:v1 :x@example.org\n\t|-2147483648\n"
            "b.example|4|redir_email|o'neil\\\"%:v1 :x@example.org\n\t|-2147483648\n");
  EXPECT_EQ(RowsOf("SELECT name FROM email_domain WHERE NOT active"), "xn--bcher-kva.example\n");
}

TEST_P(GatheredRows, AreAllThereHoweverMany) {
  const std::int64_t domain = AddDomain("example.org");
  {
    Transaction transaction(database(), Transaction::Changes::kUnlisted);
    GatheredInserts inserts("email");
    Post(domain, 0, kMany);
    inserts.Finish();
    transaction.Commit();
  }
  Reopen();

  EXPECT_EQ(RowsOf("SELECT count(DISTINCT name), count(DISTINCT id), sum(tag) FROM email", 3),
            "1234|1234|-760761\n");
  EXPECT_EQ(RowsOf("SELECT count(*) FROM email WHERE active"), "617\n");
}

TEST_P(GatheredRows, LeaveTheirObjectOnNothing) {
  const std::int64_t domain = AddDomain("example.org");
  const Transaction transaction(database(), Transaction::Changes::kUnlisted);
  const GatheredInserts inserts("email");
  const auto mailbox = cache().Get<zeb_db::EmailTable>();
  mailbox->New();
  mailbox->name = "info";
  mailbox->domain = domain;
  mailbox->Post();

  EXPECT_TRUE(mailbox->Eof());
  EXPECT_EQ(ErrorOf([&] { mailbox->Post(); }), "missing: email");
}

TEST_P(GatheredRows, AreThereForAQuery) {
  const std::int64_t domain = AddDomain("example.org");
  const Transaction transaction(database(), Transaction::Changes::kUnlisted);
  const GatheredInserts inserts("email");

  Post(domain, 0, 3);
  EXPECT_EQ(Count(), "3\n");
  Post(domain, 3, 5);
  EXPECT_EQ(Count(), "5\n");
}

TEST_P(GatheredRows, AreThereForWhoeverFindsOrDeletesThem) {
  const std::int64_t domain = AddDomain("example.org");
  const Transaction transaction(database(), Transaction::Changes::kUnlisted);
  const GatheredInserts inserts("email");
  const auto mailbox = cache().Get<zeb_db::EmailTable>();

  ASSERT_FALSE(FindRow(*mailbox, {{"domain", domain}, {"name", "user1"}}));
  Post(domain, 0, 2);
  EXPECT_TRUE(FindRow(*mailbox, {{"domain", domain}, {"name", "user1"}}));
  Post(domain, 2, 3);
  EXPECT_TRUE(mailbox->name.Lookup("user2"));
  Post(domain, 3, 4);
  EXPECT_TRUE(mailbox->DbFind("tag = -3"));
  Post(domain, 4, 5);
  EXPECT_TRUE(mailbox->DbFind("name = 'user4'"));
  Post(domain, 5, 7);
  mailbox->DbDelete("tag = -5");
  Post(domain, 7, 9);
  mailbox->DbDelete("tag != -6 AND tag != -8");

  EXPECT_EQ(RowsOf("SELECT name FROM email ORDER BY name"), "user6\nuser8\n");
}

TEST_P(GatheredRows, AreChangedLikeAnyOther) {
  const std::int64_t domain = AddDomain("example.org");
  const Transaction transaction(database(), Transaction::Changes::kUnlisted);
  const GatheredInserts inserts("email");
  const auto mailbox = cache().Get<zeb_db::EmailTable>();
  Post(domain, 0, 2);

  ASSERT_TRUE(mailbox->name.Lookup("user1"));
  mailbox->tag = 7;
  Post(domain, 2, 3);
  mailbox->Post();

  EXPECT_EQ(RowsOf("SELECT name, tag FROM email ORDER BY name", 2), "user0|0\nuser1|7\nuser2|-2\n");
}

TEST_P(GatheredRows, AreThereForTheCommitToo) {
  const std::int64_t domain = AddDomain("example.org");
  {
    Transaction transaction(database(), Transaction::Changes::kUnlisted);
    GatheredInserts inserts("email");
    Post(domain, 0, 3);
    inserts.Finish();
    transaction.Commit();
  }
  EXPECT_EQ(Count(), "3\n");
}

TEST_P(GatheredRows, GoWithTheTransaction) {
  const std::int64_t domain = AddDomain("example.org");
  {
    const Transaction transaction(database(), Transaction::Changes::kUnlisted);
    GatheredInserts inserts("email");
    Post(domain, 0, kMany);
    inserts.Finish();
  }
  EXPECT_EQ(Count(), "0\n");
}

TEST_P(GatheredRows, ThatWereNotInsertedAreDropped) {
  const std::int64_t domain = AddDomain("example.org");
  Transaction transaction(database(), Transaction::Changes::kUnlisted);
  {
    const GatheredInserts inserts("email");
    Post(domain, 0, 3);
  }
  Post(domain, 3, 4);
  transaction.Commit();
  EXPECT_EQ(RowsOf("SELECT name FROM email"), "user3\n");
}

TEST_P(GatheredRows, AreThoseOfOneTable) {
  const std::int64_t domain = AddDomain("example.org");
  const Transaction transaction(database(), Transaction::Changes::kUnlisted);
  const GatheredInserts inserts("email");
  const std::int64_t other = AddDomain("example.net");
  EXPECT_GT(other, domain);
  EXPECT_EQ(RowsOf("SELECT name FROM email_domain ORDER BY id"), "example.org\nexample.net\n");
}

TEST_P(GatheredRows, AreInsertedOneByOneWhereChangesAreListed) {
  const std::int64_t domain = AddDomain("example.org");
  const Transaction transaction(database());
  const GatheredInserts inserts("email");

  Post(domain, 1, 2);

  EXPECT_EQ(TextOf(transaction.changes()),
            "email insert name=user1 domain=" + std::to_string(domain) +
                " active=false dropmail=false\n");
}

TEST_P(GatheredRows, ThatAreRefusedSpoilTheTransaction) {
  const std::int64_t domain = AddDomain("example.org");
  Transaction transaction(database(), Transaction::Changes::kUnlisted);
  {
    GatheredInserts inserts("email");
    Post(domain, 0, 2);
    Post(domain, 1, 3);
    EXPECT_EQ(ErrorOf([&] { inserts.Finish(); }).find("database: INSERT INTO email "), 0U);
  }
  EXPECT_NE(ErrorOf([&] { transaction.Commit(); }), "no error");
}

/// The aliases of two mailboxes, gathered by mailbox; the first one has an alias before.
class GatheredRowsOfOwners : public db_test::OnEachDatabase {
 protected:
  void SetUp() override {
    db_test::OnEachDatabase::SetUp();
    const std::int64_t domain = AddDomain("example.org");
    info_ = AddMailbox(domain, "info");
    shop_ = AddMailbox(domain, "shop");
    AddAlias(info_, "before");
  }

  void DeleteAliasesOf(std::int64_t mailbox) {
    cache().Get<zeb_db::EmailAliasTable>()->DbDelete("email=" + std::to_string(mailbox));
  }

  static std::string Aliases() { return RowsOf("SELECT name FROM email_alias ORDER BY id"); }

  std::int64_t info_ = 0;
  std::int64_t shop_ = 0;
};

INSTANTIATE_TEST_SUITE_P(On, GatheredRowsOfOwners, db_test::EachDatabase(), db_test::NameOfKind);

TEST_P(GatheredRowsOfOwners, AreDeletedWhetherTheyWaitOrNot) {
  const Transaction transaction(database(), Transaction::Changes::kUnlisted);
  const GatheredInserts inserts("email_alias", "email");
  AddAlias(info_, "sales");
  AddAlias(shop_, "orders");

  DeleteAliasesOf(info_);
  EXPECT_EQ(Aliases(), "orders\n");
  DeleteAliasesOf(shop_);
  EXPECT_EQ(Aliases(), "");
}

TEST_P(GatheredRowsOfOwners, StayWhenThoseOfAnotherAreDeleted) {
  const Transaction transaction(database(), Transaction::Changes::kUnlisted);
  const GatheredInserts inserts("email_alias", "email");
  AddAlias(info_, "sales");

  DeleteAliasesOf(shop_);

  EXPECT_EQ(Aliases(), "before\nsales\n");
}

TEST_P(GatheredRowsOfOwners, AreDeletedAlsoWhenAPlainStatementAddedThem) {
  const Transaction transaction(database(), Transaction::Changes::kUnlisted);
  const GatheredInserts inserts("email_alias", "email");
  cache().Query("INSERT INTO email_alias (name, email) VALUES ('orders', " + std::to_string(shop_) +
                ")");

  DeleteAliasesOf(shop_);

  EXPECT_EQ(Aliases(), "before\n");
}

TEST_P(GatheredRowsOfOwners, AreDeletedAlsoWhenTheyCameFromAnother) {
  const Transaction transaction(database(), Transaction::Changes::kUnlisted);
  const GatheredInserts inserts("email_alias", "email");
  const auto alias = cache().Get<zeb_db::EmailAliasTable>();
  ASSERT_TRUE(alias->name.Lookup("before"));
  alias->email = shop_;
  alias->Post();

  DeleteAliasesOf(shop_);

  EXPECT_EQ(Aliases(), "");
}

TEST_P(GatheredRowsOfOwners, AreDeletedByOtherConditionsToo) {
  const Transaction transaction(database(), Transaction::Changes::kUnlisted);
  const GatheredInserts inserts("email_alias", "email");
  AddAlias(shop_, "orders");

  cache().Get<zeb_db::EmailAliasTable>()->DbDelete("id > 0 AND email = " + std::to_string(shop_));

  EXPECT_EQ(Aliases(), "before\n");
}

TEST_P(GatheredRowsOfOwners, OfTwoTablesAreGatheredSideBySide) {
  const Transaction transaction(database(), Transaction::Changes::kUnlisted);
  GatheredInserts forwards("email_forward", "email");
  {
    GatheredInserts aliases("email_alias", "email");
    AddAlias(info_, "sales");
    const auto forward = cache().Get<zeb_db::EmailForwardTable>();
    forward->New();
    forward->name = "boss@example.net";
    forward->email = info_;
    forward->Post();
    aliases.Finish();
  }
  forwards.Finish();

  EXPECT_EQ(Aliases(), "before\nsales\n");
  EXPECT_EQ(RowsOf("SELECT name FROM email_forward"), "boss@example.net\n");
}

}  // namespace
