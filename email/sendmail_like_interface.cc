/// NAME
///   sendmail_like_interface - the back-end for servers with sendmail-style tables

#include "email/sendmail_like_interface.h"

#include "host/fen_cf.h"

namespace email {

// NOLINTBEGIN(modernize-pass-by-value): the argument list is the interface's.
SendmailLikeInterface::SendmailLikeInterface(const std::string& mta_name, const std::string& error,
                                             const std::string& disabled)
    : virtusertable_path(fen_cf::GetPath(mta_name + "-virtusertable")),
      localhostnames_path(fen_cf::GetPath(mta_name + "-localhostnames")),
      accessdb_path(fen_cf::GetPath(mta_name + "-accessdb")),
      aliases_path(fen_cf::GetPath(mta_name + "-aliases")),
      error_target(error),
      disabled_target(disabled) {}
// NOLINTEND(modernize-pass-by-value)

SendmailLikeInterface::~SendmailLikeInterface() = default;

std::string SendmailLikeInterface::LineKey(const zeb_db::EmailTable& mailbox,
                                           const zeb_db::EmailDomainTable& domain) {
  return mailbox.name.Str() + "@" + domain.name.Str();
}

std::string SendmailLikeInterface::AliasKey(const zeb_db::EmailTable& mailbox,
                                            const zeb_db::EmailDomainTable& domain) {
  return mailbox.name.Str() + "+" + domain.name.Str();
}

}  // namespace email
