/// NAME
///   check_test - what `zebmail check` finds and mends

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/str.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

namespace fs = std::filesystem;

using testing::HasSubstr;
using testing::StartsWith;

/// Makes the map of `table` older than its text.
void MakeStale(const OwnPanel& panel, const std::string& table) {
  const fs::path map = panel.Path("panel/mail/" + table + ".db");
  fs::last_write_time(map, fs::last_write_time(map) - std::chrono::hours(1));
}

TEST(Check, FindsNothingWrongWithNewPanel) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});

  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
  EXPECT_EQ(panel.Do({"check", "--quiet"}), "");
  EXPECT_EQ(panel.Do({"check", "--json"}),
            "{\n  \"ok\": true,\n  \"findings\": [],\n  \"mended\": []\n}\n");
}

TEST(Check, FindsAndMendsStaleAndMissingMaps) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  MakeStale(panel, "virtusertable");
  fs::remove(panel.Path("panel/mail/aliases.db"));
  const std::string virtusertable = panel.Path("panel/mail/virtusertable.db");
  const std::string aliases = panel.Path("panel/mail/aliases.db");
  const std::string postalias = panel.WholeMapCommand("postalias", "aliases");

  const CommandRun found = panel.Run({"check"});
  EXPECT_EQ(found.status, 1);
  EXPECT_EQ(found.output,
            virtusertable +
                " is missing or older than its text; Postfix works with an earlier text, or with "
                "none; mend: " +
                panel.WholeMapCommand("postmap", "virtusertable") + "\n" + aliases +
                " is missing or older than its text; Postfix works with an earlier text, or with "
                "none; mend: " +
                postalias + "\n");

  EXPECT_EQ(panel.Do({"check", "--fix"}),
            "mended: " + virtusertable + ": " + panel.WholeMapCommand("postmap", "virtusertable") +
                "\nmended: " + aliases + ": " + postalias + "\nnothing is wrong\n");
  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

TEST(Check, FindsAndMendsANewMapThatSaysOtherThanItsText) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  for (const char* table : {"virtusertable", "aliases"}) {
    const std::string text = panel.Table(table);
    const std::string map = panel.Path("panel/mail/") + table + ".db";
    panel.SetTable(table, text + "other: x@example.net\n");
    panel.Run({"check", "--fix"});
    panel.SetTable(table, text);
    fs::last_write_time(map, fs::file_time_type::clock::now() + std::chrono::hours(1));

    const CommandRun found = panel.Run({"check"});

    EXPECT_EQ(found.status, 1);
    EXPECT_THAT(found.output,
                StartsWith(map + " is newer than its text, but does not say the same; "));
    EXPECT_THAT(panel.Do({"check", "--fix"}), StartsWith("mended: " + map));
    EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
  }
}

/// postmap, but an entry is lost whenever others are put.
TEST(Check, MendsAMapThatIsTakenForRight) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  panel.Do({"mailbox", "create", "info@example.org"});
  const std::string losing = panel.folder().WriteText(
      "losing-postmap",
      "#!/bin/sh\n/usr/sbin/postmap \"$@\" || exit\n"
      "case \" $* \" in *' -i '*) ;; *) exit 0 ;; esac\n"
      "exec /usr/sbin/postmap -c " +
          panel.Path("config") +
          " -d info@example.org hash:" + panel.Path("panel/mail/virtusertable") + "\n");
  test_support::SetMode(losing, 0755);
  panel.Configure("postfix-postmap", std::string(ZEBMAIL_MAPS_FOLDER) +
                                         "/zebmail-postmap --state " + panel.Path("panel/state") +
                                         " --tool " + losing + " -c " + panel.Path("config"));
  panel.Do({"mailbox", "create", "chief@example.org"});
  panel.Do({"mailbox", "create", "boss@example.org"});
  ASSERT_THAT(panel.Run({"check"}).output, HasSubstr("virtusertable.db is newer than its text, "
                                                     "but does not say the same; "));

  panel.Run({"check", "--fix"});

  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

