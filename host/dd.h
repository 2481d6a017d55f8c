/// NAME
///   dd - records and their fields
///
/// PURPOSE
///   A record set stands on one record at a time; its fields read and write that record. What is
///   written becomes part of the file only when the record is posted (ConfDataSet::Post), so a
///   change can be checked as a whole before anything happens.

#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace dd {

class Field;

/// The operations that move through a record set. Every failure is a fen_err::Error.
class Record {
 public:
  virtual ~Record();

  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;

  /// Stands on the first record, in the order of the file; at the end when there is none.
  virtual void First() = 0;

  /// Stands on the record behind the current one, or behind the one that was deleted last.
  virtual void Next() = 0;

  /// Whether the set stands on no record: behind the last one, or not yet on any.
  virtual bool Eof() const = 0;

  /// Stands on the first record whose key, its first field, is `key` byte for byte, and returns
  /// whether there is one; when there is none the set is at its end.
  virtual bool Find(const std::string& key) = 0;

  /// Find that must succeed: throws fen_err::Error("missing", path, key) otherwise.
  virtual void Assert(const std::string& key) = 0;

  /// Begins a new record with empty fields and stands on it. It joins the file when it is posted.
  virtual void New() = 0;

  /// Stands on the record with `key` if there is one, otherwise begins a new one with that key.
  virtual void Create(const std::string& key) = 0;

  /// The fields, in their order.
  const std::vector<Field*>& fields() const noexcept { return fields_; }

 protected:
  Record() = default;

  /// The text of a field of the current record. Throws fen_err::Error("missing", path, "") when the
  /// set stands on no record.
  virtual std::string FieldValue(std::size_t field) const = 0;

  /// Writes a field of the current record; it counts from the next FieldValue on.
  virtual void Modify(std::size_t field, const std::string& value) = 0;

 private:
  friend class Field;

  std::vector<Field*> fields_;
};

/// A field holding one text. Fields are members of their record class and are numbered in the order
/// of their construction; the first one is the record's key.
class Field {
 public:
  Field(Record& record, const char* name);
  virtual ~Field();

  Field(const Field&) = delete;
  Field& operator=(const Field&) = delete;

  const std::string& name() const noexcept { return name_; }
  std::size_t index() const noexcept { return index_; }

  /// The field's text in the current record.
  virtual std::string Str() const;

  /// Writes the field. The text is checked when the record is posted.
  void Set(const std::string& value);

  /// Whether `text`, as it stands in the file, denotes the same value as `value`.
  virtual bool Same(const std::string& text, const std::string& value) const;

 protected:
  std::string Raw() const;

 private:
  Record& record_;
  std::string name_;
  std::size_t index_;
};

/// A field holding a list. The file's text splits at the separator, except inside double quotes;
/// blanks around a value and empty values do not count. Str() is the values joined by the one
/// separator character.
class ArrayField : public Field {
 public:
  ArrayField(Record& record, const char* name, char separator);

  /// Replaces the list by the one that `value` denotes: one value or several, split as in a file.
  ArrayField& operator=(const std::string& value);

  std::string Str() const override;
  bool Same(const std::string& text, const std::string& value) const override;

  std::size_t Size() const;

  /// The value at `index`, from 0. Throws fen_err::Error("missing", field, index).
  std::string operator[](std::size_t index) const;

  bool Has(const std::string& value) const;

  /// Adds `value` at the end. Throws fen_err::Error("value", field, value) when it would not read
  /// back as one value: when it is empty, holds the separator outside double quotes, or would come
  /// to stand behind a double quote that the list opens and never closes.
  void Append(const std::string& value);

  /// Removes every occurrence of `value`; one that is not in the list is no error.
  void Delete(const std::string& value);

  /// Empties the list.
  void Erase();

 private:
  std::vector<std::string> Values() const;
  std::vector<std::string> Split(const std::string& text) const;
  std::string Join(const std::vector<std::string>& values) const;

  char separator_;
};

}  // namespace dd
