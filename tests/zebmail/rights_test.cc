/// NAME
///   rights_test - who can read and write what the panel makes, and what others put in its way

#include <cerrno>
#include <filesystem>
#include <functional>
#include <set>
#include <sstream>
#include <string>
#include <system_error>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using test_support::ModeOf;
using test_support::RunCommand;
using test_support::SetMode;
using testing::HasSubstr;
using testing::StartsWith;

namespace fs = std::filesystem;

constexpr uid_t kSomebody = 65534;

/// The words of a command, run under a umask.
std::vector<std::string> UnderUmask(const std::string& mask,
                                    const std::vector<std::string>& words) {
  std::vector<std::string> all = {"/bin/sh", "-c", "umask " + mask + "; exec \"$@\"", "sh",
                                  ZEBMAIL_BINARY};
  all.insert(all.end(), words.begin(), words.end());
  return all;
}

/// What is known of maps has names with numbers in them, which depend on the folder.
fs::path WithoutKey(const fs::path& path) {
  if (path.parent_path().filename() != "maps") return path;
  return path.parent_path() / ("KEY" + path.extension().string());
}

/// The modes of all that lies below a folder, a line for each name.
std::string ModesBelow(const fs::path& folder) {
  std::set<std::string> lines;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(folder)) {
    std::ostringstream line;
    line << WithoutKey(entry.path()).lexically_relative(folder).string() << " " << std::oct
         << ModeOf(entry.path());
    lines.insert(line.str());
  }
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

struct Mask {
  const char* umask;
  const char* mode_of_log;  ///< the one mode in which an administrator's umask counts
};

void PrintTo(const Mask& mask, std::ostream* stream) {
  *stream << mask.umask;
}

class Umask : public testing::TestWithParam<Mask> {};

/// The note that is outstanding has a number in its name, which depends on the folder. What SQLite
/// puts beside the database is gone in the end, so the tool looks at it.
TEST_P(Umask, OpensAndClosesNothing) {
  const PostfixFolder place;
  const auto run = [&place](std::vector<std::string> words) {
    if (words.front() != "init") {
      words.insert(words.begin(), {"--config", place.Path("panel/zebmail.toml")});
    }
    return RunCommand(UnderUmask(GetParam().umask, words));
  };
  place.folder().WriteText("zebmail-answer", "#!/bin/sh\nexit 0\n");
  SetMode(place.Path("zebmail-answer"), 0755);
  place.SetMainCf(place.BareMainCf() + "mailbox_transport = lmtp:unix:private/imap-server\n");
  std::vector<std::string> init = place.InitWords();
  init.insert(init.end(), {"--path", "zebmail-answer=" + place.Path("zebmail-answer")});
  for (const std::vector<std::string>& words : {init,
                                                {"domain", "create", "example.org"},
                                                {"mailbox", "create", "info@example.org"},
                                                {"responder", "on", "info@example.org"},
                                                {"postfix-config", "--apply"}}) {
    const CommandRun done = run(words);
    ASSERT_EQ(done.status, 0) << done.errors;
  }
  test_support::WriteText(place.postfix().path(), "#!/bin/sh\ncd '" + place.Path("panel") +
                                                      "'\nstat -c '%n %a' panel.db-*\nexit 1\n");
  const CommandRun failed = run({"domain", "create", "example.net"});
  EXPECT_EQ(failed.status, 1);
  EXPECT_THAT(failed.errors, HasSubstr("\npanel.db-shm 640\npanel.db-wal 640\n"));

  const std::string number =
      fs::directory_iterator(place.Path("panel/state/pending"))->path().stem().string();
  EXPECT_EQ(ModesBelow(place.Path("panel")),
            "mail 755\n"
            "mail/access 644\n"
            "mail/access.db 644\n"
            "mail/aliases 644\n"
            "mail/aliases.db 644\n"
            "mail/client-address.regexp 644\n"
            "mail/domainips 644\n"
            "mail/local-host-names 644\n"
            "mail/virtusertable 644\n"
            "mail/virtusertable.db 644\n"
            "panel.db 640\n"
            "state 711\n"
            "state/lock 600\n"
            "state/made 600\n"
            "state/maps 700\n"
            "state/maps/KEY.record 600\n"
            "state/maps/KEY.text 600\n"
            "state/pending 700\n"
            "state/pending/" +
                number +
                ".local-host-names 600\n"
                "state/responder 711\n"
                "state/responder/1 710\n"
                "state/responder/1/answered.db 600\n"
                "state/responder/1/message 640\n"
                "state/zebfen.log " +
                GetParam().mode_of_log +
                "\n"
                "zebmail.toml 640\n");
  EXPECT_EQ(ModeOf(place.Path("config/main.cf")), ModeOf(place.Path("config/main.cf.zebmail-1")));
}

