/// NAME
///   complete - what a command line can go on with, for the shells
///
/// PURPOSE
///   `zebmail __complete WORD...` takes the words behind "zebmail" as far as they are typed, the
///   last one being the one that is to go on, which may be empty. The scripts of
///   packaging/completion ask it.
///
/// WHAT IT PRINTS
///   A line for each word that could stand in the place of the last one, with what it is behind a
///   tab where that helps; in the place of "--path=postfix", say, the whole "--path=postfix-bin=".
///   A line "<files>" or "<folders>" stands for the files or folders that the shell finds itself,
///   for what is typed behind the last "=".
///
///   Names of domains and mailboxes come from tables that users fill. One that a shell could take
///   for more than a word is not offered, though the shells quote what they put into a line.
///
/// HOW IT FAILS
///   It prints nothing: whatever it said would stand in the middle of a line that somebody types.

#pragma once

#include "zebmail/invocation.h"

namespace zebmail {

/// Whether the program was called for this.
bool IsCompletion(int argc, char** argv);

/// Prints what the command line can go on with.
Status Complete(int argc, char** argv);

}  // namespace zebmail
