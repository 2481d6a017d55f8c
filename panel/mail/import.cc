/// NAME
///   import - bringing many things into the panel at once

#include "panel/mail/import.h"

#include <algorithm>
#include <set>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include "host/fen_err.h"
#include "panel/db/web_domain.h"
#include "panel/mail/adoption.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/names.h"

namespace panel::mail {
namespace {

using Names = std::vector<std::string>;

/// What a line speaks of.
struct Subject {
  std::string what;
  std::string name;
};

Subject SubjectOf(const WebDomain& said) {
  return {"webdomain", CheckedDomainName(said.name)};
}

Subject SubjectOf(const DomainLine& said) {
  return {"domain", CheckedDomainName(said.name)};
}

Subject SubjectOf(const MailboxLine& said) {
  return {"mailbox", CheckedMailbox(said.address).Address()};
}

Subject SubjectOf(const SenderLine& said) {
  return {"sender", CheckedSender(said.list, said.value)};
}

bool Has(const Names& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// What makes names of one kind into others.
struct Difference {
  Names added;
  Names removed;

  bool IsNone() const { return added.empty() && removed.empty(); }
};

/// A name counts as there also in its normal form: one that was read from a table made by hand may
/// not have that.
template <class Normal>
Difference Between(const Names& before, const std::optional<Names>& after, const Normal& normal) {
  Difference difference;
  if (!after) return difference;
  std::set<std::string> kept;
  for (const std::string& name : *after) {
    const std::string there = Has(before, name) ? name : normal(name);
    if (Has(before, there)) {
      kept.insert(there);
    } else {
      difference.added.push_back(there);
    }
  }
  for (const std::string& name : before) {
    if (!kept.contains(name)) difference.removed.push_back(name);
  }
  return difference;
}

/// What a line changes of where a mailbox's mail goes.
struct MailboxChange {
  Difference aliases;
  Difference forwards;
  bool drop_mail;
  bool responder;  ///< switches it, or gives it another text

  MailboxChange(const MailboxLine& said, const Mailbox& now, bool is_new_answer)
      : aliases(Between(now.aliases, said.aliases,
                        [domain = CheckedMailbox(now.address).domain](const std::string& name) {
                          return CheckedAlias(name, domain);
                        })),
        forwards(Between(
            now.forwards, said.forwards,
            [](const std::string& name) { return InUnicode(CheckedAddress("forward", name)); })),
        drop_mail(said.drop_mail.value_or(now.drop_mail) != now.drop_mail),
        responder(is_new_answer || said.responder.value_or(now.responder) != now.responder) {}

  bool IsAny() const { return drop_mail || responder || !aliases.IsNone() || !forwards.IsNone(); }
};

/// What is to be done to a mailbox once all have given up what they are to lose.
struct MailboxTask {
  const ImportLine& line;
  const MailboxLine& said;
  Names aliases{};   ///< to be added
  Names forwards{};  ///< to be added
  bool responder = false;
  bool suspend = false;
};

class Importer {
 public:
  Importer(const std::vector<ImportLine>& lines, MailModule& mail, const ShowProgress& progress)
      : lines_(lines), mail_(mail), progress_(progress) {}

  std::vector<ImportResult> Run();

 private:
  /// Does `work` on the lines of one kind.
  template <class Line>
  void ForEach(void (Importer::*work)(const ImportLine&, const Line&)) {
    for (const ImportLine& line : lines_) {
      const auto* const said = std::get_if<Line>(&line.said);
      if (said != nullptr) At(line, [&] { (this->*work)(line, *said); });
    }
  }

  /// Does `work` on the mailboxes for which something is left to do.
  void ForEachTask(void (Importer::*work)(const MailboxTask&)) {
    for (const MailboxTask& task : tasks_) At(task.line, [&] { (this->*work)(task); });
  }

  /// Does `work`, a step of the whole; its failure tells the line.
  template <class Work>
  void At(const ImportLine& line, const Work& work);

  /// What a line did that found its thing as it is to be.
  std::size_t& CountOfNothing(const ImportLine& line, ImportResult& result) const {
    return taken_over_.contains(&line) ? result.added : result.unchanged;
  }

  void RequireOneLineEach();
  void BringIn(const ImportLine& line, const WebDomain& said);
  void BringIn(const ImportLine& line, const DomainLine& said);
  void BringIn(const ImportLine& line, const SenderLine& said);
  void BeginChange(const ImportLine& line, const MailboxLine& said);
  void Create(const ImportLine& line, const MailboxLine& said);
  void BeginChange(const ImportLine& line, const MailboxLine& said, const Mailbox& now);
  bool GivesNewAnswer(const MailboxLine& said) const;
  Mailbox Now(const std::string& address);
  void Deliver(const MailboxTask& task);
  void Suspend(const MailboxTask& task);
  void Suspend(const ImportLine& line, const DomainLine& said);

  const std::vector<ImportLine>& lines_;
  MailModule& mail_;
  const ShowProgress& progress_;
  std::size_t done_ = 0;

  /// The mailboxes of a domain before the import, once many were asked for.
  struct DomainBefore {
    std::size_t asked = 0;
    std::unordered_map<std::string, Mailbox> mailboxes;
  };
  std::unordered_map<std::string, DomainBefore> before_;
  std::unordered_set<const ImportLine*> taken_over_;  ///< whose things the tables alone had
  std::vector<const ImportLine*> new_mailboxes_;
  std::vector<MailboxTask> tasks_;
  ImportResult web_domains_{"webdomains"};
  ImportResult domains_{"domains"};
  ImportResult mailboxes_{"mailboxes"};
  ImportResult white_{"whitelist"};
  ImportResult black_{"blacklist"};
};

std::vector<ImportResult> Importer::Run() {
  RequireOneLineEach();
  taken_over_ =
      TakeOver(lines_, mail_, [this](const ImportLine& line, const auto& step) { At(line, step); });
  ForEach<WebDomain>(&Importer::BringIn);
  ForEach<DomainLine>(&Importer::BringIn);
  ForEach<MailboxLine>(&Importer::BeginChange);
  for (const ImportLine* const line : new_mailboxes_) {
    At(*line, [&] { Create(*line, std::get<MailboxLine>(line->said)); });
  }
  ForEachTask(&Importer::Deliver);
  ForEach<SenderLine>(&Importer::BringIn);
  ForEachTask(&Importer::Suspend);
  ForEach<DomainLine>(&Importer::Suspend);
  if (progress_) progress_(done_, done_);
  return {web_domains_, domains_, mailboxes_, white_, black_};
}

/// No line is gone to more often than that of a mailbox that is taken over.
template <class Work>
void Importer::At(const ImportLine& line, const Work& work) {
  constexpr std::size_t kStepsBetweenShows = 64;
  constexpr std::size_t kMostSteps = 10;
  if (++done_ % kStepsBetweenShows == 0 && progress_) progress_(done_, kMostSteps * lines_.size());
  try {
    work();
  } catch (const fen_err::Error& error) {
    if (error.type() == "database") throw;
    throw fen_err::Error(error.type(), line.place, error.object() + ": " + error.value());
  }
}

/// Two lines that speak of one thing would leave it to their order what becomes of it.
void Importer::RequireOneLineEach() {
  std::unordered_map<std::string, const ImportLine*> firsts;
  for (const ImportLine& line : lines_) {
    At(line, [&] {
      const Subject subject =
          std::visit([](const auto& said) { return SubjectOf(said); }, line.said);
      const auto [first, is_new] = firsts.emplace(subject.what + " " + subject.name, &line);
      if (is_new) return;
      throw fen_err::Error("exists", subject.what,
                           InUnicode(subject.name) + " is in " + first->second->place +
                               " already; leave one of the two lines");
    });
  }
}

void Importer::BringIn(const ImportLine& /*line*/, const WebDomain& said) {
  const std::string name = CheckedDomainName(said.name);
  const auto row = zeb_db::GetCache().Get<db::WebDomainTable>();
  if (!row->name.Lookup(name)) {
    AddWebDomain(name, said.owner);
    ++web_domains_.added;
  } else if (row->users != said.owner) {
    row->users = said.owner;
    row->Post();
    ++web_domains_.changed;
  } else {
    ++web_domains_.unchanged;
  }
}

void Importer::BringIn(const ImportLine& line, const DomainLine& said) {
  if (!mail_.HasDomain(said.name)) {
    mail_.CreateDomain(said.name, said.settings);
    ++domains_.added;
    return;
  }
  const bool was_active = mail_.ShowDomain(said.name).active;
  const bool is_changed = mail_.IsChangedBy(said.name, said.settings);
  const bool is_switched = said.active.value_or(was_active) != was_active;
  if (is_changed) mail_.UpdateDomain(said.name, said.settings);
  if (is_switched && !was_active) mail_.ResumeDomain(said.name);
  ++(is_changed || is_switched ? domains_.changed : CountOfNothing(line, domains_));
}

void Importer::BeginChange(const ImportLine& line, const MailboxLine& said) {
  if (LookUpMailbox(said.address)) {
    BeginChange(line, said, Now(said.address));
  } else {
    new_mailboxes_.push_back(&line);
  }
}

void Importer::Create(const ImportLine& line, const MailboxLine& said) {
  mail_.CreateMailbox(said.address, said.drop_mail.value_or(false));
  ++mailboxes_.added;
  tasks_.push_back({line, said, said.aliases.value_or(Names()), said.forwards.value_or(Names()),
                    said.responder.value_or(false) || said.answer.subject || said.answer.text,
                    !said.active.value_or(true)});
}

/// Where a domain has many lines its mailboxes are listed together, which costs about as much as
/// showing a few of them.
Mailbox Importer::Now(const std::string& address) {
  constexpr std::size_t kFew = 8;
  const MailboxName name = CheckedMailbox(address);
  DomainBefore& domain = before_[name.domain];
  if (++domain.asked <= kFew) return mail_.ShowMailbox(address);
  if (domain.mailboxes.empty()) {
    for (Mailbox& mailbox : mail_.ListMailboxes(name.domain)) {
      domain.mailboxes.emplace(mailbox.address, std::move(mailbox));
    }
  }
  const auto found = domain.mailboxes.find(InUnicode(name.Address()));
  return found == domain.mailboxes.end() ? mail_.ShowMailbox(address) : found->second;
}

/// Takes away what the mailbox is to lose. While it is suspended nothing can be changed.
void Importer::BeginChange(const ImportLine& line, const MailboxLine& said, const Mailbox& now) {
  const MailboxChange change(said, now, GivesNewAnswer(said));
  const bool is_active = said.active.value_or(now.active);
  if (!change.IsAny() && is_active == now.active) {
    ++CountOfNothing(line, mailboxes_);
    return;
  }
  ++mailboxes_.changed;
  if (!now.active) mail_.ResumeMailbox(said.address);
  if (change.drop_mail) mail_.UpdateMailbox(said.address, !now.drop_mail);
  if (!change.aliases.removed.empty()) mail_.RemoveAliases(said.address, change.aliases.removed);
  if (!change.forwards.removed.empty()) mail_.RemoveForwards(said.address, change.forwards.removed);
  tasks_.push_back(
      {line, said, change.aliases.added, change.forwards.added, change.responder, !is_active});
}

bool Importer::GivesNewAnswer(const MailboxLine& said) const {
  if (!said.answer.subject && !said.answer.text) return false;
  const Responder now = mail_.ShowResponder(said.address);
  return said.answer.subject.value_or(now.subject) != now.subject ||
         said.answer.text.value_or(now.text) != now.text;
}

void Importer::Deliver(const MailboxTask& task) {
  const std::string& address = task.said.address;
  if (!task.aliases.empty()) mail_.AddAliases(address, task.aliases);
  if (!task.forwards.empty()) mail_.AddForwards(address, task.forwards);
  if (!task.responder) return;
  const bool was_on = mail_.ShowResponder(address).active;
  if (task.said.responder.value_or(was_on)) {
    mail_.SwitchResponderOn(address, task.said.answer);
  } else {
    if (was_on) mail_.SwitchResponderOff(address);
    mail_.KeepResponderText(address, task.said.answer);
  }
}

void Importer::BringIn(const ImportLine& line, const SenderLine& said) {
  ImportResult& result = said.list == SenderList::kWhite ? white_ : black_;
  const bool is_new = !IsListed(said.list, said.value);
  if (is_new) AddToList(said.list, {said.value});
  ++(is_new ? result.added : CountOfNothing(line, result));
}

void Importer::Suspend(const MailboxTask& task) {
  if (task.suspend) mail_.SuspendMailbox(task.said.address);
}

void Importer::Suspend(const ImportLine& /*line*/, const DomainLine& said) {
  if (said.active.value_or(true) || !mail_.ShowDomain(said.name).active) return;
  mail_.SuspendDomain(said.name);
}

}  // namespace

std::vector<ImportResult> Import(const std::vector<ImportLine>& lines, MailModule& mail,
                                 const ShowProgress& progress) {
  return Importer(lines, mail, progress).Run();
}

}  // namespace panel::mail
