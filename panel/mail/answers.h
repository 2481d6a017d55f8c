/// NAME
///   answers - what the mailboxes with a responder answer
///
/// PURPOSE
///   Brings together the rows of the responders and their texts: the back-end is told about the
///   one, the program that answers about the other.

#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/zeb_db.h"
#include "panel/db/responder_text.h"

namespace panel::mail {

/// The mailbox's responder, or the table at its end.
std::shared_ptr<zeb_db::EmailResponderTable> ResponderOf(const zeb_db::EmailTable& mailbox);

/// The mailbox's text. One that has none yet gets a general one, in a new row that is not posted.
std::shared_ptr<db::ResponderTextTable> TextOf(const zeb_db::EmailTable& mailbox);

/// A mailbox that answers, and the whole message.
struct Answer {
  std::int64_t mailbox;
  std::string address;
  std::string message;
};

/// What the mailbox answers while its responder is on.
Answer AnswerOf(std::shared_ptr<zeb_db::EmailTable>& mailbox);

/// The answers of all responders that are on.
std::vector<Answer> ListAnswers();

}  // namespace panel::mail
