/// NAME
///   wiring_check_test - what `zebmail check` finds wrong with main.cf
///
/// PURPOSE
///   Breaks one thing at a time, looks for its line in the report, and carries out what that says.

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <ostream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/zeb_db.h"
#include "tests/support/temp_folder.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

const std::string kWell = "nothing is wrong\n";

/// A panel with the mailbox info@example.org, to which main.cf is wired.
class WiredPanel : public OwnPanel {
 public:
  WiredPanel() {
    Do({"domain", "create", "example.org"});
    Do({"mailbox", "create", "info@example.org"});
  }

  std::string main_cf() const { return Path("config/main.cf"); }
  std::string Mail(const std::string& table) const { return Path("panel/mail/" + table); }
  std::string Access() const { return "hash:" + Mail("access"); }
  std::string Apply() const { return "zebmail --config " + config() + " postfix-config --apply"; }

  /// The command by which an administrator gives a parameter a value.
  std::string Postconf(const std::string& name, const std::string& value) const {
    return "/usr/sbin/postconf -c " + Path("config") + " -e '" + name + " = " + value + "'";
  }

  void Set(const std::string& name, const std::string& value) const {
    test_support::RunCommand(
        {"/usr/sbin/postconf", "-c", Path("config"), "-e", name + " = " + value});
    test_support::MakeOld(main_cf());
  }

  std::string Value(const std::string& name) const {
    const CommandRun run =
        test_support::RunCommand({"/usr/sbin/postconf", "-c", Path("config"), "-h", name});
    return run.output.substr(0, run.output.find('\n'));
  }

  /// Makes a map of aliases or addresses and returns its name.
  std::string Map(const std::string& name, const std::string& text) const {
    const std::string file = folder().WriteText(name, text);
    const std::string tool = text.find(':') == std::string::npos ? "postmap" : "postalias";
    test_support::RunCommand({"/usr/sbin/" + tool, "-c", Path("config"), file});
    return "hash:" + file;
  }

  /// What `check` prints; it must find something.
  std::string Findings() const {
    const CommandRun run = Run({"check"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "");
    return run.output;
  }

  std::string Check() const { return Run({"check"}).output; }

  /// Carries out a command line that a finding ends in.
  void Mend(const std::string& command) const {
    const CommandRun run = CarryOut(command);
    EXPECT_EQ(run.status, 0) << run.errors;
    test_support::MakeOld(main_cf());
  }
};

/// A parameter that has lost its value, and what is said of it.
struct Loss {
  const char* name;
  const char* parameter;
  const char* what;  ///< with "MAIL" for the folder of the tables
  const char* why;
};

void PrintTo(const Loss& loss, std::ostream* stream) {
  *stream << loss.parameter;
}

class LostSetting : public testing::TestWithParam<Loss> {
 protected:
  LostSetting() { panel_.Set(GetParam().parameter, ""); }

  std::string Finding(std::string what) const {
    for (std::size_t at; (at = what.find("MAIL")) != std::string::npos;) {
      what.replace(at, 4, panel_.Path("panel/mail"));
    }
    return std::string(GetParam().parameter) + " lacks " + what + "; " + GetParam().why +
           "; mend: " + panel_.Apply() + "\n";
  }

