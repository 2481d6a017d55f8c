/// NAME
///   sync_pass_test - what is known while a pass goes over the mailboxes

#include "panel/mail/sync_pass.h"

#include <algorithm>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "host/email.h"
#include "tests/panel/db_fixture.h"

namespace {

using panel::mail::SyncPass;

class SyncPasses : public db_test::OnEachDatabase {};

INSTANTIATE_TEST_SUITE_P(On, SyncPasses, testing::Values("Sqlite"), db_test::NameOfKind);

TEST_P(SyncPasses, KnowEachMailboxThatWasThereOrHasComeUp) {
  const std::int64_t first = AddDomain("a.example");
  const std::int64_t second = AddDomain("b.example");
  AddMailbox(first, "info");
  SyncPass pass({}, 10);

  EXPECT_FALSE(pass.IsNew(first, "info"));
  EXPECT_TRUE(pass.IsNew(second, "info"));
  EXPECT_FALSE(pass.IsNew(second, "info"));
  EXPECT_TRUE(pass.IsNew(first, "Info"));
  EXPECT_TRUE(pass.IsNew(first, ""));
  EXPECT_FALSE(pass.IsNew(first, "info"));
}

TEST_P(SyncPasses, AreThoseOfTheThreadWhileTheyLive) {
  EXPECT_EQ(SyncPass::Current(), nullptr);
  {
    const SyncPass pass({}, 10);
    EXPECT_EQ(SyncPass::Current(), &pass);
  }
  EXPECT_EQ(SyncPass::Current(), nullptr);
}

TEST_P(SyncPasses, AnswerAboutAddressesAsTheDatabaseDoes) {
  const std::int64_t key = AddDomain("a.example");
  AddMailbox(key, "info");
  const SyncPass pass({}, 10);
  auto mailbox = cache().Get<zeb_db::EmailTable>();
  auto domain = cache().Get<zeb_db::EmailDomainTable>();

  EXPECT_TRUE(email::FindByEmailName("info@a.example", mailbox, domain));
  EXPECT_EQ(mailbox->name.Str(), "info");
  EXPECT_FALSE(email::FindByEmailName("sales@a.example", mailbox, domain));
  EXPECT_TRUE(mailbox->Eof());
  EXPECT_EQ(domain->id, key);
  AddMailbox(key, "sales");
  EXPECT_TRUE(email::FindByEmailName("sales@a.example", mailbox, domain));
  EXPECT_FALSE(email::FindByEmailName("info@b.example", mailbox, domain));
  EXPECT_TRUE(domain->Eof());
}

TEST_P(SyncPasses, ShowNowAndThenHowFarTheyAre) {
  std::vector<std::pair<std::size_t, std::size_t>> shown;
  SyncPass pass([&shown](std::size_t done, std::size_t all) { shown.emplace_back(done, all); },
                10000);
  for (int step = 0; step < 20000; ++step) pass.Step();

  ASSERT_FALSE(shown.empty());
  EXPECT_LT(shown.size(), 100U);
  EXPECT_TRUE(std::is_sorted(shown.begin(), shown.end()));
  for (const auto& [done, all] : shown) EXPECT_EQ(all, 10000U);
  EXPECT_EQ(shown.back().first, 10000U);
}

}  // namespace
