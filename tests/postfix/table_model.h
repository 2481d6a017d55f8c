/// NAME
///   table_model - what a table file should say, kept as plainly as possible
///
/// PURPOSE
///   Does to a vector of lines what the back-end should do to the file, by searching all lines each
///   time, so that a test can compare the two after every step. It knows nothing of tokens or
///   indexes: a line belongs to a key when it begins with the mark, the key, and nothing else in
///   that word.

#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace test_support {

class TableModel {
 public:
  /// `mark` is what stands before the key of a record of interest: "@" for a domain's line.
  TableModel(const std::string& text, std::string mark);

  std::string Text() const;

  bool Has(const std::string& key) const { return Find(key).has_value(); }

  /// Adds `line`, which ends in a line feed, at the end.
  void Append(const std::string& line);

  /// Replaces the value of the first line of the key.
  void Set(const std::string& key, const std::string& value);

  /// Takes out the first line of the key, if there is one, with the lines that continue it.
  void Delete(const std::string& key);

 private:
  std::optional<std::size_t> Find(const std::string& key) const;

  std::string mark_;
  std::vector<std::string> lines_;
};

}  // namespace test_support
