/// NAME
///   record set - a position in a file, and the record there
///
/// PURPOSE
///   Behind ConfDataSet: moves over the records of one type, reads the fields of the one it stands
///   on, gathers what is written to them, and posts it. Nothing reaches the text before the line
///   that would be written has been read back and found to say what it should.

#pragma once

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/conf.h"
#include "panel/conf/file.h"
#include "panel/conf/table.h"

namespace panel::conf {

class RecordSet {
 public:
  /// A position in `file` for the records of `type`, whose fields are those of `set`.
  RecordSet(std::shared_ptr<File> file, std::size_t type, ConfDataSet& set);

  const std::shared_ptr<File>& file() const { return file_; }

  /// Whether an exception has begun its way since the set was opened.
  bool IsUnwinding() const;

  void First();
  void Next();
  bool Eof() const { return state_ == State::kEnd; }
  bool Find(const std::string& key);
  void New();

  std::string FieldValue(std::size_t field);
  void Modify(std::size_t field, const std::string& value);

  /// Posts a new record below the given line, or at the end without one.
  void Post(LineId beside);
  void Delete();

  /// The current line; none when the set stands on none.
  LineId line() const { return state_ == State::kOn ? line_ : LineId(); }

  /// The line of the first record with `key`.
  LineId LineOf(const std::string& key) { return file_->Find(type_, key); }

 private:
  enum class State { kEnd, kOn, kNew, kDeleted };

  /// A text for each field; none for a field that nobody wrote to.
  using Values = std::vector<std::optional<std::string>>;

  void MoveTo(LineId line);
  void SeekFrom(LineId line);
  LineId NextLine(LineId line);
  [[noreturn]] void FailMissing() const;
  bool Reads(LineId line);
  void ReadCurrent();

  void PostNew(LineId beside);
  void PostChanged();
  Values Changes();

  const std::string& NameOf(std::size_t field) const;
  void CheckValues(const Values& values) const;
  void CheckReadsBack(const std::string& line, const Values& values);
  std::string ChangedLine(const Values& changes, const Values& values);
  std::string Separator(std::size_t field, const Values& values);
  std::string NewLine(const Values& values);
  std::string Template(const Values& values);
  std::string Fill(const std::string& pattern, const Values& values) const;

  std::shared_ptr<File> file_;
  std::size_t type_;
  ConfDataSet& set_;
  int exceptions_;

  LineReader reader_;
  LineId read_;                   ///< whose record the reader has; none when it has another text's
  std::size_t changes_read_ = 0;  ///< of the text when it was read
  State state_ = State::kEnd;
  LineId line_;
  Values written_;

  /// The lines that the walk begun by First() goes over, the next one first; none when it goes over
  /// all.
  std::optional<std::deque<LineId>> narrowed_;
};

}  // namespace panel::conf
