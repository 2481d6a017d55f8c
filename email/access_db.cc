/// NAME
///   access_db - the access table

#include "email/access_db.h"

#include <memory>

#include "email/after_save.h"
#include "host/fen_cf.h"

namespace email {

bool SourceTarget::Parse(Cf cf) {
  if (cf->pos() != cf->line_offset()) return false;
  cf.CacheStart(this, true);
  cf.CacheField(source);
  cf->GetUntilToken("\n", false, true);
  cf.CacheField(target);
  cf.CacheDone(this, false);
  return true;
}

std::string SourceTarget::NewRecordTemplate() {
  return source.Str() + '\t' + target.Str() + '\n';
}

AccessDb::AccessDb() {
  auto rules = std::make_shared<fen_token::Params>();
  rules->Add(new fen_token::CharToken("\t ", fen_token::Token::kSeparator));
  rules->Add(new fen_token::CharToken("\n", fen_token::Token::kEndOfLine));
  rules->Add(new fen_token::Comment("#", "\n", false));
  Describe(rules);
  AddRecords<SourceTarget>();
}

void AccessDb::AfterSave(ConfRef& ref, ConfCache::SaveReason& reason) {
  if (!CallsForTool(reason)) return;
  RunTool("postmap", fen_cf::GetPath("postfix-postmap") + " " + ref.FileName());
}

}  // namespace email
