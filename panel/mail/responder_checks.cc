/// NAME
///   responder_checks - whether the responders that are on do answer

#include "panel/mail/responder_checks.h"

#include <map>
#include <set>
#include <string>

#include "host/fen_err.h"
#include "panel/mail/advice.h"
#include "panel/mail/answers.h"
#include "panel/mail/names.h"
#include "panel/mail/responder_folder.h"
#include "panel/mail/responder_keys.h"
#include "panel/mail/table_path.h"
#include "panel/mail/text_table.h"

namespace panel::mail {
namespace {

const char* const kWhy = "nobody who writes to the mailbox gets an answer";

Findings CheckAnswer(const Answer& answer, const CommandUser& user) {
  const std::string fault = FindFaultInResponderFolder(answer.mailbox, answer.message, user);
  if (fault.empty()) return {};
  return {{"responder", ResponderFolder(answer.mailbox).string(),
           "does not serve the responder of " + InUnicode(answer.address) + ": " + fault, kWhy,
           FixCommand(),
           [answer, user] { WriteResponderFolder(answer.mailbox, answer.message, false, user); }}};
}

Findings CheckAnswers(const std::vector<Answer>& answers) {
  if (answers.empty()) return {};
  Findings findings;
  try {
    const CommandUser user = RequireAnswering();
    for (const Answer& answer : answers) {
      const Findings found = CheckAnswer(answer, user);
      findings.insert(findings.end(), found.begin(), found.end());
    }
  } catch (const fen_err::Error& error) {
    findings.push_back({"responder",
                        error.object(),
                        "keeps responders from answering: " + error.value(),
                        kWhy,
                        "mend the cause named here",
                        {}});
  }
  return findings;
}

Finding Leftover(std::int64_t mailbox) {
  return {"responder",
          ResponderFolder(mailbox).string(),
          "is of a responder that is off",
          "nothing reads it any more",
          FixCommand(),
          [mailbox] { RemoveResponderFolder(mailbox); }};
}

/// The entries of the aliases by which mail is answered, and for which mailbox. That the table
/// cannot be read is another check's to say.
std::map<std::string, std::int64_t> AnsweringEntries() {
  TextTable aliases(TablePath("aliases"), Format::kPostalias);
  try {
    const ResponderKeys keys(aliases);
    return {keys.all().begin(), keys.all().end()};
  } catch (const fen_err::Error& error) {
    if (error.type() != "file") throw;
  }
  return {};
}

/// Those of them that no responder asks for: the database may have been lost, and with it which
/// were on.
std::map<std::string, std::int64_t> UnknownEntries(const std::vector<Answer>& answers) {
  std::map<std::string, std::int64_t> entries = AnsweringEntries();
  for (const Answer& answer : answers) {
    const auto found = entries.find(LowerCase(EntryOf(answer.address)));
    if (found != entries.end() && found->second == answer.mailbox) entries.erase(found);
  }
  return entries;
}

Finding Unknown(const std::string& entry, std::int64_t mailbox) {
  std::string address = entry;
  const std::size_t plus = entry.rfind('+');
  if (plus != std::string::npos) address[plus] = '@';
  return {"responder",
          TablePath("aliases") + ": " + entry,
          "answers out of " + ResponderFolder(mailbox).string() +
              " by a responder that the panel does not know",
          "senders go on getting that text, or that of the mailbox which gets the folder",
          "switch the responder of " + InUnicode(address) +
              " off, and on anew with its text; if it is not a mailbox of the panel, delete the "
              "command from the entry",
          {}};
}

}  // namespace

Findings CheckResponders() {
  const std::vector<Answer> answers = ListAnswers();
  Findings findings = CheckAnswers(answers);
  std::set<std::int64_t> used;
  for (const Answer& answer : answers) used.insert(answer.mailbox);
  for (const auto& [entry, mailbox] : UnknownEntries(answers)) {
    findings.push_back(Unknown(entry, mailbox));
    used.insert(mailbox);
  }
  for (const std::int64_t mailbox : ListResponderFolders()) {
    if (!used.contains(mailbox)) findings.push_back(Leftover(mailbox));
  }
  return findings;
}

}  // namespace panel::mail
