/// NAME
///   binding_test - the address from which a domain's mail leaves, as the command tells of it
///
/// PURPOSE
///   What the files say of an address and what the panel says may part, by hand or because an IPv6
///   address cannot be cleared in them. The command must tell the truth then, and what it gives as
///   the mend must mend: the tests carry it out.

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using testing::HasSubstr;
using testing::Not;

const std::string kStandard = "pickup    unix  n       -       n       60      1       pickup\n";
const std::string kMapLine = "/@shop\\.example$/\tsmtp_shop_example\n";

std::string Service(const std::string& name, const std::string& tag, const std::string& option,
                    const std::string& address) {
  return name + "\tunix - - n - - smtp -o syslog_name=postfix-" + tag + " -o " + option + "=" +
         address + "\n";
}

const std::string kService =
    Service("smtp_shop_example", "127_0_0_10", "smtp_bind_address", "127.0.0.10");
const std::string kOtherService =
    Service("smtp_shop_example", "127_0_0_11", "smtp_bind_address", "127.0.0.11");
const std::string kIp6Service = Service("smtp_shop_example", "__1", "smtp_bind_address6", "::1");

class BindingPanel : public OwnPanel {
 public:
  std::string MasterCf() const { return folder().ReadText("config/master.cf"); }
  void SetMasterCf(const std::string& text) const { folder().WriteText("config/master.cf", text); }

  std::string master() const { return Path("config/master.cf"); }
  std::string map() const { return Path("panel/mail/domainips"); }

  /// What `check` prints; it must find something.
  std::string Findings() const {
    const CommandRun run = Run({"check"});
    EXPECT_EQ(run.status, 1);
    EXPECT_EQ(run.errors, "");
    return run.output;
  }

  bool IsWell() const { return Run({"check"}).output == "nothing is wrong\n"; }

  std::string ByHand(const std::string& service) const {
    return "delete that line, and the one of " + map() + " that ends in " + service + "\n";
  }
};

/// Carries out the command that a finding ends in, by a shell, as its reader would.
void Mend(const std::string& findings) {
  const std::string mark = "; mend: ";
  const std::size_t place = findings.rfind(mark + "zebmail ");
  ASSERT_NE(place, std::string::npos) << findings;
  const CommandRun run = CarryOut(findings.substr(place + mark.size()));
  EXPECT_EQ(run.status, 0) << run.errors;
}

TEST(ForeignAddress, IsBoundWithAWarning) {
  const BindingPanel panel;

  const CommandRun created =
      panel.Run({"domain", "create", "bücher.example", "--ip", "203.0.113.10"});
  EXPECT_EQ(created.status, 0);
  EXPECT_EQ(created.output, "bücher.example: created\n");
  EXPECT_EQ(created.errors,
            "zebmail: 203.0.113.10 is no address of this machine: as long as it is not, the mail "
            "of bücher.example leaves from another one\n");
  EXPECT_EQ(panel.MasterCf(), kStandard + Service("smtp_xn--bcher-kva_example", "203_0_113_10",
                                                  "smtp_bind_address", "203.0.113.10"));

  const CommandRun updated =
      panel.Run({"domain", "update", "bücher.example", "--ip", "2001:DB8::0:5"});
  EXPECT_EQ(updated.status, 0);
  EXPECT_EQ(updated.output, "bücher.example: updated\n");
  EXPECT_EQ(updated.errors,
            "zebmail: 2001:db8::5 is no address of this machine: as long as it is not, the mail "
            "of bücher.example leaves from another one\n");
}

TEST(ForeignAddress, IsWarnedOfBesideOneJsonDocument) {
  const BindingPanel panel;

  const CommandRun run =
      panel.Run({"--json", "domain", "create", "shop.example", "--ip", "203.0.113.10"});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output,
            "{\n"
            "  \"name\": \"shop.example\",\n"
            "  \"active\": true,\n"
            "  \"defaction\": \"error\",\n"
            "  \"redirect\": \"\",\n"
            "  \"ip\": \"203.0.113.10\"\n"
            "}\n");
  EXPECT_THAT(run.errors, HasSubstr("is no address of this machine"));
}

