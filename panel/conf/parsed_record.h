/// NAME
///   parsed record - where the fields of a record stand in its line

#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace panel::conf {

class ParsedRecord {
 public:
  struct Span {
    std::size_t begin = 0;
    std::size_t size = 0;

    std::size_t end() const { return begin + size; }
  };

  void Clear() {
    fields_.clear();
    closed_ = false;
  }

  void Store(std::size_t field, Span span) {
    if (fields_.size() <= field) fields_.resize(field + 1);
    fields_[field] = span;
  }

  void Close() { closed_ = true; }

  /// Whether the line is a record whose fields can be told apart and changed one by one: a grammar
  /// has closed it, it has a key and all of its `fields`, in their order, and no two values touch.
  bool IsRecord(std::size_t fields) const {
    if (!closed_ || fields_.size() != fields || fields_.front().size == 0) return false;
    for (std::size_t field = 1; field < fields; ++field) {
      const Span& left = fields_[field - 1];
      const Span& right = fields_[field];
      if (right.begin < left.end() || (right.begin == left.end() && right.size != 0)) return false;
    }
    return true;
  }

  const Span& field(std::size_t field) const { return fields_[field]; }

  std::string_view Value(std::size_t field, std::string_view line) const {
    return line.substr(fields_[field].begin, fields_[field].size);
  }

 private:
  std::vector<Span> fields_;
  bool closed_ = false;
};

}  // namespace panel::conf
