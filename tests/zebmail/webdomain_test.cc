/// NAME
///   webdomain_test - the commands about web domains

#include <gtest/gtest.h>

#include "tests/zebmail/next_step.h"
#include "tests/zebmail/own_panel.h"

namespace zebmail_test {
namespace {

TEST(WebDomain, IsAddedListedAndRemoved) {
  const OwnPanel panel;
  EXPECT_EQ(panel.Do({"webdomain", "list"}), "");

  EXPECT_EQ(panel.Do({"webdomain", "add", "bücher.example", "--owner", "7"}),
            "bücher.example: added\n");
  panel.Do({"webdomain", "add", "Example.ORG", "--owner", "12"});

  EXPECT_EQ(panel.Do({"webdomain", "list"}),
            "NAME            OWNER\n"
            "example.org     12\n"
            "bücher.example  7\n");
  EXPECT_EQ(panel.Do({"webdomain", "remove", "xn--bcher-kva.example"}),
            "xn--bcher-kva.example: removed\n");
  EXPECT_EQ(panel.Do({"webdomain", "list"}), "NAME         OWNER\nexample.org  12\n");
}

TEST(WebDomain, IsShownAsJson) {
  const OwnPanel panel;

  EXPECT_EQ(panel.Do({"--json", "webdomain", "add", "example.org", "--owner", "12"}),
            "[\n"
            "  {\n"
            "    \"name\": \"example.org\",\n"
            "    \"owner\": 12\n"
            "  }\n"
            "]\n");
  panel.Do({"webdomain", "remove", "example.org"});
  EXPECT_EQ(panel.Do({"--json", "webdomain", "list"}), "[]\n");
}

TEST(WebDomain, HasSyncTakeOverTheMailDomainOfItsName) {
  const OwnPanel panel;
  panel.SetTable("virtusertable", "@example.org\tdevnull\n@other.example\tdevnull\n");
  panel.Do({"webdomain", "add", "example.org", "--owner", "12"});

  panel.Do({"sync"});

  EXPECT_EQ(panel.Do({"domain", "list"}),
            "NAME         STATE   DEFAULT ACTION  REDIRECT  IP\n"
            "example.org  active  ignore          -         -\n");
  EXPECT_EQ(panel.Table("local-host-names"), "example.org\n");
}

TEST(WebDomain, RemovedLeavesItsMailDomain) {
  const OwnPanel panel;
  panel.Do({"domain", "create", "example.org"});
  panel.Do({"webdomain", "add", "example.org", "--owner", "1"});

  panel.Do({"webdomain", "remove", "example.org"});

  EXPECT_EQ(panel.Table("virtusertable"), "@example.org\tpostfix_err_nouser\n");
}

TEST(WebDomain, IsRefusedWhenItMakesNoSense) {
  const OwnPanel panel;
  panel.Do({"webdomain", "add", "example.org", "--owner", "1"});

  EXPECT_EQ(WithoutNextStep(panel.Run({"webdomain", "add", "EXAMPLE.org", "--owner", "2"}).errors),
            "zebmail: exists: web domain: EXAMPLE.org\n");
  EXPECT_EQ(panel.Run({"webdomain", "add", "a b", "--owner", "2"}).errors,
            "zebmail: value: domain: \"a b\" is not a domain name\n");
  EXPECT_EQ(WithoutNextStep(panel.Run({"webdomain", "remove", "other.example"}).errors),
            "zebmail: missing: web domain: other.example\n");
  EXPECT_EQ(panel.Run({"webdomain", "add", "other.example", "--owner", "-1"}).status, 2);
  EXPECT_EQ(panel.Run({"webdomain", "add", "other.example"}).status, 2);
  EXPECT_EQ(panel.Do({"webdomain", "list"}), "NAME         OWNER\nexample.org  1\n");
}

}  // namespace
}  // namespace zebmail_test
