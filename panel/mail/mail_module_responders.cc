/// NAME
///   mail_module_responders - the auto-responders of mailboxes

#include "panel/mail/answers.h"
#include "panel/mail/away_message.h"
#include "panel/mail/back_end.h"
#include "panel/mail/mail_module.h"
#include "panel/mail/mailbox_changes.h"
#include "panel/mail/panel.h"
#include "panel/mail/responder_folder.h"

namespace panel::mail {
namespace {

void WriteText(const zeb_db::EmailTable& mailbox, const ResponderSettings& settings) {
  const auto row = TextOf(mailbox);
  if (settings.subject) row->subject = *settings.subject;
  if (settings.text) row->body = *settings.text;
  row->Post();
}

/// Makes the mailbox have a responder that is on; returns whether it was off before.
bool SwitchOn(zeb_db::EmailResponderTable& row, const zeb_db::EmailTable& mailbox) {
  const bool was_off = row.Eof() || !row.active;
  if (row.Eof()) {
    row.New();
    row.email = mailbox.id;
  }
  row.active = true;
  row.Post();
  return was_off;
}

}  // namespace

void MailModule::SwitchResponderOn(const std::string& address, const ResponderSettings& settings) {
  if (settings.subject) CheckSubject(*settings.subject);
  if (settings.text) CheckText(*settings.text);
  MailboxRow mailbox = FindMailbox(address);
  RequireActive(mailbox);
  RequireOwnLines(mailbox);
  if (!answerer_) answerer_ = RequireAnswering();

  WriteText(*mailbox, settings);
  auto responder = ResponderOf(*mailbox);
  const bool anew = SwitchOn(*responder, *mailbox);
  BackEnd().SetResponder(responder);
  AfterCommit([answer = AnswerOf(mailbox), anew, user = *answerer_] {
    WriteResponderFolder(answer.mailbox, answer.message, anew, user);
  });
}

/// With a row that says "off" the mailbox's forwards would stop, so there is none.
void MailModule::SwitchResponderOff(const std::string& address) {
  MailboxRow mailbox = FindMailbox(address);
  RequireActive(mailbox);
  const auto responder = ResponderOf(*mailbox);
  if (!responder->Eof()) responder->Delete();
  WriteDelivery(mailbox);
  AfterCommit([key = static_cast<std::int64_t>(mailbox->id)] { RemoveResponderFolder(key); });
}

Responder MailModule::ShowResponder(const std::string& address) const {
  MailboxRow mailbox = FindMailbox(address);
  const auto responder = ResponderOf(*mailbox);
  const auto text = TextOf(*mailbox);
  return {InUnicode(AddressOf(mailbox)), !responder->Eof() && responder->active,
          text->subject.Str(), text->body.Str()};
}

}  // namespace panel::mail