  WiredPanel panel_;
};

TEST_P(LostSetting, IsFoundAndMendedByTheCommand) {
  EXPECT_THAT(panel_.Findings(), StartsWith(Finding(GetParam().what)));

  panel_.Mend(panel_.Apply());
  EXPECT_EQ(panel_.Do({"check"}), kWell);
}

TEST_P(LostSetting, IsMendedByFix) {
  const CommandRun run = panel_.Run({"check", "--fix"});

  EXPECT_EQ(run.status, 0) << run.output << run.errors;
  EXPECT_THAT(run.output, HasSubstr("mended: " + std::string(GetParam().parameter) + ": " +
                                    panel_.Apply() + "\n"));
  test_support::MakeOld(panel_.main_cf());
  EXPECT_EQ(panel_.Do({"check"}), kWell);
}

INSTANTIATE_TEST_SUITE_P(
    Of, LostSetting,
    testing::Values(
        Loss{"LocalNames", "mydestination", "MAIL/local-host-names",
             "Postfix takes no mail for the domains of the panel"},
        Loss{"VirtualUsers", "virtual_alias_maps", "hash:MAIL/virtusertable",
             "Postfix knows no address of the panel"},
        Loss{"Aliases", "alias_maps", "hash:MAIL/aliases",
             "mail for unknown addresses is not bounced, and forwards get nothing"},
        Loss{"Bindings", "sender_dependent_default_transport_maps", "regexp:MAIL/domainips",
             "the mail of no domain leaves from the address that the panel says"},
        Loss{"Recipients", "smtpd_recipient_restrictions",
             "check_recipient_access hash:MAIL/access",
             "mail for suspended domains is not refused"},
        Loss{"Senders", "smtpd_sender_restrictions", "check_sender_access hash:MAIL/access",
             "mail of suspended domains and listed senders passes"},
        Loss{"Clients", "smtpd_client_restrictions",
             "check_client_access pipemap:{regexp:MAIL/client-address.regexp,hash:MAIL/access}",
             "listed client addresses have no effect"}),
    [](const auto& loss) { return std::string(loss.param.name); });

TEST(WiringCheck, FindsHostNamesThatAreNotLocal) {
  const WiredPanel panel;
  panel.Set("mydestination", panel.Mail("local-host-names"));
  panel.Set("myorigin", "origin.test");
  const auto line = [&panel](const std::string& name, const std::string& why) {
    return "mydestination lacks " + name + "; " + why + "; mend: " + panel.Apply() + "\n";
  };
  const std::string bare = "the entries of the aliases to which the tables lead are not local";

  EXPECT_EQ(panel.Findings(),
            line("$myhostname", bare) +
                line("localhost", "mail that this server sends to itself is not local") +
                line("$myorigin", bare));

  panel.Mend(panel.Apply());
  EXPECT_EQ(panel.Do({"check"}), kWell);
}

TEST(WiringCheck, FindsADomainOfThePanelAsTheNameOfTheServer) {
  const WiredPanel panel;
  const auto line = [&panel](const std::string& name) {
    return name +
           " is example.org, a domain of the panel; the tables lead to entries of the aliases, "
           "which Postfix looks for in that domain then; mend: give it a name of this server "
           "itself: " +
           panel.Postconf(name, "NAME") + ", then restart Postfix\n";
  };

  panel.Set("myorigin", "example.org");
  EXPECT_EQ(panel.Findings(), line("myorigin"));
  panel.Mend(panel.Postconf("myorigin", "$myhostname"));
  EXPECT_EQ(panel.Do({"check"}), kWell);

  panel.Set("myhostname", "example.org");
  EXPECT_EQ(panel.Findings(), line("myhostname") + line("myorigin"));
  panel.Mend(panel.Postconf("myhostname", "mail.test"));
  EXPECT_EQ(panel.Do({"check"}), kWell);
}

TEST(WiringCheck, FindsTheAccessTableAmongThoseWhoMayRelay) {
  const WiredPanel panel;
  panel.Set("smtpd_relay_restrictions", "permit_mynetworks, check_recipient_access " +
                                            panel.Access() + " reject_unauth_destination");
  const std::string mend =
      panel.Postconf("smtpd_relay_restrictions", "permit_mynetworks, reject_unauth_destination");

  EXPECT_EQ(panel.Findings(),
            "smtpd_relay_restrictions asks the access table before it refuses relaying; an OK in "
            "the table lets strangers send through this server; mend: " +
                mend + "\n");

  panel.Mend(mend);
  EXPECT_EQ(panel.Do({"check"}), kWell);
}

TEST(WiringCheck, FindsTheAccessTableAmongThoseWhoMayRelayInAClassAndWithinBraces) {
  const WiredPanel panel;
  panel.Set("smtpd_restriction_classes", "listed");
  panel.Set("listed", "check_client_access unionmap:{ " + panel.Access() + " }");
  panel.Set("smtpd_relay_restrictions", "listed, reject_unauth_destination");

  EXPECT_THAT(panel.Findings(),
              EndsWith("; mend: take the access table out of smtpd_relay_restrictions\n"));
}

TEST(WiringCheck, LeavesTheAccessTableBehindTheRefusal) {
  const WiredPanel panel;
  panel.Set(
      "smtpd_relay_restrictions",
      "permit_mynetworks, reject_unauth_destination, check_recipient_access " + panel.Access());

  EXPECT_EQ(panel.Check(), kWell);
}

TEST(WiringCheck, FindsTheAccessTableBeforeTheOnlyRefusal) {
  const WiredPanel panel;
  panel.Set("smtpd_relay_restrictions", "");
  const std::string check = "check_recipient_access " + panel.Access();
  panel.Set("smtpd_recipient_restrictions",
            "permit_mynetworks, " + check + ", reject_unauth_destination, permit");
  const std::string mend =
      panel.Postconf("smtpd_recipient_restrictions",
                     "permit_mynetworks, reject_unauth_destination, " + check + ", permit");

  EXPECT_EQ(panel.Findings(),
            "smtpd_recipient_restrictions asks the access table before it refuses relaying, and no "
            "other list does; an OK in the table lets strangers send through this server; mend: " +
                mend + "\n");

  panel.Mend(mend);
  EXPECT_EQ(panel.Do({"check"}), kWell);
}

TEST(WiringCheck, FindsThatNoListRefusesRelaying) {
  const WiredPanel panel;
  panel.Set("smtpd_relay_restrictions", "");
  const std::string mend =
      panel.Postconf("smtpd_relay_restrictions",
                     "permit_mynetworks, permit_sasl_authenticated, reject_unauth_destination");

  EXPECT_THAT(panel.Findings(), EndsWith("; mend: " + mend + "\n"));
  panel.Set("smtpd_recipient_restrictions", "permit_mynetworks");
  EXPECT_THAT(panel.Findings(),
              StartsWith("smtpd_recipient_restrictions keeps the settings from being made; "));
  EXPECT_EQ(panel.Run({"check", "--fix"}).status, 1);
  EXPECT_EQ(panel.Value("smtpd_recipient_restrictions"), "permit_mynetworks");

  panel.Mend(mend);
  panel.Mend(panel.Apply());
  EXPECT_EQ(panel.Do({"check"}), kWell);
}

TEST(WiringCheck, FindsWhatPermitsBeforeTheAccessTable) {
  const WiredPanel panel;
  const std::string check = "check_sender_access " + panel.Access();
  panel.Set("smtpd_sender_restrictions", "permit_mynetworks " + check + " permit");
  const std::string mend =
      panel.Postconf("smtpd_sender_restrictions", check + ", permit_mynetworks, permit");

  EXPECT_EQ(panel.Findings(),
            "smtpd_sender_restrictions has permit_mynetworks before the access table; what that "
            "permits is taken though its domain is suspended or its sender listed; mend: " +
                mend + "\n");

  panel.Mend(mend);
  EXPECT_EQ(panel.Do({"check"}), kWell);
}

/// A service of master.cf, and what its list is to become.
struct OwnList {
  const char* name;
  const char* option;  ///< of its line in master.cf
  const char* parameter;
  const char* mended;  ///< with "MAIL" for the folder of the tables
};

void PrintTo(const OwnList& list, std::ostream* stream) {
  *stream << list.name;
}

class ServiceWithAListOfItsOwn : public testing::TestWithParam<OwnList> {
 protected:
  std::string SetMasterCf(const std::string& options) const {
    return panel_.folder().WriteText(
        "config/master.cf",
        "smtp inet n - n - - smtpd\n"
        "127.0.0.1:10025 inet n - n - - smtpd -o smtpd_recipient_restrictions=permit\n"
        "submission inet n - n - - smtpd\n  " +
            options + "\n");
  }