TEST(ForeignAddress, IsWarnedOfInADryRunAndWhenQuiet) {
  const BindingPanel panel;

  const CommandRun shown =
      panel.Run({"--dry-run", "domain", "create", "shop.example", "--ip", "203.0.113.10"});
  EXPECT_EQ(shown.status, 0);
  EXPECT_THAT(shown.errors, HasSubstr("is no address of this machine"));
  EXPECT_EQ(panel.MasterCf(), kStandard);

  const CommandRun quiet =
      panel.Run({"--quiet", "domain", "create", "shop.example", "--ip", "203.0.113.10"});
  EXPECT_EQ(quiet.status, 0);
  EXPECT_EQ(quiet.output, "");
  EXPECT_THAT(quiet.errors, HasSubstr("is no address of this machine"));
}

TEST(ForeignAddress, IsWarnedOfOnlyWhenItIsGiven) {
  const BindingPanel panel;
  panel.Run({"domain", "create", "shop.example", "--ip", "203.0.113.10"});

  EXPECT_EQ(panel.Do({"domain", "update", "shop.example", "--default-action", "ignore"}),
            "shop.example: updated\n");
  EXPECT_EQ(panel.Do({"domain", "suspend", "shop.example"}), "shop.example: suspended\n");
  EXPECT_EQ(panel.Do({"domain", "update", "shop.example", "--ip", ""}), "shop.example: updated\n");
}

TEST(OwnAddress, IsBoundWithoutAWarning) {
  const BindingPanel panel;
  EXPECT_EQ(panel.Do({"domain", "create", "shop.example", "--ip", "127.0.0.1"}),
            "shop.example: created\n");
  for (const char* address : {"127.0.0.10", "127.255.255.254", ""}) {
    EXPECT_EQ(panel.Do({"domain", "update", "shop.example", "--ip", address}),
              "shop.example: updated\n");
  }
}

TEST(Ip6Binding, IsShownThoughTheFilesDoNotGiveItBack) {
  const BindingPanel panel;

  panel.Run({"domain", "create", "shop.example", "--ip", "2001:DB8:0::5"});

  EXPECT_EQ(panel.MasterCf(), kStandard + Service("smtp_shop_example", "2001_db8__5",
                                                  "smtp_bind_address6", "2001:db8::5"));
  EXPECT_EQ(panel.Do({"domain", "show", "shop.example"}),
            "name: shop.example\nactive: true\ndefaction: error\nredirect: \nip: 2001:db8::5\n");
  EXPECT_EQ(panel.Do({"domain", "list"}),
            "NAME          STATE   DEFAULT ACTION  REDIRECT  IP\n"
            "shop.example  active  error           -         2001:db8::5\n");
  EXPECT_TRUE(panel.IsWell());
}

TEST(Ip6Binding, IsShownAsClearedAndFoundByTheCheckWhenItIsClearedInThePanelAlone) {
  const BindingPanel panel;
  panel.Run({"domain", "create", "shop.example", "--ip", "::1"});

  const CommandRun update = panel.Run({"domain", "update", "shop.example", "--ip", ""});

  EXPECT_EQ(update.status, 0);
  EXPECT_EQ(
      update.errors,
      "zebmail: the mail of shop.example leaves from ::1 until the lines that zebmail --config " +
          panel.config() + " check names are deleted\n");
  EXPECT_EQ(panel.MasterCf(), kStandard + kIp6Service);
  EXPECT_EQ(panel.Do({"domain", "show", "shop.example"}),
            "name: shop.example\nactive: true\ndefaction: error\nredirect: \nip: \n");
  EXPECT_EQ(panel.Findings(),
            panel.master() +
                ":2 has shop.example send from ::1, though the panel says any address; its mail "
                "leaves from another address than it should; mend: " +
                panel.ByHand("smtp_shop_example"));

  panel.SetMasterCf(kStandard);
  panel.SetTable("domainips", "");
  EXPECT_TRUE(panel.IsWell());
}

TEST(Ip6Binding, CanBeMovedAndIsGoneWithItsDomain) {
  const BindingPanel panel;
  panel.Run({"domain", "create", "shop.example", "--ip", "::1"});

  panel.Do({"domain", "update", "shop.example", "--ip", "127.0.0.10"});
  EXPECT_EQ(panel.MasterCf(), kStandard + kService);
  EXPECT_TRUE(panel.IsWell());

  panel.Run({"domain", "update", "shop.example", "--ip", "::1"});
  EXPECT_EQ(panel.MasterCf(), kStandard + kIp6Service);
  panel.Do({"domain", "delete", "shop.example"});
  EXPECT_EQ(panel.MasterCf(), kStandard);
  EXPECT_EQ(panel.Table("domainips"), "");
}

