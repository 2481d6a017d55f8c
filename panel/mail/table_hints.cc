/// NAME
///   table_hints - what the tables say that the back-end does not tell

#include "panel/mail/table_hints.h"

#include "host/str.h"
#include "panel/conf/disk_file.h"
#include "panel/mail/names.h"
#include "panel/mail/probable_set.h"
#include "panel/mail/table_lines.h"
#include "panel/mail/text_table.h"

namespace panel::mail {
namespace {

/// The alias that discards all mail: the own target of a mailbox that keeps none.
constexpr std::string_view kDiscard = "devnull";

bool Discards(const std::vector<std::string_view>& targets) {
  return !targets.empty() && targets.front() == kDiscard;
}

/// The address with its domain in lower case, as the panel has domains.
std::string WithPlainDomain(std::string_view address) {
  const std::size_t domain = address.rfind('@') + 1;
  return std::string(address.substr(0, domain)) + LowerCase(std::string(address.substr(domain)));
}

/// Where `piece` stands in `text`, of which it is a piece.
std::size_t OffsetIn(std::string_view text, std::string_view piece) {
  return static_cast<std::size_t>(piece.data() - text.data());
}

/// Whether a blank stands behind `piece` in `text`.
bool IsBeforeBlank(std::string_view text, std::string_view piece) {
  const std::string_view behind = text.substr(OffsetIn(text, piece) + piece.size());
  return behind.starts_with(' ') || behind.starts_with('\t');
}

/// Whether nothing but a blank stands between the two, and nothing behind them on their line.
bool AreWholeLine(std::string_view text, std::string_view key, std::string_view target) {
  const std::size_t end = OffsetIn(text, target) + target.size();
  return IsBeforeBlank(text, key) && key.data() + key.size() + 1 == target.data() &&
         (end == text.size() || text[end] == '\n');
}

/// The domain of an address with one "@"; empty for what is none.
std::string_view DomainOf(std::string_view address) {
  const std::size_t at = address.find('@');
  if (at == std::string_view::npos || at != address.rfind('@')) return {};
  return address.substr(at + 1);
}

std::unordered_set<std::size_t> IdleLinesOf(TextTable& table) {
  std::unordered_set<std::size_t> offsets;
  for (const Repeat& repeat : table.FindRepeats()) offsets.insert(repeat.offset);
  for (const Oddity& oddity : table.FindOddities()) {
    const bool is_idle = oddity.kind == Oddity::Kind::kNoEntry || oddity.kind == Oddity::Kind::kNul;
    if (is_idle) offsets.insert(oddity.offset);
  }
  return offsets;
}

}  // namespace

std::unordered_set<std::size_t> IdleLines(const std::string& path) {
  TextTable table(path, Format::kPostmap);
  return IdleLinesOf(table);
}

TableHints::TableHints(const std::string& virtual_users, const std::string& aliases)
    : entries_text_(conf::ReadWholeFile(aliases).bytes) {
  TextTable table = TextTable::Of(conf::ReadWholeFile(virtual_users).bytes, Format::kPostmap);
  idle_ = IdleLinesOf(table);
  text_ = std::move(table).TakeText();
  ReadVirtualUsers();
  ForEachTableLine(entries_text_, [this](std::string_view key, const auto&) {
    entries_.insert(key.substr(0, key.find(':')));
  });
}

void TableHints::ReadVirtualUsers() {
  ForEachTableLine(text_, [this](std::string_view key, const auto& targets) {
    ++lines_;
    if (idle_.contains(OffsetOf(key))) return;
    if (Discards(targets)) discarding_.insert(WithPlainDomain(key));
    for (const std::string_view target : targets) {
      if (target == key || target.find('@') == std::string_view::npos) continue;
      led_to_.push_back(target);
      if (AreWholeLine(text_, key, target)) ways_.push_back({key, target});
    }
  });
}

std::unordered_set<std::size_t> TableHints::LinesOfNoMailbox(
    const std::unordered_set<std::string>& domains) const {
  std::unordered_set<std::size_t> offsets = idle_;
  if (ways_.empty()) return offsets;
  const std::unordered_set<std::string_view> led_to(led_to_.begin(), led_to_.end());
  const std::unordered_set<std::string_view> mailboxes = MailboxesLedTo(led_to);
  for (const Way& way : ways_) {
    const std::string_view domain = DomainOf(way.key);
    const bool is_alias = !domain.empty() && domain == DomainOf(way.target) &&
                          mailboxes.contains(way.target) && !led_to.contains(way.key) &&
                          domains.contains(std::string(domain));
    if (is_alias) offsets.insert(OffsetOf(way.key));
  }
  return offsets;
}

/// Those of `led_to` whose own line leads to themselves, or to no address.
std::unordered_set<std::string_view> TableHints::MailboxesLedTo(
    const std::unordered_set<std::string_view>& led_to) const {
  ProbableSet probable(led_to.size());
  for (const std::string_view address : led_to) probable.Insert(ProbableSet::Hash(address));
  std::unordered_set<std::string_view> mailboxes;
  ForEachTableLine(text_, [&](std::string_view key, const auto& targets) {
    if (targets.empty() || !probable.MayHave(ProbableSet::Hash(key))) return;
    if (!led_to.contains(key) || idle_.contains(OffsetOf(key))) return;
    const bool is_end =
        targets.front() == key || targets.front().find('@') == std::string_view::npos;
    if (is_end && IsBeforeBlank(text_, key)) mailboxes.insert(key);
  });
  return mailboxes;
}

std::size_t TableHints::OffsetOf(std::string_view key) const {
  return OffsetIn(text_, key);
}

bool TableHints::HasEntry(const std::string& address) const {
  return entries_.contains(str::Replace(address, "@", "+"));
}

}  // namespace panel::mail
