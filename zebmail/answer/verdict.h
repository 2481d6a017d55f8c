/// NAME
///   verdict - whether a message is one to answer
///
/// PURPOSE
///   An answer goes to a person who wrote to this very mailbox, and to nobody else: not to
///   programs, which may answer in turn, not to lists, where it would reach everybody, and not to
///   those who never wrote, because spam forges its sender. In doubt there is none.

#pragma once

#include <string>

#include "zebmail/answer/envelope.h"
#include "zebmail/answer/message_header.h"

namespace zebmail::answer {

/// Why the message is not answered; empty when it is.
std::string FindObjection(const Envelope& envelope, const MessageHeader& header);

}  // namespace zebmail::answer