TEST(BindingCheck, FindsNothingWrongWithWhatThePanelMakes) {
  const BindingPanel panel;
  panel.Do({"domain", "create", "bound.example", "--ip", "127.0.0.10"});
  panel.Do({"domain", "create", "same.example", "--ip", "127.0.0.10"});
  panel.Do({"domain", "create", "moved.example", "--ip", "127.0.0.10"});
  panel.Do({"domain", "update", "moved.example", "--ip", "127.0.0.11"});
  panel.Do({"domain", "create", "cleared.example", "--ip", "127.0.0.10"});
  panel.Do({"domain", "update", "cleared.example", "--ip", ""});
  panel.Do({"domain", "create", "deleted.example", "--ip", "127.0.0.10"});
  panel.Do({"domain", "delete", "deleted.example"});
  panel.Do({"domain", "create", "suspended.example", "--ip", "127.0.0.10"});
  panel.Do({"domain", "suspend", "suspended.example"});
  panel.Do({"domain", "create", "free.example"});

  EXPECT_EQ(panel.Do({"check"}), "nothing is wrong\n");
}

TEST(BindingCheck, FindsServiceOfNoDomain) {
  const BindingPanel panel;
  panel.SetMasterCf(kStandard + "# left\n" + kService + "  -o smtp_helo_name=shop.example\n");
  panel.SetTable("domainips", kMapLine);

  EXPECT_EQ(panel.Findings(),
            panel.master() +
                ":3 has the service smtp_shop_example of no domain of the panel; what is led to it "
                "leaves from 127.0.0.10; mend: " +
                panel.ByHand("smtp_shop_example"));

  panel.SetMasterCf(kStandard + "# left\n");
  panel.SetTable("domainips", "");
  EXPECT_TRUE(panel.IsWell());
}

TEST(BindingCheck, FindsServiceThatWasClearedAndHasNoDomain) {
  const BindingPanel panel;
  panel.SetMasterCf(kStandard + Service("smtp_shop_example", "", "smtp_bind_address", ""));

  EXPECT_EQ(panel.Findings(),
            panel.master() +
                ":2 has the service smtp_shop_example of no domain of the panel; what is led to it "
                "leaves from any address; mend: " +
                panel.ByHand("smtp_shop_example"));
}

TEST(BindingCheck, FindsServiceWithAnotherAddress) {
  const BindingPanel panel;
  panel.Do({"domain", "create", "shop.example", "--ip", "127.0.0.10"});
  panel.SetMasterCf(kStandard + kOtherService);

  const std::string findings = panel.Findings();

  EXPECT_EQ(findings, panel.master() +
                          ":2 has shop.example send from 127.0.0.11, though the panel says "
                          "127.0.0.10; its mail leaves from another address than it should; mend: "
                          "zebmail --config " +
                          panel.config() + " domain update shop.example --ip 127.0.0.10\n");
  Mend(findings);
  EXPECT_EQ(panel.MasterCf(), kStandard + kService);
  EXPECT_TRUE(panel.IsWell());
}

/// Of two services with one name Postfix uses the last.
TEST(BindingCheck, FindsSecondServiceOfADomain) {
  const BindingPanel panel;
  panel.Do({"domain", "create", "shop.example", "--ip", "127.0.0.10"});
  panel.SetMasterCf(kStandard + kService + kOtherService);

  EXPECT_THAT(panel.Findings(), HasSubstr(panel.master() + ":3"));
}

TEST(BindingCheck, FindsServiceOfADomainThatIsBoundToNone) {
  const BindingPanel panel;
  panel.Do({"domain", "create", "shop.example"});
  panel.SetMasterCf(kStandard + kService);
  panel.SetTable("domainips", kMapLine);

  EXPECT_EQ(panel.Findings(),
            panel.master() +
                ":2 has shop.example send from 127.0.0.10, though the panel says any address; its "
                "mail leaves from another address than it should; mend: " +
                panel.ByHand("smtp_shop_example"));

  panel.SetMasterCf(kStandard);
  panel.SetTable("domainips", "");
  EXPECT_TRUE(panel.IsWell());
}

