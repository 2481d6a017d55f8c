/// NAME
///   sendmail_like_responder - auto-responders in the aliases

#include "email/alias_table.h"
#include "email/sendmail_like_interface.h"
#include "host/email.h"

namespace email {

void SendmailLikeInterface::GetResponder(std::shared_ptr<zeb_db::EmailResponderTable>& responder) {
  auto mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>(responder->email.Str());
  auto domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>(mailbox->domain.Str());
  auto entry = AliasTable::Get<Aliases>(aliases_path, true);
  entry->Assert(AliasKey(*mailbox, *domain));
  responder->active = entry->alias.Has(GetResponderAction(mailbox));
  responder->Post();
}

void SendmailLikeInterface::SetResponder(std::shared_ptr<zeb_db::EmailResponderTable>& responder) {
  auto mailbox = zeb_db::GetCache().Get<zeb_db::EmailTable>(responder->email.Str());
  auto domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>(mailbox->domain.Str());
  auto entry = AliasTable::Get<Aliases>(aliases_path, true);
  const std::string key = AliasKey(*mailbox, *domain);
  if (!entry->Find(key)) {
    entry->New();
    entry->name.Set(key);
  }
  const std::string action = GetResponderAction(mailbox);
  if (responder->active) {
    if (!entry->alias.Has(action)) entry->alias.Append(action);
  } else {
    entry->alias.Delete(action);
  }
  // Posted even when it is off and nothing changed: a mailbox with a responder keeps its entry.
  entry->Post("");
}

}  // namespace email
