/// NAME
///   adoption - taking over what the tables have already

#include "panel/mail/adoption.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "host/fen_err.h"
#include "panel/db/database.h"
#include "panel/mail/adopted_things.h"
#include "panel/mail/answers.h"
#include "panel/mail/domain_settings.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/names.h"
#include "panel/mail/panel.h"
#include "panel/mail/responder_folder.h"
#include "panel/mail/responder_keys.h"
#include "panel/mail/table_keys.h"
#include "panel/mail/table_path.h"

namespace panel::mail {
namespace {

bool HasDomain(const std::string& name) {
  return zeb_db::GetCache().Get<zeb_db::EmailDomainTable>()->name.Lookup(name);
}

/// Gives the mailbox a name of one kind.
template <class Table>
void AddName(const zeb_db::EmailTable& mailbox, const std::string& name) {
  const auto row = zeb_db::GetCache().Get<Table>();
  row->New();
  row->email = mailbox.id;
  row->name = name;
  row->Post();
}

/// The line of a name that two have leads to one of them.
void RequireFree(const std::string& alias, const DomainRow& domain) {
  const auto use = UseOfName(*domain, alias);
  if (!use) return;
  throw fen_err::Error("exists", "alias",
                       InUnicode(alias + "@" + domain->name.Str()) + " is " + *use);
}

class Adopter {
 public:
  Adopter(MailModule& mail, const AtLine& at_line) : mail_(mail), at_line_(at_line) {}

  std::unordered_set<const ImportLine*> Run(const std::vector<ImportLine>& lines);

 private:
  void FindWhatIsThere(const std::vector<ImportLine>& lines);
  bool IsThere(const DomainLine& said);
  bool IsThere(const MailboxLine& said);
  bool IsThere(const SenderLine& said);
  void RequireNoEntry(const MailboxName& name);
  void RequireDomainLine(const MailboxName& name, const std::string& line);

  /// Does `work` on the things of one kind.
  template <class Line>
  void ForEach(void (Adopter::*work)(const Line&)) {
    for (const ImportLine* const line : there_) {
      const auto* const said = std::get_if<Line>(&line->said);
      if (said != nullptr) at_line_(*line, [&] { (this->*work)(*said); });
    }
  }
  void AddDomain(const DomainLine& said);
  void AddMailbox(const MailboxLine& said);
  void TakeKey(const MailboxLine& said);
  void AddDelivery(const MailboxLine& said);
  void AddResponder(const MailboxLine& said);
  void AddSenders(const std::vector<ImportLine>& lines);
  void RequireSame();
  void WriteDomain(const DomainLine& said) { written_.WriteDomain(said.name); }
  void WriteMailbox(const MailboxLine& said) { written_.WriteMailbox(said.address); }
  void WriteSender(const SenderLine& said) { written_.WriteSender(said.list, said.value); }

