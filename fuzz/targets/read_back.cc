/// NAME
///   read_back - changes of tables with rules of the input's own
///
/// PURPOSE
///   The tables of Postfix have their own grammars; the frame promises the same for any. The input
///   says which characters separate tokens and which are tokens by themselves; the records are
///   pairs, lists, and pairs that are written by a pattern.

#include "fuzz/support/table_trial.h"
#include "tests/panel/sample_table.h"

namespace {

/// A tab, at least, separates; a comment begins as it does for Postfix.
std::shared_ptr<fen_token::Params> Rules(FuzzedDataProvider& input) {
  auto rules = std::make_shared<fen_token::Params>();
  rules->Add(
      new fen_token::CharToken(input.ConsumeRandomLengthString(4), fen_token::Token::kSingle));
  rules->Add(new fen_token::CharToken("\t" + input.ConsumeRandomLengthString(4),
                                      fen_token::Token::kSeparator));
  rules->Add(new fen_token::CharToken("\n", fen_token::Token::kEndOfLine));
  rules->Add(new fen_token::Comment("#", "\n", false));
  return rules;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const FenConfCache cache(1);
  FuzzedDataProvider input(data, size);
  panel::conf::Table table("fuzzed", Rules(input));
  table.Add("Pair", "Pair", &ConfCache::Create<panel_test::Pair>);
  table.Add("List", "List", &ConfCache::Create<panel_test::List>);
  table.Add("Pattern", "Pattern", &ConfCache::Create<panel_test::Pattern>);
  fuzz::TableTrial(table, {"Pair", "List", "Pattern"}, input).Run();
  return 0;
}
