/// NAME
///   local_host_names - the domains for which the server takes mail as its own

#include "email/local_host_names.h"

#include <memory>

#include "email/after_save.h"
#include "host/fen_cf.h"

namespace email {

bool HostNames::Parse(Cf cf) {
  if (cf->pos() != cf->line_offset()) return false;
  cf.CacheStart(this, true);
  cf.CacheField(name);
  cf.CacheDone(this, true);
  return true;
}

std::string HostNames::NewRecordTemplate() {
  return name.Str() + '\n';
}

LocalHostNames::LocalHostNames() {
  // A line is one name: nothing separates tokens inside it.
  auto rules = std::make_shared<fen_token::Params>();
  rules->Add(new fen_token::CharToken("\n", fen_token::Token::kEndOfLine));
  rules->Add(new fen_token::Comment("#", "\n", true));
  Describe(rules);
  AddRecords<HostNames>();
}

void LocalHostNames::AfterSave(ConfRef&, ConfCache::SaveReason& reason) {
  if (!CallsForTool(reason)) return;
  RunTool("postfix_reload", fen_cf::GetPath("postfix-bin") + " reload");
}

}  // namespace email