  std::string InFolder(std::string text) const {
    for (std::size_t at; (at = text.find("MAIL")) != std::string::npos;) {
      text.replace(at, 4, panel_.Path("panel/mail"));
    }
    return text;
  }

  const WiredPanel panel_;
};

TEST_P(ServiceWithAListOfItsOwn, IsMendedByOneCommandThatMasterCfTakes) {
  SetMasterCf(GetParam().option);
  const std::string mended = InFolder(GetParam().mended);
  const std::string parameter = GetParam().parameter;
  const std::string mend = "/usr/sbin/postconf -c " + panel_.Path("config") +
                           " -P 'submission/inet/" + parameter + "=" + mended + "' && " +
                           panel_.postfix().path() + " reload";

  const std::string finding = panel_.Findings();

  EXPECT_THAT(finding, StartsWith("master.cf submission inet has a " + parameter +
                                  " of its own, which lacks check_"));
  EXPECT_THAT(finding, EndsWith("; mend: " + mend + "\n"));
  panel_.Mend(mend);
  EXPECT_THAT(panel_.folder().ReadText("config/master.cf"),
              HasSubstr("-o " + parameter + "=" + mended + "\n"));
  EXPECT_EQ(panel_.Do({"check"}), kWell);
}

INSTANTIATE_TEST_SUITE_P(
    WiringCheck, ServiceWithAListOfItsOwn,
    testing::Values(
        OwnList{"Recipients", "-o smtpd_recipient_restrictions=permit_sasl_authenticated,reject",
                "smtpd_recipient_restrictions",
                "check_recipient_access,hash:MAIL/access,permit_sasl_authenticated,reject"},
        OwnList{"ListWithBlanks",
                "-o { smtpd_recipient_restrictions = permit_sasl_authenticated, reject }",
                "smtpd_recipient_restrictions",
                "check_recipient_access,hash:MAIL/access,permit_sasl_authenticated,reject"},
        OwnList{"EmptyList", "-o smtpd_sender_restrictions=", "smtpd_sender_restrictions",
                "check_sender_access,hash:MAIL/access"},
        OwnList{"Reference", "-o smtpd_client_restrictions=$mua_client_restrictions",
                "smtpd_client_restrictions",
                "check_client_access,pipemap:{regexp:MAIL/client-address.regexp,hash:MAIL/access},"
                "$mua_client_restrictions"},
        OwnList{"RefusalInTheListAlone",
                "-o smtpd_relay_restrictions= -o "
                "smtpd_recipient_restrictions=permit_sasl_authenticated,reject_unauth_destination",
                "smtpd_recipient_restrictions",
                "permit_sasl_authenticated,reject_unauth_destination,check_recipient_access,"
                "hash:MAIL/access"}));

using ServiceThatRefusesNoRelaying = ServiceWithAListOfItsOwn;

/// An OK in the table would open it, as long as no list refuses.
TEST_F(ServiceThatRefusesNoRelaying, IsMadeToRefuseFirst) {
  SetMasterCf(
      "-o smtpd_relay_restrictions= "
      "-o smtpd_recipient_restrictions=permit_sasl_authenticated,reject");
  const std::string finding = panel_.Findings();
  EXPECT_THAT(finding, HasSubstr("; mend: "));
  const std::string mend = finding.substr(finding.find("; mend: ") + 8);
  EXPECT_EQ(mend.substr(mend.find("; then run ")), "; then run zebmail check once more\n");
  panel_.Mend(mend.substr(0, mend.find("; then run ")));

  EXPECT_THAT(panel_.Findings(),
              HasSubstr("smtpd_recipient_restrictions=check_recipient_access,hash:" +
                        panel_.Mail("access") + ",permit_sasl_authenticated,reject' && "));
}

using ServiceWithBlanksInAnElement = ServiceWithAListOfItsOwn;

TEST_F(ServiceWithBlanksInAnElement, IsLeftToAnEditor) {
  const std::string own = "check_client_access inline:{ 192.0.2.1 = permit }";
  SetMasterCf("-o { smtpd_client_restrictions = " + own + " }");
  const std::string list =
      "check_client_access,pipemap:{regexp:" + panel_.Mail("client-address.regexp") + "," +
      panel_.Access() + "},check_client_access,inline:{ 192.0.2.1 = permit }";
  const std::string option = "-o { smtpd_client_restrictions = " + list + " }";

  EXPECT_THAT(panel_.Findings(),
              EndsWith("; mend: in " + panel_.Path("config/master.cf") + ", give it " + option +
                       ", then run: " + panel_.postfix().path() + " reload\n"));

  SetMasterCf(option);
  EXPECT_EQ(panel_.Do({"check"}), kWell);
}

TEST(WiringCheck, FindsCleanupWithMapsOfItsOwn) {
  const WiredPanel panel;
  panel.folder().WriteText("config/master.cf",
                           "cleanup unix n - n - 0 cleanup -o virtual_alias_maps=\n");

  EXPECT_THAT(panel.Findings(), StartsWith("master.cf cleanup unix has a virtual_alias_maps of its "
                                           "own, which lacks hash:" +
                                           panel.Mail("virtusertable") + "; "));
}

TEST(WiringCheck, FindsADomainThatIsSaidToBeVirtual) {
  const WiredPanel panel;
  panel.Set("virtual_mailbox_domains", "other.example, example.org");
  panel.Set("virtual_alias_domains", panel.Map("domains", "example.org anything\n"));
  const auto line = [](const std::string& name) {
    return name +
           " has example.org of the panel; its domains are local, and Postfix warns of it with "
           "each message; mend: take that out of " +
           name + ", or out of the map that it names\n";
  };

  EXPECT_EQ(panel.Findings(), line("virtual_alias_domains") + line("virtual_mailbox_domains"));

  panel.Set("virtual_mailbox_domains", "other.example, !example.org, example.org");
  panel.Set("virtual_alias_domains", "");
  EXPECT_EQ(panel.Do({"check"}), kWell);
}

TEST(WiringCheck, FindsExtensionsThatArePassedOn) {
  const WiredPanel panel;
  panel.Set("recipient_delimiter", "+");

  EXPECT_EQ(panel.Findings(),
            "propagate_unmatched_extensions holds virtual, though recipient_delimiter is set; mail "
            "for an address with an extension does not reach the mailbox's aliases; mend: " +
                panel.Apply() + "\n");

  panel.Mend(panel.Apply());
  EXPECT_EQ(panel.Do({"check"}), kWell);
}

TEST(WiringCheck, FindsTheRuleForClientsMissingOrAnother) {
  const WiredPanel panel;
  panel.Set("smtpd_client_restrictions", "");
  panel.Mend(panel.Apply());
  const std::string rule = panel.Mail("client-address.regexp");
  const std::string why =
      "; listed client addresses have no effect, or Postfix takes no mail at all; mend: " +
      panel.Apply() + "\n";

  fs::remove(rule);
  EXPECT_EQ(panel.Findings(),
            rule + " cannot be used: " + rule + ": No such file or directory" + why);
  panel.Mend(panel.Apply());
  EXPECT_EQ(panel.Do({"check"}), kWell);

  test_support::WriteText(rule, "/^(.*)$/ $1\n");
  EXPECT_EQ(panel.Findings(),
            rule + " does not turn the client address 192.0.2.1 into connect:192.0.2.1" + why);
  EXPECT_EQ(panel.Run({"check", "--fix"}).status, 0);
  EXPECT_EQ(panel.Do({"check"}), kWell);
}

TEST(WiringCheck, FindsARuleForClientsElsewhereThatCannotBeUsed) {
  const WiredPanel panel;
  const std::string rule = panel.Path("config/client-address.regexp");
  fs::remove(rule);

  EXPECT_THAT(panel.Findings(),
              HasSubstr("regexp:" + rule + " cannot be used: " + rule +
                        ": No such file or directory; listed client addresses have no effect, or "
                        "Postfix takes no mail at all; mend: give the file the one rule /^(.*)$/ "
                        "connect:$1, or take pipemap:{regexp:" +
                        rule + "," + panel.Access() + "} out of smtpd_client_restrictions\n"));

  test_support::WriteText(rule, "/^(.*)$/ connect:$1\n");
  EXPECT_EQ(panel.Do({"check"}), kWell);
}

TEST(WiringCheck, FindsAMapThatAnswersForThePanelsAddresses) {
  const WiredPanel panel;
  const std::string ours = "hash:" + panel.Mail("virtusertable");
  const std::string other = panel.Map("virtual", "info@example.org root\n@example.org root\n");
  panel.Set("virtual_alias_maps", other + ", " + ours);
  const std::string mend = panel.Postconf("virtual_alias_maps", ours + ", " + other);

  EXPECT_EQ(panel.Findings(), "virtual_alias_maps has " + other +
                                  ", which answers for @example.org, info@example.org; that mail "
                                  "goes where that map says, and not where the panel says; mend: "
                                  "take these keys out of " +
                                  other + " or put the panel's map first: " + mend + "\n");

  panel.Mend(mend);
  EXPECT_EQ(panel.Do({"check"}), kWell);
}

TEST(WiringCheck, FindsAMapThatAnswersForThePanelsOwnTargets) {
  const WiredPanel panel;
  const std::string other = panel.Map("virtual", "@mail.test root\ndevnull root\n");
  panel.Set("virtual_alias_maps", "hash:" + panel.Mail("virtusertable") + ", " + other);

  EXPECT_THAT(panel.Findings(),
              StartsWith("virtual_alias_maps has " + other +
                         ", which answers for @mail.test, devnull; that mail goes where "));
}

TEST(WiringCheck, FindsAnAliasThatTakesAMailboxsMail) {
  const WiredPanel panel;
  const std::string ours = "hash:" + panel.Mail("aliases");
  const std::string other = panel.Map("aliases", "postmaster: root\ninfo: root\n");
  const std::string why = "; that mail goes where that map says, and not where the panel says; ";

  panel.Set("alias_maps", ours + ", " + other);
  EXPECT_EQ(panel.Findings(), "alias_maps has " + other + ", which answers for info" + why +
                                  "mend: take these keys out of " + other + "\n");

  panel.Map("aliases", "devnull: root\n");
  EXPECT_EQ(panel.Check(), kWell);
  panel.Set("alias_maps", other + ", " + ours);
  const std::string mend = panel.Postconf("alias_maps", ours + ", " + other);
  EXPECT_EQ(panel.Findings(), "alias_maps has " + other + ", which answers for devnull" + why +
                                  "mend: take these keys out of " + other +
                                  " or put the panel's map first: " + mend + "\n");
  panel.Mend(mend);
  EXPECT_EQ(panel.Do({"check"}), kWell);
}

TEST(WiringCheck, FindsAMapThatCannotBeOpened) {
  const WiredPanel panel;
  const std::string file = panel.folder().WriteText("other", "postmaster: root\n");
  panel.Set("alias_maps", "hash:" + panel.Mail("aliases") + ", hash:" + file);

  EXPECT_EQ(panel.Findings(), "alias_maps has hash:" + file + ", which cannot be opened: " + file +
                                  ".db: No such file or directory; mail that it may be about waits "
                                  "until it can; mend: mend the map, or take it out of "
                                  "alias_maps\n");

  panel.Map("other", "postmaster: root\n");
  EXPECT_EQ(panel.Do({"check"}), kWell);
}

TEST(WiringCheck, FindsAnOldMapOfAnotherType) {
  const WiredPanel panel;
  const std::string lmdb = "lmdb:" + panel.Mail("virtusertable");
  test_support::RunCommand({"/usr/sbin/postmap", "-c", panel.Path("config"), lmdb});
  panel.Set("virtual_alias_maps", lmdb);
  const std::string map = panel.Mail("virtusertable.lmdb");
  fs::last_write_time(map, fs::last_write_time(map) - std::chrono::hours(1));

  EXPECT_EQ(panel.Findings(),
            "virtual_alias_maps has " + lmdb +
                ", a map that is older than its table; the tools of the panel build another type, "
                "and Postfix works with an earlier text; mend: write hash:" +
                panel.Mail("virtusertable") + " there\n");
}

/// The next change would leave that map as it is.
TEST(WiringCheck, FindsEachMapOfAnotherTypeThanTheToolsBuild) {
  const WiredPanel panel;
  for (const std::string table : {"virtusertable", "access"}) {
    test_support::RunCommand(
        {"/usr/sbin/postmap", "-c", panel.Path("config"), "lmdb:" + panel.Mail(table)});
  }
  panel.Set("virtual_alias_maps", "lmdb:" + panel.Mail("virtusertable"));
  panel.Set("smtpd_sender_restrictions", "check_sender_access lmdb:" + panel.Mail("access"));
  const auto finding = [&panel](const std::string& setting, const std::string& table) {
    return setting + " has lmdb:" + panel.Mail(table) +
           ", a map of another type than the default; the tools of the panel build another type, "
           "and Postfix works with an earlier text as soon as the table changes; mend: write "
           "hash:" +
           panel.Mail(table) + " there\n";
  };

  EXPECT_EQ(panel.Findings(), finding("virtual_alias_maps", "virtusertable") +
                                  finding("smtpd_sender_restrictions", "access"));
  EXPECT_THAT(panel.Do({"postfix-config"}),
              HasSubstr("# main.cf has lmdb:" + panel.Mail("virtusertable") +
                        ", a map of another type than the default: write hash:" +
                        panel.Mail("virtusertable") + " there\nvirtual_alias_maps = "));
  EXPECT_EQ(
      panel.Do({"postfix-config", "--apply"}),
      "left to you: virtual_alias_maps has lmdb:" + panel.Mail("virtusertable") +
          ", a map of another type than the default: write hash:" + panel.Mail("virtusertable") +
          " there\n" + "left to you: smtpd_sender_restrictions has lmdb:" + panel.Mail("access") +
          ", a map of another type than the default: write hash:" + panel.Mail("access") +
          " there\n");

  const test_support::RecordingTool both(panel.folder(), "both-types");
  panel.Configure("postfix-postmap", both.path());
  EXPECT_THAT(panel.Check(), Not(HasSubstr("of another type")));
}

TEST(WiringCheck, LooksForTheEndOfEachMailbox) {
  const WiredPanel panel;
  panel.Set("mailbox_transport", "");
  panel.Do({"mailbox", "create", "daemon@example.org"});
  panel.Do({"mailbox", "create", "drop@example.org", "--drop-mail"});

  EXPECT_THAT(panel.Findings(),
              StartsWith("info@example.org has neither a Unix user of its name nor a "
                         "mailbox_transport; its mail bounces; mend: "));
  EXPECT_THAT(panel.Findings(), EndsWith(", or add the Unix user info\n"));
  EXPECT_THAT(panel.Findings(), Not(HasSubstr("daemon@")));

  for (const char* other : {"mailbox_transport", "fallback_transport", "mailbox_transport_maps",
                            "local_transport", "luser_relay"}) {
    const std::string before = panel.MainCf();
    panel.Set(other, "lmtp:unix:private/imap-server");
    EXPECT_EQ(panel.Check(), kWell) << other;
    panel.SetMainCf(before);
  }
  panel.Set("transport_maps", panel.Map("transport", "example.org lmtp/unix\n"));
  EXPECT_EQ(panel.Check(), kWell);
}

/// What transport_maps says, and whether info@mail.example.org ends by it.
struct Way {
  const char* name;
  const char* lines;  ///< of the map
  bool has_end;
};

void PrintTo(const Way& way, std::ostream* stream) {
  *stream << way.name;
}

class WayOfAMailbox : public testing::TestWithParam<Way> {
 protected:
  WayOfAMailbox() {
    panel_.Do({"mailbox", "delete", "info@example.org"});
    panel_.Do({"domain", "create", "mail.example.org"});
    panel_.Do({"mailbox", "create", "info+list@mail.example.org"});
    panel_.Set("parent_domain_matches_subdomains", "");
    panel_.Set("mailbox_transport", "");
    panel_.Set("recipient_delimiter", "+");
    panel_.Set("propagate_unmatched_extensions", "canonical");
  }

