/// NAME
///   mta_interface - what the panel's mail module asks of a mail server
///
/// PURPOSE
///   The one contract between the mail module and a mail-server back-end. The mail module keeps
///   domains, mailboxes and sender lists in the panel database and calls an operation here for each
///   change; the back-end makes the server's files say the same. The other way round, the Cache...
///   operations read the server's files into the database.
///
/// THE ORDER IS PART OF THE CONTRACT
///   The operations are called by their place in the class. A new one goes to the end.
///
/// ARGUMENTS
///   A row comes as a table object standing on it, with the fields already as they are to be; the
///   back-end reads the row and does not move the object. Names are in the form in which the tables
///   hold them: domains in ASCII, local parts without "@".
///
/// HOW IT FAILS
///   Operations return nothing and report every failure by throwing fen_err::Error:
///     "missing"        a row, or a record of a table file, that must exist does not;
///     "value"          a value that the table file could not hold as one value of one line;
///     "file"           a table file that cannot be read or written;
///     "changed"        a table file that somebody else wrote in between;
///     "email"          a tool that failed after a file was saved: its name and its output
///                      ("postmap", "postalias", "postfix_reload"); the file stays saved;
///     "not_supported"  the back-end has no such operation.
///   The files are changed one after the other, in the order told at each operation; what was saved
///   before a failure stays. Nothing is rolled back: repeating the operation, or reading the tables
///   back, is how the caller gets database and tables to agree again.
///
/// IN POSTFIX
///   What each operation rests on is told under "Postfix:". The virtual user table is one of
///   virtual_alias_maps, the local host names are part of mydestination, the access table is looked
///   up for recipients, senders and clients, and the aliases are one of alias_maps.

#pragma once

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "host/zeb_db.h"

namespace email {

class MtaInterface {
 public:
  MtaInterface() = default;
  virtual ~MtaInterface() = default;

  MtaInterface(const MtaInterface&) = delete;
  MtaInterface& operator=(const MtaInterface&) = delete;

  /// Reads all mailboxes into the database: new ones get a row, known ones their `active` flag, and
  /// rows of mailboxes that the server no longer has are deleted. Mailboxes of domains that are not
  /// in the database are passed over, so CacheDomains comes first. Does nothing while the file is
  /// the one of the last pass.
  ///
  /// An empty file deletes every row: the caller has to ask whether that is meant.
  ///
  /// Postfix: the address lines of the virtual user table; a mailbox whose only target is the
  /// bouncing alias is a suspended one.
  virtual void CacheEmails() = 0;

  /// Makes the server take mail for the mailbox. A second call adds a second line: whether the
  /// mailbox exists already is for the caller to know.
  ///
  /// Postfix: a line "local@domain TAB target" in the virtual user table, below the domain's line.
  virtual void CreateEmail(std::shared_ptr<zeb_db::EmailTable>& mailbox) = 0;

  /// Takes the mailbox away: its rows in email_alias and email_forward, then its entry in the
  /// aliases, its suspension, its own line and each line whose whole target is the mailbox (its
  /// aliases). What is already missing is passed over. The mailbox's own row is the caller's.
  virtual void DeleteEmail(std::shared_ptr<zeb_db::EmailTable>& mailbox) = 0;

  /// Refuses mail for the mailbox and forgets its targets, which ResumeEmail works out anew.
  ///
  /// Postfix: the line's target becomes the bouncing alias, and the access table answers
  /// "550 Account disabled" for the address.
  virtual void SuspendEmail(std::shared_ptr<zeb_db::EmailTable>& mailbox) = 0;

  /// Takes mail for the mailbox again, with the target that its row says and with the aliases and
  /// forwards of the database.
  virtual void ResumeEmail(std::shared_ptr<zeb_db::EmailTable>& mailbox) = 0;

  /// Carries a change of the row (`dropmail`) to the server; does nothing for a suspended mailbox.
  ///
  /// Postfix: replaces all targets of the mailbox's line by the one of the row. Forwards and a
  /// responder are off after it until SetAliases is called for the mailbox.
  virtual void UpdateEmail(std::shared_ptr<zeb_db::EmailTable>& mailbox) = 0;

  /// Reads all domains into the database, as CacheEmails reads the mailboxes. A domain that is not
  /// in the database yet is taken over only when the panel has a web domain of that name, whose
  /// owner it gets. Known domains get their `active` flag, their default action and their outgoing
  /// address. Local host names and suspensions that the files lack are put there.
  ///
  /// Postfix: the "@domain" lines of the virtual user table; a domain is suspended when the access
  /// table says "550 Account disabled" for it.
  virtual void CacheDomains() = 0;

