/// NAME
///   listed_senders - the white and the black list of senders

#include "panel/mail/listed_senders.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <set>

#include "host/fen_err.h"
#include "host/test.h"
#include "host/zeb_db.h"
#include "panel/mail/back_end.h"
#include "panel/mail/extensions.h"
#include "panel/mail/mail_rows.h"
#include "panel/process/own_addresses.h"

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

std::vector<std::string> Rows(SenderList list) {
  return Column("SELECT name FROM email_" + NameOf(list));
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

/// Under what a value may stand in a table made by hand: that of a client has a prefix there, which
/// is not in the value.
std::vector<std::string> FormsOf(const std::string& value) {
  if (value.find('@') != std::string::npos || test::Const<test::Ip>(value)) return {value};
  return {value, "connect:" + value};
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
  for (const std::string& form : FormsOf(value)) {
    if (list == SenderList::kWhite) {
      BackEnd().DeleteFromWhitelist(form);
    } else {
      BackEnd().DeleteFromBlacklist(form);
    }
  }
}

std::string DomainOf(const std::string& value) {
  return value.substr(value.rfind('@') + 1);
}

void RequireNoSuspension(const std::string& value) {
  const std::optional<Suspended> suspended = FindSuspension(value);
  if (!suspended) return;
  throw fen_err::Error("suspended", suspended->what,
                       InUnicode(suspended->name) +
                           " cannot be listed otherwise while it is "
                           "suspended; resume it first");
}

/// A mailbox may be suspended by itself in a domain that is, too.
bool HasVerdictOfSuspension(const Suspended& suspended, const std::string& value) {
  if (suspended.name == value) return true;
  if (!test::Const<test::Email>(value)) return false;
  const MailboxRow mailbox = LookUpMailbox(value);
  return mailbox && !mailbox->active;
}

/// The listed addresses that Postfix looks up before `name`.
std::vector<std::string> ListedBelow(SenderList list, const std::string& name) {
  std::vector<std::string> addresses =
      Column("SELECT name FROM email_" + NameOf(list) + " WHERE name LIKE " +
             fen_db::Cache::EscapeValue("%@" + DomainOf(name)));
  if (name.find('@') == std::string::npos) return addresses;
  std::erase_if(addresses, [&name](const std::string& address) {
    return address == name || WithoutExtension(address) != name;
  });
  return addresses;
}

}  // namespace

/// An address stands for its domain here, and one with an extension for its mailbox: Postfix looks
/// it up first.
std::optional<Suspended> FindSuspension(const std::string& value) {
  if (!test::Const<test::Email>(value) && !test::Const<test::Domain>(value)) return std::nullopt;
  const std::string domain_name = DomainOf(value);
  const DomainRow domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  if (!domain->name.Lookup(domain_name)) return std::nullopt;
  if (!domain->active) return Suspended{"domain", domain_name};
  if (domain_name == value) return std::nullopt;
  for (const std::string& address : {value, WithoutExtension(value)}) {
    const MailboxRow mailbox = LookUpMailbox(address);
    if (mailbox)
      return mailbox->active ? std::nullopt : std::optional(Suspended{"mailbox", address});
  }
  return std::nullopt;
}

/// A client with an IPv4 address in the guise of an IPv6 one is to Postfix one with an IPv4
/// address.
std::string CheckedSender(SenderList list, const std::string& text) {
  std::string value = text;
  if (test::Ip(value) || test::Ip6(value)) return WithoutGuise(value);
  if (test::Domain(value)) return value;
  if (test::Email(value)) return LowerCase(value);
  Refuse(NameOf(list), text, "is neither a mail address nor a domain nor an IP address");
}

bool IsListed(SenderList list, const std::string& text) {
  return Has(list, text) || Has(list, CheckedSender(list, text));
}

void TakeListed(SenderList list, const std::string& text) {
  AddRow(list, CheckedSender(list, text));
}

