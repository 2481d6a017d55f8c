/// NAME
///   responder_folder - what the program that answers for a mailbox works with
///
/// PURPOSE
///   Postfix answers for a mailbox by running a program, zebmail-answer, in the name of an
///   unprivileged user. It finds all it needs in a folder of the mailbox's own:
///
///     STATE_DIR/responder/KEY/message      what it answers, a whole message without "To:"
///     STATE_DIR/responder/KEY/answered.db  whom it has answered, and when
///
///   The user can get into the folder, read the message and write the record, and no more: the
///   panel's other files stay closed to him. KEY is the mailbox's key, so that nothing that a user
///   typed stands in a command.
///
/// HOW IT FAILS
///   With fen_err::Error: "missing" for a program that is not installed, "file" (path, why) for
///   what cannot be written or is out of reach, "config" for a path that the aliases cannot hold.

#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "panel/mail/command_user.h"

namespace panel::mail {

/// The command that answers for the mailbox with this key, as a value of aliases(5). Not affected
/// by whether the folder is there.
std::string ResponderTarget(std::int64_t mailbox);

/// What the commands of all mailboxes begin with.
std::string ResponderTargetBegin();

/// Throws unless what answering takes is installed and within reach of who runs it, and returns who
/// that is.
CommandUser RequireAnswering();

/// Puts the message in place for `user`. `anew` begins a new record of who was answered; there is
/// one afterwards in any case.
void WriteResponderFolder(std::int64_t mailbox, const std::string& message, bool anew,
                          const CommandUser& user);

/// Removes the folder, if it is there.
void RemoveResponderFolder(std::int64_t mailbox);

/// The mailboxes that have a folder.
std::vector<std::int64_t> ListResponderFolders();

/// The folder of the mailbox, whether it is there or not.
std::filesystem::path ResponderFolder(std::int64_t mailbox);

/// Why the folder does not serve `user` to answer with this message; empty when it does.
std::string FindFaultInResponderFolder(std::int64_t mailbox, const std::string& message,
                                       const CommandUser& user);

}  // namespace panel::mail
