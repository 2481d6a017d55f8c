/// NAME
///   virtual_user_table - the table of virtual addresses

#include "email/virtual_user_table.h"

#include <memory>

#include "email/after_save.h"
#include "host/fen_cf.h"

namespace email {

bool VirtualDomains::Parse(Cf cf) {
  if (cf->pos() != cf->line_offset()) return false;
  cf.CacheStart(this, true);
  if (cf->token() != "@") return false;
  cf->GetToken(false);
  cf.CacheField(name);
  cf->GetUntilToken("\n", false, true);
  cf.CacheField(target);
  cf.CacheDone(this, false);
  return true;
}

std::string VirtualDomains::NewRecordTemplate() {
  return '@' + name.Str() + '\t' + target.Str() + '\n';
}

bool VirtualEmails::Parse(Cf cf) {
  if (cf->pos() != cf->line_offset()) return false;
  cf.CacheStart(this, true);
  if (cf->token() == "@") return false;
  cf->AddToken();
  if (!cf->token().ends_with('@')) return false;
  cf->AddToken();
  cf.CacheField(name);
  cf->GetUntilToken("\n", false, true);
  cf.CacheField(target);
  cf.CacheDone(this, false);
  return true;
}

std::string VirtualEmails::NewRecordTemplate() {
  return name.Str() + '\t' + target.Str() + '\n';
}

VirtualUserTable::VirtualUserTable() {
  auto rules = std::make_shared<fen_token::Params>();
  rules->Add(new fen_token::CharToken("@", fen_token::Token::kSingle));
  rules->Add(new fen_token::CharToken("\t ", fen_token::Token::kSeparator));
  rules->Add(new fen_token::CharToken("\n", fen_token::Token::kEndOfLine));
  rules->Add(new fen_token::Comment("#", "\n", false));
  Describe(rules);
  AddRecords<VirtualDomains>();
  AddRecords<VirtualEmails>();
}

void VirtualUserTable::AfterSave(ConfRef& ref, ConfCache::SaveReason& reason) {
  if (!CallsForTool(reason)) return;
  RunTool("postmap", fen_cf::GetPath("postfix-postmap") + " " + ref.FileName());
}

}  // namespace email
