/// NAME
///   master_cf - the services of Postfix that send a domain's mail from its own address

#include "postfix/master_cf.h"

#include <memory>

#include "email/after_save.h"
#include "host/fen_cf.h"

namespace email {

bool IpRouters::Parse(Cf cf) {
  if (cf->pos() != cf->line_offset()) return false;
  cf.CacheStart(this, true);
  if (cf->token() != "smtp") {
    cf->GetUntilToken("\n", true, true);
    return false;
  }
  cf->AddUntilToken("\t", false, true);
  cf.CacheField(transport);
  cf->GetUntilToken("\n", false, true);
  cf.CacheField(rout);
  cf.CacheDone(this, false);
  return true;
}

std::string IpRouters::NewRecordTemplate() {
  return "__transport__\t__rout__\n";
}

MasterCf::MasterCf() {
  // Only a tab separates, so that a standard service's name runs on into its columns; and "_" is a
  // token of its own, so that the names of our services begin with the token "smtp".
  auto rules = std::make_shared<fen_token::Params>();
  rules->Add(new fen_token::CharToken("\t", fen_token::Token::kSeparator));
  rules->Add(new fen_token::CharToken("\n", fen_token::Token::kEndOfLine));
  rules->Add(new fen_token::CharToken("_", fen_token::Token::kSingle));
  rules->Add(new fen_token::Comment("#", "\n", false));
  Describe(rules);
  AddRecords<IpRouters>();
}

void MasterCf::AfterSave(ConfRef&, ConfCache::SaveReason& reason) {
  if (!CallsForTool(reason)) return;
  RunTool("postfix_reload", fen_cf::GetPath("postfix-bin") + " reload");
}

}  // namespace email