  void ExpectEnd(bool has_end) const {
    const std::string check = panel_.Check();
    if (has_end) {
      EXPECT_EQ(check, kWell);
    } else {
      EXPECT_THAT(check, StartsWith("info+list@mail.example.org has neither a Unix user"));
    }
  }

  const WiredPanel panel_;
};

TEST_P(WayOfAMailbox, IsLookedUpAsPostfixDoesIt) {
  panel_.Set("transport_maps", panel_.Map("transport", GetParam().lines));
  ExpectEnd(GetParam().has_end);
}

INSTANTIATE_TEST_SUITE_P(
    WiringCheck, WayOfAMailbox,
    testing::Values(Way{"Address", "info+list@mail.example.org lmtp\n", true},
                    Way{"AddressWithoutExtension", "info@mail.example.org lmtp\n", true},
                    Way{"OtherAddress", "infos@mail.example.org lmtp\n", false},
                    Way{"Domain", "mail.example.org lmtp\n", true},
                    Way{"BelowADomain", ".example.org lmtp\n", true},
                    Way{"DomainAbove", "example.org lmtp\n", false}, Way{"All", "* lmtp\n", true},
                    Way{"AddressBackAgain",
                        "mail.example.org lmtp\ninfo+list@mail.example.org local\n", false},
                    Way{"DomainBeforeAll", "* lmtp\nmail.example.org local\n", false}));

using WayByPatterns = WayOfAMailbox;

TEST_F(WayByPatterns, IsLookedUpByTheWholeAddressAlone) {
  const std::string map = panel_.Path("ways.regexp");
  panel_.Set("transport_maps", "regexp:" + map);
  test_support::WriteText(map, "/^info@mail/ lmtp\n/^mail/ lmtp\n");
  ExpectEnd(false);
  test_support::WriteText(map, "/^info\\+list@mail/ lmtp\n");
  ExpectEnd(true);
}

using WayOfParents = WayOfAMailbox;

TEST_F(WayOfParents, IsThatOfADomainAboveWhereMainCfSaysSo) {
  panel_.Set("parent_domain_matches_subdomains", "transport_maps");
  panel_.Set("transport_maps", panel_.Map("transport", "example.org lmtp\n"));
  ExpectEnd(true);
}

TEST(WiringCheck, NamesTheParameterOfATransportMapThatIsMissing) {
  const WiredPanel panel;
  panel.Set("mailbox_transport", "");
  panel.Set("transport_maps", "hash:/nonexistent/transport");

  const std::string findings = panel.Findings();

  EXPECT_THAT(
      findings,
      StartsWith("transport_maps has hash:/nonexistent/transport, which cannot be opened: "
                 "/nonexistent/transport.db: No such file or directory; mail that it may be "
                 "about waits until it can; mend: mend the map, or take it out of "
                 "transport_maps\n"));
  EXPECT_THAT(findings, HasSubstr("info@example.org has neither a Unix user"));
}

/// A program for mailboxes runs in a Unix user's name, so it is none for those that have none.
TEST(WiringCheck, TakesNoCommandForAnEndWithoutAUnixUser) {
  const WiredPanel panel;
  panel.Set("mailbox_transport", "");
  panel.Set("mailbox_command", "/usr/bin/deliver");

  EXPECT_THAT(panel.Findings(), StartsWith("info@example.org has neither a Unix user"));
}

TEST(WiringCheck, FindsMailboxesThatShareAUnixUser) {
  const WiredPanel panel;
  panel.Do({"mailbox", "delete", "info@example.org"});
  panel.Do({"domain", "create", "bücher.example"});
  panel.Do({"mailbox", "create", "daemon@example.org"});
  panel.Do({"mailbox", "create", "daemon@bücher.example"});
  ASSERT_EQ(panel.Check(), kWell);
  panel.Set("mailbox_transport", "");

  EXPECT_THAT(panel.Findings(),
              StartsWith("daemon@example.org, daemon@bücher.example have one Unix user, daemon; "
                         "their mail is not kept apart; mend: "));

  panel.Set("mailbox_command", "/usr/bin/deliver");
  EXPECT_EQ(panel.Check(), kWell);
}

TEST(WiringCheck, NamesTwentyMailboxesAndCountsTheOthers) {
  const WiredPanel panel;
  std::string lines;
  for (int number = 0; number < 24; ++number) {
    lines += R"({"type":"mailbox","address":"no-user-)" + std::to_string(number) +
             R"(@example.org"})" + "\n";
  }
  panel.Do({"import", "-"}, lines);
  panel.Set("mailbox_transport", "");

  const std::string findings = panel.Findings();

  EXPECT_EQ(std::count(findings.begin(), findings.end(), '\n'), 21);
  EXPECT_THAT(findings, HasSubstr("\nand 5 more are like these; its mail bounces; mend: "));
}