TEST(BindingCheck, FindsMapLineThatLeadsNowhere) {
  const BindingPanel panel;
  panel.SetTable("domainips", "# transports\n" + kMapLine);

  EXPECT_EQ(panel.Findings(),
            panel.map() + ":2 leads to the service smtp_shop_example, which is not in " +
                panel.master() +
                "; the mail of that domain cannot leave; mend: delete that line\n");

  panel.SetTable("domainips", "# transports\n");
  EXPECT_TRUE(panel.IsWell());
}

TEST(BindingCheck, FindsMapLineOfABoundDomainThatLeadsNowhere) {
  const BindingPanel panel;
  panel.Do({"domain", "create", "shop.example", "--ip", "127.0.0.10"});
  panel.SetMasterCf(kStandard);

  EXPECT_THAT(panel.Findings(), HasSubstr(panel.map() + ":1 leads to the service "));

  panel.SetTable("domainips", "");
  Mend(panel.Findings());
  EXPECT_EQ(panel.MasterCf(), kStandard + kService);
  EXPECT_EQ(panel.Table("domainips"), kMapLine);
  EXPECT_TRUE(panel.IsWell());
}

TEST(BindingCheck, FindsServiceOfADomainThatSomebodyHasWrittenInAnotherForm) {
  const BindingPanel panel;
  panel.Do({"domain", "create", "shop.example"});
  panel.SetMasterCf(kStandard +
                    "smtp_shop_example unix - - n - - smtp -o smtp_bind_address=127.0.0.10\n");

  EXPECT_EQ(panel.Findings(),
            panel.master() +
                ":2 has the service smtp_shop_example in another form than the panel gives it: the "
                "name, a tab, and all the rest in one line; the panel cannot change from where the "
                "domain's mail leaves; mend: delete it, and the line of " +
                panel.map() +
                " that leads to smtp_shop_example, then update the domain with --ip\n");

  panel.SetMasterCf(kStandard);
  EXPECT_TRUE(panel.IsWell());
}

TEST(BindingCheck, FindsMapLinesThatPostfixCannotUse) {
  const BindingPanel panel;
  panel.SetTable("domainips", "# transports\nbare words\n\n/@open(\\.example$/\tsmtp:\n");

  EXPECT_EQ(panel.Findings(),
            panel.map() +
                ":2 is not well-formed; Postfix says: ignoring unrecognized request; the domain "
                "that it is about may send from another address; mend: mend the line, or delete "
                "it\n" +
                panel.map() +
                ":4 is not well-formed; Postfix says: Unmatched ( or \\\\(; the domain that it is "
                "about may send from another address; mend: mend the line, or delete it\n");
}

TEST(Binding, TakesAnIp4AddressInTheGuiseOfAnIp6OneForWhatItIs) {
  const BindingPanel panel;

  panel.Do({"domain", "create", "shop.example", "--ip", "::ffff:127.0.0.10"});

  EXPECT_EQ(panel.MasterCf(), kStandard + kService);
  EXPECT_EQ(panel.Table("domainips"), kMapLine);
}

