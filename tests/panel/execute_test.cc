/// NAME
///   execute_test - running tools, with real processes

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "host/fen_cf.h"
#include "host/fen_err.h"
#include "host/fen_proc.h"
#include "panel/module/config.h"
#include "panel/process/file_handle.h"
#include "panel/process/tools.h"
#include "tests/support/temp_folder.h"

namespace {

using test_support::TempFolder;
using testing::ElementsAre;
using testing::HasSubstr;

constexpr int kMode = fen_proc::Execute::kWaitAndCapture;

class Tool : public testing::Test {
 protected:
  Tool() {
    config_.file = "/srv/panel/zebmail.toml";
    panel::UseConfig(config_);
  }

  /// Makes a shell script and returns its path.
  std::string Script(const std::string& text, const std::string& name = "tool") {
    const std::filesystem::path path = folder_.WriteText(name, "#!/bin/sh\n" + text);
    test_support::SetMode(path, 0755);
    return path;
  }

  void SetTimeout(std::chrono::seconds timeout) {
    config_.tool_timeout = timeout;
    panel::UseConfig(config_);
  }

  void SetPath(const std::string& name, const std::string& value) {
    config_.path[name] = value;
    panel::UseConfig(config_);
  }

  TempFolder folder_;
  panel::Config config_;
};

/// Whether the process is there and still runs; a zombie does not.
bool IsRunning(const std::string& process) {
  const std::filesystem::path status = "/proc/" + process + "/stat";
  if (!std::filesystem::exists(status)) return false;
  const std::string text = test_support::ReadText(status);
  return text.find(") Z ") == std::string::npos && text.find(") X ") == std::string::npos;
}

/// Waits for what must happen soon; the test's own time limit ends a wait in vain.
void WaitUntil(const std::function<bool()>& happened) {
  while (!happened()) std::this_thread::sleep_for(std::chrono::milliseconds(5));
}

std::string FirstLine(const std::string& text) {
  return text.substr(0, text.find('\n'));
}

TEST_F(Tool, GivesItsOutputAndItsStatus) {
  const fen_proc::Execute run(Script("echo out; echo err >&2; echo end; exit 3\n"), kMode);

  EXPECT_EQ(run.Result(), 3);
  EXPECT_EQ(run.Str(), "out\nerr\nend\n");
}

TEST_F(Tool, GivesNothingWhereItSaysNothing) {
  const fen_proc::Execute run("/bin/true", kMode);

  EXPECT_EQ(run.Result(), 0);
  EXPECT_EQ(run.Str(), "");
}

TEST_F(Tool, GetsTheWordsOfTheCommandLine) {
  const std::string tool = Script("for word; do echo \"<$word>\"; done\n");
  const fen_proc::Execute run(tool + "  -c  /etc/postfix a\tb", kMode);

  EXPECT_EQ(run.Str(), "<-c>\n</etc/postfix>\n<a\tb>\n");
}

TEST_F(Tool, IsNotRunByAShell) {
  const std::string tool = Script("for word; do echo \"<$word>\"; done\n");
  const std::string witness = folder_.Path("witness");
  const fen_proc::Execute run(
      tool + " ;touch " + witness + " $(id) `id` * 'a b' \"c\" > " + witness + "\n", kMode);

  EXPECT_EQ(run.Str(), "<;touch>\n<" + witness +
                           ">\n<$(id)>\n<`id`>\n<*>\n<'a>\n<b'>\n<\"c\">\n<>>\n<" + witness +
                           "\n>\n");
  EXPECT_FALSE(std::filesystem::exists(witness));
}

TEST_F(Tool, HasAnEmptyStandardInput) {
  const fen_proc::Execute run(Script("cat; readlink /proc/self/fd/0\n"), kMode);

  EXPECT_EQ(run.Str(), "/dev/null\n");
}

TEST_F(Tool, ReadsItsInputWhileItPrints) {
  const std::string input = std::string(300000, 'x') + std::string("\0\n", 2);
  const panel::ToolRun run = panel::RunTool({Script("cat; echo; wc -c\n")}, input);
  const panel::ToolRun count = panel::RunTool({"/usr/bin/wc", "-c"}, input);

  EXPECT_EQ(run.result, 0);
  EXPECT_EQ(run.output.size(), 64U * 1024);
  EXPECT_THAT(run.output, testing::EndsWith(std::string("x\0\n\n0\n", 6)));
  EXPECT_EQ(count.output, "300002\n");
}

TEST_F(Tool, MayLeaveItsInputUnread) {
  const panel::ToolRun run = panel::RunTool({"/bin/true"}, std::string(1000000, 'x'));

  EXPECT_EQ(run.result, 0);
}

TEST_F(Tool, TakesArgumentsAsTheyAre) {
  const std::string tool = Script("for word; do echo \"<$word>\"; done\n");
  const panel::ToolRun run = panel::RunTool({tool, "", "a b", "$HOME"}, "");

  EXPECT_EQ(run.output, "<>\n<a b>\n<$HOME>\n");
}

TEST_F(Tool, HasTheEndOfALongOutputKept) {
  const panel::ToolRun run = panel::RunTool(
      {Script("i=0; while [ $i -lt 30000 ]; do echo line $i; i=$((i+1)); done\n")}, "");

  EXPECT_EQ(run.result, 0);
  EXPECT_EQ(run.output.size(), 64U * 1024);
  EXPECT_THAT(run.output, testing::EndsWith("line 29998\nline 29999\n"));
}

TEST_F(Tool, HasTheEndOfAVeryLongOutputKept) {
  const panel::ToolRun run =
      panel::RunTool({Script("head -c 1000000000 /dev/zero; echo end\n")}, "");

  EXPECT_EQ(run.result, 0);
  EXPECT_EQ(run.output, std::string(64 * 1024 - 4, '\0') + "end\n");
}

TEST_F(Tool, MayPrintAnyBytes) {
  const panel::ToolRun run = panel::RunTool({Script("printf '\\000\\377\\033[2J\\r'\n")}, "");

  EXPECT_EQ(run.output, std::string("\0\xff\x1b[2J\r", 7));
}

TEST_F(Tool, MayCloseItsOutputAndGoOn) {
  const std::string witness = folder_.Path("witness");
  const panel::ToolRun run = panel::RunTool(
      {Script("echo before; exec >&- 2>&-; sleep 0.2; echo x > '" + witness + "'; exit 4\n")}, "");

  EXPECT_EQ(run.result, 4);
  EXPECT_EQ(run.output, "before\n");
  EXPECT_TRUE(std::filesystem::exists(witness));
}

TEST_F(Tool, IsNotWaitedForInTheBackground) {
  const panel::ToolRun run = panel::RunTool({Script("sleep 1000 & echo $!; exit 5\n")}, "");

  const std::string process = FirstLine(run.output);
  EXPECT_EQ(run.result, 5);
  EXPECT_EQ(run.output, process + "\n");
  EXPECT_TRUE(IsRunning(process));
  kill(std::stoi(process), SIGKILL);
}

TEST_F(Tool, IsNotReadForEverInTheBackground) {
  const panel::ToolRun run = panel::RunTool(
      {Script("yes & echo $! > '" + folder_.Path("pid").string() + "'; exit 6\n")}, "");

  EXPECT_EQ(run.result, 6);
  WaitUntil([this] { return !IsRunning(FirstLine(folder_.ReadText("pid"))); });
}

TEST_F(Tool, IsKilledWithItsGroupWhenItRunsTooLong) {
  SetTimeout(std::chrono::seconds(3));
  const std::string tool = Script("trap '' TERM; sleep 1000 & echo $!; sleep 1000\n");
  const fen_proc::Execute run(tool, kMode);

  const std::string process = FirstLine(run.Str());
  EXPECT_EQ(run.Result(), 128 + 9);
  EXPECT_EQ(run.Str(), process + "\n" + tool + " ran longer than 3 s and was killed\n");
  WaitUntil([&process] { return !IsRunning(process); });
}

TEST_F(Tool, IsKilledWhileItPrints) {
  SetTimeout(std::chrono::seconds(3));
  const fen_proc::Execute run("/usr/bin/yes", kMode);

  EXPECT_EQ(run.Result(), 128 + 9);
  EXPECT_THAT(run.Str(), testing::StartsWith("y\ny\n"));
  EXPECT_THAT(run.Str(), testing::EndsWith("y\n/usr/bin/yes ran longer than 3 s and was killed\n"));
}

TEST_F(Tool, IsKilledWhenItHasClosedItsOutput) {
  SetTimeout(std::chrono::seconds(3));
  const std::string tool = Script("printf half; exec >&- 2>&-; exec sleep 1000\n");
  const fen_proc::Execute run(tool, kMode);

  EXPECT_EQ(run.Result(), 128 + 9);
  EXPECT_EQ(run.Str(), "half\n" + tool + " ran longer than 3 s and was killed\n");
}

TEST_F(Tool, GivesTheSignalThatEndedIt) {
  const std::string tool = Script("echo last words; kill -SEGV $$\n");
  const fen_proc::Execute run(tool, kMode);

  EXPECT_EQ(run.Result(), 128 + SIGSEGV);
  EXPECT_EQ(run.Str(), "last words\n" + tool + " was ended by signal 11 (Segmentation fault)\n");
}

TEST_F(Tool, GivesASignalWithoutADescription) {
  const std::string tool = Script("kill -40 $$\n");
  const fen_proc::Execute run(tool, kMode);

  EXPECT_EQ(run.Result(), 128 + 40);
  EXPECT_EQ(run.Str(), tool + " was ended by signal 40\n");
}

TEST_F(Tool, SeesNothingOfThePanelsEnvironment) {
  setenv("LD_PRELOAD_NOT", "x", 1);
  setenv("HOME", "/root", 1);
  setenv("PATH", "/nowhere", 1);
  unsetenv("MAIL_CONFIG");
  EXPECT_EQ(panel::RunTool({"/usr/bin/env"}, "").output,
            "PATH=/usr/sbin:/usr/bin:/sbin:/bin\nLANG=C\n");

  setenv("MAIL_CONFIG", "/srv/postfix", 1);
  EXPECT_EQ(panel::RunTool({"/usr/bin/env"}, "").output,
            "PATH=/usr/sbin:/usr/bin:/sbin:/bin\nLANG=C\nMAIL_CONFIG=/srv/postfix\n");
}

TEST_F(Tool, RunsInTheRootFolder) {
  EXPECT_EQ(panel::RunTool({"/bin/pwd"}, "").output, "/\n");
}

TEST_F(Tool, InheritsNoOpenFiles) {
  const panel::FileHandle open_file(open("/dev/null", O_RDONLY));
  const panel::FileHandle high(fcntl(open_file.get(), F_DUPFD, 100));
  ASSERT_TRUE(high);

  const panel::ToolRun run = panel::RunTool({"/bin/ls", "/proc/self/fd"}, "some input");

  EXPECT_EQ(run.output, "0\n1\n2\n3\n");  // the last one is the folder that ls reads
}

TEST_F(Tool, LeavesNoFilesOpen) {
  const auto count = [] {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
  };
  const auto before = count();
  panel::RunTool({"/bin/true"}, "some input");
  panel::RunTool({"/nowhere/tool"}, "some input");

  EXPECT_EQ(count(), before);
}

TEST_F(Tool, HasDefaultSignalsButForAPipeThatNobodyReads) {
  sigset_t blocked;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGTERM);
  sigset_t before;
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  std::signal(SIGHUP, SIG_IGN);

