/// NAME
///   postfix_interface - the back-end for Postfix
///
/// PURPOSE
///   What Postfix needs beyond the sendmail-style tables: two delivery aliases that every table may
///   name as a target, the targets of a domain's default action, the wiring of forwards and
///   responders through the aliases, and one transport per domain that sends from its own address.
///
/// THE DELIVERY ALIASES
///   postfix_err_nouser   "| exit 67"    bounces the message: addressee unknown (sysexits.h)
///   devnull              "/dev/null"    takes the message and discards it
///
/// THE DEFAULT ACTION OF A DOMAIN
///   defaction      target of the "@domain" line
///   error          postfix_err_nouser
///   ignore         devnull
///   redir_email    the address in `redirect`
///   redir_domain   "@" and the domain in `redirect`: the same local part there
///   anything else, in either direction, leaves the record as it is.

#pragma once

#include <list>
#include <memory>
#include <string>

#include "email/sendmail_like_interface.h"

namespace zebpriv_email_postfix {

class PostfixInterface : public email::SendmailLikeInterface {
 public:
  /// Looks up the paths, sees to it that the aliases hold the two delivery aliases (an entry of
  /// that name is left as it is) and reports itself to the panel. Throws what opening and saving
  /// the aliases throws.
  PostfixInterface();
  ~PostfixInterface() override;

  void UpdateEmail(std::shared_ptr<zeb_db::EmailTable>& mailbox) override;
  void CreateDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) override;
  void DeleteDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) override;
  void UpdateDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) override;
  void CacheAliases(std::shared_ptr<zeb_db::EmailTable>& mailbox) override;
  void SetAliases(std::shared_ptr<zeb_db::EmailTable>& mailbox,
                  const std::list<std::string>& dropped) override;
  void SetResponder(std::shared_ptr<zeb_db::EmailResponderTable>& responder) override;
  void SetSSLCertForDomain(const std::string&, const std::string&, const std::string&) override;

  /// Sends the domain's mail from `address`: a line in the domain-to-IP map, then one in master.cf.
  /// It looks for no earlier ones; callers ask the map first.
  void BindDomainToIP(const std::string& domain, const std::string& address);

 protected:
  void CacheOne(std::shared_ptr<zeb_db::EmailDomainTable>& domain) override;
  void SetDefAction(Cursor<email::VirtualDomains>& line,
                    std::shared_ptr<zeb_db::EmailDomainTable>& domain) override;
  void GetDefAction(Cursor<email::VirtualDomains>& line,
                    std::shared_ptr<zeb_db::EmailDomainTable>& domain) override;
  std::string GetVirtuserTarget(std::shared_ptr<zeb_db::EmailTable>& mailbox,
                                std::shared_ptr<zeb_db::EmailDomainTable>& domain) override;
  std::string ToListVal(const std::string& value) override;
  std::string FromListVal(const std::string& key) override;

 private:
  /// Adds the delivery aliases that the aliases lack.
  void EnsureDeliveryAliases();

  /// Moves the domain's transport to the row's `ip`; returns false when the domain has none yet.
  bool RebindDomain(const zeb_db::EmailDomainTable& domain);

  const std::string domainips_path;
  const std::string master_path;
};

}  // namespace zebpriv_email_postfix