  MailModule& mail_;
  const AtLine& at_line_;
  std::optional<CommandUser> answerer_;
  AdoptedThings written_;
  std::optional<ResponderKeys> keys_;
  TableKeys addresses_{"virtusertable", " \t\r\n#"};
  TableKeys entries_{"aliases", ": \t\r\n#"};
  TableKeys access_{"accessdb", " \t\r\n"};
  bool has_new_mailbox_ = false;          ///< one that neither the tables nor the panel have
  std::vector<const ImportLine*> there_;  ///< those whose things the tables alone have
};

std::unordered_set<const ImportLine*> Adopter::Run(const std::vector<ImportLine>& lines) {
  FindWhatIsThere(lines);
  if (there_.empty() && !has_new_mailbox_) return {};
  keys_.emplace(written_.aliases());
  keys_->KeepFromNewMailboxes();
  if (there_.empty()) return {};  // listed senders by themselves are added like any others
  ForEach<DomainLine>(&Adopter::AddDomain);
  ForEach<MailboxLine>(&Adopter::AddMailbox);
  ForEach<MailboxLine>(&Adopter::TakeKey);
  ForEach<MailboxLine>(&Adopter::AddDelivery);
  ForEach<MailboxLine>(&Adopter::AddResponder);
  AddSenders(lines);
  RequireSame();
  return {there_.begin(), there_.end()};
}

void Adopter::FindWhatIsThere(const std::vector<ImportLine>& lines) {
  for (const ImportLine& line : lines) {
    const auto* const domain = std::get_if<DomainLine>(&line.said);
    const auto* const mailbox = std::get_if<MailboxLine>(&line.said);
    if (domain == nullptr && mailbox == nullptr) continue;
    at_line_(line, [&] {
      if (domain != nullptr ? IsThere(*domain) : IsThere(*mailbox)) there_.push_back(&line);
    });
  }
}

bool Adopter::IsThere(const DomainLine& said) {
  const std::string name = CheckedDomainName(said.name);
  return !HasDomain(name) && addresses_.Find("@" + name).has_value();
}

bool Adopter::IsThere(const MailboxLine& said) {
  const MailboxName name = CheckedMailbox(said.address);
  const DomainRow domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  const bool has_domain = domain->name.Lookup(name.domain);
  if (has_domain && UseOfName(*domain, name.local)) return false;
  const std::optional<std::string> line = addresses_.Find(name.Address());
  if (!line) {
    RequireNoEntry(name);
    has_new_mailbox_ = true;
  } else if (!has_domain) {
    RequireDomainLine(name, *line);
  }
  return line.has_value();
}

/// The entry of a mailbox that has lost its line would forward or answer the mail of the new one.
void Adopter::RequireNoEntry(const MailboxName& name) {
  const auto entry = entries_.Find(EntryOf(name.Address()));
  if (!entry) return;
  throw fen_err::Error("exists", "mailbox",
                       InUnicode(name.Address()) + " has no line in " + TablePath("virtusertable") +
                           ", but an entry in " + *entry +
                           "; put its line back, or remove the entry");
}

void Adopter::RequireDomainLine(const MailboxName& name, const std::string& line) {
  if (addresses_.Find("@" + name.domain)) return;
  throw fen_err::Error("missing", "domain",
                       InUnicode(name.Address()) + " is in " + line + ", but there is no line @" +
                           name.domain + ", by which its domain would be there too; put that in, " +
                           "or remove the lines of its mailboxes");
}

/// The verdict on what is suspended stands in place of that of a list, which comes back with it.
bool Adopter::IsThere(const SenderLine& said) {
  if (IsListed(SenderList::kWhite, said.value) || IsListed(SenderList::kBlack, said.value)) {
    return false;
  }
  const std::string value = CheckedSender(said.list, said.value);
  return FindSuspension(value) || access_.Find(value) || access_.Find("connect:" + value);
}

void Adopter::AddDomain(const DomainLine& said) {
  const DomainRow row = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  row->New();
  row->name = CheckedDomainName(said.name);
  row->active = said.active.value_or(true);
  row->defaction = "error";
  ApplySettings(said.settings, *row);
  row->Post();
}

void Adopter::AddMailbox(const MailboxLine& said) {
  const MailboxName name = CheckedMailbox(said.address);
  const MailboxRow row = zeb_db::GetCache().Get<zeb_db::EmailTable>();
  row->New();
  row->name = name.local;
  row->domain = FindDomain(name.domain)->id;
  row->active = said.active.value_or(true);
  row->dropmail = said.drop_mail.value_or(false);
  row->Post();
}

/// The mailbox gets the key by which the aliases have its mail answered. The rows of mailboxes were
/// given keys behind all of those.
void Adopter::TakeKey(const MailboxLine& said) {
  const MailboxRow row = FindMailbox(said.address);
  const std::string address = CheckedMailbox(said.address).Address();
  const std::string entry = EntryOf(address);
  const auto key = keys_->Of(entry);
  if (!key) return;
  const auto refuse = [&](const std::string& why) {
    throw fen_err::Error("exists", "mailbox",
                         InUnicode(address) + " is answered for in " + *entries_.Find(entry) +
                             " as the mailbox with the key " + std::to_string(*key) + ", " + why +
                             "; remove that responder from the aliases, and switch it on again "
                             "behind the import");
  };
  if (*key > ResponderKeys::kGreatest) refuse("which is no key that a panel gives");
  if (const auto other = keys_->OtherWith(*key, entry)) refuse("and so is " + *other);
  if (zeb_db::GetCache().Get<zeb_db::EmailTable>()->DbFind("id = " + std::to_string(*key))) {
    refuse("which another mailbox has");
  }
  db::ChangeKey("email", row->id, *key);
}

void Adopter::AddDelivery(const MailboxLine& said) {
  const MailboxRow row = FindMailbox(said.address);
  const DomainRow domain = FindDomain(CheckedMailbox(said.address).domain);
  for (const std::string& name : said.aliases.value_or(std::vector<std::string>())) {
    const std::string alias = CheckedAlias(name, domain->name.Str());
    RequireFree(alias, domain);
    AddName<zeb_db::EmailAliasTable>(*row, alias);
  }
  for (const std::string& forward : said.forwards.value_or(std::vector<std::string>())) {
    AddName<zeb_db::EmailForwardTable>(*row, CheckedAddress("forward", forward));
  }
}

void Adopter::AddResponder(const MailboxLine& said) {
  const bool is_on = said.responder.value_or(false);
  if (is_on || said.answer.subject || said.answer.text) {
    mail_.KeepResponderText(said.address, said.answer);
  }
  if (!is_on) return;
  MailboxRow row = FindMailbox(said.address);
  const auto responder = ResponderOf(*row);
  responder->New();
  responder->email = row->id;
  responder->active = true;
  responder->Post();
  if (!answerer_) answerer_ = RequireAnswering();
  AfterCommit([answer = AnswerOf(row), user = *answerer_] {
    WriteResponderFolder(answer.mailbox, answer.message, false, user);
  });
}

/// They are looked for last: a suspension may stand in place of what a list says.
void Adopter::AddSenders(const std::vector<ImportLine>& lines) {
  for (const ImportLine& line : lines) {
    const auto* const said = std::get_if<SenderLine>(&line.said);
    if (said == nullptr) continue;
    at_line_(line, [&] {
      if (!IsThere(*said)) return;
      TakeListed(said->list, said->value);
      there_.push_back(&line);
    });
  }
}

/// Domains are written before what is in them, as they would be by hand.
void Adopter::RequireSame() {
  ForEach<DomainLine>(&Adopter::WriteDomain);
  ForEach<MailboxLine>(&Adopter::WriteMailbox);
  ForEach<SenderLine>(&Adopter::WriteSender);
  std::stable_sort(there_.begin(), there_.end(),
                   [](const ImportLine* left, const ImportLine* right) {
                     return left->said.index() < right->said.index();
                   });
  written_.RequireSame(
      [this](std::size_t thing, const auto& step) { at_line_(*there_[thing], step); });
}

}  // namespace

std::unordered_set<const ImportLine*> TakeOver(const std::vector<ImportLine>& lines,
                                               MailModule& mail, const AtLine& at_line) {
  return Adopter(mail, at_line).Run(lines);
}

}  // namespace panel::mail