  /// Makes the server take mail for the domain. A second call adds a second line to the virtual
  /// user table: whether the domain exists already is for the caller to know.
  ///
  /// Postfix: a line "@domain TAB target" for unknown addresses, from `defaction` and `redirect`;
  /// a line in the local host names; with a non-empty `ip`, a transport of its own in master.cf and
  /// a line in the domain-to-IP map, which is one of sender_dependent_default_transport_maps.
  virtual void CreateDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) = 0;

  /// Takes the domain away, from each file that has it. Its mailboxes stay: the caller deletes them
  /// one by one before.
  virtual void DeleteDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) = 0;

  /// Refuses mail for the domain and forgets the target of unknown addresses, which ResumeDomain
  /// works out anew. Throws "missing", with nothing changed, for a domain that the table lacks.
  ///
  /// Postfix: the target becomes the bouncing alias, and the access table answers
  /// "550 Account disabled" for the domain, hence for all its mailboxes.
  virtual void SuspendDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) = 0;

  /// Takes mail for the domain again. Whatever the access table says for the domain is removed.
  virtual void ResumeDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) = 0;

  /// Carries a change of the row to the server: resumes or suspends the domain as `active` says,
  /// which writes its default action, and moves its outgoing address to `ip`.
  ///
  /// Postfix: clearing `ip` leaves the transport in master.cf, with no address to bind to. An IPv6
  /// address cannot be cleared that way, for the address is read back as IPv4 only.
  virtual void UpdateDomain(std::shared_ptr<zeb_db::EmailDomainTable>& domain) = 0;

  /// Replaces the mailbox's rows in email_forward and email_alias by what the server's files hold.
  virtual void CacheAliases(std::shared_ptr<zeb_db::EmailTable>& mailbox) = 0;

  /// Makes the server deliver as the mailbox's rows in email_alias, email_forward and
  /// email_responder say. `dropped` are the local parts that were aliases of the mailbox and are
  /// no longer: their lines go, whatever their target. Full addresses in it are passed over.
  /// Throws "missing", with nothing changed, when the mailbox has no line.
  ///
  /// Postfix: forwards and responder stand in the aliases under "local+domain", which becomes a
  /// second target of the mailbox's line; an alias is a line "alias@domain TAB local@domain".
  virtual void SetAliases(std::shared_ptr<zeb_db::EmailTable>& mailbox,
                          const std::list<std::string>& dropped) = 0;

  /// Sets the row's `active` to whether the server answers for the mailbox, and posts the row.
  /// Throws "missing" when the mailbox has no entry in the aliases.
  virtual void GetResponder(std::shared_ptr<zeb_db::EmailResponderTable>& responder) = 0;

  /// Switches the answering on or off, as the row's `active` says. Switching it off stops the
  /// mailbox's forwards as well, until SetAliases is called without the row.
  ///
  /// Postfix: the target of email::GetResponderAction in the mailbox's entry of the aliases, and
  /// that entry's name in the mailbox's line.
  virtual void SetResponder(std::shared_ptr<zeb_db::EmailResponderTable>& responder) = 0;

  /// Always takes mail from `value`, an address, a domain or an IP address. A value of the black
  /// list moves over; whatever else the access table says for it is replaced.
  ///
  /// Postfix: "value TAB OK" in the access table, an IP address with "connect:" before it.
  virtual void AddToWhitelist(const std::string& value) = 0;

  /// Takes `value` off the list, or off the black list: what the access table says for it is
  /// removed, whatever it is. A value on neither list is no error.
  virtual void DeleteFromWhitelist(const std::string& value) = 0;

  /// Replaces the rows of email_whitelist by what the server's file holds; does nothing while the
  /// file is the one of the last pass.
  virtual void CacheWhitelist() = 0;

  /// Refuses mail from `value`; as AddToWhitelist otherwise, with "REJECT".
  virtual void AddToBlacklist(const std::string& value) = 0;

  /// The same as DeleteFromWhitelist.
  virtual void DeleteFromBlacklist(const std::string& value) = 0;

  /// Replaces the rows of email_blacklist by what the server's file holds, at each call.
  virtual void CacheBlacklist() = 0;

  /// Whether a domain's mail can leave from an address of its own (`ip` of its row).
  virtual bool CanBindToIp() { return true; }

  /// Whether the server can be told to ask DNS block lists.
  virtual bool CanDNSBL() { return false; }

  /// Asks one more DNS block list; does nothing where CanDNSBL says no.
  virtual void AddDNSBL(const std::string&) {}

  /// Asks one DNS block list less; does nothing where CanDNSBL says no.
  virtual void DeleteDNSBL(const std::string&) {}

  /// Adds the DNS block lists in use to the vector; leaves it as it is where CanDNSBL says no.
  virtual void GetDNSBLs(std::vector<std::string>&) {}

  /// Gives a domain a certificate of its own. Postfix: always throws "not_supported".
  virtual void SetSSLCertForDomain(const std::string&, const std::string&, const std::string&) = 0;
};

}  // namespace email
