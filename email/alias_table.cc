/// NAME
///   alias_table - the aliases

#include "email/alias_table.h"

#include <memory>

#include "email/after_save.h"
#include "host/fen_cf.h"

namespace email {

bool Aliases::Parse(Cf cf) {
  if (cf->pos() != cf->line_offset()) return false;
  cf.CacheStart(this, true);
  cf.CacheField(name);
  cf->GetUntilToken("\n", false, true);
  cf.CacheField(alias);
  cf.CacheDone(this, false);
  return true;
}

std::string Aliases::NewRecordTemplate() {
  return name.Str() + ":\t" + alias.Str() + '\n';
}

AliasTable::AliasTable() {
  // The colon behind the name is a separator like any other, so a line without one reads the same.
  auto rules = std::make_shared<fen_token::Params>();
  rules->Add(new fen_token::CharToken(":\t ", fen_token::Token::kSeparator));
  rules->Add(new fen_token::CharToken("\n", fen_token::Token::kEndOfLine));
  rules->Add(new fen_token::Comment("#", "\n", false));
  Describe(rules);
  AddRecords<Aliases>();
}

void AliasTable::AfterSave(ConfRef&, ConfCache::SaveReason& reason) {
  if (!CallsForTool(reason)) return;
  const std::string aliases = fen_cf::GetPath("postfix-aliases");
  RunTool("postalias", fen_cf::GetPath("postfix-postalias") + " " + aliases);
}

}  // namespace email