TEST(WiringCheck, FindsWhereASuspensionWouldHitTheDomainsBelow) {
  const WiredPanel panel;
  panel.Do({"domain", "create", "shop.example.org"});
  panel.Do({"domain", "create", "shopexample.org"});

  const std::string findings = panel.Findings();

  EXPECT_EQ(
      findings,
      "parent_domain_matches_subdomains has smtpd_access_maps, and the panel has "
      "shop.example.org below other domains of its own; when the domain above is suspended or "
      "listed, so are these; mend: " +
          panel.Postconf("parent_domain_matches_subdomains",
                         "debug_peer_list, fast_flush_domains, mynetworks, "
                         "permit_mx_backup_networks, "
                         "qmqpd_authorized_clients, relay_domains") +
          "\n");
  panel.Mend(findings.substr(findings.find("; mend: ") + 8));
  EXPECT_EQ(panel.Check(), kWell);
}

TEST(WiringCheck, IsNamedInJson) {
  const WiredPanel panel;
  panel.Set("virtual_alias_maps", "");

  EXPECT_THAT(panel.Run({"--json", "check"}).output,
              StartsWith("{\n  \"ok\": false,\n  \"findings\": [\n    {\n      \"check\": "
                         "\"wiring\",\n      \"object\": \"virtual_alias_maps\",\n"));
}

TEST(WiringCheck, IsOneFindingWhenPostconfCannotBeRun) {
  const WiredPanel panel;
  panel.folder().WriteText("bin/postconf", "#!/bin/sh\necho it is broken\nexit 1\n");
  test_support::SetMode(panel.Path("bin/postconf"), 0755);
  fs::create_symlink("/usr/sbin/postmap", panel.Path("bin/postmap"));
  panel.Configure("postfix-postmap", panel.Path("bin/postmap") + " -c " + panel.Path("config"));

  const std::string findings = panel.Findings();

  EXPECT_EQ(std::count(findings.begin(), findings.end(), '\n'), 1) << findings;
  EXPECT_THAT(findings, HasSubstr("it is broken"));
}

TEST(WiringCheck, ChangesNothingByItself) {
  const WiredPanel panel;
  panel.Set("virtual_alias_maps", "");
  panel.Set("smtpd_client_restrictions", "");
  const auto before = Snapshot(panel.folder().path());

  panel.Run({"check"});
  panel.Run({"--dry-run", "check", "--fix"});

  EXPECT_EQ(Snapshot(panel.folder().path()), before);
}

}  // namespace
}  // namespace zebmail_test
