/// NAME
///   completion_test - what a command line can go on with

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include "host/zeb_db.h"
#include "panel/process/file_handle.h"
#include "panel/process/panel_lock.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using Words = std::vector<std::string>;

/// What can follow the words behind "zebmail"; the last one is typed as far as that.
std::string Completed(Words words) {
  words.insert(words.begin(), "__complete");
  const CommandRun run = Zebmail(words);
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.errors, "");
  return run.output;
}

/// The same on a panel.
std::string Completed(const OwnPanel& panel, Words words) {
  words.insert(words.begin(), {"--config", panel.config()});
  return Completed(words);
}

/// A socket on which connections are taken and nobody answers.
class SilentServer {
 public:
  SilentServer() : socket_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    address_.sin_family = AF_INET;
    address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    auto* const address = reinterpret_cast<sockaddr*>(&address_);
    socklen_t size = sizeof(address_);
    if (bind(socket_.get(), address, size) != 0 || listen(socket_.get(), 8) != 0 ||
        getsockname(socket_.get(), address, &size) != 0) {
      throw std::runtime_error("no socket can be opened");
    }
  }

  int port() const { return ntohs(address_.sin_port); }

 private:
  panel::FileHandle socket_;
  sockaddr_in address_{};
};

class CompletionOnPanel : public testing::Test {
 protected:
  CompletionOnPanel() {
    for (const char* domain :
         {"example.org", "example.net", "münchen.example", "mail-größe.example"}) {
      panel_.Do({"domain", "create", domain});
    }
    for (const char* mailbox :
         {"info@example.org", "info@example.net", "inge@example.org", "info@münchen.example"}) {
      panel_.Do({"mailbox", "create", mailbox});
    }
  }

  std::string After(const Words& words) const { return Completed(panel_, words); }

  const OwnPanel panel_;
};

TEST(Completion, OffersTheCommandsWithWhatTheyAre) {
  EXPECT_EQ(Completed({""}),
            "init\tmake a panel, or complete one\n"
            "domain\tmail domains\n"
            "mailbox\tmailboxes of the mail domains\n"
            "alias\taliases of mailboxes: further local parts in the mailbox's own domain\n"
            "forward\tforwards of mailboxes: addresses that get a copy of its mail\n"
            "responder\tautomatic replies to mail for a mailbox\n"
            "whitelist\tsenders whose mail is taken\n"
            "blacklist\tsenders whose mail is refused\n"
            "webdomain\tthe panel's web domains, which sync consults\n"
            "sync\tread all tables of the mail server into the database\n"
            "postfix-config\tthe settings of main.cf that make Postfix use the tables\n"
            "export\tprint the whole panel as JSON Lines\n"
            "import\tbring in what JSON Lines say, as export prints them\n"
            "check\tfind out what is wrong, and mend it\n"
            "trace\tshow the way that a message to an address takes\n");
  EXPECT_EQ(Completed({"responder", "o"}),
            "on\tanswer the senders of mail\noff\tanswer no longer\n");
  EXPECT_EQ(Completed({"domain", "resu"}), "resume\ttake its mail again\n");
}

TEST(Completion, OffersTheOptionsThatAreNotGivenYet) {
  EXPECT_EQ(Completed({"check", "--"}),
            "--fix\tmend what can be mended\n"
            "--help\tprint the help of the program, or of the command before it; also -h\n"
            "--config\tthe configuration file, instead of $ZEBMAIL_CONFIG or "
            "/etc/zebmail/zebmail.toml\n"
            "--json\tprint one JSON document\n"
            "--dry-run\tchange nothing, show what would change\n"
            "--quiet\tprint no confirmation when all went well\n");
  EXPECT_EQ(Completed({"--json", "check", "--fix", "--j"}), "");
  EXPECT_EQ(Completed({"check", "--fix", "--f"}), "");
  EXPECT_EQ(Completed({"init", "--path", "postfix-bin=/x", "--pat"}),
            "--path\ta value for the section [path] of the configuration\n");
}

TEST(Completion, OffersTheWordsThatAValueCanBe) {
  EXPECT_EQ(Completed({"domain", "create", "a.example", "--default-action", ""}),
            "error\nignore\nredir_email\nredir_domain\n");
  EXPECT_EQ(Completed({"domain", "update", "--default-action", "redir"}),
            "redir_email\nredir_domain\n");
  EXPECT_EQ(Completed({"domain", "update", "--default-action=i"}), "--default-action=ignore\n");
  EXPECT_EQ(Completed({"mailbox", "update", "a@a.example", "--drop-mail", "o"}), "on\noff\n");
  EXPECT_EQ(
      Completed({"init", "--path", "postfix-postm"}),
      "postfix-postmap=\tWhat builds the map of the virtual user table and that of the access "
      "table: postmap(1), or zebmail-postmap(1), which changes single entries.\n");
}

