/// NAME
///   answers - what the mailboxes with a responder answer

#include "panel/mail/answers.h"

#include "panel/mail/away_message.h"
#include "panel/mail/mail_rows.h"

namespace panel::mail {
namespace {

const char* const kGeneralSubject = "Automatic reply";
const char* const kGeneralText =
    "Thank you for your message. I am away at present and shall read it when I am back.\n";

}  // namespace

std::shared_ptr<zeb_db::EmailResponderTable> ResponderOf(const zeb_db::EmailTable& mailbox) {
  auto row = zeb_db::GetCache().Get<zeb_db::EmailResponderTable>();
  row->DbFind("email = " + mailbox.id.AsString());
  return row;
}

std::shared_ptr<db::ResponderTextTable> TextOf(const zeb_db::EmailTable& mailbox) {
  auto row = zeb_db::GetCache().Get<db::ResponderTextTable>();
  if (row->DbFind("mailbox = " + mailbox.id.AsString())) return row;
  row->New();
  row->mailbox = mailbox.id;
  row->subject = kGeneralSubject;
  row->body = kGeneralText;
  return row;
}

Answer AnswerOf(MailboxRow& mailbox) {
  const auto text = TextOf(*mailbox);
  const std::string address = AddressOf(mailbox);
  return {mailbox->id, address, AwayMessage(address, text->subject.Str(), text->body.Str())};
}

std::vector<Answer> ListAnswers() {
  std::vector<Answer> answers;
  for (const std::string& key : Column("SELECT email FROM email_responder WHERE active")) {
    MailboxRow mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>(key);
    answers.push_back(AnswerOf(mailbox));
  }
  return answers;
}

}  // namespace panel::mail
