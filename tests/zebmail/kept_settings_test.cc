/// NAME
///   kept_settings_test - what was switched on for a mailbox stays on, whatever comes after it
///
/// PURPOSE
///   The back-end carries out one operation at a time; several of them undo what an earlier one has
///   written. These tests look at the tables after the operations that do.

#include <cstdint>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/zeb_db.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using testing::HasSubstr;

/// A mailbox with all that one can have: two aliases, two forwards, a responder.
class KeptSettings : public testing::Test {
 protected:
  KeptSettings() {
    panel_.Do({"alias", "add", "info@example.org", "sales", "office"});
    panel_.Do({"forward", "add", "info@example.org", "boss@example.net", "x@example.net"});
    panel_.Do({"responder", "on", "info@example.org"});
  }

  /// The tables as they are as long as nothing is lost; `own` is where the mailbox's own mail goes.
  std::string Whole(const std::string& own = "info@example.org") const {
    return "-- virtusertable\n"
           "@example.org\tpostfix_err_nouser\n"
           "info@example.org\t" +
           own +
           " info+example.org\n"
           "office@example.org\tinfo@example.org\n"
           "sales@example.org\tinfo@example.org\n"
           "-- access\n"
           "-- aliases\n"
           "info+example.org:\tboss@example.net,x@example.net," +
           panel_.AnswerOf(1) + "\n";
  }

  MailboxPanel panel_;
};

TEST_F(KeptSettings, SurviveAnUpdate) {
  panel_.Do({"mailbox", "update", "info@example.org", "--drop-mail", "on"});
  EXPECT_EQ(panel_.MailboxTables(), Whole("devnull"));

  panel_.Do({"mailbox", "update", "info@example.org", "--drop-mail", "off"});
  EXPECT_EQ(panel_.MailboxTables(), Whole());
}

TEST_F(KeptSettings, SurviveAnUpdateThatChangesNothing) {
  panel_.Do({"mailbox", "update", "info@example.org", "--drop-mail", "off"});

  EXPECT_EQ(panel_.MailboxTables(), Whole());
}

TEST_F(KeptSettings, SurviveChangesOfOneAnother) {
  panel_.Do({"alias", "add", "info@example.org", "help"});
  panel_.Do({"alias", "remove", "info@example.org", "help"});
  panel_.Do({"forward", "add", "info@example.org", "y@example.net"});
  panel_.Do({"forward", "remove", "info@example.org", "y@example.net"});
  panel_.Do({"responder", "off", "info@example.org"});
  panel_.Do({"responder", "on", "info@example.org"});

  EXPECT_EQ(panel_.MailboxTables(), Whole());
}

TEST_F(KeptSettings, ComeBackWithTheResumption) {
  panel_.Do({"mailbox", "suspend", "info@example.org"});
  ASSERT_THAT(panel_.MailboxTables(), HasSubstr("info@example.org\tpostfix_err_nouser\n"));

  panel_.Do({"mailbox", "resume", "info@example.org"});

  EXPECT_EQ(panel_.MailboxTables(), Whole());
}

TEST_F(KeptSettings, ComeBackWithTheDomain) {
  panel_.Do({"domain", "suspend", "example.org"});
  panel_.Do({"mailbox", "update", "info@example.org", "--drop-mail", "on"});

  panel_.Do({"domain", "resume", "example.org"});

  EXPECT_EQ(panel_.MailboxTables(), Whole("devnull"));
}

TEST_F(KeptSettings, OutliveTheAnsweringProgram) {
  std::filesystem::remove(panel_.answer());

  panel_.Do({"forward", "remove", "info@example.org", "x@example.net"});
  panel_.Do({"forward", "add", "info@example.org", "x@example.net"});

  EXPECT_EQ(panel_.MailboxTables(), Whole());
}

TEST_F(KeptSettings, OfForwardsSurviveTheEndOfTheResponder) {
  panel_.Do({"responder", "off", "info@example.org"});

  EXPECT_EQ(panel_.Lookup("virtusertable", "info@example.org"),
            "info@example.org info+example.org");
  EXPECT_EQ(panel_.Lookup("aliases", "info+example.org"), "boss@example.net, x@example.net");
}

TEST_F(KeptSettings, OfResponderSurviveTheEndOfTheForwards) {
  panel_.Do({"forward", "remove", "info@example.org", "boss@example.net", "x@example.net"});

  EXPECT_EQ(panel_.Lookup("virtusertable", "info@example.org"),
            "info@example.org info+example.org");
  EXPECT_EQ(panel_.Lookup("aliases", "info+example.org"), panel_.AnswerOf(1));
}

TEST_F(KeptSettings, GoWithTheDomain) {
  panel_.Do({"mailbox", "create", "other@example.org"});
  panel_.Do({"forward", "add", "other@example.org", "boss@example.net"});
  panel_.Do({"mailbox", "suspend", "other@example.org"});

  panel_.Do({"domain", "delete", "example.org"});

  EXPECT_EQ(panel_.MailboxTables(), "-- virtusertable\n-- access\n-- aliases\n");
  EXPECT_EQ(panel_.Do({"mailbox", "list"}), "");
  EXPECT_TRUE(std::filesystem::is_empty(panel_.Path("panel/state/responder")));
}

