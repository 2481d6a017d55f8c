/// NAME
///   pending - notes of outstanding after-save actions
///
/// PURPOSE
///   Between the moment in which a table file is replaced and the moment in which its tool has
///   succeeded, Postfix works with a map that is not of the text. A note on disk covers that time:
///   it is there before the file is replaced and goes when the tool has succeeded. A note that is
///   found later tells that a process was killed or a tool failed, and what is to be made up for.

#pragma once

#include <string>
#include <vector>

namespace panel::conf {

struct PendingWork {
  std::string table;  ///< name under which the table is registered
  std::string path;   ///< the saved file
};

/// The notes in the configured `state_dir`, sorted by path.
std::vector<PendingWork> ListPendingWork();

/// Whether the table of `work` is registered in this process, so that it can be made up for.
bool IsTableKnown(const PendingWork& work);

/// Runs, with the save reason kMadeUp, every outstanding after-save action whose table is known in
/// this process. All are tried; then the first failure is thrown and the others are logged.
void MakeUpPendingWork();

/// Removes what a process that was killed while it wrote a note has left.
void RemoveHalfWrittenNotes();

/// Whether there is a note of it.
bool IsNoted(const PendingWork& work);

/// Writes the note, so that it outlives a crash from here on.
void NotePendingWork(const PendingWork& work);

/// Removes the note.
void ForgetPendingWork(const PendingWork& work);

}  // namespace panel::conf
