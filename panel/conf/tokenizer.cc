/// NAME
///   tokenizer - splitting a table file's lines into tokens

#include <utility>

#include "host/fen_err.h"
#include "host/fen_token.h"

namespace fen_token {

namespace {

bool IsBlank(char character) {
  return character == ' ' || character == '\t' || character == '\r';
}

}  // namespace

Rule::~Rule() = default;

CharToken::CharToken(std::string chars, Token::Type type) : chars_(std::move(chars)), type_(type) {}

void CharToken::Apply(Params& params) const {
  for (char character : chars_) params.types_[static_cast<unsigned char>(character)] = type_;
}

Comment::Comment(std::string start, const std::string& end, bool /*with_end*/)
    : start_(std::move(start)) {
  if (start_.empty() || end != "\n") {
    throw fen_err::Error("token", "comment", "a comment must end with its line");
  }
}

void Comment::Apply(Params& params) const {
  params.comment_ = start_;
}

void Params::Add(Rule* rule) {
  rules_.emplace_back(rule);
  rule->Apply(*this);
  for (std::size_t code = 0; code < plain_.size(); ++code) {
    const char character = static_cast<char>(code);
    plain_[code] = types_[code] == Token::kWord && character != '\r' &&
                   (comment_.empty() || character != comment_.front());
  }
}

void Tokenizer::Start(std::string_view text, std::size_t line_offset) {
  text_ = text;
  line_offset_ = line_offset;
  next_ = line_offset;
  GetToken(false);
}

void Tokenizer::GetToken(bool next_line) {
  std::size_t begin = SkipSeparators(next_);
  while (next_line && EndsText(begin) && begin < text_.size()) {
    const std::size_t line_feed = text_.find('\n', begin);
    if (line_feed == std::string_view::npos) break;
    line_offset_ = line_feed + 1;
    begin = SkipSeparators(line_offset_);
  }
  SetToken(begin, EndOfToken(begin));
}

void Tokenizer::AddToken() {
  if (next_ == end_) SetToken(begin_, EndOfToken(next_));
}

void Tokenizer::GetUntilToken(const std::string& end, bool through_comment, bool keep_end) {
  begin_ = SkipSeparators(next_);
  next_ = begin_;
  AddUntilToken(end, through_comment, keep_end);
}

void Tokenizer::AddUntilToken(const std::string& end, bool through_comment, bool keep_end) {
  const std::size_t stop = FindEnd(next_, end, through_comment);
  SetToken(begin_, stop);
  if (!keep_end && !EndsLine(stop) && text_.compare(stop, end.size(), end) == 0) {
    next_ += end.size();
  }
}

bool Tokenizer::AtLineEnd() const {
  return EndsText(SkipSeparators(next_));
}

std::size_t Tokenizer::SkipSeparators(std::size_t position) const {
  while (position < text_.size() && params_.TypeOf(text_[position]) == Token::kSeparator) {
    ++position;
  }
  return position;
}

bool Tokenizer::EndsLine(std::size_t position) const {
  if (position < text_.size() && text_[position] == '\r') ++position;
  return position >= text_.size() || params_.TypeOf(text_[position]) == Token::kEndOfLine;
}

bool Tokenizer::EndsText(std::size_t position) const {
  return EndsLine(position) || params_.IsComment(text_, position);
}

std::size_t Tokenizer::EndOfToken(std::size_t position) const {
  if (EndsText(position)) return position;
  if (params_.TypeOf(text_[position]) == Token::kSingle) return position + 1;
  while (position < text_.size()) {
    const char character = text_[position];
    if (!params_.IsPlain(character) &&
        (params_.TypeOf(character) != Token::kWord || EndsText(position))) {
      break;
    }
    ++position;
  }
  return position;
}

std::size_t Tokenizer::FindEnd(std::size_t position, const std::string& end,
                               bool through_comment) const {
  for (; position < text_.size(); ++position) {
    const char character = text_[position];
    if (character == end.front() && text_.compare(position, end.size(), end) == 0) break;
    if (params_.IsPlain(character)) continue;
    if (EndsLine(position) || (!through_comment && params_.IsComment(text_, position))) break;
  }
  return position;
}

void Tokenizer::SetToken(std::size_t begin, std::size_t end) {
  next_ = end;
  while (begin < end && IsBlank(text_[begin])) ++begin;
  while (end > begin && IsBlank(text_[end - 1])) --end;
  begin_ = begin;
  end_ = end;
  token_.assign(text_, begin, end - begin);
}

}  // namespace fen_token
