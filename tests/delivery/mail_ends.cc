/// NAME
///   mail_ends - where a message ends, by what Postfix says

#include "tests/delivery/mail_ends.h"

#include <algorithm>
#include <regex>
#include <sstream>

#include "tests/delivery/smtp_session.h"

namespace test_support {
namespace {

/// What an outcome in the log is called here; an unexpected one stays as it is.
std::string HowOf(const std::string& outcome) {
  const auto has = [&outcome](const char* text) { return outcome.find(text) != std::string::npos; };
  if (has("status=bounced")) return "bounced";
  if (has("(delivered to file: /dev/null)")) return "discarded";
  if (has("(delivered to command: ")) return "command";
  if (has("(delivered to mailbox)")) return "mailbox";
  if (has("status=sent (not local)") || has("status=sent (250 taken)")) return "sent";
  return outcome;
}

/// Adds the ends of the message in the queue, and of those that were made of it. When it has left
/// the queue, all is in the log.
void Collect(const PrivatePostfix& postfix, const std::string& queue_id, Ends& ends) {
  postfix.WaitUntil("the end of message " + queue_id, [&] {
    return postfix.Log().find(" " + queue_id + ": removed") != std::string::npos;
  });
  static const std::regex kOutcome(R"(: to=<([^>]*)>.* status=)");
  static const std::regex kForwarded(R"(\(forwarded as ([0-9A-Za-z]+)\))");
  std::istringstream log(postfix.Log());
  for (std::string line; std::getline(log, line);) {
    std::smatch found;
    if (line.find(" " + queue_id + ": ") == std::string::npos) continue;
    if (std::regex_search(line, found, kForwarded)) {
      Collect(postfix, found[1], ends);
    } else if (std::regex_search(line, found, kOutcome)) {
      ends.push_back(HowOf(line) + " " + found[1].str());
    }
  }
}

}  // namespace

Ends SendToItsEnds(const PrivatePostfix& postfix, const std::string& sender,
                   const std::string& recipient) {
  SmtpSession session(postfix.port());
  session.MailFrom(sender);
  const SmtpReply asked = session.RcptTo(recipient);
  if (asked.code != 250) return {asked.text};
  const SmtpReply taken =
      session.Data("From: <" + sender + ">\r\nTo: <" + recipient + ">\r\n\r\nHello.\r\n");
  if (taken.code != 250) return {taken.text};
  Ends ends;
  Collect(postfix, taken.text.substr(taken.text.rfind(' ') + 1), ends);
  std::sort(ends.begin(), ends.end());
  return ends;
}

}  // namespace test_support
