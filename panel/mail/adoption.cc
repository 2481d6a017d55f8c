/// NAME
///   adoption - taking over what the tables have already

#include "panel/mail/adoption.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include "host/fen_err.h"
#include "host/str.h"
#include "panel/db/database.h"
#include "panel/mail/answers.h"
#include "panel/mail/domain_settings.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/names.h"
#include "panel/mail/panel.h"
#include "panel/mail/responder_folder.h"
#include "panel/mail/sync.h"
#include "panel/mail/table_keys.h"
#include "panel/mail/table_path.h"
#include "panel/mail/table_values.h"
#include "panel/mail/text_table.h"

namespace panel::mail {
namespace {

using Key = std::int64_t;

bool HasDomain(const std::string& name) {
  return zeb_db::GetCache().Get<zeb_db::EmailDomainTable>()->name.Lookup(name);
}

/// Makes these the names of one kind that the mailbox has.
template <class Table>
void SetNames(const zeb_db::EmailTable& mailbox, const std::vector<std::string>& names) {
  const auto row = zeb_db::GetCache().Get<Table>();
  row->DbDelete("email = " + mailbox.id.AsString());
  for (const std::string& name : names) {
    row->New();
    row->email = mailbox.id;
    row->name = name;
    row->Post();
  }
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

  /// Makes the rows of the things of one kind.
  template <class Line>
  void ForEach(void (Adopter::*work)(const Line&)) {
    for (const ImportLine* const line : there_) {
      const auto* const said = std::get_if<Line>(&line->said);
      if (said != nullptr) at_line_(*line, [&] { (this->*work)(*said); });
    }
  }
  void AddDomain(const DomainLine& said);
  void AddMailboxWithKey(const MailboxLine& said);
  void AddMailbox(const MailboxLine& said);
  void SetDelivery(const MailboxLine& said);
  void AddResponder(const MailboxLine& said);
  void AddSenders(const std::vector<ImportLine>& lines);
  std::optional<Key> KeyInTable(const MailboxName& name);

  static void RequireSame();
  void TakeResponder(const MailboxLine& said);

  MailModule& mail_;
  const AtLine& at_line_;
  std::optional<CommandUser> answerer_;
  TableKeys addresses_{"virtusertable", " \t\r\n#"};
  TextTable access_{TablePath("accessdb"), Format::kPostmap};
  TextTable aliases_{TablePath("aliases"), Format::kPostalias};
  std::vector<const ImportLine*> there_;  ///< those whose things the tables alone have
};

std::unordered_set<const ImportLine*> Adopter::Run(const std::vector<ImportLine>& lines) {
  FindWhatIsThere(lines);
  if (there_.empty()) return {};  // listed senders by themselves are added like any others
  ForEach<DomainLine>(&Adopter::AddDomain);
  ForEach<MailboxLine>(&Adopter::AddMailboxWithKey);
  db::GoOnBehindKeys("email");
  ForEach<MailboxLine>(&Adopter::AddMailbox);
  ForEach<MailboxLine>(&Adopter::SetDelivery);
  ForEach<MailboxLine>(&Adopter::AddResponder);
  AddSenders(lines);
  RequireSame();
  ForEach<MailboxLine>(&Adopter::SetDelivery);  // a synchronisation has them in another order
  ForEach<MailboxLine>(&Adopter::TakeResponder);
  return {there_.begin(), there_.end()};
}

void Adopter::FindWhatIsThere(const std::vector<ImportLine>& lines) {
  for (const ImportLine& line : lines) {
    const auto* const domain = std::get_if<DomainLine>(&line.said);
    const auto* const mailbox = std::get_if<MailboxLine>(&line.said);
    if ((domain != nullptr && IsThere(*domain)) || (mailbox != nullptr && IsThere(*mailbox))) {
      there_.push_back(&line);
    }
  }
}

bool Adopter::IsThere(const DomainLine& said) {
  const std::string name = CheckedDomainName(said.name);
  return !HasDomain(name) && addresses_.Find("@" + name).has_value();
}

bool Adopter::IsThere(const MailboxLine& said) {
  const MailboxName name = CheckedMailbox(said.address);
  const DomainRow domain = zeb_db::GetCache().Get<zeb_db::EmailDomainTable>();
  if (domain->name.Lookup(name.domain) && UseOfName(*domain, name.local)) return false;
  return addresses_.Find(name.Address()).has_value();
}

/// The verdict on what is suspended stands in place of that of a list, which comes back with it.
bool Adopter::IsThere(const SenderLine& said) {
  if (IsListed(said.list, said.value)) return false;
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

/// The key that the responder's command in the aliases names.
std::optional<Key> Adopter::KeyInTable(const MailboxName& name) {
  const auto entry = aliases_.Find(str::Replace(name.Address(), "@", "+"));
  if (!entry) return std::nullopt;
  for (const std::string& value : ParseValues(entry->value)) {
    Key key = 0;
    std::from_chars(value.data() + value.rfind('/') + 1, value.data() + value.size(), key);
    if (key > 0 && ParseValues(ResponderTarget(key)).front() == value) return key;
  }
  return std::nullopt;
}

/// One whose key another mailbox has gets a new one; the synchronisation finds that then.
void Adopter::AddMailboxWithKey(const MailboxLine& said) {
  const MailboxName name = CheckedMailbox(said.address);
  const auto key = KeyInTable(name);
  if (!key ||
      zeb_db::GetCache().Get<zeb_db::EmailTable>()->DbFind("id = " + std::to_string(*key))) {
    return;
  }
  zeb_db::GetCache().Query("INSERT INTO email (id, name, domain) VALUES (" + std::to_string(*key) +
                           ", " + fen_db::Cache::EscapeValue(name.local) + ", " +
                           FindDomain(name.domain)->id.AsString() + ")");
}

void Adopter::AddMailbox(const MailboxLine& said) {
  const MailboxName name = CheckedMailbox(said.address);
  MailboxRow row = LookUpMailbox(said.address);
  if (!row) {
    row = zeb_db::GetCache().Get<zeb_db::EmailTable>();
    row->New();
    row->name = name.local;
    row->domain = FindDomain(name.domain)->id;
  }
  row->active = said.active.value_or(true);
  row->dropmail = said.drop_mail.value_or(false);
  row->Post();
}

void Adopter::SetDelivery(const MailboxLine& said) {
  const MailboxRow row = FindMailbox(said.address);
  const std::string domain = CheckedMailbox(said.address).domain;
  std::vector<std::string> aliases;
  for (const std::string& alias : said.aliases.value_or(std::vector<std::string>())) {
    aliases.push_back(CheckedAlias(alias, domain));
  }
  std::vector<std::string> forwards;
  for (const std::string& forward : said.forwards.value_or(std::vector<std::string>())) {
    forwards.push_back(CheckedAddress("forward", forward));
  }
  SetNames<zeb_db::EmailAliasTable>(*row, aliases);
  SetNames<zeb_db::EmailForwardTable>(*row, forwards);
}

void Adopter::AddResponder(const MailboxLine& said) {
  const bool is_on = said.responder.value_or(false);
  if (is_on || said.answer.subject || said.answer.text) {
    mail_.KeepResponderText(said.address, said.answer);
  }
  if (!is_on) return;
  const MailboxRow row = FindMailbox(said.address);
  const auto responder = ResponderOf(*row);
  responder->New();
  responder->email = row->id;
  responder->active = true;
  responder->Post();
}

/// A synchronisation would take them from the table too, so none is left to come later.
void Adopter::AddSenders(const std::vector<ImportLine>& lines) {
  for (const ImportLine& line : lines) {
    const auto* const said = std::get_if<SenderLine>(&line.said);
    if (said == nullptr || !IsThere(*said)) continue;
    TakeListed(said->list, said->value);
    there_.push_back(&line);
  }
}

void Adopter::RequireSame() {
  for (const SyncResult& result :
       Synchronise({.allow_mass_delete = true, .for_comparison = true, .progress = {}})) {
    if (result.first.empty()) continue;
    std::string differences;
    for (const std::string& one : result.first) {
      differences += (differences.empty() ? "" : ", ") + one;
    }
    throw fen_err::Error(
        "exists", result.kind,
        "the tables have things that the lines speak of and the panel does not "
        "have, but they do not say the same: a sync behind this would have these " +
            differences + "; put the lines or the tables right");
  }
}

/// The synchronisation leaves a responder out that the aliases do not run.
void Adopter::TakeResponder(const MailboxLine& said) {
  if (!said.responder.value_or(false)) return;
  MailboxRow row = FindMailbox(said.address);
  if (ResponderOf(*row)->Eof()) {
    throw fen_err::Error("exists", "mailbox",
                         said.address +
                             " is in the tables, and the panel does not have it, but the aliases "
                             "do not run its responder; put the line or the tables right");
  }
  if (!answerer_) answerer_ = RequireAnswering();
  AfterCommit([answer = AnswerOf(row), user = *answerer_] {
    WriteResponderFolder(answer.mailbox, answer.message, false, user);
  });
}

}  // namespace

std::unordered_set<const ImportLine*> TakeOver(const std::vector<ImportLine>& lines,
                                               MailModule& mail, const AtLine& at_line) {
  return Adopter(mail, at_line).Run(lines);
}

}  // namespace panel::mail
