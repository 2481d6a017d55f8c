/// NAME
///   mail_module_responders - the auto-responders of mailboxes

#include "panel/db/database.h"
#include "panel/db/responder_text.h"
#include "panel/mail/away_message.h"
#include "panel/mail/back_end.h"
#include "panel/mail/mail_module.h"
#include "panel/mail/mailbox_changes.h"
#include "panel/mail/panel.h"
#include "panel/mail/responder_folder.h"

namespace panel::mail {
namespace {

using ResponderRow = std::shared_ptr<zeb_db::EmailResponderTable>;
using TextRow = std::shared_ptr<db::ResponderTextTable>;

const char* const kGeneralSubject = "Automatic reply";
const char* const kGeneralText =
    "Thank you for your message. I am away at present and shall read it when I am back.\n";

/// The mailbox's row, or the table at its end.
ResponderRow ResponderOf(const zeb_db::EmailTable& mailbox) {
  ResponderRow row = zeb_db::GetCache().Get<zeb_db::EmailResponderTable>();
  row->DbFind("email = " + mailbox.id.AsString());
  return row;
}

TextRow TextOf(const zeb_db::EmailTable& mailbox) {
  TextRow row = zeb_db::GetCache().Get<db::ResponderTextTable>();
  row->DbFind("mailbox = " + mailbox.id.AsString());
  return row;
}

/// Brings `settings` into the mailbox's text and returns its row.
TextRow WriteText(const zeb_db::EmailTable& mailbox, const ResponderSettings& settings) {
  TextRow row = TextOf(mailbox);
  if (row->Eof()) {
    row->New();
    row->mailbox = mailbox.id;
    row->subject = kGeneralSubject;
    row->body = kGeneralText;
  }
  if (settings.subject) row->subject = *settings.subject;
  if (settings.text) row->body = *settings.text;
  row->Post();
  return row;
}

/// Makes the mailbox have a responder that is on; returns whether it was off before.
bool SwitchRowOn(const ResponderRow& row, const zeb_db::EmailTable& mailbox) {
  const bool was_off = row->Eof() || !row->active;
  if (row->Eof()) {
    row->New();
    row->email = mailbox.id;
  }
  row->active = true;
  row->Post();
  return was_off;
}

}  // namespace

void MailModule::SwitchResponderOn(const std::string& address, const ResponderSettings& settings) {
  if (settings.subject) CheckSubject(*settings.subject);
  if (settings.text) CheckText(*settings.text);
  MailboxRow mailbox = FindMailbox(address);
  RequireActive(mailbox);
  RequireAnswering();

  const TextRow text = WriteText(*mailbox, settings);
  const std::string message =
      AwayMessage(AddressOf(mailbox), text->subject.Str(), text->body.Str());
  ResponderRow responder = ResponderOf(*mailbox);
  const bool anew = SwitchRowOn(responder, *mailbox);
  BackEnd().SetResponder(responder);
  AfterCommit([key = static_cast<std::int64_t>(mailbox->id), message, anew] {
    WriteResponderFolder(key, message, anew);
  });
}

/// With a row that says "off" the mailbox's forwards would stop, so there is none.
void MailModule::SwitchResponderOff(const std::string& address) {
  MailboxRow mailbox = FindMailbox(address);
  RequireActive(mailbox);
  const ResponderRow responder = ResponderOf(*mailbox);
  if (!responder->Eof()) responder->Delete();
  WriteDelivery(mailbox);
  AfterCommit([key = static_cast<std::int64_t>(mailbox->id)] { RemoveResponderFolder(key); });
}

Responder MailModule::ShowResponder(const std::string& address) const {
  MailboxRow mailbox = FindMailbox(address);
  const ResponderRow responder = ResponderOf(*mailbox);
  const TextRow text = TextOf(*mailbox);
  Responder shown{InUnicode(AddressOf(mailbox)), !responder->Eof() && responder->active, "", ""};
  if (!text->Eof()) {
    shown.subject = text->subject.Str();
    shown.text = text->body.Str();
  }
  return shown;
}

}  // namespace panel::mail
