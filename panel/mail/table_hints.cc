/// NAME
///   table_hints - what the tables say that the back-end does not tell

#include "panel/mail/table_hints.h"

#include "host/str.h"
#include "panel/conf/disk_file.h"
#include "panel/mail/names.h"
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

}  // namespace

std::unordered_set<std::size_t> IdleLines(const std::string& path) {
  TextTable table(path, Format::kPostmap);
  std::unordered_set<std::size_t> offsets;
  for (const Repeat& repeat : table.FindRepeats()) offsets.insert(repeat.offset);
  for (const Oddity& oddity : table.FindOddities()) {
    const bool is_idle = oddity.kind == Oddity::Kind::kNoEntry || oddity.kind == Oddity::Kind::kNul;
    if (is_idle) offsets.insert(oddity.offset);
  }
  return offsets;
}

TableHints::TableHints(const std::string& virtual_users, const std::string& aliases)
    : text_(conf::ReadWholeFile(virtual_users).bytes),
      idle_(IdleLines(virtual_users)),
      entries_text_(conf::ReadWholeFile(aliases).bytes) {
  ForEachTableLine(text_, [this](std::string_view key, const auto& targets) {
    ++lines_;
    if (idle_.contains(static_cast<std::size_t>(key.data() - text_.data()))) return;
    if (Discards(targets)) discarding_.insert(WithPlainDomain(key));
    for (const std::string_view target : targets) {
      if (target != key && target.find('@') != std::string_view::npos) led_to_.push_back(target);
    }
  });
  ForEachTableLine(entries_text_, [this](std::string_view key, const auto&) {
    entries_.insert(key.substr(0, key.find(':')));
  });
}

bool TableHints::HasEntry(const std::string& address) const {
  return entries_.contains(str::Replace(address, "@", "+"));
}

}  // namespace panel::mail