  const std::string status = "/proc/self/status";
  const panel::ToolRun blocks = panel::RunTool({"/bin/grep", "SigBlk:", status}, "");
  const panel::ToolRun ignores = panel::RunTool({"/bin/grep", "SigIgn:", status}, "");

  std::signal(SIGHUP, SIG_DFL);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  EXPECT_EQ(blocks.output, "SigBlk:\t0000000000000000\n");
  EXPECT_EQ(std::stoull(ignores.output.substr(8), nullptr, 16), 1U << (SIGPIPE - 1))
      << ignores.output;
}

TEST_F(Tool, HasAProcessGroupOfItsOwn) {
  const panel::ToolRun run = panel::RunTool({Script("echo $$; cut -d' ' -f5 /proc/$$/stat\n")}, "");

  const std::string process = FirstLine(run.output);
  EXPECT_EQ(run.output, process + "\n" + process + "\n");
}

/// A panel that runs a tool and is killed as soon as the tool has told its number.
class KilledPanel {
 public:
  explicit KilledPanel(const std::string& tool, const std::string& told) {
    const pid_t panel = fork();
    if (panel == 0) {
      panel::RunTool({tool}, "");
      _exit(0);
    }
    WaitUntil([&told] { return std::filesystem::exists(told) && HasLine(told); });
    kill(panel, SIGKILL);
    waitpid(panel, nullptr, 0);
    tool_ = FirstLine(test_support::ReadText(told));
  }

