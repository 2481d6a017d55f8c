/// NAME
///   responder_checks - whether the responders that are on do answer

#include "panel/mail/responder_checks.h"

#include <set>

#include "host/fen_err.h"
#include "panel/mail/advice.h"
#include "panel/mail/answers.h"
#include "panel/mail/names.h"
#include "panel/mail/responder_folder.h"

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

}  // namespace

Findings CheckResponders() {
  const std::vector<Answer> answers = ListAnswers();
  Findings findings = CheckAnswers(answers);
  std::set<std::int64_t> used;
  for (const Answer& answer : answers) used.insert(answer.mailbox);
  for (const std::int64_t mailbox : ListResponderFolders()) {
    if (!used.contains(mailbox)) findings.push_back(Leftover(mailbox));
  }
  return findings;
}

}  // namespace panel::mail
