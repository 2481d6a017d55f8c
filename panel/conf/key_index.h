/// NAME
///   key index - finding a record of a file by its key
///
/// PURPOSE
///   Finds the first record, in the order of the file, that has a key. It knows two ways. A value
///   is always a piece of its line, so a record with a key stands in a line that contains the key's
///   bytes: a process that needs one record searches the buffer for them and reads no more than the
///   lines it hits. Once such searches have cost more than reading every line, all lines are read
///   once and an index answers from then on, at a cost that does not depend on the file's size.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "panel/conf/table.h"
#include "panel/conf/text.h"

namespace panel::conf {

class KeyIndex {
 public:
  /// The index of the records of type `type` in `text`. Both must outlive it.
  KeyIndex(const Table& table, std::size_t type, const Text& text);

  /// The line of the first record with `key`; none when there is none.
  LineId Find(std::string_view key);

  /// To be told of every change of the text: before a record's line is replaced or taken out, and
  /// after it was put in or replaced.
  void Forget(LineId line);
  void Learn(LineId line);

 private:
  LineId Search(std::string_view key);
  LineId SearchRead(std::string_view key);
  LineId LookUp(std::string_view key);
  void Build();

  bool HasKey(LineId line, std::string_view key);
  std::string_view KeyOf(LineId line);
  void Insert(LineId line, std::string_view key);

  std::size_t type_;
  const Text& text_;
  LineReader reader_;

  /// Bytes gone through by searches; a line that was read counts as kReadCost of them.
  std::size_t searched_ = 0;
  bool built_ = false;

  /// A hash table with linear probing: the line in the lower bits, the upper bits of the key's hash
  /// above them.
  std::vector<std::uint64_t> slots_;
  std::size_t used_ = 0;
};

}  // namespace panel::conf