  const std::string& tool() const { return tool_; }

 private:
  static bool HasLine(const std::string& file) {
    return test_support::ReadText(file).find('\n') != std::string::npos;
  }

  std::string tool_;
};

TEST_F(Tool, GoesOnWhenThePanelIsKilled) {
  const std::string told = folder_.Path("told");
  const std::string go = folder_.Path("go");
  const std::string done = folder_.Path("done");
  const KilledPanel killed(Script("echo $$ > " + told + "\nwhile [ ! -e " + go +
                                  " ]; do sleep 0.01; done\necho a warning\nsleep 0.1\n"
                                  "echo a warning >&2\necho done > " +
                                  done + "\n"),
                           told);
  ASSERT_TRUE(IsRunning(killed.tool()));

  folder_.WriteText("go", "");
  WaitUntil([&killed] { return !IsRunning(killed.tool()); });

  EXPECT_TRUE(std::filesystem::exists(done));
}

TEST_F(Tool, EndsByItselfWhenItRunsTooLongAndThePanelIsKilled) {
  SetTimeout(std::chrono::seconds(1));
  const std::string told = folder_.Path("told");
  const KilledPanel killed(Script("echo $$ > " + told + "\nexec sleep 1000\n"), told);

  WaitUntil([&killed] { return !IsRunning(killed.tool()); });
}

