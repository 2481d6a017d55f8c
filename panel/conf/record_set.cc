/// NAME
///   record set - a position in a file, and the record there

#include "panel/conf/record_set.h"

#include <algorithm>
#include <exception>
#include <utility>

#include "host/fen_err.h"
#include "panel/conf/narrowed_walk.h"
#include "panel/conf/passed_over.h"

namespace panel::conf {

namespace {

/// No line of a table may hold them; a tab may stand between the words of a value.
bool IsControl(char character) {
  const auto code = static_cast<unsigned char>(character);
  return (code < 0x20 && character != '\t') || code == 0x7f;
}

bool IsBlank(char character) {
  return character == ' ' || character == '\t';
}

}  // namespace

RecordSet::RecordSet(std::shared_ptr<File> file, std::size_t type, ConfDataSet& set)
    : file_(std::move(file)),
      type_(type),
      set_(set),
      exceptions_(std::uncaught_exceptions()),
      reader_(file_->table()),
      written_(set.fields().size()) {}

bool RecordSet::IsUnwinding() const {
  return std::uncaught_exceptions() > exceptions_;
}

void RecordSet::First() {
  narrowed_.reset();
  if (const std::string* word = NarrowedWalk::WordFor(file_->path())) {
    const std::vector<LineId> lines = file_->LinesWith(*word);
    narrowed_.emplace(lines.begin(), lines.end());
    SeekFrom(NextLine(LineId()));
  } else {
    SeekFrom(file_->text().First());
  }
}

void RecordSet::Next() {
  const bool placed = state_ == State::kOn || state_ == State::kDeleted;
  SeekFrom(placed ? NextLine(line_) : LineId());
}

bool RecordSet::Find(const std::string& key) {
  narrowed_.reset();
  MoveTo(file_->Find(type_, key));
  return state_ == State::kOn;
}

void RecordSet::New() {
  narrowed_.reset();
  MoveTo(LineId());
  state_ = State::kNew;
}

std::string RecordSet::FieldValue(std::size_t field) {
  if (state_ == State::kEnd || state_ == State::kDeleted) FailMissing();
  if (written_[field]) return *written_[field];
  if (state_ == State::kNew) return "";
  ReadCurrent();
  return std::string(reader_.record().Value(field, file_->text().Line(line_)));
}

void RecordSet::Modify(std::size_t field, const std::string& value) {
  if (state_ == State::kEnd || state_ == State::kDeleted) FailMissing();
  written_[field] = value;
}

void RecordSet::Post(LineId beside) {
  if (state_ == State::kNew) {
    PostNew(beside);
  } else if (state_ == State::kOn) {
    PostChanged();
  } else {
    FailMissing();
  }
  std::fill(written_.begin(), written_.end(), std::nullopt);
}

void RecordSet::Delete() {
  if (state_ == State::kOn) {
    ReadCurrent();
    file_->Remove(type_, line_);
    state_ = State::kDeleted;
  } else if (state_ == State::kNew) {
    MoveTo(LineId());
  } else {
    FailMissing();
  }
}

/// Stands on the record in `line`, or at the end without one; what was not posted is forgotten.
void RecordSet::MoveTo(LineId line) {
  line_ = line;
  state_ = line.IsNone() ? State::kEnd : State::kOn;
  std::fill(written_.begin(), written_.end(), std::nullopt);
}

/// Stands on the first record of the type in `line` or behind it.
void RecordSet::SeekFrom(LineId line) {
  PassedOver* const passed_over = PassedOver::Of(file_->path(), file_->read_stamp());
  const auto is_passed_over = [passed_over](LineId one) {
    return passed_over != nullptr && !one.IsAdded() && passed_over->Contains(one.offset());
  };
  while (!line.IsNone() && (is_passed_over(line) || !Reads(line))) line = NextLine(line);
  MoveTo(line);
}

/// The line behind `line` on the walk.
LineId RecordSet::NextLine(LineId line) {
  if (!narrowed_) return file_->text().Next(line);
  while (!narrowed_->empty()) {
    const LineId next = narrowed_->front();
    narrowed_->pop_front();
    if (file_->text().IsIn(next)) return next;
  }
  return LineId();
}

void RecordSet::FailMissing() const {
  throw fen_err::Error("missing", file_->path(), "");
}

/// Whether the line is a record of the type; the reader has it then.
bool RecordSet::Reads(LineId line) {
  const Text& text = file_->text();
  read_ = LineId();
  if (!reader_.Read(type_, text.Line(line))) return false;
  read_ = line;
  changes_read_ = text.changes();
  return true;
}

/// Reads the line that the set stands on, unless the reader has it still; another cursor may have
/// changed or deleted it meanwhile.
void RecordSet::ReadCurrent() {
  const Text& text = file_->text();
  if (read_ == line_ && changes_read_ == text.changes()) return;
  if (!text.IsIn(line_) || !Reads(line_)) FailMissing();
}

void RecordSet::PostNew(LineId beside) {
  Values values = written_;
  for (std::optional<std::string>& value : values) {
    if (!value) value = "";
  }
  CheckValues(values);
  const std::string line = NewLine(values);
  CheckReadsBack(line, values);
  MoveTo(beside.IsNone() ? file_->Append(type_, line) : file_->InsertBelow(type_, beside, line));
}

void RecordSet::PostChanged() {
  const Values changes = Changes();
  if (std::none_of(changes.begin(), changes.end(), [](const auto& value) { return !!value; })) {
    return;
  }
  CheckValues(changes);
  Values values = changes;
  for (std::size_t field = 0; field < values.size(); ++field) {
    if (!values[field]) {
      values[field] = reader_.record().Value(field, file_->text().Line(line_));
    }
  }
  const std::string line = ChangedLine(changes, values);
  CheckReadsBack(line, values);
  file_->Replace(type_, line_, line);
}

/// The fields that were written to with a value other than the one in the file.
RecordSet::Values RecordSet::Changes() {
  ReadCurrent();
  Values changes = written_;
  for (std::size_t field = 0; field < changes.size(); ++field) {
    const std::string old(reader_.record().Value(field, file_->text().Line(line_)));
    if (changes[field] && set_.fields()[field]->Same(old, *changes[field])) {
      changes[field] = std::nullopt;
    }
  }
  return changes;
}

const std::string& RecordSet::NameOf(std::size_t field) const {
  return set_.fields()[field]->name();
}

/// What a grammar would read back and Postfix would still read as something else: control
/// characters, and a key in two words.
void RecordSet::CheckValues(const Values& values) const {
  for (std::size_t field = 0; field < values.size(); ++field) {
    if (!values[field]) continue;
    const std::string& value = *values[field];
    if (std::any_of(value.begin(), value.end(), IsControl) ||
        (field == 0 && std::any_of(value.begin(), value.end(), IsBlank))) {
      throw fen_err::Error("value", NameOf(field), value);
    }
  }
}

/// Throws unless `line` is one line that the grammar reads as `values`.
void RecordSet::CheckReadsBack(const std::string& line, const Values& values) {
  read_ = LineId();
  const bool one_line = line.find('\n') >= line.size() - 1;
  if (!one_line || !reader_.Read(type_, line)) {
    throw fen_err::Error("value", NameOf(0), *values[0]);
  }
  for (std::size_t field = 0; field < values.size(); ++field) {
    if (reader_.record().Value(field, line) != *values[field]) {
      throw fen_err::Error("value", NameOf(field), *values[field]);
    }
  }
}

/// The current line with the changed values put in place of the old ones.
std::string RecordSet::ChangedLine(const Values& changes, const Values& values) {
  std::string line(file_->text().Line(line_));
  const ParsedRecord record = reader_.record();
  for (std::size_t field = changes.size(); field-- > 0;) {
    if (!changes[field]) continue;
    const ParsedRecord::Span& old = record.field(field);
    std::string value = *changes[field];
    if (old.size == 0) {
      if (record.field(field - 1).end() == old.begin) value = Separator(field, values) + value;
      if (old.begin < line.size() && file_->table().params().IsComment(line, old.begin)) {
        value += ' ';
      }
    }
    line.replace(old.begin, old.size, value);
  }
  return line;
}

/// What a new line has between the field and the one before it.
std::string RecordSet::Separator(std::size_t field, const Values& values) {
  const std::string line = NewLine(values);
  CheckReadsBack(line, values);
  const std::size_t begin = reader_.record().field(field - 1).end();
  return line.substr(begin, reader_.record().field(field).begin - begin);
}

/// The text of a new line with `values`. Whether the template is a pattern shows with empty values:
/// then nothing in it that looks like a placeholder can come from a value.
std::string RecordSet::NewLine(const Values& values) {
  const Values empty(values.size(), "");
  const std::string blank = Template(empty);
  return Fill(blank, empty) == blank ? Template(values) : Fill(blank, values);
}

/// The record class's template for a new record with `values`.
std::string RecordSet::Template(const Values& values) {
  const Values written = std::exchange(written_, values);
  std::string text = set_.NewRecordTemplate();
  written_ = written;
  return text;
}

/// `pattern` with every placeholder replaced, once, by the value of its field.
std::string RecordSet::Fill(const std::string& pattern, const Values& values) const {
  std::string text;
  for (std::size_t position = 0; position < pattern.size();) {
    std::size_t skip = 1;
    std::string piece(1, pattern[position]);
    for (std::size_t field = 0; field < values.size(); ++field) {
      const std::string placeholder = "__" + NameOf(field) + "__";
      if (pattern.compare(position, placeholder.size(), placeholder) != 0) continue;
      skip = placeholder.size();
      piece = *values[field];
      break;
    }
    text += piece;
    position += skip;
  }
  return text;
}

}  // namespace panel::conf
