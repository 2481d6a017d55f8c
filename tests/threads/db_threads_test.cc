/// NAME
///   db_threads_test - one panel database used by several threads

#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "host/zeb_db.h"
#include "panel/db/database.h"
#include "tests/support/temp_folder.h"
#include "tests/support/test_database.h"

namespace {

constexpr int kThreads = 8;
constexpr int kRows = 40;

/// Runs `work` with the numbers from 0 up, each in a thread of its own.
template <class Work>
void InThreads(Work work) {
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int i = 0; i < kThreads; ++i) threads.emplace_back(work, i);
  for (std::thread& thread : threads) thread.join();
}

class DatabaseThreads : public testing::Test {
 protected:
  fen_db::Cache& cache() { return database_.cache(); }
  panel::db::Database& database() { return database_; }

  std::int64_t Count(const std::string& rows) {
    return cache().Query("SELECT count(*) " + rows).Int();
  }

 private:
  test_support::TempFolder folder_;
  test_support::TestDatabase url_{folder_.Path("panel.db")};
  panel::db::Database database_{url_.url()};
};

TEST_F(DatabaseThreads, PostRowsThroughObjectsOfTheirOwn) {
  InThreads([&](int number) {
    for (int i = 0; i < kRows; ++i) {
      const auto domain = cache().Get<zeb_db::EmailDomainTable>();
      domain->New();
      domain->name = "d" + std::to_string(number) + "-" + std::to_string(i) + ".example";
      domain->users = number;
      domain->Post();
      domain->tag = domain->id;
      domain->Post();
    }
  });
  EXPECT_EQ(Count("FROM email_domain WHERE tag = id"), kThreads * kRows);
  EXPECT_EQ(Count("FROM (SELECT users FROM email_domain GROUP BY users HAVING count(*) = 40) AS t"),
            kThreads);
}

TEST_F(DatabaseThreads, FindTheRowsThatTheyLookFor) {
  for (int i = 0; i < kThreads; ++i) {
    const auto domain = cache().Get<zeb_db::EmailDomainTable>();
    domain->New();
    domain->name = "d" + std::to_string(i) + ".example";
    domain->users = i;
    domain->Post();
  }
  std::vector<int> wrong(kThreads, 0);
  const panel::db::Transaction transaction(database());
  InThreads([&](int number) {
    const std::string name = "d" + std::to_string(number) + ".example";
    for (int i = 0; i < kRows; ++i) {
      const auto domain = cache().Get<zeb_db::EmailDomainTable>();
      if (!domain->name.Lookup(name) || domain->users != number) ++wrong[std::size_t(number)];
      if (domain->DbFind("name = 'd.example'")) ++wrong[std::size_t(number)];
      fen_db::Result rows =
          cache().Query("SELECT users FROM email_domain WHERE name = '" + name + "'");
      if (rows.Eof() || rows.Int() != number) ++wrong[std::size_t(number)];
    }
  });
  EXPECT_EQ(wrong, std::vector<int>(kThreads, 0));
}

TEST_F(DatabaseThreads, AskAboutTheSameFile) {
  test_support::TempFolder folder;
  const std::string file = folder.WriteText("table", "text\n").string();
  const panel::db::Transaction transaction(database());
  std::vector<int> changed(kThreads, 0);
  InThreads([&](int number) {
    std::string stamp;
    changed[std::size_t(number)] = zeb_db::FileIsChanged(file, stamp) ? 1 : 0;
  });
  EXPECT_EQ(changed, std::vector<int>(kThreads, 1));
}

}  // namespace