TEST_F(Tool, CanBeRunByAPanelWithoutStandardFiles) {
  const std::string tool = Script("cat; echo error >&2\n");
  const pid_t child = fork();
  if (child == 0) {
    for (int file = 0; file < 3; ++file) close(file);
    const panel::ToolRun run = panel::RunTool({tool}, "input\n");
    _exit(run.result == 0 && run.output == "input\nerror\n" ? 0 : 1);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);

  EXPECT_EQ(status, 0);
}

TEST_F(Tool, CanBeRunByThreads) {
  const std::string tool = Script("echo $1; exit $1\n");
  std::vector<std::thread> threads;
  std::vector<int> wrong(4, 0);
  for (std::size_t number = 0; number < wrong.size(); ++number) {
    threads.emplace_back([&wrong, &tool, number] {
      const std::string text = std::to_string(number);
      for (int round = 0; round < 20; ++round) {
        const panel::ToolRun run = panel::RunTool({tool, text}, "");
        if (run.result != static_cast<int>(number) || run.output != text + "\n") ++wrong[number];
      }
    });
  }
  for (std::thread& thread : threads) thread.join();

  EXPECT_EQ(wrong, std::vector<int>(4, 0));
}

TEST_F(Tool, SurvivesSignalsToThePanel) {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  sigaction(SIGALRM, &action, nullptr);
  itimerval often{{0, 2000}, {0, 2000}};
  setitimer(ITIMER_REAL, &often, nullptr);

  const panel::ToolRun run = panel::RunTool({Script("sleep 0.3; echo done; exit 7\n")}, "");

  often = {};
  setitimer(ITIMER_REAL, &often, nullptr);
  EXPECT_EQ(run.result, 7);
  EXPECT_EQ(run.output, "done\n");
}

