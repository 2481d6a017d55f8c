/// NAME
///   adopted_things - whether the tables say of things what the panel's new rows say

#include "panel/mail/adopted_things.h"

#include <algorithm>
#include <string_view>

#include "host/fen_err.h"
#include "panel/conf/disk_file.h"
#include "panel/mail/back_end.h"
#include "panel/mail/names.h"
#include "panel/mail/table_lines.h"
#include "panel/mail/table_path.h"

namespace panel::mail {
namespace {

constexpr const char* kAdvice =
    "; make the tables say the same, or take it over with zebmail sync and change it behind that";

std::string InFile(const std::string& path, std::size_t line) {
  return path + ":" + std::to_string(line);
}

std::string SaysElse(const std::string& place) {
  return place + " says something else than this line";
}

std::string Lacks(const std::string& path, const std::string& key) {
  return path + " lacks the line of " + key + " that would go with it";
}

std::string DomainOf(std::string_view address) {
  return std::string(address.substr(address.rfind('@') + 1));
}

/// The number of the line in which `piece` of the text stands.
std::size_t LineOf(std::string_view piece, std::string_view text) {
  const auto offset = static_cast<std::size_t>(piece.data() - text.data());
  const std::string_view before = text.substr(0, offset);
  return 1 + static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n'));
}

}  // namespace

std::optional<std::string> PlainTable::FindUnseen(const std::string& key) {
  const std::optional<Entry> entry = table_.Find(key);
  if (entry && !entry->ignored.empty()) return InFile(table_.path(), entry->ignored.front());
  if (entry && HasMoreBehind(entry->value)) return InFile(table_.path(), entry->line);
  if (!odd_) FindOddLines();
  const auto odd = odd_->find(LowerCase(key));
  if (odd == odd_->end()) return std::nullopt;
  return InFile(table_.path(), odd->second);
}

/// Whether a "#", behind which the back-end reads nothing, has a meaning for Postfix.
bool PlainTable::HasMoreBehind(const std::string& value) const {
  const std::size_t mark = value.find('#');
  if (mark == std::string::npos) return false;
  const bool is_word = mark > 0 && (value[mark - 1] == ' ' || value[mark - 1] == '\t');
  return comments_ == Comments::kAreTargets || !is_word;
}

void PlainTable::FindOddLines() {
  odd_.emplace();
  for (const Oddity& oddity : table_.FindOddities()) {
    if (oddity.kind != Oddity::Kind::kComment) odd_->emplace(oddity.key, oddity.line);
  }
}

AdoptedThings::AdoptedThings()
    : addresses_path_(TablePath("virtusertable")),
      addresses_(addresses_path_, Format::kPostmap, PlainTable::Comments::kAreTargets),
      access_(TablePath("accessdb"), Format::kPostmap, PlainTable::Comments::kSayNothing),
      aliases_(TablePath("aliases"), Format::kPostalias, PlainTable::Comments::kAreTargets),
      bindings_(ReadBindings()) {}

void AdoptedThings::WriteDomain(const std::string& name) {
  DomainRow row = FindDomain(name);
  const std::string ascii = row->name.Str();
  Thing thing{"domain", row->name.Unicode(), {}};
  thing.places = {{addresses_path_, "@" + ascii}, {access_.table().path(), ascii}};
  if (!host_names_.Find(ascii)) thing.fault = Lacks(TablePath("localhostnames"), ascii);
  if (bindings_) AddBinding(thing, ascii, row->ip.Str());
  if (!Add(std::move(thing))) return;
  BackEnd().UpdateDomain(row);
  WriteVerdict(ascii);
}

void AdoptedThings::AddBinding(Thing& thing, const std::string& domain,
                               const std::string& address) const {
  const SenderPattern* const pattern = bindings_->FindPattern(PatternOf(domain));
  thing.places.push_back({bindings_->map, PatternOf(domain)});
  thing.places.push_back({bindings_->master, pattern ? pattern->service : ServiceOf(domain)});
  if (pattern == nullptr || !thing.fault.empty()) return;
  const std::string place = FindOtherBinding(*pattern, address);
  if (!place.empty()) thing.fault = SaysElse(place);
}

/// The back-end reads no IPv6 address, so it takes a domain with one for a domain without any.
std::string AdoptedThings::FindOtherBinding(const SenderPattern& pattern,
                                            const std::string& address) const {
  const Service* const service = bindings_->FindService(pattern.service);
  if (service == nullptr || pattern.is_continued || bindings_->HasAnother(pattern)) {
    return bindings_->InMap(pattern.line);
  }
  const bool is_same = service->address == address && !service->is_continued;
  return is_same && !bindings_->HasAnother(*service) ? "" : bindings_->InMaster(service->line);
}

/// Resuming writes all of a mailbox, and suspending what is otherwise then.
void AdoptedThings::WriteMailbox(const std::string& given) {
  MailboxRow row = FindMailbox(given);
  const std::string address = AddressOf(row);
  Thing thing{"mailbox", InUnicode(address), {}};
  thing.places = {{addresses_path_, address},
                  {access_.table().path(), address},
                  {aliases_.table().path(), EntryOf(address)}};
  AddAliases(thing, *row, address);
  mailboxes_.emplace(address, things_.size());
  if (!Add(std::move(thing))) return;
  BackEnd().ResumeEmail(row);
  if (row->active) {
    WriteVerdict(address);
  } else {
    BackEnd().SuspendEmail(row);
  }
}

/// An alias with a line keeps it, wherever it leads.
void AdoptedThings::AddAliases(Thing& thing, const zeb_db::EmailTable& mailbox,
                               const std::string& address) {
  for (const std::string& name :
       Column("SELECT name FROM email_alias WHERE email = " + mailbox.id.AsString())) {
    const std::string alias = name + "@" + DomainOf(address);
    thing.places.push_back({addresses_path_, alias});
    mailboxes_.emplace(alias, things_.size());
    const std::optional<Entry> entry = addresses_.table().Find(alias);
    if (!entry || entry->value == address || !thing.fault.empty()) continue;
    thing.fault = SaysElse(InFile(addresses_path_, entry->line));
  }
}

void AdoptedThings::WriteSender(SenderList list, const std::string& given) {
  const std::string value = CheckedSender(list, given);
  const bool is_writable =
      Add({list == SenderList::kWhite ? "whitelist" : "blacklist",
           InUnicode(value),
           {{access_.table().path(), value}, {access_.table().path(), "connect:" + value}}});
  if (is_writable) WriteListed(list, value);
}

bool AdoptedThings::Add(Thing thing) {
  if (thing.fault.empty()) thing.fault = FindUnseen(thing.places);
  things_.push_back(std::move(thing));
  return things_.back().fault.empty();
}

std::string AdoptedThings::FindUnseen(const std::vector<Place>& places) {
  for (PlainTable* const table : {&addresses_, &access_, &aliases_}) {
    for (const Place& place : places) {
      if (place.path != table->table().path()) continue;
      if (const auto unseen = table->FindUnseen(place.key)) return SaysElse(*unseen);
    }
  }
  return "";
}

/// An alias that no row has stays, be it of another alias.
void AdoptedThings::LookForFurtherAliases() {
  const std::string text = conf::ReadWholeFile(addresses_path_).bytes;
  ForEachTableLine(text, [&](std::string_view key, const std::vector<std::string_view>& targets) {
    if (targets.size() != 1 || key.starts_with('@') || mailboxes_.contains(std::string(key))) {
      return;
    }
    const auto mailbox = mailboxes_.find(std::string(targets.front()));
    if (mailbox == mailboxes_.end() || DomainOf(key) != DomainOf(mailbox->first)) return;
    Thing& thing = things_[mailbox->second];
    if (thing.fault.empty()) thing.fault = SaysElse(InFile(addresses_path_, LineOf(key, text)));
  });
}

void AdoptedThings::RequireSame(
    const std::function<void(std::size_t thing, const std::function<void()>& step)>& at) {
  LookForFurtherAliases();
  const RewrittenTables rewritten;
  for (std::size_t number = 0; number < things_.size(); ++number) {
    at(number, [&] { RequireSame(things_[number], rewritten); });
  }
  const std::optional<OtherLine> other = rewritten.FindAny();
  if (!other) return;
  throw fen_err::Error("exists", "tables",
                       InFile(other->path, other->line) +
                           " would be otherwise if the panel had written it" + kAdvice);
}

void AdoptedThings::RequireSame(const Thing& thing, const RewrittenTables& rewritten) {
  std::string fault = thing.fault;
  for (const Place& place : thing.places) {
    if (!fault.empty()) break;
    const std::optional<OtherLine> other = rewritten.Find(place.path, place.key);
    if (!other) continue;
    fault =
        other->line == 0 ? Lacks(place.path, place.key) : SaysElse(InFile(place.path, other->line));
  }
  if (fault.empty()) return;
  throw fen_err::Error(
      "exists", thing.what,
      thing.name + " is in the tables, and the panel does not have it, but " + fault + kAdvice);
}

}  // namespace panel::mail
