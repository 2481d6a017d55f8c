/// NAME
///   tokenizer_test - tokens of single lines

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "host/fen_err.h"
#include "host/fen_token.h"

namespace {

using fen_token::CharToken;
using fen_token::Comment;
using fen_token::Params;
using fen_token::Token;
using fen_token::Tokenizer;

class TokenizerTest : public testing::Test {
 protected:
  TokenizerTest() {
    params.Add(new CharToken("@", Token::kSingle));
    params.Add(new CharToken("\t ", Token::kSeparator));
    params.Add(new CharToken("\n", Token::kEndOfLine));
    params.Add(new Comment("#", "\n", false));
  }

  void Start(const std::string& line) {
    text = line;
    tokenizer.Start(text, 0);
  }

  std::vector<std::string> Tokens(const std::string& line) {
    Start(line);
    std::vector<std::string> tokens;
    for (; !tokenizer.token().empty(); tokenizer.GetToken(false)) {
      tokens.push_back(tokenizer.token());
    }
    return tokens;
  }

  Params params;
  Tokenizer tokenizer{params};
  std::string text;
};

using Strings = std::vector<std::string>;

TEST_F(TokenizerTest, SeparatorsSplitWordsAndSingleCharactersStandAlone) {
  EXPECT_EQ(Tokens("john@example.org\t devnull x\n"),
            (Strings{"john", "@", "example.org", "devnull", "x"}));
}

TEST_F(TokenizerTest, ACommentEndsTheLineWhereverItBegins) {
  EXPECT_EQ(Tokens("one two#three\n"), (Strings{"one", "two"}));
  EXPECT_EQ(Tokens("# only a comment\n"), Strings{});
}

TEST_F(TokenizerTest, ALineWithoutALineFeedEndsWithTheText) {
  EXPECT_EQ(Tokens("one two"), (Strings{"one", "two"}));
  EXPECT_EQ(Tokens(""), Strings{});
}

TEST_F(TokenizerTest, ACarriageReturnAtTheLineEndBelongsToNoToken) {
  EXPECT_EQ(Tokens("one two\r\n"), (Strings{"one", "two"}));
  EXPECT_EQ(Tokens("\r\n"), Strings{});
}

TEST_F(TokenizerTest, ACarriageReturnInsideAWordStaysThere) {
  EXPECT_EQ(Tokens("o\rne\n"), Strings{"o\rne"});
}

TEST_F(TokenizerTest, ATokenBehindBlanksDoesNotStartTheLine) {
  Start("  one\n");

  EXPECT_EQ(tokenizer.token(), "one");
  EXPECT_EQ(tokenizer.pos(), 2U);
  EXPECT_EQ(tokenizer.line_offset(), 0U);
}

TEST_F(TokenizerTest, AddTokenJoinsOnlyWhatFollowsDirectly) {
  Start("john@example.org x\n");
  tokenizer.AddToken();
  EXPECT_EQ(tokenizer.token(), "john@");
  tokenizer.AddToken();
  EXPECT_EQ(tokenizer.token(), "john@example.org");
  tokenizer.AddToken();
  EXPECT_EQ(tokenizer.token(), "john@example.org");
  EXPECT_EQ(tokenizer.pos(), 0U);
}

TEST_F(TokenizerTest, TheRestOfTheLineIsTakenWithoutOuterBlanksAndComment) {
  Start("key \t one  two \t# three\n");
  tokenizer.GetUntilToken("\n", false, true);

  EXPECT_EQ(tokenizer.token(), "one  two");
  EXPECT_EQ(tokenizer.pos(), 6U);
  EXPECT_TRUE(tokenizer.AtLineEnd());
}

TEST_F(TokenizerTest, TheRestOfTheLineCanBeTakenThroughAComment) {
  Start("key one # two\n");
  tokenizer.GetUntilToken("\n", true, true);

  EXPECT_EQ(tokenizer.token(), "one # two");
}

TEST_F(TokenizerTest, AnEmptyRestStandsBehindTheSeparators) {
  Start("key \t\r\n");
  tokenizer.GetUntilToken("\n", false, true);

  EXPECT_EQ(tokenizer.token(), "");
  EXPECT_EQ(tokenizer.pos(), 5U);
}

TEST_F(TokenizerTest, AddUntilTokenExtendsUpToTheTerminatorAndLeavesItOrSkipsIt) {
  Start("a@b=c=d\n");
  tokenizer.AddUntilToken("=", false, true);
  EXPECT_EQ(tokenizer.token(), "a@b");
  tokenizer.GetUntilToken("c", false, false);
  EXPECT_EQ(tokenizer.token(), "=");
  tokenizer.GetToken(false);
  EXPECT_EQ(tokenizer.token(), "=d");
}

TEST_F(TokenizerTest, NoTerminatorLeadsIntoTheNextLine) {
  Start("one two\nthree\n");
  tokenizer.GetUntilToken("\n", false, false);
  EXPECT_EQ(tokenizer.token(), "two");
  tokenizer.GetUntilToken("\n", false, false);

  EXPECT_EQ(tokenizer.token(), "");
  EXPECT_EQ(tokenizer.line_offset(), 0U);
  EXPECT_TRUE(tokenizer.AtLineEnd());
}

TEST_F(TokenizerTest, GetTokenGoesOnToTheNextLineOnlyWhenAsked) {
  Start("one # comment\n\n  two\n");
  tokenizer.GetToken(false);
  EXPECT_EQ(tokenizer.token(), "");
  tokenizer.GetToken(true);
  EXPECT_EQ(tokenizer.token(), "two");
  EXPECT_EQ(tokenizer.line_offset(), 15U);
  tokenizer.GetToken(true);
  EXPECT_EQ(tokenizer.token(), "");
}

TEST_F(TokenizerTest, WithoutSeparatorsBlanksBelongToTheWordButNotAtItsEnds) {
  Params bare;
  bare.Add(new CharToken("\n", Token::kEndOfLine));
  bare.Add(new Comment("#", "\n", true));
  Tokenizer names(bare);

  names.Start("two words \t # comment\n", 0);
  EXPECT_EQ(names.token(), "two words");
  names.Start(" indented\n", 0);
  EXPECT_EQ(names.token(), "indented");
  EXPECT_EQ(names.pos(), 1U);
}

TEST(CommentRule, ThatDoesNotEndWithItsLineIsRefused) {
  EXPECT_THROW(Comment("/*", "*/", false), fen_err::Error);
  EXPECT_THROW(Comment("", "\n", false), fen_err::Error);
}

}  // namespace
