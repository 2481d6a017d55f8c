/// NAME
///   postfix_interface - the back-end for Postfix

#include "postfix/postfix_interface.h"

#include "email/alias_table.h"
#include "host/apistat.h"
#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "host/test.h"

namespace zebpriv_email_postfix {

namespace {

constexpr char kBounce[] = "postfix_err_nouser";
constexpr char kDiscard[] = "devnull";

void EnsureAlias(Cursor<email::Aliases>& aliases, const std::string& name,
                 const std::string& target) {
  if (aliases->Find(name)) return;
  aliases->New();
  aliases->name.Set(name);
  aliases->alias = target;
  aliases->Post("");
}

}  // namespace

PostfixInterface::PostfixInterface()
    : email::SendmailLikeInterface("postfix", kBounce, kBounce),
      domainips_path(fen_cf::GetPath("postfix-domainips")),
      master_path(fen_cf::GetPath("postfix-master")) {
  EnsureDeliveryAliases();
  apistat::ModuleInterface("mail", "postfix");
}

PostfixInterface::~PostfixInterface() = default;

void PostfixInterface::EnsureDeliveryAliases() {
  auto aliases = email::AliasTable::Get<email::Aliases>(aliases_path, true);
  EnsureAlias(aliases, kBounce, "\"| exit 67\"");
  EnsureAlias(aliases, kDiscard, "\"/dev/null\"");
}

void PostfixInterface::SetDefAction(Cursor<email::VirtualDomains>& line,
                                    std::shared_ptr<zeb_db::EmailDomainTable>& domain) {
  const std::string action = domain->defaction.Str();
  if (action == "error") {
    line->target.Set(error_target);
  } else if (action == "ignore") {
    line->target.Set(kDiscard);
  } else if (action == "redir_email") {
    line->target.Set(domain->redirect.Str());
  } else if (action == "redir_domain") {
    line->target.Set('@' + domain->redirect.Str());
  }
}

void PostfixInterface::GetDefAction(Cursor<email::VirtualDomains>& line,
                                    std::shared_ptr<zeb_db::EmailDomainTable>& domain) {
  const std::string target = line->target.Str();
  if (target == error_target) {
    domain->defaction = "error";
  } else if (target == kDiscard) {
    domain->defaction = "ignore";
  } else if (target.starts_with('@') && test::Const<test::Domain>(target.substr(1))) {
    domain->defaction = "redir_domain";
    domain->redirect = target.substr(1);
  } else if (test::Const<test::Email>(target)) {
    domain->defaction = "redir_email";
    domain->redirect = target;
  }
}

std::string PostfixInterface::GetVirtuserTarget(std::shared_ptr<zeb_db::EmailTable>& mailbox,
                                                std::shared_ptr<zeb_db::EmailDomainTable>& domain) {
  return mailbox->dropmail ? kDiscard : LineKey(*mailbox, *domain);
}

std::string PostfixInterface::ToListVal(const std::string& value) {
  return test::Const<test::Ip>(value) ? "connect:" + value : value;
}

std::string PostfixInterface::FromListVal(const std::string& key) {
  // Whatever stands for the "c", a capital in a hand-made table for instance, goes with the rest.
  return key.size() > 8 && key.compare(1, 7, "onnect:") == 0 ? key.substr(8) : key;
}

void PostfixInterface::SetSSLCertForDomain(const std::string&, const std::string&,
                                           const std::string&) {
  throw fen_err::Error("not_supported");
}

}  // namespace zebpriv_email_postfix
