/// NAME
///   private_postfix_test - the Postfix that the delivery tests run keeps to itself

#include "tests/delivery/private_postfix.h"

#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include "tests/delivery/smtp_session.h"
#include "tests/support/command.h"
#include "tests/support/temp_folder.h"

namespace test_support {
namespace {

using testing::HasSubstr;

/// Tables by hand: a domain whose every address is the local user daemon.
void WriteTables(const std::filesystem::path& folder) {
  WriteText(folder / "mail/local-host-names", "example.org\n");
  WriteText(folder / "mail/virtusertable", "@example.org daemon\n");
  WriteText(folder / "mail/aliases", "postmaster: daemon\n");
  for (const char* const empty : {"access", "domainips"}) WriteText(folder / "mail" / empty, "");
  for (const char* const map : {"virtusertable", "access"})
    RunCommand({"/usr/sbin/postmap", "-c", folder / "postfix", folder / "mail" / map});
  RunCommand({"/usr/sbin/postalias", "-c", folder / "postfix", folder / "mail/aliases"});
}

bool IsProcessAlive(pid_t process) {
  std::string state;
  std::ifstream("/proc/" + std::to_string(process) + "/stat") >> state >> state >> state;
  return !state.empty() && state != "Z";
}

TEST(PrivatePostfix, WorksBelowAFolderThatOthersCannotEnter) {
  const TempFolder folder;
  const std::filesystem::path inside = folder.Path("closed/panel");
  std::filesystem::create_directories(inside);
  SetMode(folder.Path("closed"), 0700);
  PrivatePostfix postfix(inside, "hash");
  WriteTables(inside);
  postfix.Start();

  const std::string queue_id = SendMessage(postfix.port(), "a@sender.test", "info@example.org");

  EXPECT_THAT(postfix.Outcome(queue_id, "info@example.org"), HasSubstr("delivered to mailbox"));
  EXPECT_THAT(postfix.Mailbox("daemon"), HasSubstr("Hello\n"));
}

TEST(PrivatePostfix, SendsNothingOut) {
  const TempFolder folder;
  PrivatePostfix postfix(folder.path(), "hash");
  WriteTables(folder.path());
  folder.WriteText("mail/aliases", "postmaster: someone@elsewhere.test\n");
  RunCommand({"/usr/sbin/postalias", "-c", postfix.config_dir(), folder.Path("mail/aliases")});
  postfix.Start();

  const std::string queue_id = SendMessage(postfix.port(), "a@sender.test", "postmaster@mail.test");
  postfix.WaitUntil("the copy to be discarded", [&] {
    return postfix.Log().find("to=<someone@elsewhere.test>") != std::string::npos;
  });

  EXPECT_THAT(postfix.Log(), HasSubstr("relay=none"));
  EXPECT_THAT(postfix.Log(), HasSubstr("status=sent (not local)"));
}

TEST(PrivatePostfix, TakesMailFromTheCommandsThatItRuns) {
  const TempFolder folder;
  PrivatePostfix postfix(folder.path(), "hash");
  WriteTables(folder.path());
  folder.WriteText("mail/aliases", "command: \"|/usr/sbin/sendmail daemon@mail.test\"\n");
  RunCommand({"/usr/sbin/postalias", "-c", postfix.config_dir(), folder.Path("mail/aliases")});
  postfix.Start();

  SendMessage(postfix.port(), "a@sender.test", "command@mail.test");
  postfix.WaitUntil("mail from the command", [&] { return !postfix.Mailbox("daemon").empty(); });

  EXPECT_THAT(postfix.Mailbox("daemon"), HasSubstr("(Postfix, from userid "));
  EXPECT_THAT(postfix.Mailbox("daemon"), HasSubstr("X-Original-To: daemon@mail.test\n"));
}

TEST(PrivatePostfix, LeavesTheMachinesOwnPostdropAlone) {
  const TempFolder folder;
  const std::string before = ReadText("/usr/sbin/postdrop");
  const mode_t mode = ModeOf("/usr/sbin/postdrop");

  const PrivatePostfix postfix(folder.path(), "hash");

  EXPECT_FALSE(std::filesystem::is_symlink(folder.Path("sbin/postdrop")));
  EXPECT_EQ(ModeOf(folder.Path("sbin/postdrop")), 0755);
  EXPECT_EQ(ModeOf("/usr/sbin/postdrop"), mode);
  EXPECT_EQ(ReadText("/usr/sbin/postdrop"), before);
}

TEST(PrivatePostfix, LeavesNoProcess) {
  const TempFolder folder;
  PrivatePostfix postfix(folder.path(), "hash");
  WriteTables(folder.path());
  postfix.Start();
  const pid_t master = postfix.master();
  const bool was_alive = IsProcessAlive(master);

  postfix.Stop();

  EXPECT_TRUE(was_alive);
  EXPECT_FALSE(IsProcessAlive(master));
  EXPECT_TRUE(IsPortFree(postfix.port()));
}

}  // namespace
}  // namespace test_support
