/// NAME
///   cached_config_test - the frame that all table files share

#include "email/cached_config.h"

#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "tests/email/error_of.h"
#include "tests/email/tables.h"

namespace {

using test_support::All;
using test_support::ErrorOf;
using test_support::RecordingTool;
using test_support::TestPanel;

/// A record of one word, and a table of it that counts its instances.
class Word : public HeadDataSet {
 public:
  bool Parse(Cf cf) override {
    if (cf->pos() != cf->line_offset()) return false;
    cf.CacheStart(this, true);
    cf.CacheField(word);
    cf.CacheDone(this, false);
    return true;
  }
  std::string NewRecordTemplate() override { return "__word__\n"; }

  dd::Field word{*this, "word"};
};

class WordTable : public FenCachedConfig<WordTable> {
 public:
  static inline int instances = 0;

  WordTable() {
    ++instances;
    auto rules = std::make_shared<fen_token::Params>();
    rules->Add(new fen_token::CharToken("\n", fen_token::Token::kEndOfLine));
    Describe(rules);
    AddRecords<Word>();
  }
};

Cursor<Word> Words(const TestPanel& panel) {
  return WordTable::Get<Word>(panel.Table("words"), true);
}

}  // namespace

TEST(RuntimeName, IsTheTypeNameWithoutALeadingStar) {
  EXPECT_EQ(RuntimeName(typeid(email::VirtualUserTable)), "N5email16VirtualUserTableE");
  EXPECT_FALSE(RuntimeName(typeid(WordTable)).starts_with('*'));
}

TEST(CachedConfig, HidesTheCacheBehindTheTable) {
  EXPECT_FALSE((std::is_convertible_v<WordTable*, BaseCachedConfig<FenConfCache>*>));
  EXPECT_TRUE((std::is_base_of_v<BaseCachedConfigEvent, WordTable>));
}

TEST(CachedConfig, MakesATableOnceForAllThreads) {
  TestPanel panel;
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back(
        [&panel, i] { WordTable::Get<Word>(panel.Table("words" + std::to_string(i)), true); });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(WordTable::instances, 1);
}

TEST(CachedConfig, MakesATableOnceForAllItsRecordClasses) {
  TestPanel panel;
  panel.SetText("virtusertable", "@a.example\tx\nj@a.example\ty\n");
  const auto domain = test_support::DomainLines(panel);
  const auto mailbox = test_support::AddressLines(panel);
  EXPECT_TRUE(domain->Find("a.example"));
  EXPECT_TRUE(mailbox->Find("j@a.example"));
}

TEST(CachedConfig, UsesOneCacheForAllTables) {
  EXPECT_EQ(&BaseCachedConfig<FenConfCache>::Instance(),
            &BaseCachedConfig<FenConfCache>::Instance());
}

TEST(CachedConfig, ReadsAMissingFileAsEmptyAndLeavesItMissing) {
  TestPanel panel;
  EXPECT_TRUE(All(Words(panel), [](const Word& word) { return word.word.Str(); }).empty());
  EXPECT_FALSE(std::filesystem::exists(panel.Table("words")));
}

TEST(CachedConfig, FailsForAMissingFileThatIsNotToBeCreated) {
  TestPanel panel;
  const auto error = ErrorOf([&] { WordTable::Get<Word>(panel.Table("words"), false); });
  EXPECT_EQ(error.type(), "file");
  EXPECT_EQ(error.object(), panel.Table("words").string());
}

TEST(CachedConfig, RunsNothingAfterASaveUnlessATableSaysSo) {
  TestPanel panel;
  const RecordingTool tool(panel.folder(), "tool");
  for (const char* name : {"postfix-bin", "postfix-postmap", "postfix-postalias"}) {
    panel.SetPath(name, tool.path());
  }
  {
    auto words = Words(panel);
    words->Create("one");
    words->Post("");
  }
  EXPECT_EQ(panel.Text("words"), "one\n");
  EXPECT_TRUE(tool.Runs().empty());
}

TEST(CachedConfig, FillsThePlaceholdersOfATemplate) {
  TestPanel panel;
  {
    auto words = Words(panel);
    words->New();
    words->word.Set("__word__");
    words->Post("");
  }
  EXPECT_EQ(panel.Text("words"), "__word__\n");
}

TEST(DeleteByKey, OfAKeyThatIsNotThereReturnsFalseAndChangesNothing) {
  TestPanel panel;
  panel.SetText("words", "one\ntwo\n");
  EXPECT_FALSE(Words(panel)->Delete("three"));
  EXPECT_EQ(panel.Text("words"), "one\ntwo\n");
}

TEST(DeleteByKey, OfAKeyThatIsThereReturnsTrueAndDeletesItsFirstRecord) {
  TestPanel panel;
  panel.SetText("words", "one\ntwo\none\n");
  EXPECT_TRUE(Words(panel)->Delete("one"));
  EXPECT_EQ(panel.Text("words"), "two\none\n");
}

TEST(Cursor, KeepsTheFileOpenAfterTheReferenceIsGone) {
  TestPanel panel;
  panel.SetText("words", "one\n");
  const auto words = Words(panel);
  const Cursor<Word> copy = words;
  EXPECT_TRUE(copy->Find("one"));
  EXPECT_EQ(words->word.Str(), "one");
}
