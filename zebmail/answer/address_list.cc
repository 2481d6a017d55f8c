/// NAME
///   address_list - the addresses of a field such as "To:"

#include "zebmail/answer/address_list.h"

#include <utility>

#include "zebmail/answer/ascii.h"

namespace zebmail::answer {
namespace {

/// Goes through a value once, from left to right.
class AddressReader {
 public:
  explicit AddressReader(std::string_view value) : value_(value) {}

  std::vector<std::string> Read() {
    while (place_ < value_.size()) ReadNext();
    EndAddress();
    return std::move(addresses_);
  }

 private:
  void ReadNext() {
    const char byte = value_[place_];
    if (byte == '(') {
      SkipComment();
    } else if (byte == '"') {
      Append(QuotedWord());
    } else if (byte == '[') {
      Append(TakeUntil(']'));
    } else {
      ++place_;
      ReadOne(byte);
    }
  }

  void ReadOne(char byte) {
    if (IsBlank(byte)) {
      is_behind_blank_ = true;
    } else if (byte == '<') {
      Begin();  // what was read is the display name
      is_in_brackets_ = true;
    } else if (byte == '>' && is_in_brackets_) {
      is_complete_ = true;
    } else if (byte == ':') {
      Begin();  // what was read is the name of a group or, in brackets, a route
    } else if (byte == ';' || (byte == ',' && (!is_in_brackets_ || is_complete_))) {
      EndAddress();
    } else {
      Append(std::string(1, byte));
    }
  }

  void Begin() {
    address_.clear();
    is_behind_blank_ = false;
  }

  void EndAddress() {
    if (!address_.empty()) addresses_.push_back(std::move(address_));
    Begin();
    is_in_brackets_ = false;
    is_complete_ = false;
  }

  /// Nothing behind the closing bracket is part of the address. Two words that only a blank
  /// separates are no address, so the blank stays.
  void Append(const std::string& part) {
    if (is_complete_) return;
    const bool is_joined = address_.empty() || IsJoint(address_.back()) || IsJoint(part.front());
    if (is_behind_blank_ && !is_joined) address_ += ' ';
    is_behind_blank_ = false;
    address_ += part;
  }

  static bool IsJoint(char byte) { return byte == '@' || byte == '.'; }

  /// Comments nest.
  void SkipComment() {
    std::size_t depth = 0;
    while (place_ < value_.size()) {
      const char byte = value_[place_++];
      if (byte == '\\') {
        ++place_;
      } else if (byte == '(') {
        ++depth;
      } else if (byte == ')' && --depth == 0) {
        break;
      }
    }
    is_behind_blank_ = true;
  }

  /// A word that needs no quotes is returned without them.
  std::string QuotedWord() {
    std::string word;
    bool is_closed = false;
    for (++place_; place_ < value_.size() && !is_closed; ++place_) {
      char byte = value_[place_];
      is_closed = byte == '"';
      if (byte == '\\' && place_ + 1 < value_.size()) byte = value_[++place_];
      if (!is_closed) word += byte;
    }
    const bool needs_quotes = word.empty() || word.find_first_of(kSpecials) != std::string::npos;
    return needs_quotes || !is_closed ? '"' + word + '"' : word;
  }

  /// The text up to and with `end`.
  std::string TakeUntil(char end) {
    const std::size_t begin = place_;
    const std::size_t found = value_.find(end, begin);
    place_ = found == std::string_view::npos ? value_.size() : found + 1;
    return std::string(value_.substr(begin, place_ - begin));
  }

  static constexpr std::string_view kSpecials = "()<>[]:;@\\,\" \t\r\n";

  std::string_view value_;
  std::size_t place_ = 0;
  std::string address_;
  bool is_behind_blank_ = false;
  bool is_in_brackets_ = false;
  bool is_complete_ = false;  ///< the brackets have been closed
  std::vector<std::string> addresses_;
};

}  // namespace

std::vector<std::string> ReadAddresses(std::string_view value) {
  return AddressReader(value).Read();
}

}  // namespace zebmail::answer
