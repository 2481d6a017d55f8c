/// NAME
///   file - an open table file
///
/// PURPOSE
///   One table file in memory: its text, the index of each record type, the cursors on it, and what
///   the file on disk looked like when it was read or saved last. All record sets of a file work on
///   the same text, so two cursors see each other's changes and the file is saved once.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "panel/conf/disk_file.h"
#include "panel/conf/key_index.h"
#include "panel/conf/table.h"
#include "panel/conf/text.h"
#include "panel/conf/word_index.h"

namespace panel::conf {

class File : public std::enable_shared_from_this<File> {
 public:
  /// Reads the file. A missing one reads as empty when `create` is set.
  File(const Table& table, const std::string& path, bool create);

  /// Takes what was read of the file.
  File(const Table& table, std::string path, FileContents contents);

  const Table& table() const { return table_; }
  const std::string& path() const { return path_; }
  const Text& text() const { return text_; }

  /// That of the file on disk when it was read.
  const std::optional<FileStamp>& read_stamp() const { return read_stamp_; }

  /// The whole text as it would be saved.
  std::string Whole() const;

  LineId Find(std::size_t type, std::string_view key);

  /// The lines that hold `word`, in order.
  std::vector<LineId> LinesWith(std::string_view word) { return words_.Find(word); }

  /// Changes of the text, on behalf of a record of the type `type`.
  void Replace(std::size_t type, LineId line, std::string text);
  void Remove(std::size_t type, LineId line);
  LineId InsertBelow(std::size_t type, LineId line, std::string text);
  LineId Append(std::size_t type, std::string text);

  /// Counts the cursors. When the last one goes, a changed file is saved, or handed to the
  /// operation that saves it later. With `unwinding`, because an exception is on its way, a failure
  /// is logged; else it is thrown.
  void Opened() { ++cursors_; }
  void Released(bool unwinding);

  bool changed() const { return changed_; }

  /// Whether saving the file would change it.
  bool Differs() const { return written_ || !text_.IsWholeAsRead(); }

  /// Whether the file may be read anew: nobody works on it, and it has nothing to save.
  bool IsIdle() const { return cursors_ == 0 && !changed_; }

  /// Whether the file on disk still is the one that was read or saved last. An operation that saves
  /// at its end asks once and then goes by one text throughout; RequireCurrent asks again.
  bool IsCurrent();

  /// Replaces the file on disk, noting that its after-save action is outstanding. When the file
  /// cannot be replaced, nobody works on the text in memory again.
  void Write();

  /// The same in steps, for files that are replaced together. The new text is written beside the
  /// file; it is put in place, the old file being kept; that is made to outlive a crash; and it is
  /// taken back or dropped. A file whose old text has come back has its action outstanding, since
  /// its map is older now. TakeBack returns whether it could be: somebody may have edited the new
  /// text, which stays then.
  void Prepare();
  const Replaced& replaced() const { return replacement_->replaced(); }
  void RequireCurrent() const;
  void PutInPlace();
  void Settle();
  bool TakeBack();
  void DropOld();

  /// Runs the after-save action and, when it succeeds, removes the note.
  void FinishSave();

  /// Runs the after-save action for `reason`.
  void RunAfterSave(ConfCache::SaveReason reason);

 private:
  bool IsAsStamped() const { return StampOf(path_) == stamp_; }
  void Leave();
  void Abandon();

  const Table& table_;
  std::string path_;
  std::optional<FileStamp> read_stamp_;
  std::optional<FileStamp> stamp_;  ///< when it was read or saved last
  std::uint64_t current_in_ = 0;    ///< the number of the operation that has asked
  Text text_;
  std::vector<KeyIndex> indexes_;
  WordIndex words_;
  std::size_t cursors_ = 0;
  bool changed_ = false;
  bool written_ = false;     ///< since it was read
  bool noted_ = false;       ///< its action was outstanding before it was prepared
  bool is_touched_ = false;  ///< what is on disk may be another file than before it was prepared
  std::unique_ptr<Replacement> replacement_;
};

}  // namespace panel::conf
