/// NAME
///   step_note - the note that the steps of a change may not all have been taken
///
/// PURPOSE
///   What follows from the rows but is in neither the database nor a table, such as the folder of a
///   responder, is written when the change is committed. A note on disk covers the time from before
///   the first file is saved until that is done. One that is found later tells that a process was
///   killed or a step failed; which step is seen by comparing the rows with what is there.
///
/// HOW IT FAILS
///   With fen_err::Error("file", path, what is in the way).

#pragma once

namespace panel::mail {

/// Leaves the note, so that it outlives a crash from here on. Returns whether there was none: one
/// of an earlier change stays until its steps have been taken.
bool NoteSteps();

bool AreStepsNoted();

void ForgetSteps();

}  // namespace panel::mail