TEST_F(Tool, ThatIsMissingIsNamedByItsPathName) {
  SetPath("postfix-postmap", "/nowhere/postmap -c /srv/postfix");
  const fen_proc::Execute run(fen_cf::GetPath("postfix-postmap") + " /srv/access", kMode);

  EXPECT_EQ(run.Result(), 127);
  EXPECT_EQ(run.Str(),
            "/nowhere/postmap cannot be started: No such file or directory\n"
            "Set the path \"postfix-postmap\" in the section [path] of /srv/panel/zebmail.toml.\n");
}

TEST_F(Tool, ThatIsMissingIsNamedByTheNameOfItsDefault) {
  fen_cf::SetPathDefault("postfix-postalias", "/nowhere/postalias");
  const fen_proc::Execute run("/nowhere/postalias /srv/aliases", kMode);

  EXPECT_EQ(run.Result(), 127);
  EXPECT_THAT(run.Str(), HasSubstr("Set the path \"postfix-postalias\" in the section [path]"));
}

TEST_F(Tool, ThatCannotBeExecutedIsNamed) {
  SetPath("postfix-bin", folder_.WriteText("postfix", "#!/bin/sh\n"));
  const fen_proc::Execute run(fen_cf::GetPath("postfix-bin") + " reload", kMode);
  EXPECT_EQ(run.Result(), 127);
  EXPECT_EQ(run.Str(),
            folder_.Path("postfix").string() +
                " cannot be started: Permission denied\n"
                "Set the path \"postfix-bin\" in the section [path] of /srv/panel/zebmail.toml.\n");

  const fen_proc::Execute folder(folder_.path().string(), kMode);
  EXPECT_EQ(folder.Result(), 127);
  EXPECT_EQ(folder.Str(), folder_.path().string() +
                              " cannot be started: Permission denied\n"
                              "Set its path in the section [path] of /srv/panel/zebmail.toml.\n");
}

TEST_F(Tool, ThatIsNoProgramIsNotGivenToAShell) {
  const std::filesystem::path text = folder_.WriteText("text", "echo from a shell\n");
  test_support::SetMode(text, 0755);
  const fen_proc::Execute run(text, kMode);

  EXPECT_EQ(run.Result(), 127);
  EXPECT_EQ(FirstLine(run.Str()), text.string() + " cannot be started: Exec format error");
}

TEST_F(Tool, IsNotSearchedFor) {
  SetPath("postfix-bin", "postfix");
  const fen_proc::Execute run("postfix reload", kMode);

  EXPECT_EQ(run.Result(), 127);
  EXPECT_EQ(run.Str(),
            "postfix cannot be started: not an absolute path\n"
            "Set the path \"postfix-bin\" in the section [path] of /srv/panel/zebmail.toml.\n");
}

TEST_F(Tool, ThatIsNotConfiguredIsNamed) {
  fen_cf::SetPathDefault("postfix-bin ", "/usr/sbin/postfix");
  fen_cf::GetPath("postfix-master");
  const fen_proc::Execute run(fen_cf::GetPath("postfix-bin") + " reload", kMode);

  EXPECT_EQ(run.Result(), 127);
  EXPECT_EQ(run.Str(),
            "The command \"reload\" cannot be started: it names no program.\n"
            "Nothing is configured for the path \"postfix-bin\": set it in the section [path] of "
            "/srv/panel/zebmail.toml.\n");
}

TEST_F(Tool, IsNotTakenFromItsArguments) {
  const std::string witness = folder_.Path("witness");
  const fen_proc::Execute run(" " + Script("touch '" + witness + "'\n"), kMode);

  EXPECT_EQ(run.Result(), 127);
  EXPECT_FALSE(std::filesystem::exists(witness));
}