TEST(Check, FindsNoDifferenceInTheFormThatPostaliasGivesToValues) {
  const OwnPanel panel;
  panel.SetTable("aliases", panel.Table("aliases") +
                                "Info :  Boss <boss@example.net>,x@example.net\n"
                                "\"two words\": \"| cat\",\n  :include:/etc/list\n");

  panel.Do({"check", "--fix"});

  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

TEST(Check, FindsTablesThatOthersCanWrite) {
  const OwnPanel panel;
  const std::string aliases = panel.Path("panel/mail/aliases");
  fs::permissions(aliases, fs::perms::others_write, fs::perm_options::add);
  const std::string finding =
      " can be written by others than root; who writes it decides where "
      "mail goes and what Postfix runs; mend: chown root " +
      aliases + " && chmod go-w " + aliases + "\n";

  EXPECT_THAT(panel.Run({"check"}).output, StartsWith(aliases + finding));

  ASSERT_EQ(CarryOut("chown root " + aliases + " && chmod go-w " + aliases).status, 0);
  EXPECT_EQ(panel.Run({"check", "--fix"}).status, 0);
}

TEST(Check, FindsFoldersOfTablesThatOthersCanWrite) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  const std::string tables = panel.Path("panel/mail");
  const auto report = [](const std::string& folder) {
    return folder +
           " can be written by others than root; who writes it decides where mail goes and what "
           "Postfix runs; mend: chown root " +
           folder + " && chmod go-w " + folder + "\n";
  };
  const fs::perms everybody = fs::perms::others_write;

  fs::permissions(tables, everybody, fs::perm_options::add);
  EXPECT_EQ(panel.Run({"check"}).output, report(tables));
  fs::permissions(tables, fs::perms::sticky_bit, fs::perm_options::add);
  EXPECT_EQ(panel.Run({"check"}).output, report(tables));
  fs::permissions(tables, everybody | fs::perms::sticky_bit, fs::perm_options::remove);

  const test_support::TempFolder elsewhere;
  elsewhere.WriteText("tables/domainips", "");
  panel.Configure("postfix-domainips", elsewhere.Path("tables/domainips"));
  fs::permissions(elsewhere.path(), everybody, fs::perm_options::add);
  EXPECT_THAT(panel.Run({"check"}).output, StartsWith(report(elsewhere.path())));
  fs::permissions(elsewhere.path(), fs::perms::sticky_bit, fs::perm_options::add);
  EXPECT_THAT(panel.Run({"check"}).output,
              testing::Not(testing::HasSubstr("can be written by others")));
}

TEST(Check, IsNotDisturbedByWarningsOfPostconf) {
  const OwnPanel panel;
  panel.SetMainCf(panel.MainCf() + "foo = 1\nmyhostname = mail.test\n");

  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
  EXPECT_EQ(panel.Do({"domain", "create", "example.org"}), "example.org: created\n");
}

