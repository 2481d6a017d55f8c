/// NAME
///   away_message - the message that answers for a mailbox
///
/// PURPOSE
///   Makes a whole message (RFC 5322, MIME) of the subject and the text that a user has written.
///   What it is addressed to is put in front of it when it is sent. It tells other programs that no
///   person wrote it (RFC 3834, 5), so that they do not answer it.
///
/// HOW IT FAILS
///   With fen_err::Error("value", "subject" or "text", what is wrong with it).

#pragma once

#include <string>

namespace panel::mail {

/// Throws unless `subject` is one line of printable UTF-8 and not too long.
void CheckSubject(const std::string& subject);

/// Throws unless `text` is UTF-8, without control characters but tabs and line ends, and not too
/// long.
void CheckText(const std::string& text);

/// The message from `address`. The same arguments give the same message.
std::string AwayMessage(const std::string& address, const std::string& subject,
                        const std::string& text);

}  // namespace panel::mail
