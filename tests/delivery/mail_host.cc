/// NAME
///   mail_host - a panel and a Postfix that reads its tables, for one test

#include "tests/delivery/mail_host.h"

#include "tests/support/command.h"

namespace test_support {
namespace {

const char* const kStranger = "stranger@sender.test";

}  // namespace

MailHost::MailHost() : postfix_(folder_.path(), GetParam()) {
  const std::filesystem::path answer = folder_.Path("zebmail-answer");
  std::filesystem::copy_file(ZEBMAIL_ANSWER_BINARY, answer);
  SetMode(answer, 0755);  // others may not be able to enter the build's folder
  const CommandRun init =
      RunCommand({ZEBMAIL_BINARY, "init", "--root", folder_.path(), "--postfix-config",
                  postfix_.config_dir(), "--path", "zebmail-answer=" + answer.string()});
  EXPECT_EQ(init.status, 0) << init.errors;
  postfix_.Start();
}

std::string MailHost::Zebmail(const std::vector<std::string>& words) const {
  postfix_.LeaveThisSecond();
  std::vector<std::string> command = {ZEBMAIL_BINARY, "--config", folder_.Path("zebmail.toml")};
  command.insert(command.end(), words.begin(), words.end());
  const CommandRun run = RunCommand(command);
  EXPECT_EQ(run.status, 0) << run.output << run.errors;
  return run.output;
}

void MailHost::CreateDomain(const std::string& name,
                            const std::vector<std::string>& options) const {
  std::vector<std::string> words = {"domain", "create", name};
  words.insert(words.end(), options.begin(), options.end());
  Zebmail(words);
  AskUntil(250, "anybody@" + name);
}

SmtpReply MailHost::Ask(const std::string& recipient) const {
  return AskForRecipient(postfix_.port(), kStranger, recipient);
}

SmtpReply MailHost::AskUntil(int code, const std::string& recipient) const {
  SmtpReply reply{0, ""};
  postfix_.WaitUntil("reply " + std::to_string(code) + " to " + recipient, [&] {
    reply = Ask(recipient);
    return reply.code == code;
  });
  return reply;
}

std::string MailHost::Send(const std::string& recipient) const {
  const std::string queue_id = SendMessage(postfix_.port(), kStranger, recipient);
  return postfix_.Outcome(queue_id, recipient);
}

}  // namespace test_support
