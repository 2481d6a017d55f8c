/// NAME
///   table_hints - what the tables say that the back-end does not tell

#include "panel/mail/table_hints.h"

#include <utility>

#include "panel/conf/disk_file.h"
#include "panel/mail/names.h"
#include "panel/mail/probable_set.h"
#include "panel/mail/table_lines.h"
#include "panel/mail/text_table.h"
#include "panel/text/byte_set.h"

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

/// Whether a line of `text` begins with `piece` and a blank.
bool BeginsLine(std::string_view text, std::string_view piece) {
  const std::size_t begin = OffsetIn(text, piece);
  const std::string_view behind = text.substr(begin + piece.size());
  return (begin == 0 || text[begin - 1] == '\n') &&
         (behind.starts_with(' ') || behind.starts_with('\t'));
}

/// Whether the two are a line of `text`, with one blank between them.
bool AreWholeLine(std::string_view text, std::string_view key, std::string_view target) {
  const std::size_t end = OffsetIn(text, target) + target.size();
  return BeginsLine(text, key) && key.data() + key.size() + 1 == target.data() &&
         (end == text.size() || text[end] == '\n');
}

/// The domain of an address in plain characters; empty for any other text.
std::string_view DomainOfPlain(std::string_view address) {
  static constexpr ByteSet kPlain(
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789@.+-_=");
  const std::size_t at = address.find('@');
  const bool is_plain = at != 0 && at != std::string_view::npos && at == address.rfind('@') &&
                        kPlain.CountIn(address) == address.size();
  return is_plain ? address.substr(at + 1) : std::string_view();
}

std::unordered_set<std::size_t> IdleOffsets(TextTable& table) {
  std::unordered_set<std::size_t> offsets;
  for (const Repeat& repeat : table.FindRepeats()) offsets.insert(repeat.offset);
  for (const Oddity& oddity : table.FindOddities()) {
    const bool is_idle = oddity.kind == Oddity::Kind::kNoEntry || oddity.kind == Oddity::Kind::kNul;
    if (is_idle) offsets.insert(oddity.offset);
  }
  return offsets;
}

}  // namespace

conf::FoundLines IdleLines(const std::string& path) {
  conf::FileContents contents = conf::ReadWholeFile(path);
  TextTable table = TextTable::Of(std::move(contents.bytes), Format::kPostmap);
  return {contents.stamp, IdleOffsets(table)};
}

TableHints::TableHints(const std::string& virtual_users, const std::string& aliases)
    : entries_text_(conf::ReadWholeFile(aliases).bytes) {
  conf::FileContents contents = conf::ReadWholeFile(virtual_users);
  TextTable table = TextTable::Of(std::move(contents.bytes), Format::kPostmap);
  idle_ = {contents.stamp, IdleOffsets(table)};
  text_ = std::move(table).TakeText();
  ReadVirtualUsers();
  ForEachTableLine(entries_text_, [this](std::string_view key, const auto&) {
    entries_.insert(key.substr(0, key.find(':')));
  });
}

void TableHints::ReadVirtualUsers() {
  ForEachTableLine(text_, [this](std::string_view key, const auto& targets) {
    ++lines_;
    if (IsIdle(key)) return;
    if (Discards(targets)) discarding_.insert(WithPlainDomain(key));
    for (const std::string_view target : targets) {
      if (target == key || target.find('@') == std::string_view::npos) continue;
      led_to_.push_back(target);
      if (AreWholeLine(text_, key, target)) ways_.push_back({key, target});
    }
  });
}

conf::FoundLines TableHints::LinesOfNoMailbox(
    const std::unordered_set<std::string>& domains) const {
  conf::FoundLines lines = idle_;
  if (ways_.empty()) return lines;
  const std::unordered_set<std::string_view> led_to(led_to_.begin(), led_to_.end());
  const std::unordered_set<std::string_view> mailboxes = MailboxesLedTo(led_to);
  for (const Way& way : ways_) {
    const std::string_view domain = DomainOfPlain(way.key);
    const bool is_alias = !domain.empty() && domain == DomainOfPlain(way.target) &&
                          mailboxes.contains(way.target) && !led_to.contains(way.key) &&
                          domains.contains(std::string(domain));
    if (is_alias) lines.offsets.insert(OffsetOf(way.key));
  }
  return lines;
}

/// Those of `led_to` whose own line leads to themselves, or to no address.
std::unordered_set<std::string_view> TableHints::MailboxesLedTo(
    const std::unordered_set<std::string_view>& led_to) const {
  ProbableSet probable(led_to.size());
  for (const std::string_view address : led_to) probable.Insert(ProbableSet::Hash(address));
  std::unordered_set<std::string_view> mailboxes;
  ForEachTableLine(text_, [&](std::string_view key, const auto& targets) {
    if (targets.empty() || !probable.MayHave(ProbableSet::Hash(key))) return;
    if (!led_to.contains(key) || IsIdle(key)) return;
    const bool is_end =
        targets.front() == key || targets.front().find('@') == std::string_view::npos;
    if (is_end && BeginsLine(text_, key)) mailboxes.insert(key);
  });
  return mailboxes;
}

std::size_t TableHints::OffsetOf(std::string_view key) const {
  return OffsetIn(text_, key);
}

bool TableHints::HasEntry(const std::string& address) const {
  return entries_.contains(EntryOf(address));
}

}  // namespace panel::mail