TEST(Binding, IsRefusedToAnAddressOfASingleLink) {
  const BindingPanel panel;

  const CommandRun run = panel.Run({"domain", "create", "shop.example", "--ip", "fe80::1"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors,
            "zebmail: value: ip: \"fe80::1\" cannot be the address of a single machine\n");
}

TEST(BindingCheck, FindsDomainThatIsNotBound) {
  const BindingPanel panel;
  panel.Do({"domain", "create", "shop.example", "--ip", "127.0.0.10"});
  panel.SetMasterCf(kStandard);
  panel.SetTable("domainips", "");

  const std::string findings = panel.Findings();

  EXPECT_EQ(findings,
            "shop.example is not bound to 127.0.0.10, as the panel says; its mail leaves from "
            "another address than it should; mend: zebmail --config " +
                panel.config() + " domain update shop.example --ip 127.0.0.10\n");
  Mend(findings);
  EXPECT_EQ(panel.MasterCf(), kStandard + kService);
  EXPECT_EQ(panel.Table("domainips"), kMapLine);
  EXPECT_TRUE(panel.IsWell());
}

/// A new binding writes both lines, so the service that is there would get a twin: it must be
/// deleted first.
TEST(BindingCheck, NamesTheServiceOfADomainThatTheMapDoesNotLeadTo) {
  const BindingPanel panel;
  panel.Do({"domain", "create", "shop.example", "--ip", "127.0.0.10"});
  panel.SetTable("domainips", "");

  EXPECT_THAT(panel.Findings(), HasSubstr(panel.master() + ":2"));

  panel.SetMasterCf(kStandard);
  Mend(panel.Findings());
  EXPECT_EQ(panel.MasterCf(), kStandard + kService);
  EXPECT_EQ(panel.Table("domainips"), kMapLine);
  EXPECT_TRUE(panel.IsWell());
}

TEST(BindingCheck, FindsNothingAfterASynchronisationOfAnIp6Binding) {
  const BindingPanel panel;
  panel.Run({"domain", "create", "shop.example", "--ip", "::1"});

  panel.Do({"sync"});

  EXPECT_EQ(panel.Do({"domain", "show", "shop.example"}),
            "name: shop.example\nactive: true\ndefaction: error\nredirect: \nip: ::1\n");
  EXPECT_EQ(panel.Run({"check"}).status, 0);
}

TEST(BindingCheck, FindsDomainWhosePatternWasChangedByHand) {
  const BindingPanel panel;
  panel.Do({"domain", "create", "shop.example", "--ip", "127.0.0.10"});
  panel.SetTable("domainips", "/@shop\\.exmaple$/\tsmtp_shop_example\n");

  EXPECT_THAT(panel.Findings(), HasSubstr("shop.example is not bound to 127.0.0.10"));
}

TEST(BindingCheck, ShowsDomainsInUnicode) {
  const BindingPanel panel;
  panel.Do({"domain", "create", "bücher.example", "--ip", "127.0.0.10"});
  const std::string service = panel.MasterCf();
  panel.SetMasterCf(kStandard + Service("smtp_xn--bcher-kva_example", "127_0_0_11",
                                        "smtp_bind_address", "127.0.0.11"));
  EXPECT_THAT(panel.Findings(), HasSubstr("has bücher.example send from 127.0.0.11"));
  Mend(panel.Findings());
  EXPECT_EQ(panel.MasterCf(), service);

  panel.SetMasterCf(kStandard);
  panel.SetTable("domainips", "");
  EXPECT_THAT(panel.Findings(), HasSubstr("bücher.example is not bound to 127.0.0.10"));
  Mend(panel.Findings());
  EXPECT_EQ(panel.MasterCf(), service);
}

TEST(BindingCheck, GivesACommandThatAShellTakes) {
  const BindingPanel panel;
  panel.Do({"domain", "create", "shop.example", "--ip", "127.0.0.10"});
  panel.SetMasterCf(kStandard + kOtherService);
  std::filesystem::rename(panel.config(), panel.Path("panel/the panel's.toml"));

  const CommandRun run = Zebmail({"--config", panel.Path("panel/the panel's.toml"), "check"});

  EXPECT_EQ(run.status, 1);
  Mend(run.output);
  EXPECT_EQ(panel.MasterCf(), kStandard + kService);
}

TEST(BindingCheck, ReportsAsJson) {
  const BindingPanel panel;
  panel.Do({"domain", "create", "shop.example", "--ip", "127.0.0.10"});
  panel.SetMasterCf(kStandard + kOtherService);

  const CommandRun run = panel.Run({"--json", "check"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.output,
            "{\n"
            "  \"ok\": false,\n"
            "  \"findings\": [\n"
            "    {\n"
            "      \"check\": \"binding\",\n"
            "      \"object\": \"" +
                panel.master() +
                ":2\",\n"
                "      \"what\": \"has shop.example send from 127.0.0.11, though the panel says "
                "127.0.0.10\",\n"
                "      \"why\": \"its mail leaves from another address than it should\",\n"
                "      \"mend\": \"zebmail --config " +
                panel.config() +
                " domain update shop.example --ip 127.0.0.10\"\n"
                "    }\n"
                "  ],\n"
                "  \"mended\": []\n"
                "}\n");
}

TEST(BindingCheck, MendsNothingByItself) {
  const BindingPanel panel;
  panel.Do({"domain", "create", "shop.example", "--ip", "127.0.0.10"});
  panel.SetMasterCf(kStandard + kOtherService);

  const CommandRun run = panel.Run({"check", "--fix"});

  EXPECT_EQ(run.status, 1);
  EXPECT_THAT(run.output, Not(HasSubstr("mended")));
  EXPECT_EQ(panel.MasterCf(), kStandard + kOtherService);
}

/// Services by hand, whose names begin as those of the panel do.
TEST(BindingCheck, TakesServicesOfTheAdministratorForNone) {
  for (const std::string service :
       {"smtp_slow unix - - n - - smtp\n",
        "smtp_slow\tunix\t-\t-\tn\t-\t-\tsmtp\n\t-o smtp_bind_address=127.0.0.11\n",
        "smtp_slow unix - - n - 2 smtp -o syslog_name=postfix/slow\n",
        "smtp_slow unix - - n - 2 smtp -o syslog_name=postfix-slow\n",
        "smtp_slow unix - - n - - smtp -o smtp_bind_address=127.0.0.11\n",
        "#smtp_slow\tunix - - n - - smtp -o syslog_name=postfix- -o smtp_bind_address=\n",
        "smtp      unix  -       -       y       -       -       smtp\n"}) {
    SCOPED_TRACE(service);
    const BindingPanel panel;
    panel.SetMasterCf(kStandard + service);

    EXPECT_EQ(panel.Run({"check"}).output, "nothing is wrong\n");
  }
}

TEST(BindingCheck, TakesMapLinesOfTheAdministratorForNone) {
  for (const std::string line :
       {"/@slow\\.example$/ relay\n", "/@slow\\.example$/ smtp:[127.0.0.1]:10025\n",
        "/@slow\\.example$/   smtp_slow\n", "/@slow\\.example$/ smtp_slow:\n",
        "/@slow\\.example$/ smtp_slow:[127.0.0.1]:10025\n", "# /@slow\\.example$/ smtp_gone\n"}) {
    SCOPED_TRACE(line);
    const BindingPanel panel;
    panel.SetMasterCf(kStandard + "smtp_slow unix - - n - 2 smtp\n");
    panel.SetTable("domainips", line);

    EXPECT_EQ(panel.Run({"check"}).output, "nothing is wrong\n");
  }
}

/// An abusive domain must not stay in service because of a line that is missing elsewhere.
TEST(BrokenBinding, KeepsNoDomainFromBeingSuspended) {
  const BindingPanel panel;
  panel.Do({"domain", "create", "shop.example", "--ip", "127.0.0.10"});
  panel.SetMasterCf(kStandard);

  const CommandRun run = panel.Run({"domain", "suspend", "shop.example"});

  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(run.output, "shop.example: suspended\n");
  EXPECT_EQ(run.errors, "zebmail: " + panel.master() +
                            " lacks the service smtp_shop_example, so that the mail of "
                            "shop.example cannot leave; see: zebmail --config " +
                            panel.config() + " check\n");
  EXPECT_EQ(panel.Table("access"), "shop.example\t550 Account disabled\n");
}

TEST(BrokenBinding, GetsNoSecondService) {
  const BindingPanel panel;
  panel.Do({"domain", "create", "shop.example", "--ip", "127.0.0.10"});
  panel.SetTable("domainips", "");

  const CommandRun run = panel.Run({"domain", "update", "shop.example", "--ip", "127.0.0.11"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zebmail: exists: ip: " + panel.master() +
                            ":2 has the service smtp_shop_example already, to which no line of " +
                            panel.map() + " leads; delete that line first\n");
  EXPECT_EQ(panel.MasterCf(), kStandard + kService);
}

TEST(BrokenBinding, IsNotWrittenAgainForANewDomain) {
  const BindingPanel panel;
  panel.SetMasterCf(kStandard + kService);
  panel.SetTable("domainips", kMapLine);

  const CommandRun run = panel.Run({"domain", "create", "shop.example", "--ip", "127.0.0.10"});

  EXPECT_EQ(run.status, 1);
  EXPECT_EQ(run.errors, "zebmail: exists: ip: " + panel.map() +
                            ":1 leads the mail of shop.example to the service smtp_shop_example "
                            "already; delete that line first\n");
  EXPECT_EQ(panel.MasterCf(), kStandard + kService);
  EXPECT_EQ(panel.Table("domainips"), kMapLine);
}

TEST(Binding, RefusesWhatIsNotTheAddressOfOneMachine) {
  const BindingPanel panel;
  for (const std::string address : {"0.0.0.0", "255.255.255.255", "224.0.0.1", "::", "ff02::1"}) {
    const CommandRun run = panel.Run({"domain", "create", "shop.example", "--ip", address});

    EXPECT_EQ(run.errors, "zebmail: value: ip: \"" + address +
                              "\" cannot be the address of a single machine\n");
  }
}

}  // namespace
}  // namespace zebmail_test
