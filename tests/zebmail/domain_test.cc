/// NAME
///   domain_test - the commands about domains, seen in the table files and in what they print

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/zebmail/next_step.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

using testing::ElementsAre;

TEST(DomainCreate, WritesCatchAllAndLocalHostName) {
  const OwnPanel panel;

  EXPECT_EQ(panel.Do({"domain", "create", "example.org"}), "example.org: created\n");

  EXPECT_EQ(panel.Tables(),
            "-- virtusertable\n"
            "@example.org\tpostfix_err_nouser\n"
            "-- local-host-names\n"
            "example.org\n"
            "-- access\n"
            "-- domainips\n");
  EXPECT_EQ(panel.Lookup("virtusertable", "@example.org"), "postfix_err_nouser");
  EXPECT_THAT(panel.postfix().Runs(), ElementsAre("reload"));
}

TEST(DomainCreate, WritesEachDefaultAction) {
  const OwnPanel panel;

  panel.Do({"domain", "create", "a.example", "--default-action", "error"});
  panel.Do({"domain", "create", "b.example", "--default-action", "ignore"});
  panel.Do({"domain", "create", "c.example", "--default-action", "redir_email", "--redirect",
            "info@example.net"});
  panel.Do({"domain", "create", "d.example", "--default-action", "redir_domain", "--redirect",
            "example.net"});

  EXPECT_EQ(panel.Table("virtusertable"),
            "@a.example\tpostfix_err_nouser\n"
            "@b.example\tdevnull\n"
            "@c.example\tinfo@example.net\n"
            "@d.example\t@example.net\n");
}

TEST(DomainCreate, BindsAddress) {
  const OwnPanel panel;

  panel.Do({"domain", "create", "shop.example", "--ip", "127.0.0.10"});

  EXPECT_EQ(panel.Table("domainips"), "/@shop\\.example$/\tsmtp_shop_example\n");
  EXPECT_EQ(panel.folder().ReadText("config/master.cf"),
            "pickup    unix  n       -       n       60      1       pickup\n"
            "smtp_shop_example\tunix - - n - - smtp -o syslog_name=postfix-127_0_0_10 "
            "-o smtp_bind_address=127.0.0.10\n");
  EXPECT_THAT(panel.postfix().Runs(), ElementsAre("reload", "reload"));
}

TEST(DomainCreate, KeepsUnicodeNamesInAscii) {
  const OwnPanel panel;

  EXPECT_EQ(panel.Do({"domain", "create", "bücher.example", "--default-action", "redir_email",
                      "--redirect", "Info@bücher.example"}),
            "bücher.example: created\n");

  EXPECT_EQ(panel.Table("virtusertable"), "@xn--bcher-kva.example\tInfo@xn--bcher-kva.example\n");
  EXPECT_EQ(panel.Table("local-host-names"), "xn--bcher-kva.example\n");
}

TEST(DomainCreate, LeavesOtherLinesOfTheTablesInPlace) {
  const OwnPanel panel;
  panel.SetTable("virtusertable", "# mine\n\nroot@example.net  admin # me\nlast line\r\nodd");
  panel.SetTable("local-host-names", "localhost\n");

  EXPECT_EQ(panel.Run({"domain", "create", "example.org"}).output, "example.org: created\n");

  EXPECT_EQ(panel.Table("virtusertable"),
            "# mine\n\nroot@example.net  admin # me\nlast line\r\nodd\n"
            "@example.org\tpostfix_err_nouser\n");
  EXPECT_EQ(panel.Table("local-host-names"), "localhost\nexample.org\n");
}

TEST(DomainUpdate, KeepsWhatIsNotGiven) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org", "--default-action", "redir_email", "--redirect",
            "info@example.net", "--ip", "127.0.0.10"});

  EXPECT_EQ(panel.Do({"domain", "update", "example.org", "--redirect", "new@example.net"}),
            "example.org: updated\n");

  EXPECT_EQ(panel.Do({"domain", "show", "example.org"}),
            "name: example.org\n"
            "active: true\n"
            "defaction: redir_email\n"
            "redirect: new@example.net\n"
            "ip: 127.0.0.10\n");
  EXPECT_EQ(panel.Table("virtusertable"), "@example.org\tnew@example.net\n");
}

