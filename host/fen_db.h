/// NAME
///   fen_db - the panel database
///
/// PURPOSE
///   Table objects that stand on one row at a time, whose fields read and write that row, and plain
///   queries where a row at a time is not the question. Table objects are expensive to make, so a
///   cache lends them out and takes them back.
///
/// HOW IT FAILS
///   With fen_err::Error: "missing" (table, key) from Assert, "database" (statement, the database's
///   own words) from everything else.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

namespace panel::db {
class Connection;
class Rows;
class TableState;
}  // namespace panel::db

namespace fen_db {

class CustomTable;

/// A column of a table object. Fields are members of their table class, in the order of the
/// columns.
class Field {
 public:
  Field(CustomTable& table, const char* name);
  virtual ~Field();

  Field(const Field&) = delete;
  Field& operator=(const Field&) = delete;

  const std::string& name() const noexcept { return name_; }

  /// The value of the current row as text.
  virtual std::string Str() const = 0;

  /// The value as an SQL literal, quoted where SQL wants it.
  virtual std::string AsString() const = 0;

  /// Takes the value from its text, as the database gives it.
  virtual void Read(const std::string& text) = 0;

  /// Sets the value that a new row begins with.
  virtual void Clear() = 0;

 protected:
  CustomTable& table() const noexcept { return table_; }

 private:
  CustomTable& table_;
  std::string name_;
};

/// `text` with the field's SQL literal appended.
std::string operator+(const std::string& text, const Field& field);
std::string operator+(const char* text, const Field& field);

/// A whole number.
class IntField : public Field {
 public:
  IntField(CustomTable& table, const char* name, std::int64_t initial = 0);

  IntField& operator=(std::int64_t value);
  IntField& operator=(const IntField& other);
  operator std::int64_t() const noexcept { return value_; }

  std::string Str() const override;
  std::string AsString() const override;
  void Read(const std::string& text) override;
  void Clear() override;

 private:
  std::int64_t initial_;
  std::int64_t value_;
};

/// The key of a row, given by the database when a new row is posted; 0 before.
class KeyField : public IntField {
 public:
  using IntField::IntField;
  using IntField::operator=;
};

/// The key of a row in another table; 0 is none.
class RefField : public IntField {
 public:
  using IntField::IntField;
  using IntField::operator=;
};

/// True or false.
class BoolField : public Field {
 public:
  BoolField(CustomTable& table, const char* name, bool initial);

  BoolField& operator=(bool value);
  operator bool() const noexcept { return value_; }

  std::string Str() const override;
  std::string AsString() const override;
  void Read(const std::string& text) override;
  void Clear() override;

 private:
  bool initial_;
  bool value_;
};

/// A text.
class StringField : public Field {
 public:
  StringField(CustomTable& table, const char* name);

  StringField& operator=(const std::string& value);

  /// Stands the table on the first row whose value in this field is `value`; returns whether there
  /// is one, the table being at its end when there is none.
  bool Lookup(const std::string& value);

  std::string Str() const override;
  std::string AsString() const override;
  void Read(const std::string& text) override;
  void Clear() override;

 protected:
  /// The form in which values are kept.
  virtual std::string Stored(const std::string& value) const;

 private:
  std::string value_;
};

/// A domain name, kept in its ASCII form (IDNA 2008) in lower case, whichever form it is given in.
/// A text that has no such form is kept as it is.
class IdnField : public StringField {
 public:
  using StringField::StringField;
  using StringField::operator=;

  /// The name as people read it.
  std::string Unicode() const;

 protected:
  std::string Stored(const std::string& value) const override;
};

/// The rows of a query.
class Result {
 public:
  explicit Result(std::unique_ptr<panel::db::Rows> rows);
  ~Result();
  Result(Result&&) noexcept;
  Result& operator=(Result&&) noexcept;

  /// Whether all rows have been read; a query that gives no rows is at its end at once.
  bool Eof() const;
  void Next();

  /// A column of the current row, from 0; the empty text and 0 for NULL.
  std::string Str(std::size_t column = 0) const;
  std::int64_t Int(std::size_t column = 0) const;

 private:
  std::unique_ptr<panel::db::Rows> rows_;
};

/// A table of the panel database; its first field is its key.
class CustomTable {
 public:
  explicit CustomTable(const char* sql_name);
  virtual ~CustomTable();

  CustomTable(const CustomTable&) = delete;
  CustomTable& operator=(const CustomTable&) = delete;

  const std::string& sql_name() const noexcept { return sql_name_; }

  /// Begins a new row with the columns' defaults and stands on it.
  void New();

  /// Stores the current row: inserts a new one, which then has its key, or updates the one found.
  void Post();

  /// Deletes the current row; the table is at its end then.
  void Delete();

  /// Whether the table stands on no row.
  bool Eof() const;

  /// Stands on the first row, by key, for which the SQL `condition` holds; returns whether there is
  /// one.
  bool DbFind(const std::string& condition);

  /// Deletes all rows for which the SQL `condition` holds.
  void DbDelete(const std::string& condition);

  /// Stands on the row whose key is `key`. Throws fen_err::Error("missing", table, key).
  void Assert(const std::string& key);

  /// Forgets what the object knows of the table's rows; with `keep_current`, all but the current.
  void ClearCache(bool keep_current);

 private:
  friend class Field;
  friend class StringField;
  friend class Cache;
  friend class panel::db::TableState;

  std::string sql_name_;
  std::vector<Field*> fields_;
  std::unique_ptr<panel::db::TableState> state_;
};

/// The panel database, and the table objects that it lends out.
class Cache {
 public:
  explicit Cache(panel::db::Connection& connection);
  ~Cache();

  Cache(const Cache&) = delete;
  Cache& operator=(const Cache&) = delete;

  /// Runs one SQL statement.
  Result Query(const std::string& sql);

  /// `value` as an SQL text literal, quotes included. Throws fen_err::Error("value", ...) for a
  /// text with a NUL, which no SQL text can hold.
  static std::string EscapeValue(const std::string& value);

  /// A free table object of the class with the run-time type name `type_name`, at its end. It
  /// belongs to the caller until Put. Throws fen_err::Error("database", type_name, ...) for a class
  /// that the panel does not know.
  CustomTable* Get(const std::string& type_name);

  /// Takes a table object back.
  void Put(CustomTable* table) noexcept;

  /// A free table object that comes back by itself when its last holder lets go, also when an
  /// exception passes.
  template <class T>
  std::shared_ptr<T> Get() {
    return std::shared_ptr<T>(static_cast<T*>(Get(typeid(T).name())),
                              [this](T* table) { Put(table); });
  }

  /// The same, standing on the row whose key is `key`. Throws as CustomTable::Assert.
  template <class T>
  std::shared_ptr<T> Get(const std::string& key) {
    std::shared_ptr<T> table = Get<T>();
    table->Assert(key);
    return table;
  }

 private:
  panel::db::Connection& connection_;
  std::vector<std::unique_ptr<CustomTable>> free_;
  std::vector<std::unique_ptr<CustomTable>> lent_;
};

}  // namespace fen_db
