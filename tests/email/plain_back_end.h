/// NAME
///   plain_back_end - the sendmail-like back-end with hooks as plain as they can be
///
/// PURPOSE
///   Lets a test see what the generic back-end does by itself: its special targets are words of
///   their own, each hook gives a text that shows where it comes from, and the calls that matter
///   are counted.

#pragma once

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "email/sendmail_like_interface.h"

namespace test_support {

class PlainBackEnd : public email::SendmailLikeInterface {
 public:
  PlainBackEnd() : email::SendmailLikeInterface("postfix", "bounce", "disabled") {}

  void CacheAliases(std::shared_ptr<zeb_db::EmailTable>&) override {}

  void SetAliases(std::shared_ptr<zeb_db::EmailTable>& mailbox,
                  const std::list<std::string>& dropped) override {
    set_aliases.push_back(mailbox->name.Str() + " drops " + std::to_string(dropped.size()));
  }

  void SetSSLCertForDomain(const std::string&, const std::string&, const std::string&) override {}

  std::vector<std::string> set_aliases;  ///< the calls of SetAliases
  std::vector<std::string> cached;       ///< the domains given to CacheOne

 protected:
  void CacheOne(std::shared_ptr<zeb_db::EmailDomainTable>& domain) override {
    cached.push_back(domain->name.Str());
  }

  void SetDefAction(Cursor<email::VirtualDomains>& line,
                    std::shared_ptr<zeb_db::EmailDomainTable>& domain) override {
    line->target.Set("action-" + domain->defaction.Str());
  }

  void GetDefAction(Cursor<email::VirtualDomains>& line,
                    std::shared_ptr<zeb_db::EmailDomainTable>& domain) override {
    domain->defaction = line->target.Str();
  }

  std::string GetVirtuserTarget(std::shared_ptr<zeb_db::EmailTable>& mailbox,
                                std::shared_ptr<zeb_db::EmailDomainTable>& domain) override {
    return "box-" + mailbox->name.Str() + "-" + domain->name.Str();
  }

  std::string ToListVal(const std::string& value) override { return "key:" + value; }

  std::string FromListVal(const std::string& key) override { return "value-of-" + key; }
};

}  // namespace test_support
