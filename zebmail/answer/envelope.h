/// NAME
///   envelope - from whom a message came and to whom it was sent
///
/// PURPOSE
///   Neither is what the header says: From and To are written by the sender as he likes. Postfix
///   tells both in the environment of the commands that it runs.

#pragma once

#include <string>

#include "zebmail/answer/message_header.h"

namespace zebmail::answer {

struct Envelope {
  std::string sender;     ///< empty for a bounce
  std::string recipient;  ///< as the sender gave it, before it was looked up anywhere
};

/// The envelope of the message with this header, which Postfix handed to this process.
Envelope ReadEnvelope(const MessageHeader& header);

}  // namespace zebmail::answer