TEST(DomainUpdate, ForgetsRedirectOfActionThatHasNone) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org", "--default-action", "redir_domain", "--redirect",
            "example.net"});

  panel.Do({"domain", "update", "example.org", "--default-action", "ignore"});

  EXPECT_EQ(panel.Do({"domain", "show", "example.org"}),
            "name: example.org\nactive: true\ndefaction: ignore\nredirect: \nip: \n");
  EXPECT_EQ(panel.Table("virtusertable"), "@example.org\tdevnull\n");
}

TEST(DomainUpdate, KeepsSuspendedDomainSuspended) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  panel.Do({"domain", "suspend", "example.org"});

  panel.Do({"domain", "update", "example.org", "--default-action", "ignore"});

  EXPECT_EQ(panel.Tables(),
            "-- virtusertable\n"
            "@example.org\tpostfix_err_nouser\n"
            "-- local-host-names\n"
            "example.org\n"
            "-- access\n"
            "example.org\t550 Account disabled\n"
            "-- domainips\n");
}

TEST(DomainUpdate, MovesAddressAndUnbindsIt) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "shop.example"});
  const std::string others = panel.folder().ReadText("config/master.cf");

  panel.Do({"domain", "update", "shop.example", "--ip", "127.0.0.10"});
  panel.Do({"domain", "update", "shop.example", "--ip", "127.0.0.11"});
  EXPECT_EQ(panel.folder().ReadText("config/master.cf"),
            others +
                "smtp_shop_example\tunix - - n - - smtp -o syslog_name=postfix-127_0_0_11 "
                "-o smtp_bind_address=127.0.0.11\n");

  panel.Do({"domain", "update", "shop.example", "--ip", ""});
  EXPECT_EQ(panel.folder().ReadText("config/master.cf"),
            others +
                "smtp_shop_example\tunix - - n - - smtp -o syslog_name=postfix- "
                "-o smtp_bind_address=\n");
}

TEST(DomainUpdate, WithoutOptionsWritesTheTablesAnew) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org", "--default-action", "ignore"});
  panel.SetTable("virtusertable", "@example.org\tsomething_else\n");

  panel.Do({"domain", "update", "example.org"});

  EXPECT_EQ(panel.Table("virtusertable"), "@example.org\tdevnull\n");
}

TEST(DomainSuspend, RefusesMailUntilResumed) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org", "--default-action", "ignore"});
  const std::string before = panel.Tables();

  EXPECT_EQ(panel.Do({"domain", "suspend", "example.org"}), "example.org: suspended\n");
  EXPECT_EQ(panel.Tables(),
            "-- virtusertable\n"
            "@example.org\tpostfix_err_nouser\n"
            "-- local-host-names\n"
            "example.org\n"
            "-- access\n"
            "example.org\t550 Account disabled\n"
            "-- domainips\n");
  EXPECT_EQ(panel.Lookup("access", "example.org"), "550 Account disabled");

  EXPECT_EQ(panel.Do({"domain", "resume", "example.org"}), "example.org: resumed\n");
  EXPECT_EQ(panel.Tables(), before);
  EXPECT_EQ(panel.Lookup("access", "example.org"), "");
}

TEST(DomainSuspend, TwiceLeavesOneEntry) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});

  panel.Do({"domain", "suspend", "example.org"});
  panel.Do({"domain", "suspend", "example.org"});

  EXPECT_EQ(panel.Table("access"), "example.org\t550 Account disabled\n");
}

TEST(DomainDelete, RemovesItFromAllTables) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "keep.example"});
  const std::string before = panel.Tables();
  const std::string services = panel.folder().ReadText("config/master.cf");
  panel.Do({"domain", "create", "shop.example", "--ip", "127.0.0.10"});
  panel.Do({"domain", "suspend", "shop.example"});

  EXPECT_EQ(panel.Do({"domain", "delete", "shop.example"}), "shop.example: deleted\n");

  EXPECT_EQ(panel.Tables(), before);
  EXPECT_EQ(panel.folder().ReadText("config/master.cf"), services);
  EXPECT_EQ(WithoutNextStep(panel.Run({"domain", "show", "shop.example"}).errors),
            "zebmail: missing: domain: shop.example\n");
}

