/// NAME
///   fields - the fields of a record

#include <algorithm>
#include <utility>

#include "host/dd.h"
#include "host/fen_err.h"

namespace dd {

Record::~Record() = default;

Field::Field(Record& record, const char* name)
    : record_(record), name_(name), index_(record.fields_.size()) {
  record.fields_.push_back(this);
}

Field::~Field() = default;

std::string Field::Str() const {
  return Raw();
}

void Field::Set(const std::string& value) {
  record_.Modify(index_, value);
}

bool Field::Same(const std::string& text, const std::string& value) const {
  return text == value;
}

std::string Field::Raw() const {
  return record_.FieldValue(index_);
}

ArrayField::ArrayField(Record& record, const char* name, char separator)
    : Field(record, name), separator_(separator) {}

ArrayField& ArrayField::operator=(const std::string& value) {
  Set(Join(Split(value)));
  return *this;
}

std::string ArrayField::Str() const {
  return Join(Values());
}

bool ArrayField::Same(const std::string& text, const std::string& value) const {
  return Split(text) == Split(value);
}

std::size_t ArrayField::Size() const {
  return Values().size();
}

std::string ArrayField::operator[](std::size_t index) const {
  const std::vector<std::string> values = Values();
  if (index >= values.size()) throw fen_err::Error("missing", name(), std::to_string(index));
  return values[index];
}

bool ArrayField::Has(const std::string& value) const {
  const std::vector<std::string> values = Values();
  return std::find(values.begin(), values.end(), value) != values.end();
}

void ArrayField::Append(const std::string& value) {
  std::vector<std::string> values = Values();
  values.push_back(value);
  const std::string text = Join(values);
  const bool reads_back = Split(value) == std::vector{value} && Split(text) == values;
  if (!reads_back) throw fen_err::Error("value", name(), value);
  Set(text);
}

void ArrayField::Delete(const std::string& value) {
  std::vector<std::string> values = Values();
  std::erase(values, value);
  Set(Join(values));
}

void ArrayField::Erase() {
  Set("");
}

std::vector<std::string> ArrayField::Values() const {
  return Split(Raw());
}

std::vector<std::string> ArrayField::Split(const std::string& text) const {
  std::vector<std::string> values;
  const auto add = [&values](std::string_view value) {
    const std::size_t begin = value.find_first_not_of(" \t");
    if (begin == std::string_view::npos) return;
    values.emplace_back(value.substr(begin, value.find_last_not_of(" \t") - begin + 1));
  };

  bool quoted = false;
  std::size_t begin = 0;
  for (std::size_t end = 0; end < text.size(); ++end) {
    if (text[end] == '"') quoted = !quoted;
    if (text[end] == '\\' && quoted && end + 1 < text.size()) {
      ++end;
    } else if (text[end] == separator_ && !quoted) {
      add(std::string_view(text).substr(begin, end - begin));
      begin = end + 1;
    }
  }
  add(std::string_view(text).substr(begin));
  return values;
}

std::string ArrayField::Join(const std::vector<std::string>& values) const {
  std::string text;
  for (const std::string& value : values) {
    if (!text.empty()) text += separator_;
    text += value;
  }
  return text;
}

}  // namespace dd
