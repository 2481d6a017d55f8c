/// NAME
///   operation - what happens to table files within one panel operation
///
/// PURPOSE
///   A panel operation is a change that belongs together. Its mode tells what a released cursor
///   does with a changed file: save it at once, save it once at the operation's end, or only show
///   what it would become. The operation also counts the files it has saved, because only an
///   operation that has saved none can be undone in the database.

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "panel/process/tools.h"

namespace panel::conf {

class File;

class Operation {
 public:
  enum class Mode {
    kEach,       ///< a file is saved when its last cursor is released
    kBatch,      ///< every changed file is saved once, by Save()
    kRehearsal,  ///< nothing is saved; the changes are there to be looked at and then forgotten
  };

  /// Only one operation lives at a time; the panel lock sees to that. Throws
  /// fen_err::Error("operation", ...) when there is another one.
  explicit Operation(Mode mode);

  /// Forgets changes that were not saved.
  ~Operation();

  Operation(const Operation&) = delete;
  Operation& operator=(const Operation&) = delete;

  /// Saves every changed file of a batch, in the order of the first change, or none: when one
  /// cannot be saved, those that were are taken back. Until Keep or TakeBack a journal on disk,
  /// under the name `change`, lets another process do that, should this one be killed.
  void Save(const std::string& change);

  /// The change is in the database: what was saved stays.
  void Keep();

  /// The change is not in the database: every file is what it was before. Where one cannot be put
  /// back, that is logged and the journal stays. Throws fen_err::Error("changed", path, ...) for
  /// one that somebody has edited since; it stays.
  void TakeBack();

  /// Whether a file could not be put back.
  bool owes_files() const noexcept { return owes_files_; }

  /// Runs the after-save actions of the saved files, or notes the tools of a rehearsal. It is apart
  /// from Save so that the database can be committed in between: a tool may run for long, and a
  /// process that is killed meanwhile leaves files and database that say the same. Each action is
  /// tried. Throws the first failure and logs the others.
  void RunActions();

  /// How many table files have been saved so far.
  std::size_t saved() const noexcept { return saved_; }

  struct Change {
    std::string path;
    std::string before;
    std::string after;
  };

  /// What each changed file of a batch or rehearsal would become, in the order of the first change.
  std::vector<Change> changes() const;

  /// Forgets what the operation in progress has changed and not saved, so that the files are what
  /// they are on disk, and returns what each would have become. No cursor may be open.
  static std::vector<Change> ForgetChanges();

  /// The command lines that a rehearsal would have run. While it lives, no tool is started in its
  /// thread.
  std::vector<std::string> tools() const;

 private:
  friend class File;

  static Operation* Current() noexcept;

  /// Tells the operation in progress from others if it goes by one text of each file throughout; 0
  /// without such a one.
  static std::uint64_t NumberOfOneText() noexcept;

  /// Takes a changed file whose last cursor was released; returns whether it sees to the saving.
  bool Take(const std::shared_ptr<File>& file);
  void CountSaved() noexcept { ++saved_; }

  /// The changed files, without those whose text has come back to what it was: saving them would
  /// run their tools for nothing.
  std::vector<std::shared_ptr<File>> Differing() const;

  /// Does `step` to each of these files as long as `goes_on` holds after a failure.
  void ForEach(const std::function<void(File&)>& step, const std::function<bool()>& goes_on);

  Mode mode_;
  std::uint64_t number_;
  std::optional<ToolRehearsal> tools_;
  std::size_t saved_ = 0;
  bool owes_files_ = false;
  std::vector<std::shared_ptr<File>> changed_;
  std::vector<std::shared_ptr<File>> saving_;  ///< since Save, until Keep or TakeBack
};

}  // namespace panel::conf
