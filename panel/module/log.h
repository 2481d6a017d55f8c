/// NAME
///   log - writing the panel's log
///
/// PURPOSE
///   One log, "zebfen", in the file zebfen.log of the panel's state folder, one line an entry:
///
///       2024-05-01T12:00:00+02:00 [email] error email: postmap: fatal: open main.cf\n
///
///   Texts come from tools and users: control characters are shown escaped, so that no entry can
///   pass for two or change what a terminal shows.
///
/// HOW IT FAILS
///   Opening throws fen_err::Error("log", path, why). Writing never throws, since a full disk must
///   not undo the work that is being logged; an entry that cannot be written goes to standard
///   error, as do entries written before the log is open.

#pragma once

#include <exception>
#include <filesystem>
#include <string>

namespace panel {

/// Opens the log `file` for appending, created with mode 0640, in place of the one open so far.
void OpenLog(const std::filesystem::path& file);

/// Writes one entry.
void Log(const std::string& channel, const std::string& text);

/// Writes what went wrong: a fen_err::Error that is marked for reporting to the channel of its
/// type, if a plug-in declared one (host/fen_log.h), every other error to `channel`.
void LogError(const std::string& channel, const std::exception& error);

}  // namespace panel
