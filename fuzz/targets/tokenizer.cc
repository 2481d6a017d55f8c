/// NAME
///   tokenizer - steps through the tokens of any text by any rules
///
/// WHAT MUST HOLD
///   A token is a piece of the text at its place and has no blanks at its ends; no step goes back
///   or beyond the text, and no token beyond the line unless it was asked to.

#include <cstdint>
#include <string>

#include <fuzzer/FuzzedDataProvider.h>

#include "fuzz/support/require.h"
#include "host/fen_err.h"
#include "host/fen_token.h"

namespace {

using fuzz::Require;

constexpr std::string_view kBlanks = " \t\r";

fen_token::Params Rules(FuzzedDataProvider& input) {
  fen_token::Params rules;
  rules.Add(
      new fen_token::CharToken(input.ConsumeRandomLengthString(8), fen_token::Token::kSingle));
  rules.Add(
      new fen_token::CharToken(input.ConsumeRandomLengthString(8), fen_token::Token::kSeparator));
  rules.Add(new fen_token::CharToken("\n", fen_token::Token::kEndOfLine));
  const std::string comment = input.ConsumeRandomLengthString(3);
  if (!comment.empty()) rules.Add(new fen_token::Comment(comment, "\n", input.ConsumeBool()));
  return rules;
}

void CheckToken(const fen_token::Tokenizer& tokenizer, const std::string& text) {
  const std::string& token = tokenizer.token();
  const fuzz::Evidence evidence = {{"text", text}, {"token", token}};
  Require(tokenizer.line_offset() <= tokenizer.pos() && tokenizer.pos() <= text.size(),
          "a token stands in its line", evidence);
  Require(text.compare(tokenizer.pos(), token.size(), token) == 0,
          "a token is the text at its place", evidence);
  Require(token.find('\n') == std::string::npos, "a token stays in its line", evidence);
  Require(token.empty() || (kBlanks.find(token.front()) == std::string_view::npos &&
                            kBlanks.find(token.back()) == std::string_view::npos),
          "a token has no blanks at its ends", evidence);
}

void Step(fen_token::Tokenizer& tokenizer, FuzzedDataProvider& input, const std::string& text) {
  static const std::string kEnds[] = {"\n", "\t", "=", "ab"};
  const std::size_t line = tokenizer.line_offset();
  const std::size_t place = tokenizer.pos();
  const bool is_empty = tokenizer.token().empty();
  const bool is_at_end = tokenizer.AtLineEnd();
  const int step = input.ConsumeIntegralInRange(0, 4);
  if (step == 0) {
    tokenizer.GetToken(false);
    Require(!is_at_end || tokenizer.token().empty(), "nothing comes behind the end of a line",
            {{"text", text}});
  } else if (step == 1) {
    tokenizer.GetToken(true);
  } else if (step == 2) {
    tokenizer.AddToken();
    Require(is_empty || tokenizer.pos() == place, "what is added leaves the token's place",
            {{"text", text}});
  } else if (step == 3) {
    tokenizer.GetUntilToken(input.PickValueInArray(kEnds), input.ConsumeBool(),
                            input.ConsumeBool());
  } else {
    tokenizer.AddUntilToken(input.PickValueInArray(kEnds), input.ConsumeBool(),
                            input.ConsumeBool());
  }
  Require(step == 1 || tokenizer.line_offset() == line, "no step leaves its line unasked",
          {{"text", text}});
  Require(tokenizer.line_offset() >= line && tokenizer.pos() >= place, "no step goes back",
          {{"text", text}});
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider input(data, size);
  const fen_token::Params rules = Rules(input);
  const std::string text = input.ConsumeRandomLengthString(1024);
  const std::size_t line_feed =
      text.find('\n', input.ConsumeIntegralInRange<std::size_t>(0, text.size()));
  fen_token::Tokenizer tokenizer(rules);
  tokenizer.Start(text, line_feed == std::string::npos ? 0 : line_feed + 1);
  CheckToken(tokenizer, text);
  for (int step = 0; step < 64 && input.remaining_bytes() != 0; ++step) {
    Step(tokenizer, input, text);
    CheckToken(tokenizer, text);
  }
  return 0;
}
