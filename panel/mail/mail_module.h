/// NAME
///   mail_module - the panel's mail domains and mailboxes
///
/// PURPOSE
///   What a panel does with mail: it checks what the user asks for, writes the rows and has the
///   back-end carry them to the mail server. Nothing is changed before everything is checked.
///
/// WHERE IT RUNS
///   Changes run inside Panel::Change or Panel::Rehearse; looking needs an open Panel only. An
///   object serves one operation.
///
/// HOW NAMES ARE WRITTEN
///   Domain names, and domains in addresses, are taken in Unicode or in ASCII and in any case of
///   letters of ASCII. They are kept in ASCII and shown in Unicode. Mailboxes and aliases are kept
///   in lower case.
///
/// WHAT IT ADDS TO THE BACK-END
///   The back-end carries out one operation at a time and leaves some things between them undone.
///   So that a user finds what was switched on still on, the mail module
///     - deletes a domain's mailboxes before the domain;
///     - has aliases, forwards and responder written again after each update of a mailbox;
///     - deletes the row of a responder that is switched off, for with one that says "off" the
///       mailbox's forwards would stop, and keeps its text beside;
///     - changes nothing of what a suspended mailbox delivers to, which would end the suspension;
///     - lists a domain or an address anew when its entry on a sender list had to give way to a
///       suspension;
///     - gives a name in a domain to one mailbox or to one alias, and to nothing else;
///     - never has an alias with an empty name written out: that is how the domain's line for
///       unknown addresses is read back when it leads to the mailbox.
///
/// HOW IT FAILS
///   With fen_err::Error: "value" (setting, what is wrong with it), "missing" (what, name) for what
///   the panel does not have, "exists" (what, name and where) for what it has already, "suspended"
///   ("mailbox", name) for what a suspended mailbox does not allow, and whatever the database and
///   the back-end throw.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "panel/mail/command_user.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/table_keys.h"

namespace panel::mail {

/// A mail domain as it is shown.
struct Domain {
  std::string name;
  bool active = true;          ///< false while it is suspended
  std::string default_action;  ///< "error", "ignore", "redir_email" or "redir_domain"
  std::string redirect;        ///< address or domain of the two redirecting actions, else empty
  std::string ip;              ///< address from which its mail leaves, else empty
  std::int64_t owner = 0;      ///< key of the panel's user, 0 for none
};

/// What a change says about a domain. What it leaves out stays as it is.
struct DomainSettings {
  std::optional<std::string> default_action{};
  std::optional<std::string> redirect{};
  std::optional<std::string> ip{};      ///< the empty text unbinds
  std::optional<std::int64_t> owner{};  ///< key of the panel's user, 0 for none
};

/// A mailbox as it is shown.
struct Mailbox {
  std::string address;
  bool active = true;                ///< false while it is suspended
  bool drop_mail = false;            ///< it keeps no mail
  std::vector<std::string> aliases;  ///< local parts
  std::vector<std::string> forwards;
  bool responder = false;  ///< its mail is answered
};

/// The auto-responder of a mailbox as it is shown.
struct Responder {
  std::string address;
  bool active = false;
  std::string subject;
  std::string text;
};

/// What a change says about a responder. What it leaves out stays as it was the last time.
struct ResponderSettings {
  std::optional<std::string> subject{};
  std::optional<std::string> text{};
};

class MailModule {
 public:
  /// A new domain is active and bounces mail for unknown addresses ("error"), unless the settings
  /// say otherwise. One that the mail server's table has, though the panel does not, is refused.
  void CreateDomain(const std::string& name, const DomainSettings& settings);

  bool HasDomain(const std::string& name) const;

  /// Whether the settings say anything else of the domain than the panel does.
  bool IsChangedBy(const std::string& name, const DomainSettings& settings) const;

  /// A suspended domain stays suspended. The actions "error" and "ignore" forget the redirect.
  void UpdateDomain(const std::string& name, const DomainSettings& settings);

  /// A domain that is in that state already is carried to the mail server once more.
  void SuspendDomain(const std::string& name);
  void ResumeDomain(const std::string& name);

  /// Deletes the domain's mailboxes first, one by one.
  void DeleteDomain(const std::string& name);

  /// All domains, in the order of their ASCII names.
  std::vector<Domain> ListDomains() const;

  Domain ShowDomain(const std::string& name) const;

  /// A new mailbox is active. Its domain must be one of the panel's. An address that the mail
  /// server's table has, though the panel does not, is refused; so is a name whose mail Postfix
  /// would give to an entry of the aliases.
  void CreateMailbox(const std::string& address, bool drop_mail);

  void UpdateMailbox(const std::string& address, bool drop_mail);

  /// A mailbox that is in that state already is carried to the mail server once more.
  void SuspendMailbox(const std::string& address);
  void ResumeMailbox(const std::string& address);

  /// Deletes the mailbox with its aliases, its forwards and its responder.
  void DeleteMailbox(const std::string& address);

  /// All mailboxes, or those of one domain, in the order of domains and local parts.
  std::vector<Mailbox> ListMailboxes(const std::optional<std::string>& domain) const;

  Mailbox ShowMailbox(const std::string& address) const;

  /// Further names of the mailbox, local parts in its own domain: all of them or, when one cannot
  /// be, none.
  void AddAliases(const std::string& address, const std::vector<std::string>& names);
  void RemoveAliases(const std::string& address, const std::vector<std::string>& names);

  /// Addresses that get a copy of the mailbox's mail: all of them or, when one cannot be, none.
  void AddForwards(const std::string& address, const std::vector<std::string>& targets);
  void RemoveForwards(const std::string& address, const std::vector<std::string>& targets);

  /// Has the mailbox's mail answered, by a general text if it never had one. One that is on already
  /// gets the new text and still answers each sender once a week.
  void SwitchResponderOn(const std::string& address, const ResponderSettings& settings);

  /// Ends the answering; the text is kept for the next time.
  void SwitchResponderOff(const std::string& address);

  /// Gives the mailbox a text for the next time; its responder must be off.
  void KeepResponderText(const std::string& address, const ResponderSettings& settings);

  Responder ShowResponder(const std::string& address) const;

  /// The responders of the mailboxes of a domain that ever had one.
  std::vector<Responder> ListResponders(const std::string& domain) const;

  /// What the user should know of the changes made, beside what became of them; whole lines.
  const std::vector<std::string>& warnings() const noexcept { return warnings_; }

 private:
  void SetActive(const std::string& name, bool active);
  void RequireNoneOfOurs(const std::string& name);
  void NoteForeignAddress(const DomainSettings& settings, const zeb_db::EmailDomainTable& row);
  void DeleteWithAll(MailboxRow& mailbox);
  void RequireOwnLines(MailboxRow& mailbox);
  void RequireFreeName(const std::string& what, const zeb_db::EmailDomainTable& domain,
                       const std::string& local);
  void RequireOwnDelivery(const MailboxName& mailbox);

  std::vector<std::string> warnings_;
  std::vector<std::string> host_names_;  ///< this server's own, once that was asked
  std::optional<CommandUser> answerer_;  ///< who runs responders, once that was asked
  TableKeys addresses_{"virtusertable", " \t\r\n#"};
  TableKeys aliases_{"aliases", ": \t\r\n#"};
};

}  // namespace panel::mail