/// The verdict of a suspension stands in place of that of a list; on what is suspended along with
/// its domain or mailbox, a black list has its verdict all the same.
void WriteListed(SenderList list, const std::string& value) {
  const std::optional<Suspended> suspended = FindSuspension(value);
  if (suspended && HasVerdictOfSuspension(*suspended, value)) return;
  if (suspended && list == SenderList::kWhite) {
    DeleteVerdict(list, value);
  } else {
    SetVerdict(list, value);
  }
}

SenderValues AddToList(SenderList list, const SenderValues& values) {
  SenderValues added;
  for (const std::string& text : values) {
    const std::string value = CheckedSender(list, text);
    if (Has(list, value)) throw fen_err::Error("exists", NameOf(list), InUnicode(value));
    RequireNoSuspension(value);
    DeleteRows(OtherThan(list), value);
    AddRow(list, value);
    SetVerdict(list, value);
    added.push_back(InUnicode(value));
  }
  return added;
}

/// The value is taken as it was given, or else in its normal form: one that was read from a table
/// made by hand may be no proper value.
SenderValues RemoveFromList(SenderList list, const SenderValues& values) {
  SenderValues removed;
  for (const std::string& text : values) {
    const std::string value = Has(list, text) ? text : CheckedSender(list, text);
    if (!Has(list, value)) throw fen_err::Error("missing", NameOf(list), text);
    RequireNoSuspension(value);
    DeleteRows(list, value);
    DeleteVerdict(list, value);
    removed.push_back(InUnicode(value));
  }
  return removed;
}

bool ConcernsRecipients(const std::string& text) {
  return zeb_db::GetCache().Get<zeb_db::EmailDomainTable>()->name.Lookup(DomainOf(text));
}

/// Databases order texts in different ways, so this is done here. A value that a table made by hand
/// has twice is shown once.
std::vector<std::string> ListSenders(SenderList list) {
  const std::vector<std::string> values = Rows(list);
  const std::set<std::string> in_order(values.begin(), values.end());
  std::vector<std::string> shown;
  shown.reserve(in_order.size());
  for (const std::string& value : in_order) shown.push_back(InUnicode(value));
  return shown;
}

void WriteVerdict(const std::string& name) {
  if (FindSuspension(name)) return;
  for (const SenderList list : {SenderList::kWhite, SenderList::kBlack}) {
    if (Has(list, name)) SetVerdict(list, name);
  }
}

void WriteVerdictsBelow(const std::string& name) {
  for (const SenderList list : {SenderList::kWhite, SenderList::kBlack}) {
    for (const std::string& address : ListedBelow(list, name)) WriteVerdict(address);
  }
}

void DeleteVerdictsBelow(const std::string& name) {
  for (const std::string& address : ListedBelow(SenderList::kWhite, name)) {
    const std::optional<Suspended> suspended = FindSuspension(address);
    if (suspended && HasVerdictOfSuspension(*suspended, address)) continue;
    DeleteVerdict(SenderList::kWhite, address);
  }
}

/// The table is read now, not when the first key is looked for.
ListsBefore::ListsBefore()
    : white_(Rows(SenderList::kWhite)),
      black_(Rows(SenderList::kBlack)),
      verdicts_("accessdb", " \t\r\n") {
  verdicts_.Read();
}

void ListsBefore::Restore() {
  for (const SenderList list : {SenderList::kWhite, SenderList::kBlack}) {
    for (const std::string& value : list == SenderList::kWhite ? white_ : black_) {
      if (Has(list, value) || !IsOnlyHeldBack(value)) continue;
      AddRow(list, value);
      WriteVerdict(value);
    }
  }
}

bool ListsBefore::IsOnlyHeldBack(const std::string& value) {
  if (FindSuspension(value)) return true;
  const DomainRow domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  return domain->name.Lookup(value) && verdicts_.Find(value);
}

}  // namespace panel::mail
