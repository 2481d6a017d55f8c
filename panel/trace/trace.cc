/// NAME
///   trace - the way of a message to an address, step by step

#include "panel/trace/trace.h"

#include <algorithm>

#include "panel/mail/mail_rows.h"
#include "panel/trace/mail_address.h"
#include "panel/trace/sender_way.h"
#include "panel/trace/way.h"

namespace panel::trace {
namespace {

std::string NotRefused(const std::string& name) {
  return "the panel has " + mail::InUnicode(name) +
         " suspended, but the access table does not refuse its mail";
}

/// What the panel and the tables say differently about the mailbox `name`, or nothing. A name that
/// neither of them has is one of the unknown addresses of the domain.
std::string MailboxDisagreement(Way& way, const zeb_db::EmailDomainTable& domain,
                                const mail::MailboxName& name) {
  const mail::MailboxRow mailbox = mail::LookUpMailbox(name.Address());
  const std::string shown = mail::InUnicode(name.Address());
  if (mailbox && !mailbox->active) return way.IsRefused() ? "" : NotRefused(name.Address());
  const bool is_known = mailbox || mail::UseOfName(domain, name.local);
  if (is_known == way.HasLine(name.Address())) return "";
  if (is_known) return "the panel has " + shown + ", but the virtual user table has no line for it";
  return "the virtual user table has a line for " + shown +
         ", but the panel knows no such mailbox or alias; zebmail sync reads the tables";
}

std::string Disagreement(Way& way, const std::string& address) {
  mail::MailboxName name = mail::CheckedMailbox(address);
  const mail::DomainRow domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  if (!domain->name.Lookup(name.domain)) {
    return way.IsLocal(name.domain) ? "the panel has no domain " + mail::InUnicode(name.domain)
                                    : "";
  }
  if (!domain->active) return way.IsRefused() ? "" : NotRefused(name.domain);
  const auto extended = SplitExtension(name.local, way.settings());
  if (extended && !way.HasLine(address)) name.local = extended->user;
  return MailboxDisagreement(way, *domain, name);
}

void AddSender(Trace& trace) {
  SenderWay sender = FollowSender(trace.address);
  for (Difference& difference : sender.differences) {
    difference.event += trace.events.size();
    trace.differences.push_back(difference);
  }
  trace.events.insert(trace.events.end(), sender.events.begin(), sender.events.end());
}

}  // namespace

Trace TraceAddress(const std::string& text) {
  const std::string address = mail::CheckedAddress("address", text);
  Way way;
  way.Receive(address);
  Trace trace;
  trace.address = address;
  trace.notes = way.Notes();
  const std::string disagreement = Disagreement(way, address);
  if (!disagreement.empty()) trace.notes.push_back(disagreement);
  trace.events = way.events();
  trace.differences = way.Compare();
  AddSender(trace);
  return trace;
}

}  // namespace panel::trace