INSTANTIATE_TEST_SUITE_P(Rights, Umask, testing::Values(Mask{"000", "640"}, Mask{"077", "600"}));

/// What the user can do as whom Postfix runs the auto-responder: `test` is one of find(1).
std::string FoundAsNobody(const std::string& folder, const std::string& test) {
  return RunCommand({"/usr/bin/setpriv", "--reuid=nobody", "--regid=nogroup", "--clear-groups",
                     "/usr/bin/find", folder, "-type", "f", test})
      .output;
}

TEST(ResponderUser, ReadsTablesAndMessagesAndWritesItsRecordAlone) {
  const MailboxPanel panel;
  panel.Do({"responder", "on", "info@example.org"});
  panel.Do({"mailbox", "create", "other@example.org"});
  panel.Do({"responder", "on", "other@example.org"});
  panel.Do({"responder", "off", "other@example.org"});

  EXPECT_EQ(FoundAsNobody(panel.Path("panel"), "-writable"), "");
  EXPECT_EQ(FoundAsNobody(panel.Path("panel/state"), "-readable"), "");
  EXPECT_EQ(FoundAsNobody(panel.ResponderPath(1, "message"), "-readable"),
            panel.ResponderPath(1, "message") + "\n");
  EXPECT_EQ(FoundAsNobody(panel.ResponderPath(1, "answered.db"), "-writable"),
            panel.ResponderPath(1, "answered.db") + "\n");
  for (const char* const closed :
       {"panel/panel.db", "panel/zebmail.toml", "panel/state/lock", "panel/state/zebfen.log"}) {
    EXPECT_EQ(FoundAsNobody(panel.Path(closed), "-readable"), "") << closed;
  }
  EXPECT_FALSE(fs::exists(panel.ResponderPath(2)));
}

const std::string kRemove = "look who has put it there, and remove it";

/// What somebody may have put where the panel keeps its own.
struct Planted {
  const char* name;
  std::function<void(const std::string& path, const std::string& victim)> plant;
  std::string advice = kRemove;
};

const std::vector<Planted>& AllPlanted() {
  static const std::vector<Planted> all = {
      {"a link", [](const auto& path, const auto& victim) { fs::create_symlink(victim, path); }},
      {"a dangling link",
       [](const auto& path, const auto& victim) { fs::create_symlink(victim + "-gone", path); }},
      {"another name",
       [](const auto& path, const auto& victim) { fs::create_hard_link(victim, path); }},
      {"a pipe",
       [](const auto& path, const auto&) {
         if (mkfifo(path.c_str(), 0666) != 0)
           throw std::system_error(errno, std::generic_category());
       }},
      {"a folder", [](const auto& path, const auto&) { fs::create_directory(path); }},
      {"a file of somebody's",
       [](const auto& path, const auto&) {
         test_support::WriteText(path, "");
         test_support::SetOwner(path, {kSomebody, kSomebody});
       },
       kRemove + " or run `chown -h root` on it"},
      {"a file for all",
       [](const auto& path, const auto&) {
         test_support::WriteText(path, "");
         SetMode(path, 0666);
       },
       "can be written by others than its owner: run `chmod go-w` on it"}};
  return all;
}

