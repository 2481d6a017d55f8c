/// NAME
///   postfix_config_test - the settings that `zebmail postfix-config` shows and makes
///
/// PURPOSE
///   From main.cf files as administrators have them: what is added, where, and that all the rest
///   stays. Whether mail then takes the way it should is for the delivery tests.

#include <filesystem>
#include <functional>
#include <map>
#include <ostream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "panel/process/file_handle.h"
#include "tests/support/temp_folder.h"
#include "tests/zebmail/next_step.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

/// A panel of which main.cf does not know. Nothing of the machine's own aliases comes into it.
class UnwiredPanel : public OwnPanel {
 public:
  UnwiredPanel() { SetMainCf(Bare()); }

  std::string Bare() const { return BareMainCf() + "alias_maps =\n"; }
  std::string main_cf() const { return Path("config/main.cf"); }
  std::string Mail(const std::string& table) const { return Path("panel/mail/" + table); }
  std::string Rule() const { return Mail("client-address.regexp"); }

  /// The lines that are added to a main.cf that has none of these parameters; a line for the
  /// aliases stands between them.
  std::string NewLines(const std::string& aliases = "") const {
    return "virtual_alias_maps = " + Virtual() + "\n" + aliases +
           "sender_dependent_default_transport_maps = " + Transports() +
           "\nsmtpd_recipient_restrictions = " + Recipients() +
           "\nsmtpd_sender_restrictions = " + Senders() +
           "\nsmtpd_client_restrictions = " + Clients() + "\n";
  }
  std::string NewLocalNames() const {
    return "mydestination = $myhostname, localhost.$mydomain, localhost, " + LocalNames() + "\n";
  }

  /// The values that the panel needs, where nothing else is there.
  std::string LocalNames() const { return Mail("local-host-names"); }
  std::string Virtual() const { return "hash:" + Mail("virtusertable"); }
  std::string Aliases() const { return "hash:" + Mail("aliases"); }
  std::string Transports() const { return "regexp:" + Mail("domainips"); }
  std::string Recipients() const { return "check_recipient_access hash:" + Mail("access"); }
  std::string Senders() const { return "check_sender_access hash:" + Mail("access"); }
  std::string Clients() const {
    return "check_client_access pipemap:{regexp:" + Rule() + ",hash:" + Mail("access") + "}";
  }

  /// Makes the settings, which must succeed.
  std::string Apply() const {
    const std::string output = Do({"postfix-config", "--apply"});
    test_support::MakeOld(main_cf());
    return output;
  }

  /// What main.cf says of the parameter, after the settings have been made.
  std::string Applied(const std::string& parameter) const {
    Apply();
    return Value(parameter);
  }

  std::string Value(const std::string& parameter) const {
    const CommandRun run =
        test_support::RunCommand({"/usr/sbin/postconf", "-c", Path("config"), "-h", parameter});
    return run.output.substr(0, run.output.find('\n'));
  }

  /// All that a refused change must leave as it is.
  std::map<std::string, std::string> State() const {
    std::map<std::string, std::string> state = Snapshot(Path("config"));
    state.merge(Snapshot(Path("panel/mail")));
    return state;
  }
};

/// Whether postmap can look something up in the map on this machine.
bool CanBeOpened(const OwnPanel& panel, const std::string& map) {
  const CommandRun run =
      test_support::RunCommand({"/usr/sbin/postmap", "-c", panel.Path("config"), "-q", "x", map});
  return run.errors.find("fatal: ") == std::string::npos;
}

/// What a list says that was behind `before` written to it.
std::string ListedBehind(const std::string& before, const OwnPanel& panel) {
  const std::string list = panel.folder().ReadText("panel/state/made");
  EXPECT_THAT(list, StartsWith(before));
  return list.substr(before.size());
}

TEST(PostfixConfig, ListsWhatItSetsAndWhatThatWasBefore) {
  const UnwiredPanel panel;
  panel.SetMainCf(panel.Bare() + "virtual_alias_maps = static:all\n");
  const std::string before = panel.folder().ReadText("panel/state/made");

  panel.Apply();

  const auto unset = [](const std::string& name, const std::string& value) {
    return "set\t" + name + "\t" + value + "\nunset\t" + name + "\n";
  };
  EXPECT_EQ(ListedBehind(before, panel),
            "file\t" + panel.Rule() + "\nfile\t" + panel.main_cf() + ".zebmail-1\nmain.cf\t" +
                panel.Path("config") + "\n" +
                unset("mydestination",
                      "$myhostname, localhost.$mydomain, localhost, " + panel.LocalNames()) +
                "set\tvirtual_alias_maps\tstatic:all, " + panel.Virtual() +
                "\nwas\tvirtual_alias_maps\tstatic:all\n" + "set\talias_maps\t" + panel.Aliases() +
                "\nwas\talias_maps\t\n" +
                unset("sender_dependent_default_transport_maps", panel.Transports()) +
                unset("smtpd_recipient_restrictions", panel.Recipients()) +
                unset("smtpd_sender_restrictions", panel.Senders()) +
                unset("smtpd_client_restrictions", panel.Clients()));
}

