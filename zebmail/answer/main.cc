/// NAME
///   zebmail-answer - answering a message for a mailbox whose owner is away
///
/// USAGE
///   zebmail-answer FOLDER < MESSAGE
///
/// WHAT IT DOES
///   Stands in the aliases of Postfix as the command of a mailbox with a responder. Postfix runs it
///   for each message as an unprivileged user; it decides whether the message is one to answer and
///   lets vacation(1) send what lies in FOLDER:
///
///     message      the answer, a whole message without "To:"
///     answered.db  whom it was sent to, and when
///
/// HOW IT FAILS
///   Into the system's log, with status 0: any other would return the message to its sender or hold
///   back the forwards of the same mailbox, though only the answer is missing. Wrong usage is
///   status 64, and 77 when the superuser runs it.

#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <string>

#include <sysexits.h>
#include <syslog.h>
#include <unistd.h>

#include "zebmail/answer/envelope.h"
#include "zebmail/answer/message_header.h"
#include "zebmail/answer/reply.h"
#include "zebmail/answer/verdict.h"

namespace zebmail::answer {
namespace {

constexpr std::size_t kLongestHeader = std::size_t{256} * 1024;

int Refuse(const std::string& why, int status) {
  std::cerr << "zebmail-answer: " << why << "\n";
  return status;
}

/// Postfix shows what a command prints only when it fails; who runs it by hand sees the reason.
void PrintObjection(const std::string& objection) {
  std::cout << "not answered: " << objection << std::endl;
}

void Answer(const std::filesystem::path& folder) {
  const std::optional<std::string> text = ReadHeaderText(STDIN_FILENO, kLongestHeader);
  if (!text) return PrintObjection("its header is too long");
  const MessageHeader header(*text);
  const Envelope envelope = ReadEnvelope(header);
  const std::string objection = FindObjection(envelope, header);
  if (!objection.empty()) return PrintObjection(objection);
  Reply(folder, envelope.sender);
}

int Run(int argc, char** argv) {
  if (argc != 2 || argv[1][0] != '/')
    return Refuse("usage: zebmail-answer FOLDER, with the folder's absolute path", EX_USAGE);
  if (geteuid() == 0)
    return Refuse("the superuser must not run this; see default_privs in postconf(5)", EX_NOPERM);
  // To standard error as well, for who runs it by hand.
  openlog("zebmail-answer", LOG_PID | LOG_PERROR, LOG_MAIL);
  try {
    Answer(argv[1]);
  } catch (const std::exception& error) {
    syslog(LOG_ERR, "not answered: %s", error.what());
  }
  return EX_OK;
}

}  // namespace
}  // namespace zebmail::answer

int main(int argc, char** argv) {
  return zebmail::answer::Run(argc, argv);
}
