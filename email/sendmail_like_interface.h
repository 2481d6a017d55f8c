/// NAME
///   sendmail_like_interface - the back-end for servers with sendmail-style tables
///
/// PURPOSE
///   Maps the mail module's operations onto four text tables: the virtual user table, the local
///   host names, the access table and the aliases. What is particular to one server is left to
///   hooks.
///
/// WHAT THE TABLES SAY
///   domain      line "@domain"        local host names   access table
///   active      default action        listed             -
///   suspended   disabled_target       listed             550 Account disabled
///   deleted     -                     -                  -
///
///   mailbox     line "local@domain"   entry of aliases   access table
///   active      its target, entry     as needed          -
///   suspended   disabled_target       as it was          550 Account disabled
///   deleted     -                     -                  -
///
///   The lines stand in the virtual user table. A mailbox has an entry "local+domain" in the
///   aliases for its forwards and its responder, and names it in its line. The targets of before a
///   suspension are kept nowhere: they follow from the database.
///
/// HOW THE FILES ARE SAVED
///   A cursor is released, and its file saved, before the next table is opened, so that the files
///   change in the order in which the operation is written. Where one leads into another (the
///   target of a line names an entry), both are held and saved together at the end.

#pragma once

#include <list>
#include <memory>
#include <string>

#include "email/mta_interface.h"
#include "email/virtual_user_table.h"
#include "host/zeb_db.h"

namespace email {

class SendmailLikeInterface : public MtaInterface {
 public:
  /// Looks up the paths MTA_NAME-virtusertable, -localhostnames, -accessdb and -aliases, once.
  /// `error` is the target that bounces mail to unknown addresses, `disabled` the one of a
  /// suspended domain or mailbox.
  SendmailLikeInterface(const std::string& mta_name, const std::string& error,
                        const std::string& disabled);
  ~SendmailLikeInterface() override;

  void CacheEmails() override;
  void CreateEmail(std::shared_ptr<zeb_db::EmailTable>& mailbox) override;
  void DeleteEmail(std::shared_ptr<zeb_db::EmailTable>& mailbox) override;
  void SuspendEmail(std::shared_ptr<zeb_db::EmailTable>& mailbox) override;
  void ResumeEmail(std::shared_ptr<zeb_db::EmailTable>& mailbox) override;
  void UpdateEmail(std::shared_ptr<zeb_db::EmailTable>& mailbox) override;
  void CacheDomains() override;
  void CreateDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) override;
  void DeleteDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) override;
  void SuspendDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) override;
  void ResumeDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) override;
  void UpdateDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) override;
  void GetResponder(std::shared_ptr<zeb_db::EmailResponderTable>& responder) override;
  void SetResponder(std::shared_ptr<zeb_db::EmailResponderTable>& responder) override;
  void AddToWhitelist(const std::string& value) override;
  void DeleteFromWhitelist(const std::string& value) override;
  void CacheWhitelist() override;
  void AddToBlacklist(const std::string& value) override;
  void DeleteFromBlacklist(const std::string& value) override;
  void CacheBlacklist() override;

 protected:
  /// Completes a domain row that CacheDomains is about to post with what only this server knows.
  virtual void CacheOne(std::shared_ptr<zeb_db::EmailDomainTable>& domain) = 0;

  /// Writes the target of the line that the cursor stands on from the row's default action; the
  /// caller posts it.
  virtual void SetDefAction(Cursor<VirtualDomains>& line,
                            std::shared_ptr<zeb_db::EmailDomainTable>& domain) = 0;

  /// The reverse: sets the row's default action from the line's target; the caller posts the row.
  virtual void GetDefAction(Cursor<VirtualDomains>& line,
                            std::shared_ptr<zeb_db::EmailDomainTable>& domain) = 0;

  /// The target of the line of an active mailbox.
  virtual std::string GetVirtuserTarget(std::shared_ptr<zeb_db::EmailTable>& mailbox,
                                        std::shared_ptr<zeb_db::EmailDomainTable>& domain) = 0;

  /// The key in the access table for a value of a sender list.
  virtual std::string ToListVal(const std::string& value) = 0;

  /// The value of a sender list for a key in the access table.
  virtual std::string FromListVal(const std::string& key) = 0;

  /// The key of the mailbox's line in the virtual user table: its address.
  static std::string LineKey(const zeb_db::EmailTable& mailbox,
                             const zeb_db::EmailDomainTable& domain);

  /// The key of the mailbox's entry in the aliases.
  static std::string AliasKey(const zeb_db::EmailTable& mailbox,
                              const zeb_db::EmailDomainTable& domain);

  const std::string virtusertable_path;
  const std::string localhostnames_path;
  const std::string accessdb_path;
  const std::string aliases_path;
  const std::string error_target;
  const std::string disabled_target;

 private:
  void SetVerdict(const std::string& value, const std::string& verdict);
  void DeleteVerdict(const std::string& value);

  /// Replaces the rows of the sender list `List` by the keys of the access table with `verdict`.
  template <class List>
  void CacheList(const std::string& delete_all, const std::string& verdict);
};

}  // namespace email
