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

void Check(const ResponderSettings& settings) {
  if (settings.subject) CheckSubject(*settings.subject);
  if (settings.text) CheckText(*settings.text);
}

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

Responder Shown(MailboxRow& mailbox) {
  const auto responder = ResponderOf(*mailbox);
  const auto text = TextOf(*mailbox);
  return {InUnicode(AddressOf(mailbox)), !responder->Eof() && responder->active,
          text->subject.Str(), text->body.Str()};
}

}  // namespace

void MailModule::SwitchResponderOn(const std::string& address, const ResponderSettings& settings) {
  Check(settings);
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

void MailModule::KeepResponderText(const std::string& address, const ResponderSettings& settings) {
  Check(settings);
  WriteText(*FindMailbox(address), settings);
}

Responder MailModule::ShowResponder(const std::string& address) const {
  MailboxRow mailbox = FindMailbox(address);
  return Shown(mailbox);
}

std::vector<Responder> MailModule::ListResponders(const std::string& domain) const {
  std::vector<Responder> responders;
  for (const std::string& key :
       Column("SELECT email.id FROM email JOIN responder_text ON responder_text.mailbox = email.id"
              " WHERE email.domain = " +
              FindDomain(domain)->id.AsString() + " ORDER BY email.id")) {
    MailboxRow mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>(key);
    responders.push_back(Shown(mailbox));
  }
  return responders;
}

}  // namespace panel::mail
