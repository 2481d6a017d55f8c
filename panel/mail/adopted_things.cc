/// NAME
///   adopted_things - whether the tables say of things what the panel's new rows say

#include "panel/mail/adopted_things.h"

#include <algorithm>
#include <string_view>

#include "host/fen_err.h"
#include "host/str.h"
#include "panel/conf/disk_file.h"
#include "panel/mail/back_end.h"
#include "panel/mail/names.h"
#include "panel/mail/table_keys.h"
#include "panel/mail/table_lines.h"
#include "panel/mail/table_path.h"

namespace panel::mail {
namespace {

constexpr const char* kAdvice =
    "; make the tables say the same, or take it over with zebmail sync and change it behind that";

std::string InFile(const std::string& path, std::size_t line) {
  return path + ":" + std::to_string(line);
}

std::string DomainOf(std::string_view address) {
  return std::string(address.substr(address.rfind('@') + 1));
}

}  // namespace

std::optional<std::string> PlainTable::FindUnseen(const std::string& key) {
  const std::optional<Entry> entry = table_.Find(key);
  if (!entry) return std::nullopt;
  if (!entry->ignored.empty()) return InFile(table_.path(), entry->ignored.front());
  if (!odd_) {
    odd_.emplace();
    for (const Oddity& oddity : table_.FindOddities()) {
      if (oddity.kind != Oddity::Kind::kComment) odd_->insert(oddity.line);
    }
  }
  if (!odd_->contains(entry->line)) return std::nullopt;
  return InFile(table_.path(), entry->line);
}

AdoptedThings::AdoptedThings()
    : addresses_path_(TablePath("virtusertable")),
      addresses_(addresses_path_, Format::kPostmap),
      access_(TablePath("accessdb"), Format::kPostmap),
      aliases_(TablePath("aliases"), Format::kPostalias),
      bindings_(ReadBindings()) {}

void AdoptedThings::WriteDomain(const std::string& name) {
  DomainRow row = FindDomain(name);
  const std::string ascii = row->name.Str();
  Thing thing{"domain", row->name.Unicode(), {}};
  thing.places = {{addresses_path_, "@" + ascii}, {access_.table().path(), ascii}};
  if (bindings_) {
    const SenderPattern* const pattern = bindings_->FindPattern(PatternOf(ascii));
    thing.places.push_back({bindings_->map, PatternOf(ascii)});
    thing.places.push_back({bindings_->master, pattern ? pattern->service : ServiceOf(ascii)});
    thing.fault = FindOtherBinding(ascii, row->ip.Str(), pattern);
  }
  if (!TableKeys("localhostnames", " \t\r\n#").Find(ascii))
    thing.fault = TablePath("localhostnames");
  Add(std::move(thing));
  BackEnd().UpdateDomain(row);
  WriteVerdict(ascii);
}

/// The back-end reads no IPv6 address, so it takes a domain with one for a domain without any.
std::string AdoptedThings::FindOtherBinding(const std::string& domain, const std::string& address,
                                            const SenderPattern* pattern) const {
  const auto& patterns = bindings_->patterns;
  const auto repeated = std::count_if(
      patterns.begin(), patterns.end(),
      [&domain](const SenderPattern& one) { return one.pattern == PatternOf(domain); });
  if (pattern == nullptr) return "";
  if (repeated > 1) return bindings_->InMap(pattern->line);
  const auto& services = bindings_->services;
  const auto same_name = [pattern](const Service& one) { return one.name == pattern->service; };
  const auto service = std::find_if(services.begin(), services.end(), same_name);
  if (service == services.end()) return bindings_->InMap(pattern->line);
  const bool is_alone = std::count_if(services.begin(), services.end(), same_name) == 1;
  return is_alone && service->address == address ? "" : bindings_->InMaster(service->line);
}

/// Resuming writes all of a mailbox, and suspending what is otherwise then.
void AdoptedThings::WriteMailbox(const std::string& given) {
  MailboxRow row = FindMailbox(given);
  const std::string address = AddressOf(row);
  Thing thing{"mailbox", InUnicode(address), {}};
  thing.places = {{addresses_path_, address},
                  {access_.table().path(), address},
                  {aliases_.table().path(), str::Replace(address, "@", "+")}};
  for (const std::string& name :
       Column("SELECT name FROM email_alias WHERE email = " + row->id.AsString())) {
    const std::string alias = name + "@" + DomainOf(address);
    thing.places.push_back({addresses_path_, alias});
    targets_.emplace(alias, address);
  }
  mailboxes_.emplace(address, things_.size());
  Add(std::move(thing));
  BackEnd().ResumeEmail(row);
  if (row->active) {
    WriteVerdict(address);
  } else {
    BackEnd().SuspendEmail(row);
  }
}

void AdoptedThings::WriteSender(SenderList list, const std::string& given) {
  const std::string value = CheckedSender(list, given);
  Add({list == SenderList::kWhite ? "whitelist" : "blacklist",
       InUnicode(value),
       {{access_.table().path(), value}, {access_.table().path(), "connect:" + value}}});
  WriteListed(list, value);
}

void AdoptedThings::Add(Thing thing) {
  if (thing.fault.empty()) thing.fault = FindUnseen(thing.places);
  things_.push_back(std::move(thing));
}

std::string AdoptedThings::FindUnseen(const std::vector<Place>& places) {
  for (PlainTable* const table : {&addresses_, &access_, &aliases_}) {
    for (const Place& place : places) {
      if (place.path != table->table().path()) continue;
      if (auto unseen = table->FindUnseen(place.key)) return *std::move(unseen);
    }
  }
  return "";
}

/// An alias with a line keeps it, wherever it leads, and one that no row has stays.
void AdoptedThings::LookAtAliases() {
  std::size_t number = 0;
  const std::string text = conf::ReadWholeFile(addresses_path_).bytes;
  const auto accuse = [&](const std::string& mailbox, std::string_view key) {
    const auto thing = mailboxes_.find(mailbox);
    if (thing == mailboxes_.end() || !things_[thing->second].fault.empty()) return;
    const std::optional<Entry> entry = addresses_.table().Find(std::string(key));
    things_[thing->second].fault = InFile(addresses_path_, entry ? entry->line : number);
  };
  ForEachTableLine(text, [&](std::string_view key, const std::vector<std::string_view>& targets) {
    const std::string target(targets.size() == 1 ? targets.front() : "");
    const auto wanted = targets_.find(std::string(key));
    if (wanted != targets_.end()) {
      if (wanted->second != target) accuse(wanted->second, key);
    } else if (key != target && !key.starts_with('@') && DomainOf(key) == DomainOf(target)) {
      accuse(target, key);
    }
  });
}

void AdoptedThings::RequireSame(
    const std::function<void(std::size_t thing, const std::function<void()>& step)>& at) {
  LookAtAliases();
  const RewrittenTables rewritten;
  for (std::size_t number = 0; number < things_.size(); ++number) {
    const Thing& thing = things_[number];
    at(number, [&] {
      std::string place = thing.fault;
      for (const Place& one : thing.places) {
        if (!place.empty()) break;
        const std::optional<OtherLine> other = rewritten.Find(one.path, one.key);
        if (!other) continue;
        if (other->line == 0) {
          throw fen_err::Error(
              "exists", thing.what,
              thing.name + " is in the tables, and the panel does not have it, but " + one.path +
                  " lacks the line of " + one.key + " that would go with it" + kAdvice);
        }
        place = InFile(one.path, other->line);
      }
      if (place.empty()) return;
      throw fen_err::Error("exists", thing.what,
                           thing.name + " is in the tables, and the panel does not have it, but " +
                               place + " says something else than this line" + kAdvice);
    });
  }
  const std::optional<OtherLine> other = rewritten.FindAny();
  if (!other) return;
  throw fen_err::Error("exists", "tables",
                       InFile(other->path, other->line) +
                           " would be otherwise if the panel had written it" + kAdvice);
}

}  // namespace panel::mail
