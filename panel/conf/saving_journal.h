/// NAME
///   saving_journal - a note on disk of table files that are being replaced together
///
/// PURPOSE
///   One change of the panel replaces several table files and is then committed in the database. A
///   process that is killed in between leaves some files new, some old, and the database old. The
///   journal names all of these files, under the name of the change, from before the first is
///   replaced until the database has been committed. One that is found later is settled: the
///   database tells whether the change of that name was committed; if it was not, the old files
///   come back.
///
/// HOW IT FAILS
///   One that cannot be settled, since a folder is gone say, stays: fen_err::Error("saving", its
///   path, what is in the way and what to do).

#pragma once

#include <functional>
#include <string>
#include <vector>

#include "panel/conf/disk_file.h"

namespace panel::conf {

/// Writes the journal, so that it outlives a crash from here on.
void WriteJournal(const std::string& change, const std::vector<Replaced>& files);

void RemoveJournal();

/// Whether there is one: a change is being saved, or was killed while it was.
bool IsJournalThere();

/// What became of a change that was killed.
struct Settled {
  bool came_back = false;           ///< its old files did
  std::vector<std::string> edited;  ///< those that did not, since somebody edited the new ones
};

/// Settles what a killed process has left, be it half a journal; does nothing when it left none.
Settled SettleJournal(const std::function<bool(const std::string& change)>& is_committed);

}  // namespace panel::conf