TEST(Check, ReportsAsJson) {
  const OwnPanel panel;
  panel.Unconfigure("postfix-bin");

  const CommandRun run = panel.Run({"--json", "check"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output,
            "{\n"
            "  \"ok\": false,\n"
            "  \"findings\": [\n"
            "    {\n"
            "      \"check\": \"path\",\n"
            "      \"object\": \"postfix-bin\",\n"
            "      \"what\": \"is not configured\",\n"
            "      \"why\": \"Postfix is not told to read its local host names and services "
            "anew\",\n"
            "      \"mend\": \"set postfix-bin under [path] in " +
                panel.config() +
                "\"\n"
                "    }\n"
                "  ],\n"
                "  \"mended\": []\n"
                "}\n");
}

TEST(Check, AsksForTheTypeOfTheMaps) {
  const OwnPanel panel;
  panel.SetMainCf(str::Replace(panel.MainCf(), "hash:", "lmdb:") +
                  "default_database_type = lmdb\n");

  const CommandRun run = panel.Run({"check"});
  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.output, testing::StartsWith(panel.Path("panel/mail/virtusertable.lmdb") +
                                              " is missing or older than its text; "));

  panel.Run({"check", "--fix"});
  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

/// Gives the panel maps of this type, and a virtual user table as large as those that postmap takes
/// a second for.
void MakeLarge(const OwnPanel& panel, const std::string& type) {
  panel.SetMainCf(str::Replace(panel.MainCf(), "hash:", type + ":") +
                  "default_database_type = " + type + "\n");
  panel.SetTable("virtusertable", "# " + std::string(4000000, 'x') + "\n");
  panel.Do({"sync"});
  panel.Run({"check", "--fix"});
}

TEST(Check, SaysThatMailWaitsForALargeHashThatIsBuiltAsAWhole) {
  const OwnPanel panel;
  MakeLarge(panel, "hash");
  std::string own = panel.MapCommand("postmap", "virtusertable");
  own.erase(own.rfind(' '));
  panel.Configure("postfix-postmap", "/usr/sbin/postmap -c " + panel.Path("config"));

  const CommandRun run = panel.Run({"check"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output,
            panel.Path("panel/mail/virtusertable") +
                " is large, of the type hash, and built as a whole by postfix-postmap; all mail "
                "waits for that after each change; mend: set postfix-postmap under [path] in " +
                panel.config() + " to \"" + own +
                "\", or have lmdb: for hash: in all of main.cf, default_database_type too\n");
  panel.Configure("postfix-postmap", own);
  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

TEST(Check, LeavesALargeLmdbToEitherTool) {
  const OwnPanel panel;
  MakeLarge(panel, "lmdb");
  panel.Configure("postfix-postmap", "/usr/sbin/postmap -c " + panel.Path("config"));

  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

TEST(Check, FindsFileThatCannotBeRead) {
  const OwnPanel panel;
  fs::remove(panel.Path("panel/mail/domainips"));

  const CommandRun run = panel.Run({"check"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output,
            panel.Path("panel/mail/domainips") +
                " cannot be read: No such file or directory; no domain can be bound to "
                "an address; mend: put the file in place or set postfix-domainips under "
                "[path] in " +
                panel.config() + "\n");
}

TEST(Check, FindsToolThatCannotBeRun) {
  const OwnPanel panel;
  panel.Configure("postfix-postalias", "/nonexistent/postalias");

  const CommandRun run = panel.Run({"check"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output,
            "postfix-postalias /nonexistent/postalias cannot be run: No such file or "
            "directory; changes of the aliases do not reach Postfix; mend: set "
            "postfix-postalias under [path] in " +
                panel.config() + "\n");
}

TEST(Check, FindsToolOfPostfixThatCannotBeRun) {
  const OwnPanel panel;
  const std::string own = std::string(ZEBMAIL_MAPS_FOLDER) + "/zebmail-postalias";
  panel.Configure("postfix-postalias", own + " --tool /nonexistent/postalias");

  const CommandRun run = panel.Run({"check"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output,
            "postfix-postalias /nonexistent/postalias cannot be run: No such file or directory; "
            "changes of the aliases do not reach Postfix; mend: set postfix-postalias under [path] "
            "in " +
                panel.config() + "\n");
}

TEST(Check, FindsDeliveryAliasesMissingAndMendsThem) {
  const OwnPanel panel;
  const std::string aliases = panel.Table("aliases");
  panel.SetTable("aliases", "");
  test_support::RunCommand(
      {"/usr/sbin/postalias", "-c", panel.Path("config"), panel.Path("panel/mail/aliases")});

  const CommandRun run = panel.Run({"check"});
  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, panel.Path("panel/mail/aliases") +
                            " lacks entries that the panel relies on; mail is not delivered as the "
                            "panel says; mend: zebmail --config " +
                            panel.config() + " check --fix\n");
  EXPECT_EQ(panel.Table("aliases"), "");

  EXPECT_EQ(panel.Run({"check", "--fix"}).status, 0);
  EXPECT_EQ(panel.Table("aliases"), aliases);
}

TEST(Check, FindsModulesThatCannotBeSetUp) {
  const OwnPanel panel;
  fs::create_directory(panel.Path("modules"));
  panel.folder().WriteText("modules/broken.so", "no object");
  panel.Configure("module_dir", panel.Path("modules"));

  const CommandRun run = panel.Run({"check", "--json"});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.output, testing::HasSubstr("\"check\": \"modules\""));
  EXPECT_THAT(run.output, testing::HasSubstr(panel.Path("modules/broken.so")));
}

TEST(Check, NeverRebuildsTheMapOfWhatIsNoTextAnyMore) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  fs::remove(panel.Path("panel/mail/virtusertable"));
  fs::create_directory(panel.Path("panel/mail/virtusertable"));

  const CommandRun run = panel.Run({"check", "--fix"});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.output, testing::Not(testing::HasSubstr("mended")));
  EXPECT_EQ(panel.Lookup("virtusertable", "@example.org"), "postfix_err_nouser");
}

TEST(Check, FindsTheMapOfATextThatWasPutBack) {
  const OwnPanel panel;
  const fs::path table = panel.Path("panel/mail/virtusertable");
  const fs::path copy = panel.Path("copy");
  fs::copy(table, copy);
  const auto time = fs::last_write_time(table);
  panel.Do({"domain", "create", "example.org"});
  std::this_thread::sleep_for(std::chrono::milliseconds(20));  // times of files go by ticks
  fs::rename(copy, table);
  fs::last_write_time(table, time - std::chrono::hours(1));

  const CommandRun run = panel.Run({"check"});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.output, testing::HasSubstr("virtusertable.db is missing or older than its text"));
}

TEST(Check, FindsThatNoModuleServesTheMailServer) {
  const OwnPanel panel;
  panel.Configure("MTA", "smail");

  const CommandRun run = panel.Run({"check"});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.output, testing::HasSubstr("no module in"));
}

TEST(Check, ChangesNothingWithoutFix) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  MakeStale(panel, "virtusertable");
  panel.SetTable("aliases", "");
  const auto before = Snapshot(panel.folder().path());

  panel.Run({"check"});
  panel.Run({"--dry-run", "check", "--fix"});

  EXPECT_EQ(Snapshot(panel.folder().path()), before);
}

}  // namespace
}  // namespace zebmail_test
