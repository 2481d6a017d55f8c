/// NAME
///   sendmail_like_lists - the white and the black list of senders
///
/// PURPOSE
///   Both lists are verdicts of one table, and a key has one verdict: a value is on one list at
///   most, adding it to one takes it off the other, and taking it off either removes its verdict,
///   be it that of a suspension.

#include "email/access_db.h"
#include "email/sendmail_like_interface.h"

namespace email {

void SendmailLikeInterface::SetVerdict(const std::string& value, const std::string& verdict) {
  auto access = AccessDb::Get<SourceTarget>(accessdb_path, true);
  const std::string key = ToListVal(value);
  if (!access->Find(key)) {
    access->New();
    access->source.Set(key);
  }
  access->target.Set(verdict);
  access->Post("");
}

void SendmailLikeInterface::DeleteVerdict(const std::string& value) {
  const std::string key = ToListVal(value);
  AccessDb::Get<SourceTarget>(accessdb_path, true)->Delete(key);
}

template <class List>
void SendmailLikeInterface::CacheList(const std::string& delete_all, const std::string& verdict) {
  zeb_db::GetCache().Query(delete_all);
  auto list = zeb_db::GetCache().Get<List>();
  list->ClearCache(false);
  auto access = AccessDb::Get<SourceTarget>(accessdb_path, true);
  for (access->First(); !access->Eof(); access->Next()) {
    if (access->target.Str() != verdict) continue;
    list->New();
    list->name = FromListVal(access->source.Str());
    list->Post();
  }
}

void SendmailLikeInterface::AddToWhitelist(const std::string& value) {
  SetVerdict(value, kAcceptVerdict);
}

void SendmailLikeInterface::DeleteFromWhitelist(const std::string& value) {
  DeleteVerdict(value);
}

void SendmailLikeInterface::CacheWhitelist() {
  std::string stamp;
  if (!zeb_db::FileIsChanged(accessdb_path, stamp)) return;
  CacheList<zeb_db::EmailWhitelist>("DELETE FROM email_whitelist", kAcceptVerdict);
}

void SendmailLikeInterface::AddToBlacklist(const std::string& value) {
  SetVerdict(value, kRejectVerdict);
}

void SendmailLikeInterface::DeleteFromBlacklist(const std::string& value) {
  DeleteVerdict(value);
}

void SendmailLikeInterface::CacheBlacklist() {
  CacheList<zeb_db::EmailBlacklist>("DELETE FROM email_blacklist", kRejectVerdict);
}

}  // namespace email