TEST(PostfixConfig, ListsNothingWhenItIsRefused) {
  const UnwiredPanel panel;
  panel.SetMainCf(panel.Bare() + "smtpd_relay_restrictions =\n");
  const std::string before = panel.folder().ReadText("panel/state/made");

  EXPECT_EQ(panel.Run({"postfix-config", "--apply"}).status, 1);

  EXPECT_EQ(ListedBehind(before, panel), "");
}

TEST(PostfixConfig, PrintsTheSettingsThatMainCfLacks) {
  const UnwiredPanel panel;
  panel.SetMainCf(panel.Bare() + "mailbox_command = /usr/bin/deliver\n");

  EXPECT_EQ(panel.Do({"postfix-config"}),
            "# main.cf lacks " + panel.LocalNames() +
                "\nmydestination = $myhostname, localhost.$mydomain, localhost, " +
                panel.LocalNames() + "\n\n# main.cf lacks " + panel.Virtual() +
                "\nvirtual_alias_maps = " + panel.Virtual() + "\n\n# main.cf lacks " +
                panel.Aliases() + "\nalias_maps = " + panel.Aliases() + "\n\n# main.cf lacks " +
                panel.Transports() + "\nsender_dependent_default_transport_maps = " +
                panel.Transports() + "\n\n# main.cf lacks " + panel.Recipients() +
                "\nsmtpd_recipient_restrictions = " + panel.Recipients() + "\n\n# main.cf lacks " +
                panel.Senders() + "\nsmtpd_sender_restrictions = " + panel.Senders() +
                "\n\n# main.cf lacks " + panel.Clients() +
                "\nsmtpd_client_restrictions = " + panel.Clients() + "\n\n# " + panel.Rule() +
                " must hold the one rule /^(.*)$/ connect:$1, but cannot be used: " + panel.Rule() +
                ": No such file or directory\n\n"
                "# mailbox_transport is not set: mailboxes end at the Unix users of their names\n");
}