TEST(DomainDelete, AllowsItToBeCreatedAgain) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  panel.Do({"domain", "delete", "example.org"});

  panel.Do({"domain", "create", "example.org"});

  EXPECT_EQ(panel.Table("virtusertable"), "@example.org\tpostfix_err_nouser\n");
}

TEST(DomainName, IsTakenInUnicodeOrAscii) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "XN--bcher-kva.Example"});

  EXPECT_EQ(panel.Do({"domain", "suspend", "bücher.example"}), "bücher.example: suspended\n");
  EXPECT_EQ(panel.Do({"domain", "delete", "xn--bcher-kva.example"}), "bücher.example: deleted\n");
}

TEST(DomainList, AlignsColumns) {
  const OwnPanel panel;
  EXPECT_EQ(panel.Do({"domain", "list"}), "");
  panel.Do({"domain", "create", "bücher.example", "--default-action", "redir_domain", "--redirect",
            "example.org"});
  panel.Do({"domain", "create", "example.org", "--ip", "127.0.0.10"});
  panel.Do({"domain", "suspend", "example.org"});

  EXPECT_EQ(panel.Do({"domain", "list"}),
            "NAME            STATE      DEFAULT ACTION  REDIRECT     IP\n"
            "example.org     suspended  error           -            127.0.0.10\n"
            "bücher.example  active     redir_domain    example.org  -\n");
}

TEST(DomainJson, ShowsOneDomain) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "bücher.example", "--default-action", "redir_email", "--redirect",
            "info@bücher.example", "--ip", "127.0.0.10"});

  EXPECT_EQ(panel.Do({"--json", "domain", "show", "bücher.example"}),
            "{\n"
            "  \"name\": \"bücher.example\",\n"
            "  \"active\": true,\n"
            "  \"defaction\": \"redir_email\",\n"
            "  \"redirect\": \"info@bücher.example\",\n"
            "  \"ip\": \"127.0.0.10\"\n"
            "}\n");
}

TEST(DomainJson, ListsAllDomains) {
  const OwnPanel panel;
  EXPECT_EQ(panel.Do({"domain", "list", "--json"}), "[]\n");
  panel.Do({"domain", "create", "b.example"});
  panel.Do({"domain", "create", "a.example", "--default-action", "ignore"});

  EXPECT_EQ(panel.Do({"domain", "list", "--json"}),
            "[\n"
            "  {\n"
            "    \"name\": \"a.example\",\n"
            "    \"active\": true,\n"
            "    \"defaction\": \"ignore\",\n"
            "    \"redirect\": \"\",\n"
            "    \"ip\": \"\"\n"
            "  },\n"
            "  {\n"
            "    \"name\": \"b.example\",\n"
            "    \"active\": true,\n"
            "    \"defaction\": \"error\",\n"
            "    \"redirect\": \"\",\n"
            "    \"ip\": \"\"\n"
            "  }\n"
            "]\n");
}

TEST(DomainJson, ConfirmsChangeByTheDomain) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  const std::string suspended =
      "{\n"
      "  \"name\": \"example.org\",\n"
      "  \"active\": false,\n"
      "  \"defaction\": \"error\",\n"
      "  \"redirect\": \"\",\n"
      "  \"ip\": \"\"\n"
      "}\n";

  EXPECT_EQ(panel.Do({"--json", "domain", "suspend", "example.org"}), suspended);
  EXPECT_EQ(panel.Do({"--json", "domain", "delete", "example.org"}), suspended);
}

TEST(DomainQuiet, KeepsConfirmationsBack) {
  const OwnPanel panel;

  EXPECT_EQ(panel.Do({"--quiet", "domain", "create", "example.org"}), "");
  EXPECT_EQ(panel.Do({"--quiet", "--json", "domain", "suspend", "example.org"}), "");
  EXPECT_EQ(panel.Do({"--quiet", "domain", "delete", "example.org"}), "");
}

}  // namespace
}  // namespace zebmail_test
