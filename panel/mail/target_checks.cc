/// NAME
///   target_checks - whether mail goes where the panel knows of

#include "panel/mail/target_checks.h"

#include <algorithm>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/fen_err.h"
#include "host/test.h"
#include "panel/mail/advice.h"
#include "panel/mail/listing.h"
#include "panel/mail/mail_rows.h"
#include "panel/mail/names.h"
#include "panel/mail/own_entries.h"
#include "panel/mail/shortened_findings.h"
#include "panel/mail/table_path.h"
#include "panel/mail/text_table.h"
#include "panel/mail/value_list.h"

namespace panel::mail {
namespace {

/// A line of a domain or a mailbox of the panel, as Postfix reads it.
struct Line {
  std::string key;
  std::string local;  ///< empty for the line of a domain
  std::string domain;
  std::vector<std::string> targets;
  std::size_t number = 0;  ///< known for the lines that are told of
};

bool IsOwnEntry(const std::string& target) {
  return target == kBounceEntry || target == kDiscardEntry;
}

/// Whether the target is what the panel writes for the mailbox.
bool IsOwnTarget(const Line& line, const std::string& target) {
  return LowerCase(target) == line.key || LowerCase(target) == line.local + "+" + line.domain ||
         IsOwnEntry(target);
}

/// An alias leads to one name of its domain that has a line itself, and is written as that is.
bool IsAlias(const Line& line, TextTable& table) {
  if (line.targets.size() != 1) return false;
  const std::string& target = line.targets.front();
  if (!target.ends_with("@" + line.domain)) return false;
  const std::optional<Entry> entry = table.Find(target);
  return entry && entry->key == target;
}

bool IsDefaultAction(const std::vector<std::string>& targets) {
  if (targets.size() != 1) return false;
  const std::string& target = targets.front();
  return IsOwnEntry(target) || target.find('@') != std::string::npos;
}

std::vector<std::string> StrangeTargets(const Line& line, TextTable& table) {
  if (line.local.empty()) {
    return IsDefaultAction(line.targets) ? std::vector<std::string>() : line.targets;
  }
  std::vector<std::string> strange;
  std::copy_if(line.targets.begin(), line.targets.end(), std::back_inserter(strange),
               [&line](const std::string& target) { return !IsOwnTarget(line, target); });
  if (!strange.empty() && IsAlias(line, table)) strange.clear();
  return strange;
}

/// The lines of the panel's domains that lead to more than the panel knows of. A name in quotes is
/// another check's to tell of.
std::vector<std::pair<Line, std::vector<std::string>>> StrangeLines(
    TextTable& table, const std::set<std::string>& domains) {
  std::vector<std::pair<Line, std::vector<std::string>>> lines;
  table.ForEach([&](const std::string& key, const std::string& value) {
    const std::size_t at = key.rfind('@');
    if (at == std::string::npos || !domains.contains(key.substr(at + 1))) return;
    if (at != 0 && !test::Const<test::Email>(key)) return;
    Line line{key, key.substr(0, at), key.substr(at + 1), SplitList(value)};
    std::vector<std::string> strange = StrangeTargets(line, table);
    if (strange.empty()) return;
    line.number = table.Find(key)->line;
    lines.emplace_back(std::move(line), std::move(strange));
  });
  return lines;
}

std::string MendDomain() {
  return std::string("write one address, one @DOMAIN, ") + kBounceEntry + " or " + kDiscardEntry +
         " there, then run: " + Command("sync");
}

/// Whether a forward to the target does what the target does now.
bool CanBeForward(const std::string& target, const std::set<std::string>& domains) {
  return test::Const<test::Email>(target) &&
         !domains.contains(LowerCase(target.substr(target.rfind('@') + 1)));
}

/// An update of the mailbox writes its line anew, with what it is to keep as forwards. A target
/// that cannot be one is for the administrator to see to.
std::string MendMailbox(const Line& line, const std::vector<std::string>& strange,
                        const std::set<std::string>& domains) {
  const bool can_be_forwards =
      std::all_of(strange.begin(), strange.end(),
                  [&domains](const auto& target) { return CanBeForward(target, domains); });
  const MailboxRow mailbox = LookUpMailbox(line.key);
  if (!can_be_forwards || !mailbox || !mailbox->active) {
    return "have the line lead to " + line.key +
           " or to another mailbox of its domain, then run: " + Command("sync");
  }
  const bool is_kept = std::any_of(line.targets.begin(), line.targets.end(),
                                   [&](const auto& one) { return LowerCase(one) == line.key; });
  return Command("forward add " + ShellWord(line.key) + " " + ShellWords(strange)) + " && " +
         Command("mailbox update " + ShellWord(line.key) + " --drop-mail " +
                 (is_kept ? "off" : "on"));
}

Finding AsFinding(const Line& line, const std::vector<std::string>& strange,
                  const std::string& path, const std::set<std::string>& domains) {
  const std::string where = path + ":" + std::to_string(line.number);
  const std::string leads = "leads " + line.key + " to " + Listing(strange);
  const bool is_domain = line.local.empty();
  return {"table",
          where,
          leads + (is_domain ? ", which is no default action of the panel"
                             : ", of which the panel does not know"),
          "that holds until the panel writes the line anew",
          is_domain ? MendDomain() : MendMailbox(line, strange, domains),
          {}};
}

}  // namespace

/// That the table cannot be read is another check's to say.
Findings CheckTargets() {
  TextTable table(TablePath("virtusertable"), Format::kPostmap);
  const std::set<std::string> domains = DomainNames();
  std::vector<std::pair<Line, std::vector<std::string>>> lines;
  try {
    lines = StrangeLines(table, domains);
  } catch (const fen_err::Error& error) {
    if (error.type() != "file") throw;
  }
  std::sort(lines.begin(), lines.end(), [](const auto& left, const auto& right) {
    return left.first.number < right.first.number;
  });
  Findings findings;
  findings.reserve(lines.size());
  for (const auto& [line, strange] : lines) {
    findings.push_back(AsFinding(line, strange, table.path(), domains));
  }
  return Shortened(std::move(findings), "mend the lines above, then check again");
}

}  // namespace panel::mail
