/// NAME
///   domain_ips_db - the map from sender domains to transports

#include "postfix/domain_ips_db.h"

#include <memory>

namespace email {

DomainIpsDb::DomainIpsDb() {
  auto rules = std::make_shared<fen_token::Params>();
  rules->Add(new fen_token::CharToken("\t ", fen_token::Token::kSeparator));
  rules->Add(new fen_token::CharToken("\n", fen_token::Token::kEndOfLine));
  rules->Add(new fen_token::Comment("#", "\n", false));
  Describe(rules);
  AddRecords<SourceTarget>();
}

}  // namespace email