/// A file that a planted link leads to, which is to stay as it is.
class Victim {
 public:
  explicit Victim(const OwnPanel& panel) : path_(panel.Path("victim")) {
    test_support::WriteText(path_, "precious\n");
    SetMode(path_, 0604);
  }

  const std::string& path() const noexcept { return path_; }

  void ExpectUntouched() const {
    EXPECT_EQ(test_support::ReadText(path_), "precious\n");
    EXPECT_EQ(ModeOf(path_), 0604U);
    EXPECT_EQ(test_support::OwnerOf(path_), (test_support::Owner{0, 0}));
    EXPECT_FALSE(fs::exists(path_ + "-gone"));
  }

 private:
  std::string path_;
};

/// Runs it for at most 20 seconds: a pipe could hold it up for ever.
CommandRun RunInTime(const OwnPanel& panel, std::vector<std::string> words) {
  words.insert(words.begin(),
               {"/usr/bin/timeout", "20", ZEBMAIL_BINARY, "--config", panel.config()});
  return RunCommand(words);
}

class StateDir : public testing::TestWithParam<const char*> {
 protected:
  const MailboxPanel panel_;
  const Victim victim_{panel_};
};

TEST_P(StateDir, IsNotUsedWithWhatThePanelHasNotMade) {
  const std::string path = panel_.Path("panel/state/") + GetParam();
  const std::set<std::string> folders = {"main.cf", "pending", "responder"};
  const bool is_folder = folders.contains(GetParam());
  const std::string tables = panel_.MailboxTables();
  for (const Planted& planted : AllPlanted()) {
    if (is_folder && planted.name == std::string("a folder")) continue;
    SCOPED_TRACE(planted.name);
    fs::remove_all(path);
    planted.plant(path, victim_.path());

    for (const char* const command : {"list", "create"}) {
      std::vector<std::string> words = {"domain", command};
      if (command == std::string("create")) words.emplace_back("example.net");
      const CommandRun run = RunInTime(panel_, words);

      EXPECT_EQ(run.status, 1);
      EXPECT_THAT(run.errors, StartsWith("zebmail: file: " + path + ": is not used: "));
      EXPECT_THAT(run.errors, testing::EndsWith((is_folder ? kRemove : planted.advice) + "\n"));
    }
    victim_.ExpectUntouched();
    EXPECT_EQ(panel_.MailboxTables(), tables);
  }
  fs::remove_all(path);
  panel_.Do({"domain", "create", "example.net"});
}

INSTANTIATE_TEST_SUITE_P(Rights, StateDir,
                         testing::Values("lock", "zebfen.log", "saving", "steps", "main.cf",
                                         "pending", "responder"));

/// Its name is known beforehand; whatever lies there goes, and is not written to.
TEST(TextBesideATable, IsWrittenToAFileOfItsOwn) {
  const MailboxPanel panel;
  const Victim victim(panel);
  for (const char* const name : {".virtusertable.zebmail", ".virtusertable.zebmail-old"}) {
    const std::string path = panel.Path("panel/mail/") + name;
    for (const Planted& planted : AllPlanted()) {
      SCOPED_TRACE(std::string(name) + " " + planted.name);
      planted.plant(path, victim.path());

      const CommandRun run = RunInTime(panel, {"mailbox", "create", "new@example.org"});

      victim.ExpectUntouched();
      if (fs::is_directory(fs::symlink_status(path))) {
        EXPECT_EQ(run.status, 1);
        EXPECT_THAT(run.errors, HasSubstr(path));
        fs::remove(path);
        if (run.errors.find("hold the change") == std::string::npos) continue;
      } else {
        EXPECT_EQ(run.status, 0) << run.errors;
      }
      EXPECT_FALSE(fs::exists(fs::symlink_status(path)));
      EXPECT_EQ(ModeOf(panel.Path("panel/mail/virtusertable")), 0644U);
      EXPECT_EQ(test_support::OwnerOf(panel.Path("panel/mail/virtusertable")),
                (test_support::Owner{0, 0}));
      panel.Do({"mailbox", "delete", "new@example.org"});
    }
  }
}

