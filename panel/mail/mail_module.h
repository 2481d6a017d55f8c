/// NAME
///   mail_module - the panel's mail domains
///
/// PURPOSE
///   What a panel does with mail domains: it checks what the user asks for, writes the row and has
///   the back-end carry it to the mail server. Nothing is changed before everything is checked.
///
/// WHERE IT RUNS
///   Changes run inside Panel::Change or Panel::Rehearse; looking needs an open Panel only. An
///   object serves one operation.
///
/// HOW NAMES ARE WRITTEN
///   Domain names, and domains in addresses, are taken in Unicode or in ASCII and in any case of
///   letters. They are kept in ASCII and shown in Unicode.
///
/// HOW IT FAILS
///   With fen_err::Error: "value" (setting, what is wrong with it), "missing" ("domain", name) for
///   a domain that the panel does not have, "exists" ("domain", name and where) for one that it
///   has, and whatever the database and the back-end throw.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "panel/mail/table_domains.h"

namespace panel::mail {

/// A mail domain as it is shown.
struct Domain {
  std::string name;
  bool active = true;          ///< false while it is suspended
  std::string default_action;  ///< "error", "ignore", "redir_email" or "redir_domain"
  std::string redirect;        ///< address or domain of the two redirecting actions, else empty
  std::string ip;              ///< address from which its mail leaves, else empty
};

/// What a change says about a domain. What it leaves out stays as it is.
struct DomainSettings {
  std::optional<std::string> default_action{};
  std::optional<std::string> redirect{};
  std::optional<std::string> ip{};      ///< the empty text unbinds
  std::optional<std::int64_t> owner{};  ///< key of the panel's user, 0 for none
};

class MailModule {
 public:
  /// A new domain is active and bounces mail for unknown addresses ("error"), unless the settings
  /// say otherwise. One that the mail server's table has, though the panel does not, is refused.
  void CreateDomain(const std::string& name, const DomainSettings& settings);

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

 private:
  TableDomains table_domains_;
};

}  // namespace panel::mail