TEST_F(KeptSettings, OfSuspendedMailboxCannotBeChanged) {
  panel_.Do({"mailbox", "suspend", "info@example.org"});
  const auto before = Snapshot(panel_.Path("panel"));
  const std::vector<std::vector<std::string>> changes = {
      {"alias", "add", "info@example.org", "help"},
      {"alias", "remove", "info@example.org", "sales"},
      {"forward", "add", "info@example.org", "y@example.net"},
      {"forward", "remove", "info@example.org", "boss@example.net"},
      {"responder", "on", "info@example.org", "--subject", "New"},
      {"responder", "off", "info@example.org"},
  };
  for (const auto& words : changes) {
    SCOPED_TRACE(testing::PrintToString(words));

    const CommandRun run = panel_.Run(words);

    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors,
              "zebmail: suspended: mailbox: info@example.org cannot be changed while it is "
              "suspended; resume it first\n");
    EXPECT_TRUE(Snapshot(panel_.Path("panel")) == before);
  }
}

TEST_F(KeptSettings, OfSuspendedMailboxMayDropItsMailOnceItIsResumed) {
  panel_.Do({"mailbox", "suspend", "info@example.org"});
  const std::string suspended = panel_.MailboxTables();

  panel_.Do({"mailbox", "update", "info@example.org", "--drop-mail", "on"});
  EXPECT_EQ(panel_.MailboxTables(), suspended);
  EXPECT_THAT(panel_.Do({"mailbox", "show", "info@example.org"}),
              HasSubstr("active: false\ndropmail: true\n"));

  panel_.Do({"mailbox", "resume", "info@example.org"});
  EXPECT_EQ(panel_.MailboxTables(), Whole("devnull"));
}

/// Commands after which a mailbox's settings are what they were before.
struct Way {
  const char* name;
  std::vector<std::vector<std::string>> commands;
};

std::ostream& operator<<(std::ostream& stream, const Way& way) {
  return stream << way.name;
}

class AnyChange : public testing::TestWithParam<Way> {
 protected:
  void MakeChange() const {
    for (const auto& words : GetParam().commands) panel_.Do(words);
  }

  MailboxPanel panel_;
};

const auto kWays = testing::Values(
    Way{"Update", {{"mailbox", "update", "info@example.org", "--drop-mail", "off"}}},
    Way{"Resumption",
        {{"mailbox", "suspend", "info@example.org"}, {"mailbox", "resume", "info@example.org"}}},
    Way{"Aliases",
        {{"alias", "add", "info@example.org", "sales"},
         {"alias", "remove", "info@example.org", "sales"}}},
    Way{"Forwards",
        {{"forward", "add", "info@example.org", "y@example.net"},
         {"forward", "remove", "info@example.org", "y@example.net"}}},
    Way{"Responder",
        {{"responder", "on", "info@example.org"}, {"responder", "off", "info@example.org"}}},
    Way{"ResponderOff", {{"responder", "off", "info@example.org"}}});

std::string NameOfWay(const testing::TestParamInfo<Way>& info) {
  return info.param.name;
}

/// A mailbox to which the unknown addresses of the domain lead. Whoever reads that back from the
/// table finds an alias with an empty name.
class CatchAllMailbox : public AnyChange {
 protected:
  CatchAllMailbox() {
    panel_.Do({"domain", "update", "example.org", "--default-action", "redir_email", "--redirect",
               "info@example.org"});
    panel_.ChangeDatabase([] {
      const auto alias = zeb_db::GetCache().Get<zeb_db::EmailAliasTable>();
      alias->New();
      alias->email = std::int64_t{1};
      alias->name = "";
      alias->Post();
    });
  }
};

INSTANTIATE_TEST_SUITE_P(After, CatchAllMailbox, kWays, NameOfWay);

TEST_P(CatchAllMailbox, GetsNoSecondLineForTheUnknownAddresses) {
  const std::string before = panel_.MailboxTables();
  ASSERT_THAT(before, HasSubstr("\n@example.org\tinfo@example.org\n"));

  MakeChange();

  EXPECT_EQ(panel_.MailboxTables(), before);
}

TEST_P(CatchAllMailbox, KeepsItsLineWhenTheEmptyAliasIsRemoved) {
  const std::string before = panel_.MailboxTables();

  panel_.Run({"alias", "remove", "info@example.org", ""});

  EXPECT_EQ(panel_.MailboxTables(), before);
}

/// A mailbox with a forward and the row of a responder that is off.
class InactiveResponder : public AnyChange {
 protected:
  InactiveResponder() {
    panel_.Do({"forward", "add", "info@example.org", "boss@example.net"});
    panel_.ChangeDatabase([] {
      const auto responder = zeb_db::GetCache().Get<zeb_db::EmailResponderTable>();
      responder->New();
      responder->email = std::int64_t{1};
      responder->active = false;
      responder->Post();
    });
  }
};

INSTANTIATE_TEST_SUITE_P(After, InactiveResponder, kWays, NameOfWay);

TEST_P(InactiveResponder, DoesNotStopTheForwards) {
  MakeChange();

  EXPECT_EQ(panel_.Lookup("virtusertable", "info@example.org"),
            "info@example.org info+example.org");
  EXPECT_EQ(panel_.Lookup("aliases", "info+example.org"), "boss@example.net");
}

TEST_P(InactiveResponder, CanBeSwitchedOn) {
  EXPECT_THAT(panel_.Do({"mailbox", "show", "info@example.org"}), HasSubstr("responder: false\n"));

  panel_.Do({"responder", "on", "info@example.org"});

  EXPECT_EQ(panel_.Lookup("aliases", "info+example.org"),
            "boss@example.net, " + panel_.AnswerOf(1));
}

}  // namespace
}  // namespace zebmail_test
