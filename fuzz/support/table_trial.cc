/// NAME
///   table_trial - a series of changes of a table file, each held against what it promises

#include "fuzz/support/table_trial.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>
#include <utility>

#include "fuzz/support/logical_lines.h"
#include "fuzz/support/require.h"
#include "host/fen_err.h"
#include "panel/conf/operation.h"
#include "panel/text/byte_set.h"

namespace fuzz {
namespace {

constexpr std::size_t kLongestText = 512;
constexpr std::size_t kLongestValue = 128;
constexpr int kMostChanges = 4;

constexpr panel::ByteSet kWordEnds(" \t\r\n,#");

std::vector<std::string> WithLastLineEnded(std::vector<std::string> lines) {
  if (!lines.empty() && !lines.back().ends_with('\n')) lines.back() += '\n';
  return lines;
}

bool HoldsWord(std::string_view line, std::string_view word) {
  const auto ends_at = [line](std::size_t place) {
    return place >= line.size() || kWordEnds.Has(line[place]);
  };
  for (std::size_t place = line.find(word); place != std::string_view::npos;
       place = line.find(word, place + 1)) {
    if (ends_at(place - 1) && ends_at(place + word.size())) return true;
  }
  return false;
}

void RequireLogical(const TableView& before, const TableView& after, const Difference& expected) {
  Require(Compare(before.logical, after.logical) == expected,
          "Postfix sees one line changed, added or gone",
          {{"before", before.text}, {"after", after.text}});
}

}  // namespace

TableTrial::TableTrial(const panel::conf::Table& table, std::vector<std::string> types,
                       FuzzedDataProvider& input)
    : table_(table),
      types_(std::move(types)),
      input_(input),
      read_(input.ConsumeRandomLengthString(kLongestText)),
      file_(std::make_shared<panel::conf::File>(table, "/nonexistent/table",
                                                panel::conf::FileContents{read_, std::nullopt})),
      view_(ReadTable(table, read_)) {}

void TableTrial::Run() {
  const panel::conf::Operation operation(panel::conf::Operation::Mode::kRehearsal);
  CheckAgrees();
  for (int change = 0; change < kMostChanges && input_.remaining_bytes() != 0; ++change) {
    MakeOneChange();
    view_ = View();
  }
  CheckAgrees();
  CheckWord(PickText());
}

void TableTrial::MakeOneChange() {
  using ChangeOfType = void (TableTrial::*)(std::size_t type);
  static constexpr std::array<ChangeOfType, 5> kChanges = {
      &TableTrial::Add, &TableTrial::AddBelowKey, &TableTrial::AddBelowRecord, &TableTrial::Change,
      &TableTrial::Delete};
  const ChangeOfType change = kChanges[Pick(kChanges.size())];
  try {
    (this->*change)(Pick(types_.size()));
  } catch (const fen_err::Error& error) {
    Require(error.type() == "value", "a change is refused for its value",
            {{"error", error.what()}});
    const std::string after = file_->Whole();
    Require(after == view_.text, "a refused change leaves the file as it was",
            {{"before", view_.text}, {"after", after}, {"error", error.what()}});
  }
}

void TableTrial::Add(std::size_t type) {
  std::vector<std::string> values;
  Set set = OpenNew(type, values);
  set->Post("");
  CheckNew(set, type, values, view_.lines.size());
}

void TableTrial::AddBelowKey(std::size_t type) {
  std::vector<std::string> values;
  Set set = OpenNew(type, values);
  const std::string key = PickText();
  set->Post(key);
  CheckNew(set, type, values, PlaceBelow(view_.Find(type, key)));
}

void TableTrial::AddBelowRecord(std::size_t type) {
  const std::size_t other_type = Pick(types_.size());
  const auto& others = view_.records[other_type];
  if (others.empty()) return;
  const std::size_t number = Pick(others.size());
  Set other = OpenAt(other_type, number);
  std::vector<std::string> values;
  Set set = OpenNew(type, values);
  set->Post(*other);
  CheckNew(set, type, values, PlaceBelow(&others[number]));
}

void TableTrial::Change(std::size_t type) {
  if (view_.records[type].empty()) return;
  const std::size_t number = Pick(view_.records[type].size());
  Set set = OpenAt(type, number);
  dd::Field& field = *set->fields()[Pick(set->fields().size())];
  Edit(field);
  const std::string value = field.Str();
  set->Post("");
  CheckChanged(field, type, view_.records[type][number], value);
}

void TableTrial::Delete(std::size_t type) {
  if (view_.records[type].empty()) return;
  const std::size_t number = Pick(view_.records[type].size());
  Set set = OpenAt(type, number);
  set->Delete();
  CheckGone(view_.records[type][number]);
  set->Next();
  Require(set->Eof() == (number + 1 == view_.records[type].size()),
          "behind a deleted record comes the next one", {{"before", view_.text}});
}

TableTrial::Set TableTrial::Open(std::size_t type) {
  return ConfRef(file_)._Get(types_[type]);
}

TableTrial::Set TableTrial::OpenAt(std::size_t type, std::size_t record) {
  Set set = Open(type);
  for (set->First(); record > 0; --record) set->Next();
  return set;
}

/// A new record that has not been posted; `values` are those of its fields.
TableTrial::Set TableTrial::OpenNew(std::size_t type, std::vector<std::string>& values) {
  Set set = Open(type);
  set->New();
  for (dd::Field* field : set->fields()) {
    Edit(*field);
    values.push_back(field->Str());
  }
  return set;
}

void TableTrial::Edit(dd::Field& field) {
  auto* const list = dynamic_cast<dd::ArrayField*>(&field);
  if (list != nullptr && input_.ConsumeBool()) {
    EditList(*list);
  } else {
    const std::string value = PickText();
    field.Set(value);
    Require(list != nullptr || field.Str() == value, "a field has what was set");
  }
}

void TableTrial::EditList(dd::ArrayField& list) {
  const std::string value = PickText();
  const std::string before = list.Str();
  const std::size_t size = list.Size();
  const Evidence evidence = {{"before", before}, {"value", value}};
  if (input_.ConsumeBool()) {
    list.Append(value);
    Require(list.Size() == size + 1 && list[size] == value, "what was appended comes last",
            evidence);
  } else if (input_.ConsumeBool()) {
    const bool was_in = list.Has(value);
    list.Delete(value);
    Require(!list.Has(value) && (was_in || list.Str() == before), "what was deleted is gone",
            evidence);
  } else if (input_.ConsumeBool()) {
    list = value;
    Require(list.Same(value, list.Str()), "a list has what was set", evidence);
  } else {
    list.Erase();
    Require(list.Size() == 0, "an erased list is empty", evidence);
  }
}

std::size_t TableTrial::Pick(std::size_t size) {
  return input_.ConsumeIntegralInRange<std::size_t>(0, size - 1);
}

/// A text of the input, or one that is in the file already.
std::string TableTrial::PickText() {
  const auto& records = view_.records[Pick(types_.size())];
  if (records.empty() || input_.ConsumeBool()) {
    return input_.ConsumeRandomLengthString(kLongestValue);
  }
  const auto& values = records[Pick(records.size())].values;
  return values[Pick(values.size())];
}

TableView TableTrial::View() const {
  return ReadTable(table_, file_->Whole());
}

/// Where a line stands that is put in below the record; the end without one.
std::size_t TableTrial::PlaceBelow(const RecordView* record) const {
  if (record == nullptr) return view_.lines.size();
  std::size_t place = record->line + 1;
  for (std::size_t line = place; line < view_.lines.size() && MayBeWithin(view_.lines[line]);
       ++line) {
    if (IsContinuation(view_.lines[line])) place = line + 1;
  }
  return place;
}

void TableTrial::CheckNew(Set& set, std::size_t type, const std::vector<std::string>& values,
                          std::size_t place) const {
  const TableView after = View();
  const Evidence evidence = {{"before", view_.text}, {"after", after.text}, {"key", values[0]}};
  Require(place < after.lines.size(), "a new record is there", evidence);
  const auto record = ReadRecord(table_, type, after.lines[place]);
  Require(record.has_value(), "a new line is a record", evidence);
  for (const dd::Field* field : set->fields()) {
    Require(field->Same(record->values[field->index()], values[field->index()]),
            "a new record reads back as itself", evidence);
  }

  std::vector<std::string> others = after.lines;
  others.erase(others.begin() + static_cast<std::ptrdiff_t>(place));
  std::vector<std::string> lines = view_.lines;
  if (place == lines.size()) lines = WithLastLineEnded(std::move(lines));
  Require(others == lines, "a new record leaves all other lines as they were", evidence);
  RequireLogical(view_, after, {0, 1});
}

void TableTrial::CheckChanged(const dd::Field& field, std::size_t type, const RecordView& was,
                              const std::string& value) const {
  const TableView after = View();
  const std::size_t changed = field.index();
  const Evidence evidence = {{"before", view_.text}, {"after", after.text}, {"value", value}};
  if (field.Same(was.values[changed], value)) {
    return Require(after.text == view_.text, "the value that was there changes nothing", evidence);
  }

  std::vector<std::string> lines = view_.lines;
  Require(after.lines.size() == lines.size(), "a change of a line leaves it one line", evidence);
  const std::string& line = after.lines[was.line];
  const std::string old = std::exchange(lines[was.line], line);
  Require(after.lines == lines, "a change of a line leaves all others as they were", evidence);

  const std::string_view front = std::string_view(old).substr(0, was.places[changed].begin);
  const std::string_view rest = std::string_view(old).substr(was.places[changed].end());
  Require(
      line.size() >= front.size() + rest.size() && line.starts_with(front) && line.ends_with(rest),
      "a change of a value leaves the bytes around it as they were", evidence);
  const auto record = ReadRecord(table_, type, line);
  Require(record.has_value(), "a changed record is one", evidence);
  for (std::size_t one = 0; one < record->values.size(); ++one) {
    Require(one == changed ? field.Same(record->values[one], value)
                           : record->values[one] == was.values[one],
            "a changed record reads back as itself", evidence);
  }
  RequireLogical(view_, after, {1, 1});
}

void TableTrial::CheckGone(const RecordView& was) const {
  const TableView after = View();
  std::vector<std::string> lines;
  const std::size_t end = PlaceBelow(&was);
  for (std::size_t line = 0; line < view_.lines.size(); ++line) {
    const bool goes =
        line == was.line || (line > was.line && line < end && IsContinuation(view_.lines[line]));
    if (!goes) lines.push_back(view_.lines[line]);
  }
  Require(after.lines == lines, "a record goes with its continuation lines and nothing else",
          {{"before", view_.text}, {"after", after.text}});
  RequireLogical(view_, after, {1, 0});
}

/// What the cursors say is what the text says when it is read anew.
void TableTrial::CheckAgrees() {
  const std::string whole = file_->Whole();
  Require(whole == view_.text && file_->Differs() == (whole != read_),
          "a file is written as it was read, but for changes",
          {{"read", read_}, {"written", whole}});
  for (std::size_t type = 0; type < types_.size(); ++type) {
    Set set = Open(type);
    set->First();
    for (const RecordView& record : view_.records[type]) {
      Require(!set->Eof(), "a walk finds every record", {{"text", whole}});
      for (const dd::Field* field : set->fields()) {
        Require(field->Same(record.values[field->index()], field->Str()),
                "a walk finds what the text says", {{"text", whole}});
      }
      set->Next();
    }
    Require(set->Eof(), "a walk finds no more than there is", {{"text", whole}});
    for (const RecordView& record : view_.records[type]) {
      Require(set->Find(record.values[0]), "a key is found",
              {{"text", whole}, {"key", record.values[0]}});
      const RecordView& first = *view_.Find(type, record.values[0]);
      Require(set->fields().back()->Same(first.values.back(), set->fields().back()->Str()),
              "the first record with a key is found", {{"text", whole}, {"key", record.values[0]}});
    }
  }
}

void TableTrial::CheckWord(const std::string& word) {
  if (word.empty() || kWordEnds.CountOutside(word) != word.size()) return;
  std::vector<std::string> expected;
  std::copy_if(view_.lines.begin(), view_.lines.end(), std::back_inserter(expected),
               [&word](const std::string& line) { return HoldsWord(line, word); });
  std::vector<std::string> found;
  for (const panel::conf::LineId line : file_->LinesWith(word)) {
    found.emplace_back(file_->text().Line(line));
  }
  Require(found == expected, "the lines with a word are found",
          {{"text", view_.text}, {"word", word}});
}

}  // namespace fuzz
