/// NAME
///   listed_senders - the white and the black list of senders

#include "panel/mail/listed_senders.h"

#include <algorithm>
#include <memory>
#include <set>

#include "host/fen_err.h"
#include "host/test.h"
#include "host/zeb_db.h"
#include "panel/mail/back_end.h"
#include "panel/mail/mail_rows.h"

namespace panel::mail {
namespace {

std::string NameOf(SenderList list) {
  return list == SenderList::kWhite ? "whitelist" : "blacklist";
}

SenderList OtherThan(SenderList list) {
  return list == SenderList::kWhite ? SenderList::kBlack : SenderList::kWhite;
}

/// Calls `work` with a table object of the list's rows.
template <class Work>
auto WithRows(SenderList list, const Work& work) {
  if (list == SenderList::kWhite) {
    return work(*zeb_db::GetCache().Get<zeb_db::EmailWhitelist>());
  }
  return work(*zeb_db::GetCache().Get<zeb_db::EmailBlacklist>());
}

bool Has(SenderList list, const std::string& value) {
  return WithRows(list, [&value](auto& row) { return row.name.Lookup(value); });
}

void AddRow(SenderList list, const std::string& value) {
  WithRows(list, [&value](auto& row) {
    row.New();
    row.name = value;
    row.Post();
  });
}

/// Deletes every row of the value: one that was read from a table made by hand may be there twice.
void DeleteRows(SenderList list, const std::string& value) {
  WithRows(list,
           [&value](auto& row) { row.DbDelete("name = " + fen_db::Cache::EscapeValue(value)); });
}

/// The value in the form in which it is kept.
std::string Checked(SenderList list, const std::string& text) {
  std::string value = text;
  if (test::Ip(value) || test::Ip6(value) || test::Domain(value)) return value;
  if (test::Email(value)) return LowerCase(value);
  Refuse(NameOf(list), text, "is neither a mail address nor a domain nor an IP address");
}

/// The value as the back-end wants it: it knows an IPv4 address by itself, and any other value that
/// is a client's only by the prefix under which Postfix looks clients up.
std::string ForBackEnd(const std::string& value) {
  return test::Const<test::Ip6>(value) ? "connect:" + value : value;
}

void SetVerdict(SenderList list, const std::string& value) {
  if (list == SenderList::kWhite) {
    BackEnd().AddToWhitelist(ForBackEnd(value));
  } else {
    BackEnd().AddToBlacklist(ForBackEnd(value));
  }
}

void DeleteVerdict(SenderList list, const std::string& value) {
  if (list == SenderList::kWhite) {
    BackEnd().DeleteFromWhitelist(ForBackEnd(value));
  } else {
    BackEnd().DeleteFromBlacklist(ForBackEnd(value));
  }
}

[[noreturn]] void RefuseSuspended(const std::string& what, const std::string& name) {
  throw fen_err::Error("suspended", what,
                       InUnicode(name) +
                           " cannot be listed otherwise while it is suspended; "
                           "resume it first");
}

/// A verdict on a suspended domain or mailbox would end the suspension.
void RequireNoSuspension(const std::string& value) {
  const std::size_t at = value.rfind('@');
  const DomainRow domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  if (at == std::string::npos) {
    if (domain->name.Lookup(value) && !domain->active) RefuseSuspended("domain", value);
  } else if (const MailboxRow mailbox = LookUpMailbox(value); mailbox && !mailbox->active) {
    RefuseSuspended("mailbox", value);
  }
}

}  // namespace

void AddToList(SenderList list, const std::vector<std::string>& values) {
  for (const std::string& text : values) {
    const std::string value = Checked(list, text);
    if (Has(list, value)) throw fen_err::Error("exists", NameOf(list), InUnicode(value));
    RequireNoSuspension(value);
    DeleteRows(OtherThan(list), value);
    AddRow(list, value);
    SetVerdict(list, value);
  }
}

/// The value is taken as it was given, or else in its normal form: one that was read from a table
/// made by hand may be no proper value.
void RemoveFromList(SenderList list, const std::vector<std::string>& values) {
  for (const std::string& text : values) {
    const std::string value = Has(list, text) ? text : Checked(list, text);
    if (!Has(list, value)) throw fen_err::Error("missing", NameOf(list), text);
    RequireNoSuspension(value);
    DeleteRows(list, value);
    DeleteVerdict(list, value);
  }
}

/// Databases order texts in different ways, so this is done here. A value that a table made by hand
/// has twice is shown once.
std::vector<std::string> ListSenders(SenderList list) {
  const std::vector<std::string> values = Column("SELECT name FROM email_" + NameOf(list));
  const std::set<std::string> in_order(values.begin(), values.end());
  std::vector<std::string> shown;
  shown.reserve(in_order.size());
  for (const std::string& value : in_order) shown.push_back(InUnicode(value));
  return shown;
}

void WriteVerdict(const std::string& name) {
  for (const SenderList list : {SenderList::kWhite, SenderList::kBlack}) {
    if (Has(list, name)) SetVerdict(list, name);
  }
}

}  // namespace panel::mail