TEST_F(Tool, OfAnEmptyCommandHasAPathToConfigure) {
  for (const char* command : {"", " ", "   "}) {
    const fen_proc::Execute run(command, kMode);

    EXPECT_EQ(run.Result(), 127);
    EXPECT_EQ(run.Str(),
              "The command \"\" cannot be started: it names no program.\n"
              "Set the path of its program in the section [path] of /srv/panel/zebmail.toml.\n");
  }
  EXPECT_EQ(panel::RunTool({}, "").result, 127);
}

TEST_F(Tool, IsNotGivenAWordThatHoldsANul) {
  const fen_proc::Execute run("/bin/echo a" + std::string("\0", 1) + "b", kMode);

  EXPECT_EQ(run.Result(), 127);
  EXPECT_EQ(FirstLine(run.Str()), "/bin/echo cannot be started: a word of the command holds a NUL");
}

TEST_F(Tool, IsNotGivenMoreThanTheSystemTakes) {
  const panel::ToolRun run = panel::RunTool({"/bin/true", std::string(10000000, 'x')}, "");

  EXPECT_EQ(run.result, 127);
  EXPECT_EQ(FirstLine(run.output), "/bin/true cannot be started: Argument list too long");
}

TEST_F(Tool, FailsLoudlyWhenTheSystemCannotHoldItsInput) {
  rlimit limit{};
  getrlimit(RLIMIT_FSIZE, &limit);
  const rlimit small{1000, limit.rlim_max};
  setrlimit(RLIMIT_FSIZE, &small);
  std::signal(SIGXFSZ, SIG_IGN);
  std::string message = "no error";
  try {
    panel::RunTool({"/bin/cat"}, std::string(10000, 'x'));
  } catch (const fen_err::Error& error) {
    message = error.what();
  }
  std::signal(SIGXFSZ, SIG_DFL);
  setrlimit(RLIMIT_FSIZE, &limit);

  EXPECT_EQ(message, "process: /bin/cat: File too large");
}

TEST_F(Tool, FailsLoudlyWhenItsStatusIsLost) {
  std::signal(SIGCHLD, SIG_IGN);
  std::string message = "no error";
  try {
    panel::RunTool({"/bin/true"}, "");
  } catch (const fen_err::Error& error) {
    message = error.what();
  }
  std::signal(SIGCHLD, SIG_DFL);

  EXPECT_THAT(message, testing::AnyOf("process: /bin/true: No child processes",
                                      "process: /bin/true: No such process"));
}

TEST_F(Tool, IsOnlyNotedInARehearsal) {
  const std::string witness = folder_.Path("witness");
  const std::string tool = Script("touch '" + witness + "'; exit 1\n");
  const panel::ToolRehearsal rehearsal;
  const fen_proc::Execute first(tool + " /srv/access", kMode);
  const fen_proc::Execute second(" reload", kMode);

  EXPECT_EQ(first.Result(), 0);
  EXPECT_EQ(first.Str(), "");
  EXPECT_EQ(second.Result(), 0);
  EXPECT_THAT(rehearsal.commands(), ElementsAre(tool + " /srv/access", " reload"));
  EXPECT_FALSE(std::filesystem::exists(witness));
}

TEST_F(Tool, RunsAgainBehindARehearsal) {
  {
    const panel::ToolRehearsal outer;
    { const panel::ToolRehearsal inner; }
    EXPECT_EQ(fen_proc::Execute("/bin/false", kMode).Result(), 0);
    EXPECT_THAT(outer.commands(), ElementsAre("/bin/false"));
    EXPECT_EQ(panel::RunTool({"/bin/false"}, "").result, 1);
  }

  EXPECT_EQ(fen_proc::Execute("/bin/false", kMode).Result(), 1);
}

TEST_F(Tool, RunsInOtherThreadsThanTheRehearsals) {
  const panel::ToolRehearsal rehearsal;
  int result = 0;
  std::thread([&result] { result = fen_proc::Execute("/bin/false", kMode).Result(); }).join();

  EXPECT_EQ(result, 1);
  EXPECT_TRUE(rehearsal.commands().empty());
}

}  // namespace
