/// NAME
///   table_values - the addresses in a value of a table, as Postfix takes them

#include "panel/mail/table_values.h"

#include <utility>

namespace panel::mail {
namespace {

/// Steps through a value, one character or one bracketed part at a time.
class ValueParser {
 public:
  explicit ValueParser(std::string_view text) : rest_(text) {}

  std::vector<std::string> Parse() {
    while (!rest_.empty()) Step();
    EndGroup();
    return std::move(values_);
  }

 private:
  void Step() {
    const char character = Take();
    switch (character) {
      case '"':
        TakeQuoted();
        break;
      case '(':
        SkipComment();
        break;
      case '<':
        TakeBracketed();
        break;
      case ',':
        EndGroup();
        break;
      case '\\':
        word_ += rest_.empty() ? '\\' : Take();
        break;
      case ' ':
      case '\t':
      case '\r':
      case '\n':
      case '\v':
      case '\f':
        EndWord();
        break;
      default:
        word_ += character;
    }
  }

  char Take() {
    const char character = rest_.front();
    rest_.remove_prefix(1);
    return character;
  }

  void TakeQuoted() {
    while (!rest_.empty()) {
      char character = Take();
      if (character == '"') return;
      if (character == '\\' && !rest_.empty()) character = Take();
      word_ += character;
    }
  }

  void SkipComment() {
    for (int depth = 1; depth > 0 && !rest_.empty();) {
      const char character = Take();
      if (character == '\\' && !rest_.empty()) Take();
      if (character == '(') ++depth;
      if (character == ')') --depth;
    }
  }

  /// The words before the bracket, back to a comma, are a name.
  void TakeBracketed() {
    group_.clear();
    word_.clear();
    while (!rest_.empty() && rest_.front() != '>') word_ += Take();
    if (!rest_.empty()) Take();
    EndWord();
    EndGroup();
  }

  void EndWord() {
    if (!word_.empty()) group_.push_back(word_);
    word_.clear();
  }

  void EndGroup() {
    EndWord();
    values_.insert(values_.end(), group_.begin(), group_.end());
    group_.clear();
  }

  std::string_view rest_;
  std::string word_;
  std::vector<std::string> group_;
  std::vector<std::string> values_;
};

}  // namespace

std::vector<std::string> ParseValues(std::string_view text) {
  return ValueParser(text).Parse();
}

}  // namespace panel::mail
