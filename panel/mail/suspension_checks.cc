/// NAME
///   suspension_checks - whether the access table refuses the mail of all that is suspended

#include "panel/mail/suspension_checks.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "host/fen_err.h"
#include "panel/mail/listed_senders.h"
#include "panel/mail/names.h"
#include "panel/mail/shortened_findings.h"
#include "panel/mail/table_path.h"
#include "panel/mail/text_table.h"

namespace panel::mail {
namespace {

/// Whether the verdict is no refusal (access(5)): whatever else it is, it ends the search.
bool LetsThrough(const std::string& verdict) {
  const std::string word = LowerCase(verdict.substr(0, verdict.find_first_of(" \t")));
  const bool is_number = word.find_first_not_of("0123456789") == std::string::npos;
  const bool is_reply = is_number && word.size() == 3 && (word[0] == '4' || word[0] == '5');
  const bool is_enhanced = word.starts_with("4.") || word.starts_with("5.");
  return !is_reply && !is_enhanced && word != "reject" && word != "defer" && word != "discard" &&
         word != "defer_if_reject";
}

/// The lines that let mail for something suspended through, by their numbers.
std::vector<std::pair<std::size_t, Suspended>> OpenLines(TextTable& access) {
  std::vector<std::pair<std::size_t, Suspended>> lines;
  access.ForEach([&](const std::string& key, const std::string& verdict) {
    if (!LetsThrough(verdict)) return;
    if (auto suspended = FindSuspension(key)) {
      lines.emplace_back(access.Find(key)->line, std::move(*suspended));
    }
  });
  std::sort(lines.begin(), lines.end(),
            [](const auto& left, const auto& right) { return left.first < right.first; });
  return lines;
}

}  // namespace

/// That the table cannot be read is another check's to say.
Findings CheckSuspensions() {
  TextTable access(TablePath("accessdb"), Format::kPostmap);
  std::vector<std::pair<std::size_t, Suspended>> lines;
  try {
    lines = OpenLines(access);
  } catch (const fen_err::Error& error) {
    if (error.type() != "file") throw;
  }
  Findings findings;
  for (const auto& [line, suspended] : lines) {
    findings.push_back({"table",
                        access.path() + ":" + std::to_string(line),
                        "lets mail through for the " + suspended.what + " " +
                            InUnicode(suspended.name) + ", which is suspended",
                        "Postfix looks this line up before the one of the suspension",
                        "delete the line",
                        {}});
  }
  return Shortened(std::move(findings), "delete those lines too");
}

}  // namespace panel::mail
