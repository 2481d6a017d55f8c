/// NAME
///   fields - the columns of a table object

#include <charconv>

#include "host/fen_db.h"
#include "host/fen_err.h"
#include "panel/db/sql_text.h"
#include "panel/db/table_state.h"

namespace fen_db {

Field::Field(CustomTable& table, const char* name) : table_(table), name_(name) {
  table.fields_.push_back(this);
}

Field::~Field() = default;

std::string operator+(const std::string& text, const Field& field) {
  return text + field.AsString();
}

std::string operator+(const char* text, const Field& field) {
  return text + field.AsString();
}

IntField::IntField(CustomTable& table, const char* name, std::int64_t initial)
    : Field(table, name), initial_(initial), value_(initial) {}

IntField& IntField::operator=(std::int64_t value) {
  value_ = value;
  return *this;
}

IntField& IntField::operator=(const IntField& other) {
  if (this != &other) value_ = other.value_;
  return *this;
}

std::string IntField::Str() const {
  return std::to_string(value_);
}

std::string IntField::AsString() const {
  return Str();
}

void IntField::Read(const std::string& text) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value_);
  if (error != std::errc() || end != text.data() + text.size()) {
    throw fen_err::Error("value", name(), text);
  }
}

void IntField::Clear() {
  value_ = initial_;
}

BoolField::BoolField(CustomTable& table, const char* name, bool initial)
    : Field(table, name), initial_(initial), value_(initial) {}

BoolField& BoolField::operator=(bool value) {
  value_ = value;
  return *this;
}

std::string BoolField::Str() const {
  return value_ ? "true" : "false";
}

std::string BoolField::AsString() const {
  return Str();
}

void BoolField::Read(const std::string& text) {
  const bool is_true = text == "1" || text == "t" || text == "true";
  if (!is_true && text != "0" && text != "f" && text != "false") {
    throw fen_err::Error("value", name(), text);
  }
  value_ = is_true;
}

void BoolField::Clear() {
  value_ = initial_;
}

StringField::StringField(CustomTable& table, const char* name) : Field(table, name) {}

StringField& StringField::operator=(const std::string& value) {
  value_ = Stored(value);
  return *this;
}

bool StringField::Lookup(const std::string& value) {
  return table().state_->Find({{name(), Stored(value)}});
}

std::string StringField::Str() const {
  return value_;
}

std::string StringField::AsString() const {
  return panel::db::Quote(value_, name());
}

void StringField::Read(const std::string& text) {
  value_ = text;
}

void StringField::Clear() {
  value_.clear();
}

std::string StringField::Stored(const std::string& value) const {
  return value;
}

}  // namespace fen_db