TEST(Completion, LeavesFilesAndFoldersToTheShell) {
  EXPECT_EQ(Completed({"import", "pan"}), "<files>\n");
  EXPECT_EQ(Completed({"--config", ""}), "<files>\n");
  EXPECT_EQ(Completed({"--config=/etc/"}), "<files>\n");
  EXPECT_EQ(Completed({"responder", "on", "a@a.example", "--text-file", "away"}), "<files>\n");
  EXPECT_EQ(Completed({"init", "--path", "postfix-bin=/usr/sb"}), "<files>\n");
  EXPECT_EQ(Completed({"init", "--root", "/sr"}), "<folders>\n");
}

TEST_F(CompletionOnPanel, OffersDomainsAsTheyAreShown) {
  EXPECT_EQ(After({"domain", "show", ""}),
            "example.net\nexample.org\nmail-größe.example\nmünchen.example\n");
  EXPECT_EQ(After({"domain", "suspend", "example.o"}), "example.org\n");
  EXPECT_EQ(After({"mailbox", "list", "m"}), "mail-größe.example\nmünchen.example\n");
  EXPECT_EQ(After({"domain", "delete", "mün"}), "münchen.example\n");
  EXPECT_EQ(After({"domain", "delete", "mail-grö"}), "mail-größe.example\n");
  EXPECT_EQ(After({"domain", "delete", "münchen.ex"}), "münchen.example\n");
}

TEST_F(CompletionOnPanel, GoesOnFromTheAsciiFormOfADomainWhereThatIsTyped) {
  EXPECT_EQ(After({"domain", "show", "xn--m"}),
            "xn--mail-gre-wya3u.example\nxn--mnchen-3ya.example\n");
}

TEST_F(CompletionOnPanel, OffersMailboxesByTheirAddresses) {
  EXPECT_EQ(After({"mailbox", "show", "in"}),
            "info@example.net\ninfo@example.org\ninfo@münchen.example\ninge@example.org\n");
  EXPECT_EQ(After({"mailbox", "show", "info@"}),
            "info@example.net\ninfo@example.org\ninfo@münchen.example\n");
  EXPECT_EQ(After({"mailbox", "show", "info@example.n"}), "info@example.net\n");
  EXPECT_EQ(After({"responder", "off", "info@mün"}), "info@münchen.example\n");
  EXPECT_EQ(After({"trace", "inge"}), "inge@example.org\n");
  EXPECT_EQ(After({"mailbox", "show", "info@example.org", ""}), "");
}

TEST_F(CompletionOnPanel, OffersDomainsForANewAddress) {
  EXPECT_EQ(After({"mailbox", "create", "new@ex"}), "new@example.net\nnew@example.org\n");
  EXPECT_EQ(After({"mailbox", "create", "new"}), "");
}

TEST_F(CompletionOnPanel, OffersWhatAMailboxHas) {
  panel_.Do({"alias", "add", "info@example.org", "sales", "support", "office"});
  panel_.Do({"forward", "add", "info@example.org", "boss@example.com", "boss@größe.example"});

  EXPECT_EQ(After({"alias", "remove", "info@example.org", ""}), "office\nsales\nsupport\n");
  EXPECT_EQ(After({"alias", "remove", "info@example.org", "sales", "s"}), "support\n");
  EXPECT_EQ(After({"alias", "remove", "inge@example.org", ""}), "");
  EXPECT_EQ(After({"alias", "add", "info@example.org", ""}), "");
  EXPECT_EQ(After({"forward", "remove", "info@example.org", "boss@"}),
            "boss@example.com\nboss@größe.example\n");
  EXPECT_EQ(After({"forward", "remove", "info@example.org", "boss@gr"}), "boss@größe.example\n");
}

TEST_F(CompletionOnPanel, OffersWhatIsOnAList) {
  panel_.Do({"whitelist", "add", "friend.example", "192.0.2.1", "somebody@größe.example"});
  panel_.Do({"blacklist", "add", "2001:db8::1"});
  panel_.Do({"webdomain", "add", "web.example", "--owner", "1"});

  EXPECT_EQ(After({"whitelist", "remove", ""}),
            "192.0.2.1\nfriend.example\nsomebody@größe.example\n");
  EXPECT_EQ(After({"whitelist", "remove", "somebody@grö"}), "somebody@größe.example\n");
  EXPECT_EQ(After({"blacklist", "remove", "2001:"}), "2001:db8::1\n");
  EXPECT_EQ(After({"webdomain", "remove", "w"}), "web.example\n");
  EXPECT_EQ(After({"webdomain", "add", "w"}), "");
}

TEST_F(CompletionOnPanel, OffersNoNameThatAShellCouldTakeForMore) {
  panel_.ChangeDatabase([] {
    const auto alias = zeb_db::GetCache().Get<zeb_db::EmailAliasTable>();
    for (const char* name :
         {"a b",     "a\tb", "a\nb", "a\x1b[2J", "a\xc2\x9b", "a$(reboot)", "a`reboot`",
          "a;b",     "a|b",  "a&b",  "a'b",      "a\"b",      "a\\b",       "a>b",
          "a*b",     "a~b",  "a!b",  "a{b,c}",   "a#b",       "-a",         "=a",
          "<files>", "a-b",  "a+b",  "aé"}) {
      alias->New();
      alias->name = name;
      alias->email = std::int64_t{1};
      alias->Post();
    }
  });

  EXPECT_EQ(After({"alias", "remove", "info@example.org", ""}), "a+b\na-b\naé\n");
}

