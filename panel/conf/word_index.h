/// NAME
///   word index - finding the lines of a file that hold a word
///
/// PURPOSE
///   Knows two ways, as the key index does: a process that asks for one word searches the buffer
///   for its bytes; once such searches have cost more than reading every line, all words are read
///   once and an index answers from then on. Only the lines as they were read are indexed; those
///   that were replaced or added since are looked at each time, and a line is looked at again
///   before it is given.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "panel/conf/text.h"

namespace panel::conf {

class WordIndex {
 public:
  /// The index of `text`, which must outlive it.
  explicit WordIndex(const Text& text) : text_(text) {}

  /// The lines that are in the file and hold the word, in the order of the file.
  std::vector<LineId> Find(std::string_view word);

 private:
  /// A word by its hash, and the offset of a line that was read and holds a word with this hash.
  struct Entry {
    std::uint64_t hash;
    std::size_t offset;
  };

  std::vector<std::size_t> Search(std::string_view word) const;
  std::vector<std::size_t> LookUp(std::string_view word) const;
  void Build();

  const Text& text_;
  std::size_t searches_ = 0;
  std::vector<Entry> entries_;  ///< by hash and offset
};

}  // namespace panel::conf
