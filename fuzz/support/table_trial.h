/// NAME
///   table_trial - a series of changes of a table file, each held against what it promises
///
/// PURPOSE
///   The input is a file and what is done to it: a text that goes on up to a backslash before
///   another character, then texts that end in the same way for keys and values, and at the end of
///   the input the bytes that choose among them, the last one first. Nothing is written to disk.
///
/// WHAT MUST HOLD
///   - Read and written unchanged, the file is the same, byte for byte.
///   - A change that is accepted reads back as itself: the record has the values that were set, and
///     every other record those that it had.
///   - It changes one line, and of that only the value that was set; a record that goes takes its
///     continuation lines along, a new one stands where it should.
///   - Postfix, which joins lines, sees one of its lines changed, added or gone, and no other.
///   - A change that is refused leaves the file as it was.
///   - What is found by its key, or by a word, is what a walk over the lines finds.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include <fuzzer/FuzzedDataProvider.h>

#include "email/cached_config.h"
#include "fuzz/support/table_view.h"
#include "host/conf.h"
#include "panel/conf/cache.h"
#include "panel/conf/file.h"
#include "panel/conf/table.h"

namespace fuzz {

class TableTrial {
 public:
  /// `types` are the names of the table's record types, all of them, as they were registered. There
  /// must be a cache.
  TableTrial(const panel::conf::Table& table, std::vector<std::string> types,
             FuzzedDataProvider& input);

  /// Makes the changes that the input asks for.
  void Run();

 private:
  using Set = Cursor<HeadDataSet>;

  void MakeOneChange();
  void Add(std::size_t type);
  void AddBelowKey(std::size_t type);
  void AddBelowRecord(std::size_t type);
  void Change(std::size_t type);
  void Delete(std::size_t type);

  Set Open(std::size_t type);
  Set OpenAt(std::size_t type, std::size_t record);
  Set OpenNew(std::size_t type, std::vector<std::string>& values);
  void Edit(dd::Field& field);
  void EditList(dd::ArrayField& list);

  std::size_t Pick(std::size_t size);
  std::string PickText();

  TableView View() const;
  std::size_t PlaceBelow(const RecordView* record) const;
  void CheckNew(Set& set, std::size_t type, const std::vector<std::string>& values,
                std::size_t place) const;
  void CheckChanged(const dd::Field& field, std::size_t type, const RecordView& was,
                    const std::string& value) const;
  void CheckGone(const RecordView& was) const;
  void CheckAgrees();
  void CheckWord(const std::string& word);

  const panel::conf::Table& table_;
  std::vector<std::string> types_;
  FuzzedDataProvider& input_;
  std::string read_;
  std::shared_ptr<panel::conf::File> file_;
  TableView view_;  ///< what the file says before the change in hand
};

/// Runs a trial of the table class `T`, which has the record classes `Records` in this order.
template <class T, class... Records>
void TryTable(const std::uint8_t* data, std::size_t size) {
  static const panel::conf::Table& table = []() -> const panel::conf::Table& {
    (T::template Get<Records>("/nonexistent/table", true), ...);
    return panel::conf::Cache::Known()->TableOf(RuntimeName(typeid(T)));
  }();
  FuzzedDataProvider input(data, size);
  TableTrial(table, {RuntimeName(typeid(Records))...}, input).Run();
}

}  // namespace fuzz