TEST_F(CompletionOnPanel, SaysWhereThereAreMoreNamesThanItOffers) {
  panel_.ChangeDatabase([] {
    const auto alias = zeb_db::GetCache().Get<zeb_db::EmailAliasTable>();
    for (int number = 0; number < 1001; ++number) {
      alias->New();
      alias->name = (number < 1000 ? "a" : "b") + std::to_string(number);
      alias->email = std::int64_t{1};
      alias->Post();
    }
  });

  const std::string all = After({"alias", "remove", "info@example.org", ""});
  const std::string some = After({"alias", "remove", "info@example.org", "a99"});

  EXPECT_TRUE(all.starts_with("a0\na1\na10\n")) << all;
  EXPECT_TRUE(all.ends_with("\n…\tthere are more; type on\n")) << all;
  EXPECT_EQ(some, "a99\na990\na991\na992\na993\na994\na995\na996\na997\na998\na999\n");
}

TEST_F(CompletionOnPanel, TakesWhatIsTypedForNoPattern) {
  EXPECT_EQ(After({"domain", "show", "%"}), "");
  EXPECT_EQ(After({"domain", "show", "' OR 1 = 1 --"}), "");
  EXPECT_EQ(After({"mailbox", "show", "_nfo"}), "");
  EXPECT_EQ(After({"mailbox", "show", "info@' OR '' = '"}), "");
}

TEST_F(CompletionOnPanel, UsesTheConfigurationOfTheEnvironment) {
  setenv("ZEBMAIL_CONFIG", panel_.config().c_str(), 1);

  const CommandRun run =
      test_support::RunCommand({ZEBMAIL_BINARY, "__complete", "domain", "show", "example.o"});

  EXPECT_EQ(run.output, "example.org\n");
}

TEST_F(CompletionOnPanel, WaitsForNobody) {
  const panel::PanelLock lock(panel_.Path("panel/state"), nullptr);

  EXPECT_EQ(After({"domain", "show", "example.o"}), "example.org\n");
}

TEST_F(CompletionOnPanel, ChangesNothing) {
  const auto before = Snapshot(panel_.folder().path());

  After({"mailbox", "show", "in"});
  After({"alias", "remove", "info@example.org", ""});

  auto after = Snapshot(panel_.folder().path());
  for (const char* name : {"panel/panel.db-shm", "panel/panel.db-wal"}) after.erase(name);
  EXPECT_EQ(after, before);
}

using CompletionOnSqlite = CompletionOnPanel;

TEST_F(CompletionOnSqlite, MakesNoDatabase) {
  std::filesystem::remove(panel_.Path("panel/panel.db"));

  EXPECT_EQ(After({"domain", "show", ""}), "");
  EXPECT_FALSE(std::filesystem::exists(panel_.Path("panel/panel.db")));
}

TEST_F(CompletionOnSqlite, SaysNothingOfADatabaseThatOthersCanWrite) {
  test_support::SetMode(panel_.Path("panel/panel.db"), 0666);

  EXPECT_EQ(After({"domain", "show", ""}), "");
}

TEST_F(CompletionOnPanel, SaysNothingOfAMailboxThatIsNotThere) {
  EXPECT_EQ(After({"alias", "remove", "nobody@example.org", ""}), "");
  EXPECT_EQ(After({"alias", "remove", "nonsense", ""}), "");
}

TEST(Completion, SaysNothingWithoutAPanel) {
  EXPECT_EQ(Completed({"--config", "/nonexistent/zebmail.toml", "domain", "show", ""}), "");
  EXPECT_EQ(Completed({"--config", "", "domain", "show", ""}), "");
}

TEST(Completion, SaysNothingOfALineThatIsWrongAlready) {
  EXPECT_EQ(Completed({"bogus", ""}), "");
  EXPECT_EQ(Completed({"domain", "bogus", ""}), "");
  EXPECT_EQ(Completed({"--bogus", ""}), "");
  EXPECT_EQ(Completed({"--json=", ""}), Completed({""}));
  EXPECT_EQ(Completed({"check", "--bogus="}), "");
  EXPECT_EQ(Completed({}), Completed({""}));
}

TEST(Completion, DoesNotWaitForADatabaseServerThatDoesNotAnswer) {
  const OwnPanel panel;
  const std::string text = panel.folder().ReadText("panel/zebmail.toml");
  const std::size_t begin = text.find("database = ");
  const std::size_t end = text.find('\n', begin);
  const SilentServer server;
  panel.folder().WriteText("panel/zebmail.toml",
                           text.substr(0, begin) + "database = \"postgresql://127.0.0.1:" +
                               std::to_string(server.port()) + "/panel\"" + text.substr(end));
  const auto begun = std::chrono::steady_clock::now();

  EXPECT_EQ(Completed(panel, {"domain", "show", ""}), "");

  EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(8));
}

}  // namespace
}  // namespace zebmail_test