TEST(PostfixConfig, PrintsWhatCanBePutIntoMainCf) {
  const UnwiredPanel panel;
  const std::string printed = panel.Do({"postfix-config"});

  panel.folder().WriteText("panel/mail/client-address.regexp", "/^(.*)$/ connect:$1\n");
  panel.SetMainCf(panel.Bare() + printed);

  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

TEST(PostfixConfig, SaysWhatIsThereAlready) {
  const OwnPanel panel;
  const std::string mail = panel.Path("panel/mail/");

  EXPECT_EQ(panel.Do({"postfix-config"}),
            "# in main.cf already\nmydestination = " + mail +
                "local-host-names, $myhostname, localhost\n\n"
                "# in main.cf already\nvirtual_alias_maps = hash:" +
                mail + "virtusertable\n\n# in main.cf already\nalias_maps = hash:" + mail +
                "aliases\n\n# in main.cf already\nsender_dependent_default_transport_maps = "
                "regexp:" +
                mail +
                "domainips\n\n# in main.cf already\nsmtpd_recipient_restrictions = "
                "check_recipient_access hash:" +
                mail +
                "access\n\n# in main.cf already\nsmtpd_sender_restrictions = check_sender_access "
                "hash:" +
                mail +
                "access\n\n# in main.cf already\nsmtpd_client_restrictions = check_client_access "
                "pipemap:{regexp:" +
                panel.Path("config/client-address.regexp") + ",hash:" + mail +
                "access}\n\n# mailboxes end at: mailbox_transport = "
                "lmtp:unix:private/imap-server\n");
}

TEST(PostfixConfig, SetsWhatIsMissing) {
  const UnwiredPanel panel;
  panel.postfix().SetStatus(1);

  EXPECT_EQ(panel.Apply(),
            "wrote " + panel.Rule() + "\nkept main.cf as it was in " + panel.main_cf() +
                ".zebmail-1\nset mydestination = $myhostname, localhost.$mydomain, localhost, " +
                panel.LocalNames() + "\nset virtual_alias_maps = " + panel.Virtual() +
                "\nset alias_maps = " + panel.Aliases() +
                "\nset sender_dependent_default_transport_maps = " + panel.Transports() +
                "\nset smtpd_recipient_restrictions = " + panel.Recipients() +
                "\nset smtpd_sender_restrictions = " + panel.Senders() +
                "\nset smtpd_client_restrictions = " + panel.Clients() +
                "\nPostfix does not run: nothing to reload\n");

  EXPECT_EQ(panel.MainCf(), panel.BareMainCf() + "alias_maps = " + panel.Aliases() + "\n" +
                                panel.NewLocalNames() + panel.NewLines());
  EXPECT_EQ(panel.folder().ReadText("config/main.cf.zebmail-1"), panel.Bare());
  EXPECT_EQ(panel.folder().ReadText("panel/mail/client-address.regexp"), "/^(.*)$/ connect:$1\n");
  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

TEST(PostfixConfig, DoesNothingWhenAllIsThere) {
  const UnwiredPanel panel;
  panel.Apply();
  const auto state = panel.State();
  const auto runs = panel.postfix().Runs();

  EXPECT_EQ(panel.Apply(), "nothing to do: Postfix uses the tables of this panel already\n");

  EXPECT_EQ(panel.State(), state);
  EXPECT_EQ(panel.postfix().Runs(), runs);
}

TEST(PostfixConfig, ReloadsPostfixWhenItRuns) {
  const UnwiredPanel panel;

  EXPECT_THAT(panel.Apply(), testing::EndsWith("\nreloaded Postfix\n"));

  EXPECT_THAT(panel.postfix().Runs(), testing::ElementsAre("status", "reload"));
}

TEST(PostfixConfig, StartsFromDebiansUntouchedMainCf) {
  const UnwiredPanel panel;
  const std::string debian = test_support::ReadText("/usr/share/postfix/main.cf.debian");
  panel.SetMainCf(debian);
  std::string aliases;
  for (const std::string map : {"hash:/etc/aliases", "nis:mail.aliases"}) {
    if (CanBeOpened(panel, map)) aliases += map + ", ";
  }

  panel.Apply();

  EXPECT_EQ(panel.MainCf(), debian + panel.NewLocalNames() +
                                panel.NewLines("alias_maps = " + aliases + panel.Aliases() + "\n"));
  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

TEST(PostfixConfig, KeepsWhatAnInternetSiteHas) {
  const UnwiredPanel panel;
  panel.folder().WriteText("config/mailname", "mail.test\n");
  panel.folder().WriteText("config/aliases", "postmaster: root\n");
  test_support::RunCommand(
      {"/usr/sbin/postalias", "-c", panel.Path("config"), panel.Path("config/aliases")});
  const std::string before =
      "# See /usr/share/postfix/main.cf.dist for a commented, more complete version\n"
      "compatibility_level = 3.6\n"
      "smtpd_relay_restrictions = permit_mynetworks permit_sasl_authenticated "
      "defer_unauth_destination\n"
      "myhostname = mail.test\n"
      "alias_maps = hash:" +
      panel.Path("config/aliases") + "\nmyorigin = " + panel.Path("config/mailname") + "\n";
  const std::string after = "relayhost = \nmailbox_size_limit = 0\ninet_interfaces = all\n";
  panel.SetMainCf(before + "mydestination = $myhostname, mail.test, localhost.test, , localhost\n" +
                  after);

  panel.Apply();

  EXPECT_EQ(panel.MainCf(),
            "# See /usr/share/postfix/main.cf.dist for a commented, more complete version\n"
            "compatibility_level = 3.6\n"
            "smtpd_relay_restrictions = permit_mynetworks permit_sasl_authenticated "
            "defer_unauth_destination\n"
            "myhostname = mail.test\n"
            "alias_maps = hash:" +
                panel.Path("config/aliases") + ", " + panel.Aliases() +
                "\nmyorigin = " + panel.Path("config/mailname") +
                "\nmydestination = $myhostname, mail.test, localhost.test, , localhost, " +
                panel.LocalNames() + "\n" + after + panel.NewLines());
}

TEST(PostfixConfig, ReadsValuesOfSeveralLines) {
  const UnwiredPanel panel;
  panel.SetMainCf(panel.Bare() +
                  "smtpd_sender_restrictions =\n"
                  "  permit_mynetworks\n"
                  "# in between\n"
                  "\treject_unknown_sender_domain,\n"
                  "  check_policy_service { inet:127.0.0.1:9998, timeout=10s }\n"
                  "mydestination =\n"
                  "  $myhostname,\n"
                  "  localhost\n");

  panel.Apply();

  EXPECT_EQ(panel.Value("smtpd_sender_restrictions"),
            panel.Senders() +
                ", permit_mynetworks reject_unknown_sender_domain, check_policy_service { "
                "inet:127.0.0.1:9998, timeout=10s }");
  EXPECT_EQ(panel.Value("mydestination"), "$myhostname, localhost, " + panel.LocalNames());
  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

/// Of two lines with one parameter the last one counts.
TEST(PostfixConfig, ReadsTheLastValueOfAParameter) {
  const UnwiredPanel panel;
  panel.SetMainCf(panel.Bare() + "virtual_alias_maps = " + panel.Virtual() +
                  "\nvirtual_alias_maps = texthash:/dev/null\n");

  EXPECT_EQ(panel.Applied("virtual_alias_maps"), "texthash:/dev/null, " + panel.Virtual());
}

TEST(PostfixConfig, TakesOtherSpellingsForWhatTheyAre) {
  const UnwiredPanel panel;
  const std::string mail = "$config_directory/../panel/mail/";
  panel.folder().WriteText("rule.pcre", "# clients\n/(.+)/ connect:$1\n");
  test_support::RunCommand(
      {"/usr/sbin/postmap", "-c", panel.Path("config"), "lmdb:" + panel.Mail("virtusertable")});
  fs::create_symlink(panel.Mail("local-host-names"), panel.Path("names"));
  panel.SetMainCf(panel.BareMainCf() + "mail = " + panel.Path("panel/mail") +
                  "\nmydestination = localhost MAIL.test " + panel.Path("names") +
                  "\nvirtual_alias_maps = proxy:lmdb:${mail}/virtusertable texthash:/dev/null"
                  "\nalias_maps = proxy:hash:$mail//aliases"
                  "\nsender_dependent_default_transport_maps = regexp:" +
                  mail +
                  "domainips"
                  "\nsmtpd_recipient_restrictions = check_recipient_access\n    hash:" +
                  mail +
                  "access, permit_mynetworks"
                  "\nours = check_sender_access hash:$mail/access"
                  "\nsmtpd_sender_restrictions = $ours"
                  "\nsmtpd_client_restrictions = check_client_access\n"
                  "    pipemap:{ regexp:" +
                  panel.Path("rule.pcre") + ", hash:$mail/access }\n");
  const std::string before = panel.MainCf();

  EXPECT_EQ(panel.Apply(),
            "left to you: virtual_alias_maps has proxy:lmdb:" + panel.Mail("virtusertable") +
                ", a map of another type than the default: write " + panel.Virtual() + " there\n");

  EXPECT_EQ(panel.MainCf(), before);
}

/// One whose map is not built would never be read.
TEST(PostfixConfig, DoesNotCountATypeOfMapThatIsNotBuilt) {
  const UnwiredPanel panel;
  panel.SetMainCf(panel.Bare() + "virtual_alias_maps = lmdb:" + panel.Mail("virtusertable") + "\n");

  EXPECT_EQ(panel.Applied("virtual_alias_maps"),
            "lmdb:" + panel.Mail("virtusertable") + ", " + panel.Virtual());
}

TEST(PostfixConfig, DoesNotCountARuleThatDoesSomethingElse) {
  const UnwiredPanel panel;
  const std::string rule = panel.folder().WriteText("rule", "/^(.*)$/ $1\n");
  const std::string pipe =
      "check_client_access pipemap:{regexp:" + rule + ",hash:" + panel.Mail("access") + "}";
  panel.SetMainCf(panel.Bare() + "smtpd_client_restrictions = " + pipe + "\n");

  EXPECT_EQ(panel.Applied("smtpd_client_restrictions"), panel.Clients() + ", " + pipe);
}

TEST(PostfixConfig, PutsTheCheckOfRecipientsBehindTheOnlyRefusalOfRelaying) {
  const UnwiredPanel panel;
  panel.SetMainCf(panel.Bare() +
                  "smtpd_relay_restrictions =\n"
                  "smtpd_recipient_restrictions = permit_mynetworks, reject_unauth_destination\n"
                  "  reject_unknown_recipient_domain\n");

  EXPECT_EQ(panel.Applied("smtpd_recipient_restrictions"),
            "permit_mynetworks, reject_unauth_destination, " + panel.Recipients() +
                " reject_unknown_recipient_domain");
}

TEST(PostfixConfig, FindsTheRefusalInAClassAndBehindAReference) {
  const UnwiredPanel panel;
  panel.SetMainCf(panel.Bare() +
                  "smtpd_relay_restrictions =\n"
                  "smtpd_restriction_classes = strangers\n"
                  "strangers = reject_unauth_destination\n"
                  "all = permit_mynetworks, strangers\n"
                  "smtpd_recipient_restrictions = $all, permit\n");

  EXPECT_EQ(panel.Applied("smtpd_recipient_restrictions"),
            "$all, " + panel.Recipients() + ", permit");
}

TEST(PostfixConfig, PutsTheChecksBeforeWhatPermits) {
  const UnwiredPanel panel;
  panel.SetMainCf(
      panel.Bare() +
      "smtpd_recipient_restrictions = permit_mynetworks, reject_unauth_destination\n"
      "smtpd_client_restrictions = permit_mynetworks, reject_unknown_client_hostname\n");

  panel.Apply();

  EXPECT_EQ(panel.Value("smtpd_recipient_restrictions"),
            panel.Recipients() + ", permit_mynetworks, reject_unauth_destination");
  EXPECT_EQ(panel.Value("smtpd_client_restrictions"),
            panel.Clients() + ", permit_mynetworks, reject_unknown_client_hostname");
  EXPECT_THAT(panel.Value("smtpd_relay_restrictions"), Not(HasSubstr("access")));
}

TEST(PostfixConfig, MakesTheOriginLocal) {
  const UnwiredPanel panel;
  panel.SetMainCf(panel.Bare() + "myorigin = origin.test\nmydestination = localhost\n");

  EXPECT_EQ(panel.Applied("mydestination"),
            "localhost, " + panel.LocalNames() + ", $myhostname, $myorigin");
}

TEST(PostfixConfig, MakesTheOriginInAFileLocal) {
  const UnwiredPanel panel;
  const std::string file = panel.folder().WriteText("config/mailname", "origin.test\n");
  panel.SetMainCf(panel.Bare() + "myorigin = " + file + "\nmydestination = localhost\n");

  EXPECT_EQ(panel.Applied("mydestination"),
            "localhost, " + panel.LocalNames() + ", $myhostname, $myorigin");
  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

TEST(PostfixConfig, FindsTheOriginInAFileOfLocalNames) {
  const UnwiredPanel panel;
  const std::string names = panel.folder().WriteText("names", "other.test\nOrigin.test\n");
  panel.SetMainCf(panel.Bare() +
                  "myorigin = origin.test\nmydestination = $myhostname, localhost, " + names +
                  "\n");

  EXPECT_EQ(panel.Applied("mydestination"),
            "$myhostname, localhost, " + names + ", " + panel.LocalNames());
}

TEST(PostfixConfig, StopsThePassingOnOfExtensions) {
  const UnwiredPanel panel;
  panel.SetMainCf(panel.Bare() + "recipient_delimiter = +\n");

  EXPECT_EQ(panel.Applied("propagate_unmatched_extensions"), "canonical");
}

TEST(PostfixConfig, KeepsTheOtherKindsOfExtensions) {
  const UnwiredPanel panel;
  panel.SetMainCf(panel.Bare() +
                  "recipient_delimiter = +-\n"
                  "kinds = generic, virtual\n"
                  "propagate_unmatched_extensions = canonical, $kinds, alias\n");

  EXPECT_EQ(panel.Applied("propagate_unmatched_extensions"), "canonical, generic, alias");
}

TEST(PostfixConfig, RefusesWhereAnOkWouldOpenTheServer) {
  const UnwiredPanel panel;
  panel.SetMainCf("myhostname = mail.test\nalias_maps =\n");
  const auto state = panel.State();
  const std::string first = "/usr/sbin/postconf -c " + panel.Path("config") +
                            " -e 'smtpd_relay_restrictions = permit_mynetworks, "
                            "permit_sasl_authenticated, reject_unauth_destination'";

  const CommandRun run = panel.Run({"postfix-config", "--apply"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "zebmail: wiring: smtpd_recipient_restrictions: neither it nor "
            "smtpd_relay_restrictions refuses relaying by reject_unauth_destination, so that an OK "
            "in the access table would let strangers relay; run first: " +
                first + "\n");
  EXPECT_EQ(panel.State(), state);

  ASSERT_EQ(CarryOut(first).status, 0);
  test_support::MakeOld(panel.main_cf());
  panel.Apply();
  EXPECT_EQ(panel.MainCf(),
            "myhostname = mail.test\nalias_maps = " + panel.Aliases() +
                "\nsmtpd_relay_restrictions = permit_mynetworks, permit_sasl_authenticated, "
                "reject_unauth_destination\n" +
                panel.NewLocalNames() + panel.NewLines());
}

TEST(PostfixConfig, ShowsTheDifferenceInADryRunAndChangesNothing) {
  const UnwiredPanel panel;
  panel.SetMainCf(panel.MainCf() + "virtual_alias_maps = " + panel.Virtual() +
                  "\nsender_dependent_default_transport_maps = " + panel.Transports() +
                  "\nsmtpd_recipient_restrictions = " + panel.Recipients() +
                  "\nsmtpd_sender_restrictions = " + panel.Senders() +
                  "\nmydestination = $myhostname, localhost, " + panel.LocalNames() +
                  "\nalias_maps = " + panel.Aliases() + "\n");
  fs::remove(panel.Mail("access.db"));
  const auto state = panel.State();
  const std::string diff =
      "--- " + panel.Rule() + "\n+++ " + panel.Rule() +
      "\n@@ -0,0 +1 @@\n+/^(.*)$/ connect:$1\n--- " + panel.main_cf() + "\n+++ " + panel.main_cf() +
      "\n@@ -11,3 +11,4 @@\n smtpd_sender_restrictions = " + panel.Senders() +
      "\n mydestination = $myhostname, localhost, " + panel.LocalNames() +
      "\n alias_maps = " + panel.Aliases() + "\n+smtpd_client_restrictions = " + panel.Clients() +
      "\ntool: " + panel.MapCommand("postmap", "access") + "\ntool: " + panel.postfix().path() +
      " reload\n";

  EXPECT_EQ(panel.Do({"--dry-run", "postfix-config", "--apply"}), diff);
  EXPECT_EQ(panel.Do({"--dry-run", "postfix-config"}), diff);

  EXPECT_EQ(panel.State(), state);
  EXPECT_THAT(panel.postfix().Runs(), testing::ElementsAre("status", "status"));
}

TEST(PostfixConfig, ShowsNoReloadInADryRunWherePostfixDoesNotRun) {
  const UnwiredPanel panel;
  panel.postfix().SetStatus(1);

  EXPECT_THAT(panel.Do({"--dry-run", "postfix-config", "--apply"}), Not(HasSubstr(" reload\n")));
}

/// The stand-in is asked whether Postfix runs after main.cf was looked at.
TEST(PostfixConfig, OverwritesNothingThatSomebodyElseHasWrittenMeanwhile) {
  const UnwiredPanel panel;
  const std::string other_hand = panel.folder().WriteText(
      "other-hand", "#!/bin/sh\necho 'relayhost = [192.0.2.1]' >>" + panel.main_cf() + "\n");
  test_support::SetMode(other_hand, 0755);
  panel.Configure("postfix-bin", other_hand);
  const std::string before = panel.MainCf();

  const CommandRun run = panel.Run({"postfix-config", "--apply"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(WithoutNextStep(run.errors), "zebmail: changed: " + panel.main_cf() + "\n");
  EXPECT_EQ(panel.MainCf(), before + "relayhost = [192.0.2.1]\n");
  EXPECT_FALSE(fs::exists(panel.Rule()));
  EXPECT_FALSE(fs::exists(panel.main_cf() + ".zebmail-1"));
}

/// postconf waits with its first change of the copy until zebmail is dead.
TEST(PostfixConfig, LeavesNoCopyOfMainCfForGoodWhenItIsKilled) {
  const UnwiredPanel panel;
  const std::string copy = panel.Path("panel/state/main.cf");
  const std::string edits = panel.Path("edits");
  const std::string is_dead = panel.Path("is-dead");
  panel.folder().WriteText("bin/postconf", "#!/bin/sh\ncase \" $* \" in *' -e '*)\n  : >'" + edits +
                                               "'\n  until [ -e '" + is_dead +
                                               "' ]; do sleep 0.05; done\nesac\n"
                                               "exec /usr/sbin/postconf \"$@\"\n");
  test_support::SetMode(panel.Path("bin/postconf"), 0755);
  fs::create_symlink("/usr/sbin/postmap", panel.Path("bin/postmap"));
  panel.Configure("postfix-postmap", panel.Path("bin/postmap") + " -c " + panel.Path("config"));
  const std::string before = panel.MainCf();

  test_support::RunCommand(
      {ZEBMAIL_BINARY, "--config", panel.config(), "postfix-config", "--apply"}, "",
      [&edits](pid_t zebmail) {
        for (int wait = 0; !fs::exists(edits) && wait < 2000; ++wait) usleep(10000);
        kill(zebmail, SIGKILL);
      });
  EXPECT_EQ(test_support::ReadText(copy + "/main.cf"), before);
  EXPECT_EQ(test_support::ModeOf(copy), 0700U);
  test_support::WriteText(is_dead, "");

  panel.Do({"domain", "list"});
  EXPECT_FALSE(fs::exists(copy));
  panel.Do({"postfix-config", "--apply"});
  EXPECT_FALSE(fs::exists(copy));
  EXPECT_EQ(panel.Value("virtual_alias_maps"), panel.Virtual());
}

TEST(PostfixConfig, ShowsADryRunAsJson) {
  const OwnPanel panel;

  EXPECT_EQ(panel.Do({"--dry-run", "--json", "postfix-config", "--apply"}),
            "{\n  \"files\": [],\n  \"rows\": [],\n  \"tools\": []\n}\n");
}

TEST(PostfixConfig, ReportsAsJson) {
  const UnwiredPanel panel;
  panel.SetMainCf(panel.MainCf() + "mailbox_transport = lmtp:inet:127.0.0.1:24\n");
  const auto setting = [](const std::string& name, const std::string& value,
                          const std::string& lacks) {
    return "    {\n      \"name\": \"" + name + "\",\n      \"value\": \"" + value +
           "\",\n      \"present\": PRESENT,\n      \"faults\": [\n        \"lacks " + lacks +
           "\"\n      ],\n      \"left_out\": []\n    }";
  };
  const std::string settings =
      setting("mydestination", "$myhostname, localhost.$mydomain, localhost, " + panel.LocalNames(),
              panel.LocalNames()) +
      ",\n" + setting("virtual_alias_maps", panel.Virtual(), panel.Virtual()) + ",\n" +
      setting("alias_maps", panel.Aliases(), panel.Aliases()) + ",\n" +
      setting("sender_dependent_default_transport_maps", panel.Transports(), panel.Transports()) +
      ",\n" + setting("smtpd_recipient_restrictions", panel.Recipients(), panel.Recipients()) +
      ",\n" + setting("smtpd_sender_restrictions", panel.Senders(), panel.Senders()) + ",\n" +
      setting("smtpd_client_restrictions", panel.Clients(), panel.Clients());
  const std::string rule = panel.Path("panel/mail/client-address.regexp");
  const auto document = [&](const std::string& is_applied, const std::string& applied,
                            const std::string& copy) {
    std::string text = "{\n  \"settings\": [\n" + settings +
                       "\n  ],\n  \"refusal\": \"\",\n  \"client_rule\": {\n    \"file\": \"" +
                       rule + "\",\n    \"fault\": \"cannot be used: " + rule +
                       ": No such file or directory\",\n    \"written\": " + is_applied +
                       ",\n    \"copy\": \"\"\n  },\n  \"mailbox_transport\": {\n    \"value\": "
                       "\"lmtp:inet:127.0.0.1:24\",\n    \"suggested\": \"\"\n  },\n  "
                       "\"applied\": [" +
                       applied + "],\n  \"built\": [],\n  \"copy\": \"" + copy +
                       "\",\n  \"reloaded\": " + is_applied + "\n}\n";
    for (std::size_t at; (at = text.find("PRESENT")) != std::string::npos;) {
      text.replace(at, 7, is_applied);
    }
    return text;
  };

  EXPECT_EQ(panel.Do({"--json", "postfix-config"}), document("false", "", ""));

  EXPECT_EQ(panel.Do({"--json", "postfix-config", "--apply"}),
            document("true",
                     "\n    \"mydestination\",\n    \"virtual_alias_maps\",\n    "
                     "\"alias_maps\",\n    \"sender_dependent_default_transport_maps\",\n    "
                     "\"smtpd_recipient_restrictions\",\n    \"smtpd_sender_restrictions\",\n    "
                     "\"smtpd_client_restrictions\"\n  ",
                     panel.main_cf() + ".zebmail-1"));
}

TEST(PostfixConfig, KeepsOwnerAndModeAndEveryCopy) {
  const UnwiredPanel panel;
  const test_support::Owner nobody{65534, 65534};
  test_support::SetMode(panel.main_cf(), 0640);
  test_support::SetOwner(panel.main_cf(), nobody);
  panel.folder().WriteText("config/main.cf.zebmail-1", "an earlier one\n");

  panel.Apply();

  for (const std::string name : {"main.cf", "main.cf.zebmail-2"}) {
    EXPECT_EQ(test_support::ModeOf(panel.Path("config/" + name)), 0640U) << name;
    EXPECT_EQ(test_support::OwnerOf(panel.Path("config/" + name)), nobody) << name;
  }
  EXPECT_EQ(panel.folder().ReadText("config/main.cf.zebmail-1"), "an earlier one\n");
  EXPECT_EQ(panel.folder().ReadText("config/main.cf.zebmail-2"), panel.Bare());
}

TEST(PostfixConfig, FollowsASymbolicLink) {
  const UnwiredPanel panel;
  fs::rename(panel.main_cf(), panel.Path("real.cf"));
  fs::create_symlink("../real.cf", panel.main_cf());

  panel.Apply();

  EXPECT_EQ(fs::read_symlink(panel.main_cf()), "../real.cf");
  EXPECT_THAT(panel.folder().ReadText("real.cf"), HasSubstr(panel.Virtual()));
  EXPECT_EQ(panel.folder().ReadText("config/main.cf.zebmail-1"), panel.Bare());
}

TEST(PostfixConfig, ReplacesAnotherRuleAndKeepsIt) {
  const UnwiredPanel panel;
  panel.Apply();
  panel.folder().WriteText("panel/mail/client-address.regexp", "/^10\\./ connect:$1\n");

  EXPECT_EQ(panel.Apply(), "kept " + panel.Rule() + " as it was in " + panel.Rule() +
                               ".zebmail-1\nwrote " + panel.Rule() + "\nreloaded Postfix\n");

  EXPECT_EQ(test_support::ReadText(panel.Rule()), "/^(.*)$/ connect:$1\n");
  EXPECT_EQ(test_support::ReadText(panel.Rule() + ".zebmail-1"), "/^10\\./ connect:$1\n");
}

TEST(PostfixConfig, BuildsTheMapsThatAreMissing) {
  const UnwiredPanel panel;
  fs::remove(panel.Mail("aliases.db"));

  EXPECT_THAT(panel.Apply(), HasSubstr("built the map of " + panel.Mail("aliases") + "\n"));

  EXPECT_EQ(panel.Lookup("aliases", "devnull"), "\"/dev/null\"");
}

TEST(PostfixConfig, SuggestsDovecotsSocketAndLeavesItToTheAdministrator) {
  const UnwiredPanel panel;
  const std::string socket_path = panel.Path("queue/private/dovecot-lmtp");
  fs::create_directories(panel.Path("queue/private"));
  const panel::FileHandle socket(::socket(AF_UNIX, SOCK_STREAM, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  ASSERT_LT(socket_path.copy(address.sun_path, sizeof(address.sun_path) - 1), 100U);
  ASSERT_EQ(bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof(address)), 0);

  EXPECT_THAT(panel.Do({"postfix-config"}),
              testing::EndsWith(
                  "\n# mailbox_transport is not set: mailboxes end at the Unix users of their "
                  "names\n# Dovecot is installed; to give it the mail of all local users:\n"
                  "# mailbox_transport = lmtp:unix:private/dovecot-lmtp\n"));
  panel.Apply();
  EXPECT_EQ(panel.Value("mailbox_transport"), "");
  EXPECT_THAT(panel.Do({"--json", "postfix-config"}),
              HasSubstr("\"suggested\": \"lmtp:unix:private/dovecot-lmtp\""));
}

/// What keeps the settings from being made.
struct Obstacle {
  const char* name;
  std::function<void(const UnwiredPanel&)> arrange;
  std::string error;  ///< a part of it
};

void PrintTo(const Obstacle& obstacle, std::ostream* stream) {
  *stream << obstacle.name;
}

class UnmakeableSettings : public testing::TestWithParam<Obstacle> {};

TEST_P(UnmakeableSettings, ChangeNothing) {
  const UnwiredPanel panel;
  GetParam().arrange(panel);
  const auto state = panel.State();

  const CommandRun run = panel.Run({"postfix-config", "--apply"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output, "");
  EXPECT_THAT(run.errors, StartsWith("zebmail: "));
  EXPECT_THAT(run.errors, HasSubstr(GetParam().error));
  EXPECT_EQ(panel.State(), state);
}

INSTANTIATE_TEST_SUITE_P(
    Because, UnmakeableSettings,
    testing::Values(Obstacle{"PostconfFails",
                             [](const UnwiredPanel& panel) {
                               panel.folder().WriteText(
                                   "bin/postconf",
                                   "#!/bin/sh\necho postconf: it is broken\nexit 1\n");
                               test_support::SetMode(panel.Path("bin/postconf"), 0755);
                               fs::create_symlink("/usr/sbin/postmap", panel.Path("bin/postmap"));
                               panel.Configure(
                                   "postfix-postmap",
                                   panel.Path("bin/postmap") + " -c " + panel.Path("config"));
                             },
                             "email: postconf\npostconf: it is broken\n"},
                    Obstacle{"PostfixCannotBeStarted",
                             [](const UnwiredPanel& panel) {
                               panel.Configure("postfix-bin", "/nonexistent/postfix");
                             },
                             "postfix-bin"},
                    Obstacle{"NothingCanBePutBesideMainCf",
                             [](const UnwiredPanel& panel) {
                               fs::create_directory(panel.Path("config/.main.cf.zebmail"));
                             },
                             "config/.main.cf.zebmail: cannot be removed"},
                    Obstacle{"MainCfIsNoFile",
                             [](const UnwiredPanel& panel) {
                               fs::remove(panel.main_cf());
                               fs::create_symlink("/dev/null", panel.main_cf());
                             },
                             ""},
                    Obstacle{"TableIsMissing",
                             [](const UnwiredPanel& panel) { fs::remove(panel.Mail("domainips")); },
                             "domainips: main.cf would name this file"},
                    Obstacle{"PathHoldsAComma",
                             [](const UnwiredPanel& panel) {
                               panel.Configure("postfix-domainips", panel.Path("a,b"));
                             },
                             "path: postfix-domainips"},
                    Obstacle{"PathHoldsADollar",
                             [](const UnwiredPanel& panel) {
                               panel.Configure("postfix-domainips", panel.Path("$myhostname"));
                             },
                             "path: postfix-domainips"},
                    Obstacle{"PathHoldsABrace",
                             [](const UnwiredPanel& panel) {
                               panel.Configure("postfix-domainips", panel.Path("{a}"));
                             },
                             "path: postfix-domainips"},
                    Obstacle{"PathHoldsABlank",
                             [](const UnwiredPanel& panel) {
                               panel.Configure("postfix-domainips", panel.Path("a b"));
                             },
                             "path: postfix-domainips"},
                    Obstacle{"PathHoldsALineFeed",
                             [](const UnwiredPanel& panel) {
                               panel.Configure("postfix-domainips", panel.Path("a\\nmyhostname=b"));
                             },
                             "holds a control character"},
                    Obstacle{"TypeOfMapsIsNoFile",
                             [](const UnwiredPanel& panel) {
                               panel.SetMainCf(panel.MainCf() + "default_database_type = static\n");
                             },
                             "default_database_type"}),
    [](const auto& obstacle) { return std::string(obstacle.param.name); });

}  // namespace
}  // namespace zebmail_test
