/// NAME
///   fen_token - splitting a table file's lines into tokens
///
/// PURPOSE
///   A table says with a few rules which characters separate tokens, which are tokens by
///   themselves and where comments begin; everything else joins to words. A record's grammar then
///   steps through the tokens of one line.
///
/// WHAT A TOKEN IS
///   A piece of the file, never a rebuilt text: it has a place, and the file's bytes at that place
///   are the token. It never begins or ends with a blank, a tab or a carriage return, so a line end
///   of CR LF reads like one of LF.

#pragma once

#include <array>
#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace fen_token {

struct Token {
  /// What a character means to the tokenizer. kWord is every character without a rule.
  enum Type { kWord = 0, kSeparator = 1, kSingle = 2, kEndOfLine = 6 };
};

class Params;

/// One rule of a table.
class Rule {
 public:
  virtual ~Rule();

 private:
  friend class Params;
  virtual void Apply(Params& params) const = 0;
};

/// Every character of `chars` is of the type `type`.
class CharToken : public Rule {
 public:
  CharToken(std::string chars, Token::Type type);

 private:
  void Apply(Params& params) const override;

  std::string chars_;
  Token::Type type_;
};

/// A comment runs from `start` up to `end`, which must be the line feed: a record is one line, and
/// a comment must not reach into the next one. Throws fen_err::Error("token", ...) otherwise. The
/// last argument tells whether the line feed belongs to the comment or stands behind it as the end
/// of the line; since records are read line by line, both read the same.
class Comment : public Rule {
 public:
  Comment(std::string start, const std::string& end, bool with_end);

 private:
  void Apply(Params& params) const override;

  std::string start_;
};

/// The rules of a table, in the order in which they were added; a later rule for a character
/// replaces an earlier one.
class Params {
 public:
  /// Adds `rule`, which belongs to the params from now on.
  void Add(Rule* rule);

  Token::Type TypeOf(char character) const { return types_[static_cast<unsigned char>(character)]; }

  /// Whether the character can be nothing but a part of a word.
  bool IsPlain(char character) const { return plain_[static_cast<unsigned char>(character)]; }

  /// Whether a comment begins at `position` of `text`.
  bool IsComment(std::string_view text, std::size_t position) const {
    return !comment_.empty() && text[position] == comment_.front() &&
           text.compare(position, comment_.size(), comment_) == 0;
  }

 private:
  friend class CharToken;
  friend class Comment;

  std::vector<std::unique_ptr<Rule>> rules_;
  std::array<Token::Type, 256> types_{};
  std::array<bool, 256> plain_{};
  std::string comment_;
};

/// Steps through the tokens of one line. All places are offsets in bytes into the text that the
/// tokenizer was given, a view that must outlive it.
class Tokenizer {
 public:
  explicit Tokenizer(const Params& params) : params_(params) {}

  /// Stands on the first token of the line that begins at `line_offset` of `text`.
  void Start(std::string_view text, std::size_t line_offset);

  /// Where the current token begins. A token that is empty, because the line's end or a comment was
  /// reached, stands behind the separators, where a value would go.
  std::size_t pos() const noexcept { return begin_; }

  /// Where the current line begins.
  std::size_t line_offset() const noexcept { return line_offset_; }

  /// The text of the current token; empty at the end of the line or in front of a comment.
  const std::string& token() const noexcept { return token_; }

  /// Steps to the next token, over separators. At the end of the line the token becomes empty;
  /// with `next_line` set the tokenizer goes on to the first token of the next line instead.
  void GetToken(bool next_line);

  /// Appends the next token to the current one if it follows directly; a separator, a comment or
  /// the end of the line between them leaves the current token as it is.
  void AddToken();

  /// Makes the current token everything from the next character that is not a separator up to
  /// `end`, or to the end of the line where `end` does not come. A comment ends it as well, unless
  /// `through_comment` is set. With `keep_end` the next step begins at `end`, else behind it; it
  /// never leaves the line.
  void GetUntilToken(const std::string& end, bool through_comment, bool keep_end);

  /// Extends the current token up to `end`, under the same rules.
  void AddUntilToken(const std::string& end, bool through_comment, bool keep_end);

  /// Whether nothing but separators, a comment and the line's end follows the current token.
  bool AtLineEnd() const;

 private:
  std::size_t SkipSeparators(std::size_t position) const;
  bool EndsLine(std::size_t position) const;
  bool EndsText(std::size_t position) const;
  std::size_t EndOfToken(std::size_t position) const;
  std::size_t FindEnd(std::size_t position, const std::string& end, bool through_comment) const;
  void SetToken(std::size_t begin, std::size_t end);

  const Params& params_;
  std::string_view text_;
  std::size_t line_offset_ = 0;
  std::size_t begin_ = 0;
  std::size_t end_ = 0;
  std::size_t next_ = 0;
  std::string token_;
};

}  // namespace fen_token