struct OpenPlace {
  const char* path;
  mode_t mode;  ///< 0 to give it away instead
};

void PrintTo(const OpenPlace& place, std::ostream* stream) {
  *stream << place.path << " ";
  if (place.mode == 0) {
    *stream << "given away";
  } else {
    *stream << std::oct << place.mode << std::dec;
  }
}

/// Who can write these could tell root what to do.
class PlaceThatOthersCanWrite : public testing::TestWithParam<OpenPlace> {};

TEST_P(PlaceThatOthersCanWrite, IsRefusedByEveryCommand) {
  const MailboxPanel panel;
  const std::string place = fs::canonical(panel.Path(GetParam().path));
  const mode_t before = ModeOf(place);
  const std::string tables = panel.MailboxTables();
  if (GetParam().mode == 0) {
    test_support::SetOwner(place, {kSomebody, kSomebody});
  } else {
    SetMode(place, GetParam().mode);
  }

  for (const std::vector<std::string>& words :
       std::vector<std::vector<std::string>>{{"domain", "create", "example.net"},
                                             {"domain", "list"},
                                             {"trace", "info@example.org"}}) {
    const CommandRun run = panel.Run(words);
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.output, "");
    EXPECT_THAT(run.errors,
                HasSubstr(place + (GetParam().mode == 0
                                       ? " belongs to neither root nor the user of this process"
                                       : " can be written by others than its owner: run `chmod "
                                         "go-w` on it\n")));
    EXPECT_THAT(run.errors, HasSubstr(": is not used"));
  }

  EXPECT_EQ(panel.MailboxTables(), tables);
  SetMode(place, before);
  test_support::SetOwner(place, {0, 0});
  panel.Do({"domain", "create", "example.net"});
}

INSTANTIATE_TEST_SUITE_P(
    Rights, PlaceThatOthersCanWrite,
    testing::Values(OpenPlace{"panel/zebmail.toml", 0646}, OpenPlace{"panel/zebmail.toml", 0664},
                    OpenPlace{"panel/zebmail.toml", 0}, OpenPlace{"panel", 0757},
                    OpenPlace{"panel", 0}, OpenPlace{"panel/state", 0777},
                    OpenPlace{"panel/state", 01777}, OpenPlace{"panel/state", 0775},
                    OpenPlace{"panel/state", 0}, OpenPlace{"panel/..", 0733}));

INSTANTIATE_TEST_SUITE_P(OfSqlite, PlaceThatOthersCanWrite,
                         testing::Values(OpenPlace{"panel/panel.db", 0660},
                                         OpenPlace{"panel/panel.db", 0}));

/// By it, who may write in the folder of a table would have root change any file.
TEST(LinkOfSomebody, IsNotFollowedToATable) {
  const MailboxPanel panel;
  const Victim victim(panel);
  const std::string table = panel.Path("panel/mail/virtusertable");
  fs::remove(table);
  fs::create_symlink(victim.path(), table);
  ASSERT_EQ(lchown(table.c_str(), kSomebody, kSomebody), 0);

  const CommandRun run = panel.Run({"mailbox", "create", "new@example.org"});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.errors,
              StartsWith("zebmail: file: " + table + ": is not followed through " + table +
                         ", a symbolic link that belongs to neither root nor "));
  victim.ExpectUntouched();
}

TEST(Configuration, ThatIsAPipeIsNotWaitedFor) {
  const OwnPanel panel;
  fs::remove(panel.config());
  ASSERT_EQ(mkfifo(panel.config().c_str(), 0600), 0);

  const CommandRun run = RunInTime(panel, {"domain", "list"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "zebmail: config: " + panel.config() + ": is a pipe, which nobody may ever write to\n");
}

}  // namespace
}  // namespace zebmail_test
